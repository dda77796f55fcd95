// SPDX-License-Identifier: MIT
#include "host/daemon/Options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>

namespace Daemon {

namespace {

Options::Trace parseTrace(std::string const& text) {
   auto const sign = text.find('=');
   if (sign == 0 || sign == std::string::npos) {
      throw UsageError(fmt::format("--trace {}: it must be HANDLE=LEVELS, such as mplsTeStdMIB=0-2", text));
   }
   try {
      return {text.substr(0, sign), Trel::parseTraceLevels(std::string_view(text).substr(sign + 1))};
   } catch (std::invalid_argument const& error) {
      throw UsageError(fmt::format("--trace {}: {}", text, error.what()));
   }
}

void refuseEmpty(CLI::App const& app) {
   for (CLI::Option const* const option : app.get_options()) {
      if (option->get_items_expected_min() == 0) continue;  // it may be given without a value
      if (std::ranges::any_of(option->results(), &std::string::empty)) {
         throw UsageError(fmt::format("{} must not be empty", option->get_name()));
      }
   }
}

}  // namespace

std::optional<Options> parseOptions(std::span<char const* const> arguments) {
   Options options;
   std::vector<std::string> traces;

   CLI::App app("Serves the MPLS traffic-engineering tunnels of a head end over SNMP (MPLS-TE-STD-MIB)", "mplsted");
   app.set_version_flag("--version", "mplsted " MPLSTE_VERSION);
   app.add_option("--state", options.state, "The published state, a JSON document; its changes are followed")
         ->type_name("FILE")
         ->required();
   app.add_option("--listen", options.listen,
                  "Where to answer SNMP, such as udp:127.0.0.1:11161 (the default), tcp:HOST:PORT, udp6:[ADDRESS]:PORT "
                  "or unix:PATH; may be given more than once; port 0 takes a free one")
         ->type_name("ADDRESS")
         ->expected(1);
   std::string master;
   auto* const agentx =
         app.add_option("--agentx", master,
                        "Serve through the AgentX master at ADDRESS, such as unix:/run/agentx/master (the default) or "
                        "tcp:127.0.0.1:705, instead of answering SNMP itself; who may read is the master's affair then")
               ->type_name("[ADDRESS]")
               ->expected(0, 1)
               ->excludes("--listen");
   app.add_option("--module", options.module, "The MIB module to load, instead of mplsTeStdMIB.so")->type_name("FILE");
   app.add_option("--counters", options.counters,
                  "The shared memory that the forwarding process keeps packets and bytes in; without it they read as 0")
         ->type_name("NAME");
   app.add_option("--counters-owner", options.countersOwner,
                  "The user id that this shared memory must belong to, instead of our own or root's")
         ->type_name("UID");
   app.add_option("--config", options.config,
                  "Who may read what, in the notation of snmpd.conf; without it mplsted.conf is looked for where "
                  "net-snmp looks, and without one the community public may read from this machine")
         ->type_name("FILE");
   app.add_option("--trace", traces,
                  "Trace levels 0 to 15 of a part, such as mplsTeStdMIB=0-2,8; may be given more than once")
         ->type_name("HANDLE=LEVELS")
         ->expected(1);
   app.add_option("--context", options.contexts,
                  "An SNMP context to register besides the default one; may be given more than once")
         ->type_name("NAME")
         ->expected(1);
   for (char const* const repeatable : {"--listen", "--trace", "--context"}) {
      app.get_option(repeatable)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
   }
   app.footer("Exit status: 0 ended by SIGTERM or SIGINT, 1 cannot start or go on, 2 wrong usage.");

   std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
   try {
      app.parse(reversed);
   } catch (CLI::Success const& success) {  // --help, --version
      app.exit(success);
      return {};
   } catch (CLI::Error const& error) {
      throw UsageError(fmt::format("{}: see 'mplsted --help'", error.what()));
   }
   refuseEmpty(app);
   if (agentx->count() != 0) options.agentx = master;
   std::ranges::transform(traces, std::back_inserter(options.traces), parseTrace);
   return options;
}

}  // namespace Daemon
