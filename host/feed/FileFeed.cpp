// SPDX-License-Identifier: MIT
#include "host/feed/FileFeed.h"

#include <stdexcept>
#include <system_error>
#include <utility>

#include "host/store/StateError.h"

namespace Feed {

namespace {

constexpr std::size_t kLongestName = 4096;

}  // namespace

FileFeed::FileFeed(Store::ChangeQueue& queue, std::string file, Events events, std::uintmax_t largest)
      : queue_(queue),
        file_(std::move(file)),
        events_(std::move(events)),
        largest_(largest),
        watch_(file_),
        task_(Vel::makePtr<Orb::Task>(Orb::TaskSchedulerRoot::findOrCreateScheduler(), Orb::TaskPriority::normal,
                                      "StateFile", [this](Orb::Task& task) { read(task); })) {}

void FileFeed::begin(Load load) {
   if (loading_) {
      changedMeanwhile_ = true;
      return;
   }
   loading_ = true;
   load_ = load;
   changedMeanwhile_ = false;
   task_->scheduleTask();
}

void FileFeed::read(Orb::Task& task) {
   unreadable_ = false;
   Problem problem;
   try {
      if (!reader_) reader_ = std::make_unique<FileReader>(watch_.path(), largest_);
      while (reader_->readSome()) {
         if (task.taskShouldYield()) return task.scheduleTask();
      }
      auto const reader = std::exchange(reader_, nullptr);
      std::string document = reader->take();
      if (document.empty()) throw std::runtime_error("the file is empty");
      if (load_ == Load::whenChanged && loaded_ == reader->hash()) return finish({});
      return add(std::move(document), reader->hash());
   } catch (std::system_error const& error) {
      unreadable_ = error.code() == std::errc::permission_denied;
      problem.text = error.code().message();
   } catch (std::runtime_error const& error) {
      problem.text = error.what();
   }
   reader_ = nullptr;
   finish(problem);
}

void FileFeed::add(std::string document, std::size_t content) {
   queue_.add(Store::ChangeKind::snapshot, std::move(document),
              [this, content](Store::ChangeQueue::Outcome const& outcome) {
                 if (!outcome.refusal) {
                    loaded_ = content;
                    events_.loaded(outcome.changed);
                 }
                 finish({outcome.refusal.value_or(""), content});
              });
}

void FileFeed::finish(Problem const& problem) {
   loading_ = false;
   // What is wrong with half a file is nobody's business when the other half has come meanwhile.
   if (problem.text.empty() || !changedMeanwhile_) report(fileProblem_, problem, events_.refused);
   report(watchProblem_, {watch_.problem(), 0}, events_.unwatched);
   if (changedMeanwhile_) reload();
}

void FileFeed::handleReadable() {
   bool const barred = unreadable_ || !watch_.problem().empty();
   PathWatch::Change const change = watch_.take();
   if (change == PathWatch::Change::content || (change == PathWatch::Change::permissions && barred)) load();
}

/// Says what is wrong now unless it was said before.
void FileFeed::report(Problem& last, Problem const& now, std::function<void(std::string const& line)> const& tell) {
   if (!now.text.empty() && now != last) tell(Store::printable(file_, kLongestName) + ": " + now.text);
   last = now;
}

}  // namespace Feed
