// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <string>

#include "host/snmp/TunnelEvents.h"

namespace Notifications {

/// "mplsTunnelUp" and the like.
char const* nameOf(Snmp::TunnelEvent::Kind kind);

/// An event as a JSON object on one line, as `mplste events --json` prints it (docs/notifications.md).
std::string eventJson(Snmp::TunnelEvent const& event, std::chrono::system_clock::time_point time);

}  // namespace Notifications
