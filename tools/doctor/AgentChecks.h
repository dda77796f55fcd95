// SPDX-License-Identifier: MIT
#pragma once

#include "tools/Print.h"
#include "tools/PublishSocket.h"
#include "tools/doctor/Finding.h"
#include "tools/doctor/SnmpdConf.h"
#include "tools/doctor/SocketPath.h"

namespace Tools::Doctor {

/// How managers get at the tables of mplsted: `throughMaster` when it has an AgentX master, `cutOff` when it has lost
/// it.
enum class Serving { unknown, byItself, throughMaster, cutOff, insideSnmpd };

/// What has been found out by asking mplsted.
struct AgentReport {
   Findings findings;
   Serving serving = Serving::unknown;
   std::filesystem::path masterSocket{};  ///< the unix socket of its AgentX master, if it is one
};

/// Whether mplsted can be asked, and what its status says of it.
AgentReport checkAgent(PublishOptions const& options);

/// What the status of a running mplsted says: where its state and counters come from, what was refused, how it serves.
AgentReport checkStatus(Json const& status);

/// Whether `user`, as which mplsted runs, can connect to the AgentX socket.
Findings checkMasterSocket(std::filesystem::path const& socket, User const& user);

}  // namespace Tools::Doctor
