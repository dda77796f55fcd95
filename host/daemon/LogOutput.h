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

/// Whether the standard error stream goes to systemd's journal (systemd.exec(5), JOURNAL_STREAM). It adds the time, and
/// wants to know of each line how urgent it is: "<3>" for an error (sd-daemon(3)).
bool standardErrorIsJournal();

}  // namespace Daemon
