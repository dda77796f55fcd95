// SPDX-License-Identifier: MIT
// The model's long random histories, and a manager that is told of them at a limited rate, by a sink that has no room
// now and then. What it has been told, replayed, must end in what the table says.
#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <random>

#include "notifications/TunnelMonitor.h"
#include "tests/model/World.h"
#include "tests/notifications/Replay.h"

namespace {

using namespace std::chrono_literals;
using Kind = Snmp::TunnelEvent::Kind;

struct Options {
   std::uint64_t seed = 1;
   std::uint64_t events = 20'000;
   std::uint32_t rate = 0;
   unsigned nesting = 4;
   bool tasks = false;
   bool verbose = false;
};

class Run {
 public:
   explicit Run(Options const& options)
         : options_(options),
           random_(options.seed ^ 0x7011d),
           world_({.seed = options.seed, .tasks = options.tasks, .nesting = options.nesting}) {}

   bool all() {
      if (options_.tasks) scheduler_->yieldPolicyIs([this] { return random_() % 3 == 0; });
      world_.start();
      monitor_->clockIs([this] { return replay_->now; });
      monitor_->maxRateIs(options_.rate);
      monitor_->eventSinkIs(replay_);
      watchMib();
      scheduler_->runAll();
      monitor_->begin();
      before_ = Notified::tableOf(world_.mib());
      replay_->begins(before_);
      for (std::uint64_t n = 1; n <= options_.events; ++n) {
         std::string what = world_.event();
         if (random_() % 3 == 0) what += trouble();
         if (options_.verbose) std::cerr << n << ": " << what << '\n';
         watchMib();
         pass(std::chrono::milliseconds(random_() % 200));
         // With tasks, some events meet scans that are still under way; and the monitor in the middle of its work.
         if (options_.tasks && !oneSlice() && random_() % 4 != 0) continue;
         settle();
         check();
         if (random_() % 50 == 0) checkAll();
         if (!wrong_.empty()) return report(n, what);
      }
      checkAll();
      if (!wrong_.empty()) return report(options_.events, "the end");
      fmt::print("seed {}: {} events, {} told, {} coalesced, {} rested with all told\n", options_.seed, options_.events,
                 replay_->told(), monitor_->coalesced(), rests_);
      return replay_->told() > options_.events / 100;
   }

 private:
   bool exact() const { return options_.rate == 0 && !options_.tasks; }

   /// The world may have gone over to another MIB.
   void watchMib() { monitor_->mplsTeMibIs(Vel::Ptr(const_cast<MplsSnmp::MplsTeMib*>(&world_.mib()))); }

   /// Inside the notifications of a scan the world may go over to another MIB, too.
   void settle() {
      do {
         watchMib();
         scheduler_->runAll();
      } while (monitor_->mplsTeMib().get() != &world_.mib());
   }

   bool oneSlice() {
      if (scheduler_->hasWork()) scheduler_->runSlice(0us);
      return !scheduler_->hasWork();
   }

   /// What the model does not do: errors of an LSP, and the count of transitions.
   std::string trouble() {
      auto const& rows = world_.mib().mplsTunnelTable();
      if (rows.empty()) return {};
      auto position = rows.begin();
      for (auto skip = random_() % rows.size(); skip != 0; --skip) ++position;
      auto const row = Vel::ptrCast<MplsSnmp::MplsTunnelTableEntryRsvp const>(position->value());
      static std::vector<Rsvp::RsvpLerLspRequestStatus::Error> const kinds[] = {{}, {{25, 3}}, {{24, 5}}, {{25, 6}}};
      if (random_() % 4 == 0) {
         auto const status = row->subTunnelStatus();
         const_cast<Rsvp::RsvpLerSubTunnelStatus&>(*status).stateTransitionsIs(status->stateTransitions() + 1);
         return "; another transition";
      }
      auto const request = row->lspRequestStatus();
      const_cast<Rsvp::RsvpLerLspRequestStatus&>(*request).errorsIs(kinds[random_() % std::size(kinds)]);
      return fmt::format("; errors of {}", request->id());
   }

   /// Time passes, and the sink has room or has none.
   void pass(std::chrono::nanoseconds time) {
      replay_->now += time;
      bool const had = std::exchange(replay_->room, exact() || random_() % 5 != 0);
      bool const due = replay_->due <= replay_->now;
      if (due) replay_->due = Notified::Time::max();
      if (due || (replay_->room && !had)) monitor_->proceed();
   }

