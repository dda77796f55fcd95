// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace Daemon {

/// Tells the service manager what the process is about, in the notation of sd_notify(3), over the datagram socket that
/// NOTIFY_SOCKET names: a path, or "@name" for an abstract one. Without it nobody is told anything.
class Notify {
 public:
   /// Takes NOTIFY_SOCKET out of the environment: it is meant for this process alone.
   Notify();

   /// Requests are answered from now on. `status`: one line for people.
   void ready(std::string_view status) const;
   void status(std::string_view status) const;
   /// The configuration is being read again; `ready` is to follow.
   void reloading() const;
   void stopping() const;

 private:
   /// Never waits, and is nobody's reason to fail.
   void send(std::string_view assignments) const;

   std::string socket_;
};

}  // namespace Daemon
