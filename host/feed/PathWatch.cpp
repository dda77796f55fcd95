// SPDX-License-Identifier: MIT
#include "host/feed/PathWatch.h"

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <deque>
#include <system_error>
#include <utility>

namespace Feed {

namespace {

namespace fs = std::filesystem;

constexpr unsigned kEntryChanges = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE;
constexpr unsigned kWatched = kEntryChanges | IN_CLOSE_WRITE | IN_ATTRIB | IN_ONLYDIR;
constexpr int kMostLinks = 40;  // as the kernel follows

/// Whether the new directory entry is complete at once: a link to a file, not a file that is yet to be written.
bool isLinkToFile(fs::path const& path) {
   struct stat status {};
   return lstat(path.c_str(), &status) == 0 && (!S_ISREG(status.st_mode) || status.st_nlink > 1);
}

}  // namespace

PathWatch::PathWatch(fs::path const& path)
      : path_(fs::absolute(path)), inotify_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC), "cannot watch files (inotify)") {
   arm();
}

/// Every directory entry that decides what the path means, down to the file or to the first that is missing.
std::vector<PathWatch::Step> PathWatch::steps() const {
   std::vector<Step> steps;
   fs::path at = "/";
   std::deque<fs::path> ahead(path_.begin(), path_.end());
   int links = 0;
   while (!ahead.empty()) {
      fs::path const name = std::exchange(ahead.front(), {});
      ahead.pop_front();
      if (name.empty() || name == ".") continue;
      if (name == "/" || name == "..") {
         at = name == "/" ? name : at.parent_path();
         continue;
      }
      steps.push_back({at, name.string(), ahead.empty()});
      std::error_code error;
      fs::path const target = fs::read_symlink(at / name, error);
      if (!error) {
         if (++links > kMostLinks) break;
         steps.back().isFile = false;
         ahead.insert(ahead.begin(), target.begin(), target.end());
      } else if (fs::is_directory(at / name, error)) {
         at /= name;
      } else {
         break;
      }
   }
   return steps;
}

void PathWatch::arm() {
   // A directory may come or go between looking and watching: look again until nothing has changed meanwhile.
   for (std::vector<Step> wanted = steps();;) {
      std::map<int, std::vector<Step>> armed;
      problem_.clear();
      for (Step const& step : wanted) {
         int const watch = inotify_add_watch(inotify_, step.dir.c_str(), kWatched);
         if (watch >= 0) {
            armed[watch].push_back(step);
         } else if (&step == &wanted.back()) {
            problem_ = "changes in the directory " + step.dir.string() + " cannot be noticed: " + std::strerror(errno);
         }
      }
      for (auto const& [watch, steps] : watches_) {
         if (!armed.contains(watch)) inotify_rm_watch(inotify_, watch);
      }
      watches_ = std::move(armed);
      std::vector<Step> now = steps();
      if (now == wanted) return;
      wanted = std::move(now);
   }
}

PathWatch::Change PathWatch::changeOf(int watch, unsigned mask, std::string_view name) const {
   if (mask & IN_Q_OVERFLOW) return Change::content;
   auto const found = watches_.find(watch);
   if (found == watches_.end()) return Change::none;
   // A directory that is watched has gone.
   if (mask & (IN_IGNORED | IN_UNMOUNT)) return Change::content;
   auto const& steps = found->second;
   auto const step = std::ranges::find(steps, name, &Step::name);
   if (step == steps.end()) return name.empty() && (mask & IN_ATTRIB) ? Change::permissions : Change::none;
   bool const isWritten = step->isFile && (mask & IN_CREATE) && !isLinkToFile(step->dir / step->name);
   if ((mask & (kEntryChanges | IN_CLOSE_WRITE)) && !isWritten) return Change::content;
   return mask & IN_ATTRIB ? Change::permissions : Change::none;
}

PathWatch::Change PathWatch::take() {
   Change change = Change::none;
   alignas(inotify_event) std::array<char, std::size_t{16} << 10U> buffer;
   for (;;) {
      ssize_t const size = read(inotify_, buffer.data(), buffer.size());
      if (size < 0 && errno == EINTR) continue;
      if (size <= 0) break;
      for (char const* at = buffer.data(); at < buffer.data() + size;) {
         auto const* const event = reinterpret_cast<inotify_event const*>(at);
         std::string_view const name = event->len == 0 ? std::string_view() : std::string_view(event->name);
         change = std::max(change, changeOf(event->wd, event->mask, name));
         at += sizeof(inotify_event) + event->len;
      }
   }
   // The way to the file may be another one now.
   if (change != Change::none) arm();
   return change;
}

}  // namespace Feed
