// SPDX-License-Identifier: MIT
// Long random histories of a small head end, compared with a naive recomputation of all tables after every event.
#include <CLI/CLI.hpp>
#include <iostream>

#include "tests/model/Oracle.h"
#include "tests/model/World.h"

namespace {

struct Options {
   std::uint64_t seed = 1;
   std::uint64_t events = 100'000;
   bool tasks = false;
   bool verbose = false;
};

class Run {
 public:
   explicit Run(Options const& options) : options_(options), world_(options.seed), random_(options.seed ^ 0x5eed) {}

   bool all() {
      if (options_.tasks) scheduler_->yieldPolicyIs([this] { return random_() % 3 == 0; });
      world_.start();
      settleTasks();
      bool restarted = true;
      for (std::uint64_t n = 0; n < options_.events; ++n) {
         bool const restart = random_() % 50 == 0;
         std::string const what = restart ? world_.restart() : world_.event();
         restarted = restarted || restart;
         if (options_.verbose) std::cerr << n << ": " << what << '\n';
         // With tasks, some events meet scans and reconciliations that are still under way.
         if (options_.tasks && !oneSlice() && random_() % 4 != 0) continue;
         settleTasks();
         if (!report(n, what, oracle_.check(world_, restarted))) return false;
         restarted = false;
      }
      return true;
   }

 private:
   /// Runs the tasks until one yields; true when none is left.
   bool oneSlice() {
      if (scheduler_->hasWork()) scheduler_->runSlice(std::chrono::microseconds(0));
      return !scheduler_->hasWork();
   }
   void settleTasks() { scheduler_->runAll(); }

   bool report(std::uint64_t n, std::string const& what, std::vector<std::string> const& wrong) const {
      if (!world_.derivation().idle()) {
         std::cerr << "the derivation is not idle\n";
         return false;
      }
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
   app.add_option("--events", options.events, "Length of the history")->capture_default_str();
   app.add_flag("--tasks", options.tasks, "Scan and reconcile in tasks that yield at random, with events in between");
   app.add_flag("--verbose", options.verbose, "Print each event");
   CLI11_PARSE(app, argc, argv);
   Flo::SmControl::defaultSynchronousIs(!options.tasks);
   if (!Run(options).all()) return 1;
   std::cout << options.events << " events, all tables as recomputed\n";
   return 0;
}
