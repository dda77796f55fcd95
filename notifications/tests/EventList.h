// SPDX-License-Identifier: MIT
#pragma once

#include <fmt/format.h>

#include <array>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "host/snmp/TunnelEvents.h"

namespace TestSupport {

/// A sink that keeps what it is told.
class EventList : public Snmp::TunnelEventSink {
 public:
   bool hasRoom() override { return room_; }
   void take(Snmp::TunnelEvent const& event) override {
      events_.push_back(event);
      if (then_) std::exchange(then_, nullptr)();
   }
   void proceedAfter(std::chrono::nanoseconds time) override { waits_ = time; }

   void roomIs(bool room) { room_ = room; }
   /// What is done inside the next event.
   void thenIs(std::function<void()> then) { then_ = std::move(then); }
   std::vector<Snmp::TunnelEvent> const& events() const { return events_; }
   /// How long it was last asked to wait.
   std::chrono::nanoseconds waits() const { return waits_; }

   /// Takes the events out, as texts: what, which tunnel, and the beginning of the row's index.
   std::vector<std::string> taken() {
      std::vector<std::string> texts;
      for (auto const& event : std::exchange(events_, {})) texts.push_back(text(event));
      return texts;
   }
   static std::string text(Snmp::TunnelEvent const& event) {
      constexpr std::array kinds{"", "up", "down", "rerouted", "reoptimized"};
      return fmt::format("{} {} {}.{}", kinds.at(static_cast<std::size_t>(event.kind)), event.tunnel, event.to.index[0],
                         event.to.index[1]);
   }

 private:
   bool room_ = true;
   std::function<void()> then_;
   std::vector<Snmp::TunnelEvent> events_;
   std::chrono::nanoseconds waits_{};
};

}  // namespace TestSupport
