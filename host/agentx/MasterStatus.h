// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <string>

namespace AgentX {

/// How an AgentX subagent stands with its master.
struct MasterStatus {
   enum class State {
      disconnected,  ///< nothing is served; it tries to connect
      connected,     ///< everything is registered and served
      unresponsive   ///< the same, but the master does not answer at present: it hangs, or has been stopped
   };

   /// Where the master is, in net-snmp's notation: "unix:/run/agentx/master" or "tcp:127.0.0.1:705".
   std::string master;
   State state = State::disconnected;
   /// When this state began.
   std::chrono::system_clock::time_point since = std::chrono::system_clock::now();
   /// Why it is not connected or, while it is, why it was not before; empty: it always was.
   std::string lastError = {};
};

}  // namespace AgentX
