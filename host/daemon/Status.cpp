// SPDX-License-Identifier: MIT
#include "host/daemon/Status.h"

#include <fmt/chrono.h>
#include <unistd.h>

#include <array>

#include "substrate/orb/TaskScheduler.h"
#include "substrate/vel/WorkCounter.h"

namespace Daemon {

namespace {

using Json = nlohmann::ordered_json;

/// A table, and the one that the MIB keeps its rows in: a row of counters belongs to every tunnel.
struct Table {
   char const* name;
   char const* keptIn;
};
constexpr std::array<Table, 3> kTables{{{"mplsTunnelTable", "mplsTunnelTable"},
                                        {"mplsTunnelHopTable", "mplsTunnelHopTable"},
                                        {"mplsTunnelPerfTable", "mplsTunnelTable"}}};

Json timeJson(std::optional<std::chrono::system_clock::time_point> const& time) {
   return time ? Json(isoTime(*time)) : Json();
}

Json masterJson(AgentX::MasterStatus const& master) {
   using State = AgentX::MasterStatus::State;
   char const* const state = master.state == State::connected      ? "connected"
                             : master.state == State::unresponsive ? "unresponsive"
                                                                   : "disconnected";
   return {{"master", master.master},
           {"state", state},
           {"since", isoTime(master.since)},
           {"lastError", master.lastError.empty() ? Json() : Json(master.lastError)}};
}

}  // namespace

std::string isoTime(std::chrono::system_clock::time_point time) {
   return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(std::chrono::system_clock::to_time_t(time)));
}

void Status::fileLoaded(std::size_t entries, SystemClock::time_point now) {
   ++loads_;
   lastLoad_ = now;
   applied(sources_.stateFile, entries, now);
}

void Status::applied(std::string_view from, std::size_t entries, SystemClock::time_point now) {
   if (lastRefusal_ && lastRefusal_->from == from) lastRefusal_->mended = true;
   if (entries != 0) lastChange_ = now;
}

void Status::refused(std::string_view from, std::string_view reason, SystemClock::time_point now) {
   ++refusals_;
   lastRefusal_ = {now, std::string(from), std::string(reason)};
}

Json Status::json(SystemClock::time_point now) const {
   using std::chrono::duration_cast;
   using std::chrono::seconds;
   Json json;
   json["version"] = MPLSTE_VERSION;
   json["pid"] = getpid();
   json["started"] = isoTime(started_);
   json["uptime"] = duration_cast<seconds>(now - started_).count();
   json["addresses"] = sources_.addresses;
   json["agentx"] = sources_.master ? masterJson(sources_.master()) : Json();
   json["state"] = stateJson();
   json["rows"] = Json::object();
   for (auto const& [name, keptIn] : kTables) {
      json["rows"][name] = sources_.module ? sources_.module->rows(keptIn) : 0;
   }
   json["hopLists"] = sources_.module ? sources_.module->hopListsInUse() : 0;
   json["counters"] = Json();
   if (!sources_.countersName.empty() && sources_.counters) {
      json["counters"] = {{"name", sources_.countersName}, {"attached", sources_.counters->counterMap() != nullptr}};
   }
   json["notifications"] = notificationsJson();
   json["refused"] = {{"documents", refusals_}, {"last", Json()}};
   if (lastRefusal_) {
      json["refused"]["last"] = {{"time", isoTime(lastRefusal_->time)},
                                 {"from", lastRefusal_->from},
                                 {"reason", lastRefusal_->reason},
                                 {"mended", lastRefusal_->mended}};
   }
   json["tasks"] = Orb::TaskSchedulerRoot::findOrCreateScheduler()->tasksQueued();
   json["work"] = Vel::WorkCounter::readings();
   return json;
}

Json Status::notificationsJson() const {
   if (!sources_.notifier || !sources_.notifier->settings().enabled) return {};
   auto const& monitor = sources_.notifier->monitor();
   return {{"maxRate", sources_.notifier->settings().maxRate},
           {"sent", monitor.sent()},
           {"coalesced", monitor.coalesced()},
           {"waiting", monitor.waiting()}};
}

Json Status::stateJson() const {
   Json state;
   state["file"] = Json();
   if (!sources_.stateFile.empty()) {
      state["file"] = {{"path", sources_.stateFile}, {"loads", loads_}, {"lastLoad", timeJson(lastLoad_)}};
   }
   state["publish"] = publishJson();
   state["lastChange"] = timeJson(lastChange_);
   state["entries"] = Json::object();
   if (!sources_.store) return state;
   for (auto const& collection : sources_.store->collections()) {
      state["entries"][std::string(collection->name())] = collection->size();
   }
   return state;
}

Json Status::publishJson() const {
   if (!sources_.publish) return {};
   auto const status = sources_.publish->status();
   return {{"socket", sources_.publish->path()},
           {"connections", status.connections},
           {"accepted", status.accepted},
           {"refused", status.refused},
           {"lastPublisher", status.lastPublisher ? Json(*status.lastPublisher) : Json()}};
}

}  // namespace Daemon
