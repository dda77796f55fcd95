// SPDX-License-Identifier: MIT
#include <signal.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "tools/Commands.h"
#include "tools/Terminal.h"
#include "tools/simulate/Churn.h"
#include "tools/simulate/Document.h"

namespace Tools {

namespace {

struct SimulateOptions {
   Simulation::Options headEnd;
   std::optional<std::uint64_t> churn;  // So many patches, instead of the document.
};

// What was written with a sign lies beyond it.
constexpr std::uint64_t kMostNumber = std::numeric_limits<std::int64_t>::max();

void simulate(SimulateOptions const& options) {
   // Who reads may stop at any time, as head does; that is no failure.
   signal(SIGPIPE, SIG_DFL);
   Simulation::HeadEnd headEnd(options.headEnd);
   if (!options.churn) {
      return writeDocument(headEnd, [](std::string_view text) { writeAll(STDOUT_FILENO, text); });
   }
   Simulation::Churn churn(std::move(headEnd));
   constexpr std::size_t kPiece = 1U << 16U;
   std::string text;
   for (std::uint64_t patch = 0; patch < *options.churn; ++patch) {
      text += churn.next().dump() + '\n';
      if (text.size() < kPiece) continue;
      writeAll(STDOUT_FILENO, text);
      text.clear();
   }
   writeAll(STDOUT_FILENO, text);
}

}  // namespace

void addSimulate(CLI::App& app) {
   auto* const simulation = app.add_subcommand("simulate", "Print a made-up head end, or what goes on in it");
   simulation->footer(
         "The state document goes to the standard output. With --churn it is merge patches (RFC 7396) that apply one\n"
         "after another to the document of the same --tunnels, --hops and --seed. The same options always give the\n"
         "same output.");
   auto const options = std::make_shared<SimulateOptions>();
   simulation->add_option("--tunnels", options->headEnd.tunnels, "Tunnels, each with a row (1 to 65535)")
         ->type_name("N")
         ->check(CLI::Range(1U, Simulation::kMostTunnels).description(""))
         ->capture_default_str();
   simulation->add_option("--hops", options->headEnd.hops, "Hops of each tunnel's path (0 to 64)")
         ->type_name("N")
         ->check(CLI::Range(0U, Simulation::kMostHops).description(""))
         ->capture_default_str();
   simulation->add_option("--seed", options->headEnd.seed, "Another number makes up another head end")
         ->type_name("N")
         ->check(CLI::Range(std::uint64_t{0}, kMostNumber).description(""))
         ->capture_default_str();
   simulation
         ->add_option("--churn", options->churn, "Print so many changes, a patch on each line, instead of the document")
         ->type_name("N")
         ->check(CLI::Range(std::uint64_t{0}, kMostNumber).description(""));
   simulation->callback([options] { simulate(*options); });
}

}  // namespace Tools
