// SPDX-License-Identifier: MIT
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <signal.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <array>
#include <ctime>
#include <memory>
#include <thread>

#include "tools/Commands.h"
#include "tools/EventText.h"
#include "tools/PublishSocket.h"
#include "tools/Rates.h"
#include "tools/TableReader.h"
#include "tools/Terminal.h"
#include "tools/Views.h"

namespace Tools {

namespace {

using Clock = RateMeter::Clock;
using Align = TextTable::Align;

struct WatchOptions {
   AgentOptions agent;
   double interval = 2;  // Seconds.
   unsigned count = 0;   // 0: without end.
   std::string socket;   // Where mplsted tells of events; empty: they are not shown.
};

// What the last readings found, and how it is shown.
class Watch {
 public:
   // `wait` is used while an answer is awaited. Rates have a decimal prefix for the eye, or are plain for programs.
   Watch(WatchOptions const& options, Wait wait, bool scaledRates)
         : agent_(options.agent), socket_(options.socket), wait_(std::move(wait)), scaledRates_(scaledRates) {}

   // Reads everything once. An agent that does not answer is noted in failure(), and the rows stay as they were.
   // Each reading has a session of its own, so that nothing of an agent that has gone stays behind.
   void read() {
      at_ = std::time(nullptr);
      readEvents();
      try {
         SnmpSession session(agent_, wait_);
         auto tunnels = walk(session, tunnelTable, std::array{TunnelColumn::name, TunnelColumn::operStatus});
         auto const at = Clock::now();
         auto counters = walk(session, perfTable, std::array{PerfColumn::hcPackets, PerfColumn::hcBytes});
         RateMeter::Reading reading;
         for (auto const& [index, row] : counters) {
            reading[index] = {toNumber(row[PerfColumn::hcPackets]), toNumber(row[PerfColumn::hcBytes])};
         }
         rates_ = meter_.next(std::move(reading), at);
         tunnels_ = std::move(tunnels);
         counters_ = std::move(counters);
         failure_.clear();
      } catch (AgentError const& error) {
         failure_ = escaped(error.what());
         rates_.clear();
      }
   }

   // Empty when the last reading went well.
   std::string const& failure() const { return failure_; }

   std::string time() const { return fmt::format("{:%F %T}", fmt::localtime(at_)); }

   // The latest event, if there is one.
   std::string latest(bool colour) const { return event_.is_object() ? eventLine(event_, colour) : std::string(); }

   // Totals of tunnels and of rates.
   std::string totals() const {
      double packets = 0;
      double bytes = 0;
      for (auto const& [index, rates] : rates_) {
         packets += rates.packets.value_or(0);
         bytes += rates.bytes.value_or(0);
      }
      return fmt::format("{}, {} packets/s, {} bytes/s", tunnelTotals(tunnels_), rateText(packets), rateText(bytes));
   }

   Lines table(bool colour) const {
      TextTable table({{"NAME"},
                       {"ID"},
                       {"EGRESS"},
                       {"STATE"},
                       {"PACKETS/S", Align::right},
                       {"BYTES/S", Align::right},
                       {"PACKETS", Align::right},
                       {"BYTES", Align::right}});
      static Row const none;
      for (auto const& [index, tunnel] : tunnels_) {
         auto const counters = counters_.find(index);
         auto const& row = counters == counters_.end() ? none : counters->second;
         auto const found = rates_.find(index);
         auto const rates = found == rates_.end() ? Rates{} : found->second;
         auto const rateCell = [&](std::optional<double> rate) -> Cell {
            if (rates.restarted) return {"restarted", Style::warning};
            return {rate ? rateText(*rate) : "-"};
         };
         table.add({{cellText(tunnelTable, tunnel, TunnelColumn::name)},
                    {tunnelId(index)},
                    {egress(index)},
                    stateCell(tunnel),
                    rateCell(rates.packets),
                    rateCell(rates.bytes),
                    {cellText(perfTable, row, PerfColumn::hcPackets)},
                    {cellText(perfTable, row, PerfColumn::hcBytes)}});
      }
      return table.lines(colour);
   }

 private:
   // Nothing that would be worth to end the watch for.
   void readEvents() {
      if (socket_.empty()) return;
      try {
         auto const events =
               PublishSocket({.path = socket_, .timeout = 1}).ask("{\"$events\":null}").value("events", Json::array());
         if (!events.empty()) event_ = events.back();
      } catch (AgentError const&) {
         event_ = nullptr;
      }
   }

   std::string rateText(double rate) const { return scaledRates_ ? scaled(rate) : fmt::format("{:.1f}", rate); }

