// SPDX-License-Identifier: MIT
/// A manager that knows of tunnels what it is told of them, and what the table says in its own naive way.
#pragma once

#include <array>
#include <chrono>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "host/snmp/TunnelEvents.h"
#include "mib/MplsTeMib.h"

namespace Notified {

using Time = std::chrono::steady_clock::time_point;

/// What is known of a tunnel. Of one that is down, nothing else is.
struct Known {
   bool up = false;
   std::array<std::uint32_t, 4> index{};
   std::string lsp{};
   std::vector<std::string> path{};
   bool locallyRepaired = false;  // which is not told: not compared with a replay
   bool operator==(Known const&) const = default;
   bool isAsTold(Known const& told) const {
      return up == told.up && (!up || (index == told.index && lsp == told.lsp && path == told.path));
   }
};

/// By tunnel, what its row says. Of a tunnel with more than one row it is that of its active LSP; there is none that
/// speaks for it when that has none, and then any of them may.
using Table = std::map<std::string, std::vector<Known>>;
Table tableOf(MplsSnmp::MplsTeMib const& mib);

/// What is wrong with an event is added to a list.
class Replay : public Snmp::TunnelEventSink {
 public:
   Replay(std::uint32_t rate, std::vector<std::string>& wrong) : rate_(rate), wrong_(wrong) {}

   /// What is so in the beginning.
   void begins(Table const& table);

   bool hasRoom() override { return room; }
   void take(Snmp::TunnelEvent const& event) override;
   void proceedAfter(std::chrono::nanoseconds time) override { due = now + time; }

   std::map<std::string, Known> const& known() const { return known_; }
   /// What has been told since the last time: by tunnel, the kinds of events in their order.
   std::map<std::string, std::vector<Snmp::TunnelEvent::Kind>> taken() { return std::exchange(taken_, {}); }
   std::uint64_t told() const { return told_; }

   Time now{std::chrono::hours(1000)};
   Time due = Time::max();  // when it has been asked to have the monitor proceed
   bool room = true;

 private:
   std::uint32_t const rate_;
   std::vector<std::string>& wrong_;
   std::map<std::string, Known> known_;
   std::map<std::string, std::vector<Snmp::TunnelEvent::Kind>> taken_;
   std::deque<Time> lately_;
   std::uint64_t told_ = 0;
};

/// What distinguishes what is known from what the table says.
std::vector<std::string> differences(std::map<std::string, Known> const& known, Table const& table);

}  // namespace Notified
