// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/daemon/Log.h"
#include "host/daemon/Options.h"
#include "host/daemon/Publishing.h"
#include "host/daemon/Status.h"
#include "host/feed/FileFeed.h"
#include "host/loop/Watch.h"
#include "host/store/ChangeQueue.h"

namespace Daemon {

/// Where the state comes from: a file (`--state`), publishers (`--publish`) or both. With both, what is published goes
/// on top of the file.
class StateSource {
 public:
   /// Begins to load the file. What is wrong with it at first is told to `failed`, later on it is only logged. All but
   /// `options` outlive this. Throws Publish::SocketError, std::system_error.
   StateSource(Options const& options, Store::StateStore& store, Status& status, Log& log,
               Loop::ErrorHandler const& failed);
   StateSource(StateSource const&) = delete;
   StateSource& operator=(StateSource const&) = delete;

   /// Whether the first state is there. Without a file it is empty, and there from the start.
   bool loaded() const { return loaded_; }
   /// Whether there is anything that a change would be one of: the file has been read, or publishers have begun.
   bool begun() const;
   /// Has the file read again.
   void reload();
   /// Of the file and the socket.
   std::vector<std::string> const& names() const { return names_; }

 private:
   struct File {
      File(Store::ChangeQueue& queue, std::string const& path, Feed::FileFeed::Events events,
           Loop::ErrorHandler const& failed);
      Feed::FileFeed feed;
      Loop::Watch const watch;
   };

   void begin();

   Status const& status_;
   std::vector<std::string> names_;
   bool loaded_ = false;
   Store::ChangeQueue queue_;
   std::optional<Publishing> publishing_;
   std::optional<File> file_;
};

}  // namespace Daemon
