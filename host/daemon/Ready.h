// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace Daemon {

/// What mplsted says once, when all rows of the first state are there.
struct Ready {
   std::size_t tunnels;
   /// What the state comes from: a file, a socket or both.
   std::vector<std::string> sources;
   std::vector<std::string> addresses;
   std::string access;
   /// From the start of the process until requests were answered, and until the rows of the first state were there.
   std::chrono::milliseconds firstAnswer;
   std::chrono::milliseconds allRows;
   /// The master's address, when it is a master that answers requests.
   std::optional<std::string> master = {};
};

/// One line, without its end: "ready: 13 tunnels from headend.json, SNMP on ...".
std::string toText(Ready const& ready);

}  // namespace Daemon
