// SPDX-License-Identifier: MIT
#include <CLI/CLI.hpp>

#include "tools/Commands.h"

namespace Tools {

void addAgentOptions(CLI::App& command, AgentOptions& options) {
   auto const notEmpty = [](std::string const& text) { return text.empty() ? "must not be empty" : std::string(); };
   command
         .add_option("--agent", options.address,
                     "The agent: udp:HOST:PORT, udp6:[ADDRESS]:PORT, tcp:HOST:PORT or unix:PATH")
         ->envname("MPLSTE_AGENT")
         ->type_name("ADDRESS")
         ->check(notEmpty)
         ->capture_default_str();
   command.add_option("--community", options.community, "The SNMPv2c community that may read the tables")
         ->envname("MPLSTE_COMMUNITY")
         ->type_name("NAME")
         ->capture_default_str();
   command.add_option("--timeout", options.timeout, "Seconds to wait for an answer before asking again")
         ->type_name("SECONDS")
         ->check(CLI::Range(0.01, 3600.0).description(""))
         ->capture_default_str();
   command.add_option("--retries", options.retries, "How often to ask again")
         ->type_name("N")
         ->check(CLI::Range(0, 100).description(""))
         ->capture_default_str();
}

}  // namespace Tools
