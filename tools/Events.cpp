// SPDX-License-Identifier: MIT
// mplste events: what managers are notified of, as it happens.
#include <fmt/format.h>
#include <signal.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "tools/Commands.h"
#include "tools/EventText.h"
#include "tools/PublishSocket.h"
#include "tools/Terminal.h"

namespace Tools {

namespace {

struct EventsOptions {
   PublishOptions socket;
   bool json = false;
   bool latest = false;
   unsigned count = 0;  // 0: without end
};

class Printer {
 public:
   explicit Printer(EventsOptions const& options) : options_(options), colour_(colourWanted(STDOUT_FILENO)) {}

   bool done() const { return options_.count != 0 && printed_ >= options_.count; }

   void print(Json const& answer) {
      if (auto const missed = answer.value("missed", std::uint64_t{0}); missed != 0) {
         fmt::print(stderr, "mplste: {} events have gone before they could be read\n", missed);
      }
      for (auto const& event : answer.value("events", Json::array())) {
         if (done()) return;
         writeAll(STDOUT_FILENO, (options_.json ? event.dump(-1, ' ', false, Json::error_handler_t::replace)
                                                : eventLine(event, colour_)) +
                                       "\n");
         ++printed_;
      }
   }

 private:
   EventsOptions const& options_;
   bool const colour_;
   unsigned printed_ = 0;
};

void printEvents(EventsOptions const& options) {
   // Who reads may stop at any time, as head does; that is no failure.
   signal(SIGPIPE, SIG_DFL);
   PublishSocket socket(options.socket);
   Printer printer(options);
   Json answer = socket.ask("{\"$events\":null}");
   if (options.latest) printer.print(answer);
   // From here on it takes as long as it takes.
   socket.waitForever();
   while (!printer.done()) {
      answer = socket.ask(fmt::format("{{\"$events\":{}}}", answer.value("last", std::uint64_t{0})));
      printer.print(answer);
   }
}

}  // namespace

void addEvents(CLI::App& app) {
   auto* const command = app.add_subcommand("events", "Print what managers are notified of, as it happens");
   auto const options = std::make_shared<EventsOptions>();
   command->add_flag("--json", options->json, "Write JSON for programs, one object on a line");
   command->add_flag("--latest", options->latest, "Begin with the latest that mplsted still has");
   command->add_option("--count", options->count, "End after so many events (0: never)")
         ->type_name("N")
         ->capture_default_str();
   addPublishOptions(*command, options->socket);
   command->callback([options] { printEvents(*options); });
}

}  // namespace Tools
