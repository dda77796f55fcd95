// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>

#include "tools/Commands.h"
#include "tools/Usage.h"

namespace {

// One line on stderr, whatever the message holds.
int fail(std::string message, Tools::ExitCode code) {
   std::replace_if(
         message.begin(), message.end(), [](unsigned char c) { return c < ' ' || c == 0x7f; }, ' ');
   fmt::print(stderr, "mplste: {}\n", message);
   return code;
}

}  // namespace

int main(int argc, char** argv) {
   CLI::App app("Shows the MPLS traffic-engineering tunnels that an SNMP agent serves (MPLS-TE-STD-MIB)", "mplste");
   app.set_version_flag("--version", "mplste " MPLSTE_VERSION "\nbuilt with " MPLSTE_BUILT_WITH);
   app.require_subcommand(1);
   app.option_defaults()->take_last();
   app.failure_message([](CLI::App const*, CLI::Error const&) { return std::string(); });
   app.footer("Exit status: 0 done, 1 wrong usage or nothing of that name, 2 the agent does not answer or refuses.");
   Tools::addShow(app);
   Tools::addWatch(app);
   Tools::addCounters(app);
   Tools::addSimulate(app);
   Tools::addPublish(app);
   Tools::addState(app);
   Tools::addStatus(app);
   Tools::addEvents(app);
   Tools::addTrace(app);
   Tools::addDoctor(app);

   try {
      app.parse(argc, argv);
      return Tools::success;
   } catch (CLI::Success const& success) {  // --help, --version
      return app.exit(success);
   } catch (CLI::Error const& error) {
      return fail(Tools::usageText(app, error), Tools::usageError);
   } catch (Tools::AgentError const& error) {
      return fail(error.what(), Tools::agentError);
   } catch (std::exception const& error) {
      return fail(error.what(), Tools::usageError);
   }
}
