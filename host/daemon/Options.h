// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/daemon/LogOutput.h"
#include "host/daemon/NotificationOptions.h"
#include "host/daemon/PublishOptions.h"
#include "host/module/Module.h"
#include "substrate/trel/Trace.h"

namespace Daemon {

/// What mplsted is told on its command line, and in its configuration; see Settings.h.
struct Options {
   struct Trace {
      std::string handle;
      Trel::TraceLevels levels;
      bool operator==(Trace const&) const = default;
   };

   /// Empty: there is no file; then publishers bring the state.
   std::filesystem::path state;
   PublishOptions publish;
   /// Addresses in net-snmp's notation, such as "udp:127.0.0.1:11161". Empty: those of the configuration.
   std::vector<std::string> listen;
   /// Serve through the AgentX master at this address instead of listening; an empty one: what the configuration says.
   std::optional<std::string> agentx;
   /// Empty: the module that belongs to this program.
   std::filesystem::path module;
   Host::TableDriving tableDriving = Host::TableDriving::own;
   /// The shared memory that holds the counters; empty: none.
   std::string counters;
   /// Whose that memory must be, beside our own and root's; see ShmCounterTable.
   std::optional<uid_t> countersOwner;
   /// Empty: mplsted.conf, where net-snmp looks for it.
   std::filesystem::path config;
   std::vector<Trace> traces;
   /// SNMP contexts to serve besides the default one.
   std::vector<std::string> contexts;
   LogOutput log = LogOutput::standardError;
   NotificationOptions notifications;
   /// What is less urgent is not logged.
   LogLevel logLevel = LogLevel::debug;
   /// Only find out whether all of this can be used.
   bool checkConfig = false;

   /// Those that stood on the command line, such as "--state".
   std::set<std::string, std::less<>> given;
};

/// The command line is wrong; the text says what and where to look.
class UsageError : public std::runtime_error {
   using std::runtime_error::runtime_error;
};

/// Reads HANDLE=LEVELS. Throws std::invalid_argument.
Options::Trace parseTrace(std::string const& text);

/// Reads "own" or "stock". Throws std::invalid_argument.
Host::TableDriving parseTableDriving(std::string const& text);

/// Reads the arguments (without the program's name). Prints to the standard output and returns nothing when they ask
/// for the help text or the version. Throws UsageError.
std::optional<Options> parseOptions(std::span<char const* const> arguments);

}  // namespace Daemon
