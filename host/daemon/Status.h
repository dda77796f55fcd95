// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/agentx/MasterStatus.h"
#include "host/module/Module.h"
#include "host/notifications/Notifications.h"
#include "host/publish/Server.h"
#include "host/store/ChangeQueue.h"
#include "host/store/StateStore.h"
#include "inputs/tallies/CounterTable.h"

namespace Daemon {

/// What an operator may ask of the agent (`mplste status`, docs/state.md). Some of it is noted here as it happens, the
/// rest is looked up when it is asked for; nothing takes time that grows with the state.
class Status {
 public:
   /// Where it is looked up. What is null is not part of this agent, and stays null in the text. All of it outlives
   /// the status, or is set to null before it goes.
   struct Sources {
      Store::StateStore const* store = nullptr;
      Host::Module const* module = nullptr;
      Tallies::CounterTable const* counters = nullptr;
      Publish::Server const* publish = nullptr;
      Notifications::Notifier* notifier = nullptr;
      std::string stateFile;                           ///< empty: none
      std::string countersName;                        ///< empty: none
      std::vector<std::string> addresses;              ///< on which SNMP is answered
      std::function<AgentX::MasterStatus()> master{};  ///< of the AgentX master; null when SNMP is answered here
   };

   using SystemClock = std::chrono::system_clock;
   explicit Status(Sources sources, SystemClock::time_point started = SystemClock::now())
         : started_(started), sources_(std::move(sources)) {}

   Sources& sources() { return sources_; }

   /// What has become of a document, and where it came from: "uid 1000 (gid 998)" or the file's name.
   void fileLoaded(std::size_t entries, SystemClock::time_point now);
   void applied(std::string_view from, std::size_t entries, SystemClock::time_point now);
   void refused(std::string_view from, std::string_view reason, SystemClock::time_point now);

   /// Whether a document has changed anything yet.
   bool changed() const { return lastChange_.has_value(); }

   nlohmann::ordered_json json(SystemClock::time_point now) const;

 private:
   struct Refusal {
      SystemClock::time_point time;
      std::string from;
      std::string reason;
      bool mended = false;  // a document that came from there later was accepted
   };

   nlohmann::ordered_json stateJson() const;
   nlohmann::ordered_json publishJson() const;
   nlohmann::ordered_json notificationsJson() const;

   SystemClock::time_point const started_;
   Sources sources_;
   std::optional<SystemClock::time_point> lastLoad_;
   std::optional<SystemClock::time_point> lastChange_;
   std::uint64_t loads_ = 0;
   std::uint64_t refusals_ = 0;
   std::optional<Refusal> lastRefusal_;
};

/// A time as ISO 8601 has it, in UTC: "2025-10-09T08:53:20Z".
std::string isoTime(std::chrono::system_clock::time_point time);

}  // namespace Daemon
