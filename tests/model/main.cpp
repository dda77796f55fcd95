// SPDX-License-Identifier: MIT
// Long random histories of a small head end, compared with a naive recomputation of all tables after every event.
#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <iostream>

#include "tests/model/Oracle.h"
#include "tests/model/World.h"

namespace {

struct Options {
   std::uint64_t seed = 1;
   std::uint64_t events = 100'000;
   std::uint64_t seeds = 1;
   unsigned nesting = 4;
   bool tasks = false;
   bool verbose = false;
};

class Run {
 public:
   explicit Run(Options const& options)
         : options_(options),
           world_({.seed = options.seed, .tasks = options.tasks, .nesting = options.nesting}),
           random_(options.seed ^ 0x5eed) {}

   bool all() {
      scheduler_->yieldPolicyIs([this] { return random_() % 3 == 0; });
      world_.start();
      scheduler_->runAll();
      if (!check(0, "start")) return false;
      for (std::uint64_t n = 1; n <= options_.events; ++n) {
         std::string const what = world_.event();
         if (options_.verbose) std::cerr << n << ": " << what << '\n';
         // Some events meet documents, and with tasks scans and reconciliations, that are still under way. Without
         // tasks the tables follow each entry of a document at once.
         if (world_.hasDocuments() || options_.tasks) world_.slice();
         bool const later = scheduler_->hasWork() && random_() % 4 != 0;
         if (later && options_.tasks) continue;
         if (!later) scheduler_->runAll();
         if (!check(n, what)) return false;
      }
      return true;
   }

   void printHeld() const {
      auto const& held = oracle_.held();
      auto const average = [&](std::uint64_t sum) {
         return static_cast<double>(sum) / static_cast<double>(std::max<std::uint64_t>(held.checks, 1));
      };
      fmt::print(
            "seed {}: {} events, {} inside notifications; on average {:.1f} sp ids, {:.1f} of them with a row, {:.1f} "
            "ambiguous, {:.1f} hop rows\n",
            options_.seed, options_.events, world_.nested(), average(held.spIds), average(held.rows),
            average(held.ambiguous), average(held.hopRows));
   }

 private:
   bool check(std::uint64_t n, std::string const& what) {
      auto wrong = oracle_.check(world_);
      if (!world_.silenced() && !world_.derivation().idle()) wrong.push_back("the derivation is not idle");
      world_.settled();
      if (wrong.empty()) return true;
      std::cerr << "seed " << options_.seed << ", after event " << n << " (" << what << "):\n";
      for (auto const& line : wrong) std::cerr << "  " << line << '\n';
      return false;
   }

   Options options_;
   Vel::Ptr<Orb::TaskScheduler> scheduler_ = Orb::TaskSchedulerRoot::findOrCreateScheduler();
   Model::World world_;
   Model::Oracle oracle_;
   std::mt19937_64 random_;
};

}  // namespace

int main(int argc, char** argv) {
   Options options;
   CLI::App app("Random histories of a head end against a naive recomputation");
   app.add_option("--seed", options.seed, "Seed of the history")->capture_default_str();
   app.add_option("--seeds", options.seeds, "Number of histories, from that seed on")->capture_default_str();
   app.add_option("--nesting", options.nesting, "Percentage of notifications inside which something happens")
         ->capture_default_str();
   app.add_option("--events", options.events, "Length of the history")->capture_default_str();
   app.add_flag("--tasks", options.tasks, "Scan and reconcile in tasks that yield at random, with events in between");
   app.add_flag("--verbose", options.verbose, "Print each event");
   CLI11_PARSE(app, argc, argv);
   Flo::SmControl::defaultSynchronousIs(!options.tasks);
   for (std::uint64_t const last = options.seed + options.seeds; options.seed < last; ++options.seed) {
      Run run(options);
      bool const right = run.all();
      run.printHeld();
      if (!right) return 1;
   }
   fmt::print("all tables as recomputed\n");
   return 0;
}