   void check() {
      auto const& rows = world_.mib().mplsTunnelTable();
      std::uint32_t active = 0;
      for (auto const& node : rows) active += node.value()->operStatus() == MplsSnmp::OperStatus::operUp ? 1 : 0;
      if (monitor_->tunnelsConfigured() != rows.size()) wrong_.emplace_back("not as many configured as there are rows");
      if (monitor_->tunnelsActive() != active) wrong_.emplace_back("not as many active as there are rows that are up");
      if (monitor_->sent() != replay_->told()) wrong_.emplace_back("another number of events than were told");
      if (exact()) checkStep();
   }

   /// Without a limit each change is told at once: those, and no others.
   void checkStep() {
      if (monitor_->waiting() != 0 || monitor_->coalesced() != 0) wrong_.emplace_back("something waits");
      auto const now = Notified::tableOf(world_.mib());
      auto const told = replay_->taken();
      std::map<std::string, bool> tunnels;
      for (auto const& table : {before_, now}) {
         for (auto const& [tunnel, candidates] : table) tunnels[tunnel] = tunnels[tunnel] || candidates.size() > 1;
      }
      for (auto const& [tunnel, unclear] : tunnels) {
         // Which row speaks for it is for the monitor to say: that it comes out right is checked in the end.
         if (unclear) continue;
         auto const at = [&](Notified::Table const& table) {
            auto const found = table.find(tunnel);
            return found == table.end() ? Notified::Known() : found->second.front();
         };
         auto const was = at(before_);
         auto const is = at(now);
         auto const events = told.find(tunnel);
         bool const changed = was.up != is.up || (is.up && was != is);
         std::size_t const number = events == told.end() ? 0 : events->second.size();
         if (number != (changed ? 1 : 0)) {
            wrong_.push_back(fmt::format("{}: {} events for {}", tunnel, number, changed ? "a change" : "nothing"));
         } else if (changed) {
            Kind const kind = events->second.front();
            bool const right = was.up == is.up ? kind == Kind::rerouted || kind == Kind::reoptimized
                                               : kind == (is.up ? Kind::up : Kind::down);
            if (!right) wrong_.push_back(fmt::format("{}: event {}", tunnel, static_cast<int>(kind)));
         }
      }
      for (auto const& [tunnel, events] : told) {
         if (!tunnels.contains(tunnel))
            wrong_.push_back(fmt::format("{} was told of, and has never had a row", tunnel));
      }
      before_ = now;
   }

   /// When everything is told, who has heard it knows what the table says.
   void checkAll() {
      for (int n = 0; (monitor_->waiting() != 0 || scheduler_->hasWork()) && n < 10'000; ++n) {
         replay_->room = true;
         replay_->now += 100ms;
         monitor_->proceed();
         settle();
      }
      if (monitor_->waiting() != 0) wrong_.emplace_back("what waits is never told");
      for (auto& line : Notified::differences(replay_->known(), Notified::tableOf(world_.mib()))) {
         wrong_.push_back(std::move(line));
      }
      ++rests_;
   }

   bool report(std::uint64_t n, std::string const& what) const {
      std::cerr << "seed " << options_.seed << ", after event " << n << " (" << what << "):\n";
      for (auto const& line : wrong_) std::cerr << "  " << line << '\n';
      return false;
   }

   Options const options_;
   Vel::Ptr<Orb::TaskScheduler> const scheduler_ = Orb::TaskSchedulerRoot::findOrCreateScheduler();
   std::mt19937_64 random_;
   Model::World world_;
   std::vector<std::string> wrong_;
   Vel::Ptr<Notified::Replay> const replay_ = Vel::makePtr<Notified::Replay>(options_.rate, wrong_);
   Vel::Ptr<MplsSnmp::TunnelMonitor> const monitor_ = MplsSnmp::tunnelMonitorFactory("monitor");
   Notified::Table before_;
   std::uint64_t rests_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
   Options options;
   CLI::App app("Random histories of a head end, and what a manager is told of them");
   app.add_option("--seed", options.seed, "Seed of the history")->capture_default_str();
   app.add_option("--events", options.events, "Length of the history")->capture_default_str();
   app.add_option("--rate", options.rate, "Events that may be told in a second (0: no limit)")->capture_default_str();
   app.add_option("--nesting", options.nesting, "Percentage of notifications inside which something happens")
         ->capture_default_str();
   app.add_flag("--tasks", options.tasks,
                "Scan, reconcile and tell in tasks that yield at random, with events in between");
   app.add_flag("--verbose", options.verbose, "Print each event");
   CLI11_PARSE(app, argc, argv);
   Flo::SmControl::defaultSynchronousIs(!options.tasks);
   return Run(options).all() ? 0 : 1;
}
