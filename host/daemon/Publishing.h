// SPDX-License-Identifier: MIT
#pragma once

#include "host/daemon/Log.h"
#include "host/daemon/PublishOptions.h"
#include "host/daemon/Status.h"
#include "host/loop/Watch.h"
#include "host/publish/Server.h"

namespace Daemon {

/// Raises this process's limit of open files, as far as it may, for as many connections of publishers as are usual. For
/// a process of ours only: where the process is somebody else's, there are fewer connections instead.
void makeRoomForPublishers();

/// Publishing over a socket (`--publish`) as this agent does it: the server in net-snmp's event loop, with its answers
/// to what operators ask.
class Publishing {
 public:
   /// All of these outlive it. Throws Publish::SocketError.
   Publishing(PublishOptions const& options, Store::ChangeQueue& queue, Store::StateStore const& store, Status& status,
              Log& log, Loop::ErrorHandler failed);
   ~Publishing();
   Publishing(Publishing const&) = delete;
   Publishing& operator=(Publishing const&) = delete;

   /// Begins to listen to publishers.
   void open() { server_.open(); }

 private:
   Status& status_;
   Publish::Server server_;
   Loop::Watch const watch_;
};

}  // namespace Daemon
