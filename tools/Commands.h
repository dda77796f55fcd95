// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>

#include "tools/SnmpSession.h"

namespace CLI {
class App;
}

// The subcommands of mplste. Each has a file of its own with a function that adds it to the command line; its callback
// does the work and throws when it cannot.

namespace Tools {

/// What was asked for does not exist.
class NotFound : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
};

enum ExitCode { success = 0, usageError = 1, agentError = 2 };

/// --agent, --community, --timeout and --retries. `options` must outlive the parsing.
void addAgentOptions(CLI::App& command, AgentOptions& options);

void addCounters(CLI::App& app);
void addDoctor(CLI::App& app);
void addEvents(CLI::App& app);
void addPublish(CLI::App& app);
void addShow(CLI::App& app);
void addSimulate(CLI::App& app);
void addState(CLI::App& app);
void addStatus(CLI::App& app);
void addTrace(CLI::App& app);
void addWatch(CLI::App& app);

}  // namespace Tools
