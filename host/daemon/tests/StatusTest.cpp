// SPDX-License-Identifier: MIT
#include "host/daemon/Status.h"

#include <gmock/gmock.h>

namespace {

using Daemon::Status;
using Json = nlohmann::ordered_json;
using Clock = Status::SystemClock;

Clock::time_point at(std::int64_t seconds) { return Clock::time_point(std::chrono::seconds(seconds)); }

TEST(Status, TimesAreWrittenInUtc) {
   EXPECT_EQ(Daemon::isoTime(at(0)), "1970-01-01T00:00:00Z");
   EXPECT_EQ(Daemon::isoTime(at(1'760'000'000) + std::chrono::milliseconds(999)), "2025-10-09T08:53:20Z");
}

TEST(Status, WhatThisAgentHasNotIsNull) {
   Status const status({}, at(1000));
   Json const json = status.json(at(1042));
   EXPECT_EQ(json["started"], "1970-01-01T00:16:40Z");
   EXPECT_EQ(json["uptime"], 42);
   for (char const* const name : {"agentx", "counters"}) EXPECT_TRUE(json[name].is_null()) << name;
   for (char const* const name : {"file", "publish", "lastChange"}) EXPECT_TRUE(json["state"][name].is_null()) << name;
   EXPECT_EQ(json["refused"], Json::parse(R"({"documents": 0, "last": null})"));
   EXPECT_EQ(json["rows"]["mplsTunnelTable"], 0);
}

TEST(Status, DocumentsAreNotedAsTheyCome) {
   Status status({}, at(0));
   status.sources().stateFile = "state.json";
   status.fileLoaded(3, at(10));
   status.applied("uid 5 (gid 6)", 1, at(20));
   status.applied("uid 5 (gid 6)", 0, at(30));  // nothing that was not so already
   status.fileLoaded(0, at(40));
   status.refused("uid 5 (gid 6)", "/pathSpec: no", at(50));
   status.refused("state.json", "the file is empty", at(60));
   Json const json = status.json(at(70));
   EXPECT_EQ(json["state"]["file"],
             Json::parse(R"({"path": "state.json", "loads": 2, "lastLoad": "1970-01-01T00:00:40Z"})"));
   EXPECT_EQ(json["state"]["lastChange"], "1970-01-01T00:00:20Z");
   EXPECT_EQ(json["refused"], Json::parse(R"({"documents": 2, "last": {"time": "1970-01-01T00:01:00Z",
                                              "from": "state.json", "reason": "the file is empty", "mended": false}})"));
}

TEST(Status, ARefusalIsMendedByWhatComesFromThere) {
   Status status({}, at(0));
   status.sources().stateFile = "state.json";
   auto const mended = [&] { return status.json(at(99))["refused"]["last"]["mended"].get<bool>(); };
   status.refused("uid 5 (gid 6)", "/pathSpec: no", at(10));
   status.applied("uid 7 (gid 7)", 1, at(20));
   status.fileLoaded(1, at(20));
   EXPECT_FALSE(mended());
   status.applied("uid 5 (gid 6)", 0, at(30));
   EXPECT_TRUE(mended());
   status.refused("state.json", "the file is empty", at(40));
   EXPECT_FALSE(mended());
   status.fileLoaded(0, at(50));
   EXPECT_TRUE(mended());
}

TEST(Status, TheMasterIsToldOf) {
   Status status({}, at(0));
   status.sources().master = [] {
      return AgentX::MasterStatus{.master = "unix:/m",
                                  .state = AgentX::MasterStatus::State::disconnected,
                                  .since = at(5),
                                  .lastError = "refused"};
   };
   EXPECT_EQ(status.json(at(9))["agentx"],
             Json::parse(R"({"master": "unix:/m", "state": "disconnected", "since": "1970-01-01T00:00:05Z",
                             "lastError": "refused"})"));
}

TEST(Status, EntriesAreCounted) {
   auto const root = Vel::makePtr<Vel::EntityDir>("");
   Store::StateStore store(root);
   store.applyPatch(R"({"pathSpec": {"cli:a": {}, "cli:b": {}}})");
   Status status({}, at(0));
   status.sources().store = &store;
   EXPECT_EQ(status.json(at(0))["state"]["entries"]["pathSpec"], 2);
   EXPECT_EQ(status.json(at(0))["state"]["entries"].size(), store.collections().size());
}

}  // namespace
