// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

namespace Daemon {

/// `netSnmp`: where net-snmp's library logs, for an agent that is not ours.
enum class LogOutput : std::uint8_t { standardError, syslog, netSnmp };

/// From the most urgent on. Trace lines are debug.
enum class LogLevel : std::uint8_t { error, warning, info, debug };

/// Reads "stderr" or "syslog". Throws std::invalid_argument.
LogOutput parseLogOutput(std::string const& text);
/// Reads "error", "warning", "info" or "debug". Throws std::invalid_argument.
LogLevel parseLogLevel(std::string const& text);

}  // namespace Daemon
