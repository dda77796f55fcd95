// SPDX-License-Identifier: MIT
#include "host/daemon/StateSource.h"

#include <utility>

namespace Daemon {

namespace {

using Clock = Status::SystemClock;

}  // namespace

StateSource::File::File(Store::ChangeQueue& queue, std::string const& path, Feed::FileFeed::Events events,
                        Loop::ErrorHandler const& failed)
      : feed(queue, path, std::move(events)),
        watch(
              feed.descriptor(), [this] { feed.handleReadable(); }, failed) {
   feed.load();
}

StateSource::StateSource(Options const& options, Store::StateStore& store, Status& status, Log& log,
                         Loop::ErrorHandler const& failed)
      : status_(status), queue_(store) {
   std::string const file = options.state;
   for (std::string const& name : {file, options.publish.path}) {
      if (!name.empty()) names_.push_back(name);
   }
   if (!options.publish.path.empty()) publishing_.emplace(options.publish, queue_, store, status, log, failed);
   if (file.empty()) {
      begin();
      return;
   }
   Feed::FileFeed::Events events;
   events.loaded = [this, &status](std::size_t changed) {
      status.fileLoaded(changed, Clock::now());
      begin();
   };
   events.refused = [this, &status, &log, file, failed](std::string const& line) {
      // Which file it is stands beside the reason.
      status.refused(file, line.starts_with(file + ": ") ? line.substr(file.size() + 2) : line, Clock::now());
      loaded_ ? log.error(line) : failed(line);
   };
   events.unwatched = [&log](std::string const& line) { log.warn(line); };
   file_.emplace(queue_, file, std::move(events), failed);
}

void StateSource::begin() {
   loaded_ = true;
   if (publishing_) publishing_->open();
}

bool StateSource::begun() const { return loaded_ && (file_ || status_.changed()); }

void StateSource::reload() {
   if (file_) file_->feed.reload();
}

}  // namespace Daemon
