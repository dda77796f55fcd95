// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/daemon/Log.h"

namespace Daemon {

/// Takes over net-snmp's own log: its errors and warnings go to ours, the rest is dropped. Exists once.
class NetSnmpLog {
 public:
   explicit NetSnmpLog(Log& log);
   ~NetSnmpLog();
   NetSnmpLog(NetSnmpLog const&) = delete;
   NetSnmpLog& operator=(NetSnmpLog const&) = delete;

   /// From now on errors and warnings are kept instead of logged, while a configuration is being read.
   void keep() { keeping_ = true; }
   /// What was kept, each once, in order. From now on errors and warnings are logged again.
   std::vector<std::string> kept();

 private:
   static int receive(int major, int minor, void* message, void* argument) noexcept;
   void take(int priority, std::string_view text);

   // net-snmp frees what a callback is given as its own argument when it shuts down.
   static inline NetSnmpLog* instance_ = nullptr;

   Log& log_;
   bool keeping_ = false;
   std::vector<std::string> kept_;
};

}  // namespace Daemon