   AgentOptions const agent_;
   std::string const socket_;
   Wait const wait_;
   bool const scaledRates_;
   RateMeter meter_;
   std::time_t at_ = 0;
   std::string failure_;
   Rows tunnels_;
   Rows counters_;
   std::map<Oid, Rates> rates_;
   Json event_;
};

// `taken` does not count the first reading, which gives no rates yet.
bool more(WatchOptions const& options, unsigned taken) { return options.count == 0 || taken < options.count; }

std::chrono::milliseconds until(Clock::time_point due) {
   return std::max(std::chrono::ceil<std::chrono::milliseconds>(due - Clock::now()), std::chrono::milliseconds{0});
}

Clock::duration interval(WatchOptions const& options) {
   return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(options.interval));
}

Lines screen(Watch const& watch, WatchOptions const& options, std::size_t height, bool colour) {
   Lines lines{
         fmt::format("{}  every {:g} s, {}  (q quits)", escaped(options.agent.address), options.interval, watch.time()),
         watch.failure().empty() ? watch.totals() : styled(watch.failure(), Style::bad, colour)};
   if (auto const latest = watch.latest(colour); !latest.empty()) lines.push_back(latest);
   lines.emplace_back();
   auto const table = watch.table(colour);
   auto const room = height > lines.size() ? height - lines.size() : 0;
   if (table.size() <= room) {
      lines.insert(lines.end(), table.begin(), table.end());
   } else if (room > 0) {
      auto const shown = room - 1;
      lines.insert(lines.end(), table.begin(), table.begin() + static_cast<std::ptrdiff_t>(shown));
      lines.push_back(fmt::format("... {} more", table.size() - shown));
   }
   return lines;
}

// Until q, Ctrl-C, a signal or the count ends it.
void watchOnScreen(WatchOptions const& options) {
   int endedBy = 0;
   std::string failure;
   try {
      Terminal terminal(STDIN_FILENO, STDOUT_FILENO);
      bool const colour = colourWanted(STDOUT_FILENO);
      terminal.draw({fmt::format("{}  (q quits)", escaped(options.agent.address))});
      Watch watch(
            options, [&](int fd, auto limit) { terminal.wait(fd, limit); }, true);
      auto const draw = [&] { terminal.draw(screen(watch, options, terminal.height(), colour)); };
      watch.read();
      draw();
      for (unsigned taken = 0; more(options, taken); ++taken) {
         auto const due = Clock::now() + interval(options);
         while (until(due).count() > 0) {
            terminal.wait(-1, until(due));
            if (terminal.redrawWanted()) draw();
         }
         watch.read();
         draw();
      }
      failure = watch.failure();
   } catch (Quit const& quit) {
      endedBy = quit.signal;
   }
   // Now that the terminal is as it was, end as the signal wants it.
   if (endedBy) raise(endedBy);
   if (!failure.empty()) throw AgentError(failure);
}

// One block of lines a reading.
void watchOnPaper(WatchOptions const& options) {
   Watch watch(options, waitForInput, false);
   auto const print = [&] {
      std::string text = watch.time() + "  ";
      if (watch.failure().empty()) {
         text += watch.totals() + '\n';
         if (auto const latest = watch.latest(false); !latest.empty()) text += latest + '\n';
         for (auto const& line : watch.table(false)) text += line + '\n';
      } else {
         text += watch.failure() + '\n';
      }
      writeAll(STDOUT_FILENO, text + '\n');
   };
   watch.read();
   if (!watch.failure().empty()) print();
   for (unsigned taken = 0; more(options, taken); ++taken) {
      std::this_thread::sleep_for(interval(options));
      watch.read();
      print();
   }
   if (!watch.failure().empty()) throw AgentError(watch.failure());
}

}  // namespace

void addWatch(CLI::App& app) {
   auto* watch = app.add_subcommand("watch", "Show packets/s and bytes/s of all tunnels, again and again");
   auto const options = std::make_shared<WatchOptions>();
   addAgentOptions(*watch, options->agent);
   watch->add_option("--socket", options->socket,
                     "Show the latest event of the mplsted that listens to publishers there")
         ->envname("MPLSTE_SOCKET")
         ->type_name("PATH");
   watch->add_option("--interval", options->interval, "Seconds between two readings")
         ->type_name("SECONDS")
         ->check(CLI::Range(0.1, 86400.0).description(""))
         ->capture_default_str();
   watch->add_option("--count", options->count, "End after so many intervals (0: never)")
         ->type_name("N")
         ->capture_default_str();
   watch->callback([options] { isScreen(STDOUT_FILENO) ? watchOnScreen(*options) : watchOnPaper(*options); });
}

}  // namespace Tools
