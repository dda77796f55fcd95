// SPDX-License-Identifier: MIT
// What an operator asks mplsted for: the state that it has, its status, and trace levels.
#include <fmt/format.h>
#include <signal.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <string_view>

#include "tools/Commands.h"
#include "tools/Print.h"
#include "tools/PublishSocket.h"
#include "tools/StateLayout.h"
#include "tools/StatusText.h"
#include "tools/Terminal.h"
#include "tools/TraceText.h"

namespace Tools {

namespace {

void printState(PublishOptions const& options) {
   // Who reads may stop at any time, as head does; that is no failure.
   signal(SIGPIPE, SIG_DFL);
   std::string const answer = PublishSocket(options).exchange("{\"$state\":null}");
   constexpr std::string_view kBegin = "{\"ok\":true,\"state\":";
   if (!answer.starts_with(kBegin) || !answer.ends_with('}')) {
      answerFrom(answer);
      throw AgentError("mplsted does not tell its state");
   }
   std::string_view document = answer;
   document.remove_prefix(kBegin.size());
   document.remove_suffix(1);
   layOutState(document, [](std::string_view piece) { writeAll(STDOUT_FILENO, piece); });
}

void printStatus(PublishOptions const& options, bool json) {
   Json const status = PublishSocket(options).ask("{\"$status\":null}").value("status", Json::object());
   if (json) return writeAll(STDOUT_FILENO, status.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
   printLines(statusLines(status));
}

void trace(PublishOptions const& options, std::string const& levels) {
   PublishSocket socket(options);
   if (levels.empty()) {
      return printLines(traceLines(socket.ask("{\"$trace\":null}").value("traces", Json::array())));
   }
   Json const request{{"$trace", levels}};
   socket.ask(request.dump(-1, ' ', false, Json::error_handler_t::replace));
}

}  // namespace

void addState(CLI::App& app) {
   auto* const command = app.add_subcommand("state", "Print the state that mplsted has, as a document");
   auto const options = std::make_shared<PublishOptions>();
   addPublishOptions(*command, *options);
   command->callback([options] { printState(*options); });
}

void addStatus(CLI::App& app) {
   auto* const command = app.add_subcommand("status", "Print how mplsted fares");
   auto const options = std::make_shared<PublishOptions>();
   auto const json = std::make_shared<bool>(false);
   command->add_flag("--json", *json, "Write JSON for programs");
   addPublishOptions(*command, *options);
   command->callback([options, json] { printStatus(*options, *json); });
}

void addTrace(CLI::App& app) {
   auto* const command = app.add_subcommand("trace", "List what mplsted can trace, or set the trace levels of a part");
   auto const options = std::make_shared<PublishOptions>();
   auto const levels = std::make_shared<std::string>();
   command->add_option("HANDLE=LEVELS", *levels, "A part and its levels 0 to 9, such as mplsTeStdMIB=0-2,8 or =none")
         ->type_name("");
   addPublishOptions(*command, *options);
   command->callback([options, levels] { trace(*options, *levels); });
}

}  // namespace Tools
