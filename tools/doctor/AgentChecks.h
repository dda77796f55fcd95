// SPDX-License-Identifier: MIT
#pragma once

#include "tools/Print.h"
#include "tools/PublishSocket.h"
#include "tools/doctor/Finding.h"
#include "tools/doctor/SnmpdConf.h"
#include "tools/doctor/SocketPath.h"

namespace Tools::Doctor {

/// Whether mplsted can be asked, and what its status says of it.
Findings checkAgent(PublishOptions const& options);

/// What the status of a running mplsted says: where its state and counters come from, what was refused, its master.
Findings checkStatus(Json const& status);

/// Whether `user`, as which mplsted runs, can connect to the AgentX socket.
Findings checkMasterSocket(std::filesystem::path const& socket, User const& user);

}  // namespace Tools::Doctor
