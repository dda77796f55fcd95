// SPDX-License-Identifier: MIT
/// Who is told what, in which order, and that nobody is told of what did not change.
#include <functional>
#include <list>

#include "host/store/tests/StoreFixture.h"

namespace Store {
namespace {

using namespace Rsvp;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Calls a function on each notification of one object.
class Listener : public Vel::PtrInterface::NotifieeConst {
 public:
   using Told = std::function<void(Vel::AttributeId, void const* key)>;
   Listener(Vel::PtrInterface const* object, Told told) : told_(std::move(told)) {
      bind(object);
      isRegisteredNotifieeIs(true);
   }
   void onAttribute(Vel::AttributeId attribute, void const* key) override { told_(attribute, key); }

 private:
   Told told_;
};

class NotificationTest : public StoreTest {
 protected:
   void listen(Vel::PtrInterface const* object, Listener::Told told) {
      listeners_.push_back(Vel::makePtr<Listener>(object, std::move(told)));
   }

   /// Counts the notifications of every object that there is now.
   void listenToEverything() {
      listeners_.clear();
      told = 0;
      auto const count = [this](Vel::PtrInterface const* object) {
         listen(object, [this](Vel::AttributeId, void const*) { ++told; });
      };
      auto const table = [&](auto const& top, auto const& colls, auto const& entriesOf) {
         count(top.get());
         for (auto const& coll : colls) {
            count(coll.value.get());
            for (auto const& entry : entriesOf(*coll.value)) count(entry.value.get());
         }
      };
      RsvpLerHiveStatus const& ler = *store.lerHiveStatus();
      for (Vel::PtrInterface const* input : std::initializer_list<Vel::PtrInterface const*>{
                 store.lerConfig().get(), &ler, store.kelpStatus().get(), ler.spIdMap().get(),
                 ler.tunnelIndexMap().get(), ler.subTunnelIndexMap().get(), store.kelpStatus()->spStatusColl().get()}) {
         count(input);
      }
      for (auto const& entry : store.kelpStatus()->spStatusColl()->spStatus()) count(entry.value.get());
      auto const& specs = store.lerConfig()->pathSpecCollTable();
      table(
            specs, specs->pathSpecColl(), [](auto const& coll) -> auto& { return coll.pathSpec(); });
      auto const& configs = ler.subTunnelConfigCollTable();
      table(
            configs, configs->subTunnelConfigColl(), [](auto const& coll) -> auto& { return coll.subTunnelConfig(); });
      auto const& states = ler.subTunnelStatusCollTable();
      table(
            states, states->subTunnelStatusColl(), [](auto const& coll) -> auto& { return coll.subTunnelStatus(); });
      auto const& requests = ler.lspRequestStatusCollTable();
      table(
            requests, requests->lspRequestStatusColl(),
            [](auto const& coll) -> auto& { return coll.lspRequestStatus(); });
   }

   /// Notes the members that come to the tables, with "+" and go with "-".
   template <class Key, class Map>
   void note(std::string name, Vel::PtrInterface const* object, Map map) {
      listen(object, [this, name, map](Vel::AttributeId, void const* key) {
         auto const& id = *static_cast<Key const*>(key);
         log.push_back(fmt::format("{}{} {}", map().contains(id) ? '+' : '-', name, id));
      });
   }
   void noteTables() {
      auto const ler = store.lerHiveStatus();
      auto const specs = store.lerConfig()->pathSpecCollTable();
      note<RsvpLerTunnelSource>(
            "pathSpec", specs.get(), [=]() -> auto& { return specs->pathSpecColl(); });
      auto const configs = ler->subTunnelConfigCollTable();
      note<RsvpLerTunnelSpecId>(
            "config", configs.get(), [=]() -> auto& { return configs->subTunnelConfigColl(); });
      auto const states = ler->subTunnelStatusCollTable();
      note<RsvpLerTunnelSpecId>(
            "status", states.get(), [=]() -> auto& { return states->subTunnelStatusColl(); });
      auto const requests = ler->lspRequestStatusCollTable();
      note<RsvpLerLspGroupId>(
            "request", requests.get(), [=]() -> auto& { return requests->lspRequestStatusColl(); });
      auto const spIds = ler->spIdMap();
      note<RsvpLerLspRequestConfigId>(
            "spId", spIds.get(), [=]() -> auto& { return spIds->spIdForLspRequestConfigId(); });
      auto const sps = store.kelpStatus()->spStatusColl();
      note<RsvpSpId>(
            "sp", sps.get(), [=]() -> auto& { return sps->spStatus(); });
      auto const indices = ler->tunnelIndexMap();
      note<RsvpLerTunnelSpecId>(
            "index", indices.get(), [=]() -> auto& { return indices->tunnelIndexForTunnelSpecId(); });
      auto const subIndices = ler->subTunnelIndexMap();
      note<RsvpLerSubTunnelConfigId>(
            "subIndex", subIndices.get(), [=]() -> auto& { return subIndices->tunnelIndexForSubTunnelConfigId(); });
   }

   std::size_t told = 0;
   std::vector<std::string> log;

 private:
   std::list<Vel::Ptr<Listener>> listeners_;
};

TEST_F(NotificationTest, AdditionsComeInTheOrderOfTheCollectionsAndRemovalsInTheReverse) {
   noteTables();
   // The order in the text is another one.
   store.applyPatch(R"({
      "tunnelIndexForSubTunnelConfigId": {"cli:a#2": 40}, "spStatus": {"10.0.0.9/12/10.0.0.1/1": {}},
      "subTunnelStatus": {"cli:a": {"activeLsp": "cli:a@primary.1"}}, "tunnelIndexForTunnelSpecId": {"cli:a": 12},
      "spIdForLspRequestConfigId": {"cli:a@primary.1": "10.0.0.9/12/10.0.0.1/1"}, "lspRequestStatus": {"cli:a@primary.1": {}},
      "subTunnelConfig": {"cli:a": {}}, "pathSpec": {"cli:gold": {}}})");
   EXPECT_THAT(log,
               ElementsAre("+pathSpec cli", "+config cli:a", "+status cli:a", "+request cli:a@primary",
                           "+spId cli:a@primary.1", "+sp 10.0.0.9/12/10.0.0.1/1", "+index cli:a", "+subIndex cli:a#2"));
   log.clear();
   store.applyPatch(
         R"({"pathSpec": null, "spStatus": {"10.0.0.9/12/10.0.0.1/1": null}, "subTunnelConfig": {"cli:a": null},
      "subTunnelStatus": null, "tunnelIndexForSubTunnelConfigId": null, "lspRequestStatus": {"cli:a@primary.1": null},
      "tunnelIndexForTunnelSpecId": {"cli:a": null}, "spIdForLspRequestConfigId": null})");
   EXPECT_THAT(log,
               ElementsAre("-subIndex cli:a#2", "-index cli:a", "-sp 10.0.0.9/12/10.0.0.1/1", "-spId cli:a@primary.1",
                           "-request cli:a@primary", "-status cli:a", "-config cli:a", "-pathSpec cli"));
}

// A document that comes while another is applied is applied at once, and then the other goes on.
TEST_F(NotificationTest, WhoeverIsToldMayTakeTheEntryOut) {
   store.applyPatch(R"({"subTunnelStatus": {"cli:a": {}}})");
   listen(subTunnelStatus("cli:a"),
          [&](Vel::AttributeId, void const*) { store.applyPatch(R"({"subTunnelStatus": {"cli:a": null}})"); });
   EXPECT_EQ(store.applyPatch(R"({"subTunnelStatus": {"cli:a": {"up": true, "pathChanges": 7}, "cli:b": {}}})"), 2U);
   EXPECT_EQ(state(), Json::parse(R"({"subTunnelStatus": {"cli:b": {}}})"));
   EXPECT_EQ(count("subTunnelStatus"), 1U);
}

TEST_F(NotificationTest, WhoeverIsToldOfOneAttributeMayChangeAnother) {
   store.applyPatch(R"({"subTunnelStatus": {"cli:a": {"pathChanges": 1}}})");
   bool done = false;
   listen(subTunnelStatus("cli:a"), [&](Vel::AttributeId, void const*) {
      if (!std::exchange(done, true)) store.applyPatch(R"({"subTunnelStatus": {"cli:a": {"pathChanges": 2}}})");
   });
   store.applyPatch(R"({"subTunnelStatus": {"cli:a": {"up": true, "stateTransitions": 3}}})");
   EXPECT_EQ(state(), Json::parse(R"({"subTunnelStatus": {"cli:a": {"up": true, "pathChanges": 2,
                                                                     "stateTransitions": 3}}})"));
}

TEST_F(NotificationTest, WhoeverIsToldThatTheLastEntryGoesMayPutAnotherInItsPlace) {
   store.applyPatch(R"({"subTunnelStatus": {"cli:a": {}}})");
   auto const table = store.lerHiveStatus()->subTunnelStatusCollTable();
   bool done = false;
   listen(table->subTunnelStatusColl().begin()->value.get(), [&](Vel::AttributeId, void const*) {
      if (std::exchange(done, true)) return;
      store.applyPatch(R"({"subTunnelStatus": {"cli:a": {"up": true}}})");
      store.applyPatch(R"({"subTunnelStatus": {"cli:a": null}})");
      store.applyPatch(R"({"subTunnelStatus": {"cli:a": {"pathChanges": 2}}})");
   });
   store.applyPatch(R"({"subTunnelStatus": {"cli:a": null}})");
   EXPECT_EQ(state(), Json::parse(R"({"subTunnelStatus": {"cli:a": {"pathChanges": 2}}})"));
   EXPECT_EQ(count("subTunnelStatus"), 1U);
   store.applyPatch(R"({"subTunnelStatus": {"cli:a": null}})");
   EXPECT_TRUE(table->subTunnelStatusColl().empty());
}

TEST_F(NotificationTest, AWholeDocumentInsideAnother) {
   store.applyPatch(R"({"subTunnelStatus": {"cli:a": {}, "cli:b": {}, "cli:c": {}}})");
   bool done = false;
   listen(subTunnelStatus("cli:a"), [&](Vel::AttributeId, void const*) {
      if (!std::exchange(done, true)) store.replace(R"({"subTunnelStatus": {"cli:x": {}}})");
   });
   store.applyPatch(R"({"subTunnelStatus": {"cli:a": {"up": true}, "cli:c": {"up": true}}})");
   EXPECT_EQ(state(), Json::parse(R"({"subTunnelStatus": {"cli:c": {"up": true}, "cli:x": {}}})"));
}

TEST_F(NotificationTest, OneDocumentAddsBeforeItRemoves) {
   store.applyPatch(R"({"spStatus": {"10.0.0.9/1/10.0.0.1/1": {}}})");
   noteTables();
   store.replace(R"({"spStatus": {"10.0.0.9/2/10.0.0.1/1": {}}, "tunnelIndexForTunnelSpecId": {"cli:a": 1}})");
   EXPECT_THAT(log, ElementsAre("+sp 10.0.0.9/2/10.0.0.1/1", "+index cli:a", "-sp 10.0.0.9/1/10.0.0.1/1"));
}

TEST_F(NotificationTest, ANewCollectionIsPublishedWithItsFirstEntryComplete) {
   auto const table = store.lerHiveStatus()->subTunnelStatusCollTable();
   bool seen = false;
   listen(table.get(), [&](Vel::AttributeId, void const*) {
      auto const* const status = subTunnelStatus("cli:a");
      seen = status && status->up() && status->pathChanges() == 3;
   });
   patch({{"subTunnelStatus", {{"cli:a", {{"up", true}, {"pathChanges", 3}}}}}});
   EXPECT_TRUE(seen);
}

TEST_F(NotificationTest, WhatIsSoAlreadyNotifiesNobody) {
   store.replace(example("headend.json"));
   listenToEverything();
   EXPECT_EQ(store.replace(example("headend.json")), 0U);
   EXPECT_EQ(store.replace(store.document()), 0U);
   EXPECT_EQ(store.applyPatch(example("headend.json")), 0U);
   EXPECT_EQ(store.applyPatch(R"({"pathSpec": {"cli:nobody": null}})"), 0U);
   EXPECT_EQ(told, 0U);
}

TEST_F(NotificationTest, ARefusedPatchNotifiesNobody) {
   store.replace(example("headend.json"));
   listenToEverything();
   EXPECT_NE(
         refusal(R"({"subTunnelStatus": {"cli:to-paris": {"up": false}}, "pathSpec": {"cli:gold": null, "x": null}})"),
         "");
   EXPECT_EQ(told, 0U);
}

TEST_F(NotificationTest, OnlyTheAttributesThatChangeNotify) {
   patch({{"subTunnelStatus", {{"cli:a", {{"up", true}, {"pathChanges", 3}, {"activePath", {{"1", "10.0.0.1"}}}}}}}});
   std::vector<Vel::AttributeId> attributes;
   listen(subTunnelStatus("cli:a"), [&](Vel::AttributeId attribute, void const*) { attributes.push_back(attribute); });
   patch({{"subTunnelStatus", {{"cli:a", {{"up", true}, {"pathChanges", 4}, {"activePath", {{"1", "10.0.0.1"}}}}}}}});
   EXPECT_THAT(attributes, ElementsAre(RsvpLerSubTunnelStatus::attrPathChanges));
   attributes.clear();
   replace({{"subTunnelStatus", {{"cli:a", {{"up", true}, {"activePath", {{"1", "10.0.0.2"}}}}}}}});
   EXPECT_THAT(attributes,
               ElementsAre(RsvpLerSubTunnelStatus::attrPathChanges, RsvpLerSubTunnelStatus::attrActivePath));
}

TEST_F(NotificationTest, TheActivePathChangesAsAWhole) {
   patch({{"subTunnelStatus", {{"cli:a", {{"activePath", {{"1", "10.0.0.1"}, {"2", "10.0.0.2"}}}}}}}});
   std::vector<std::size_t> lengths;
   listen(subTunnelStatus("cli:a"), [&](Vel::AttributeId, void const*) {
      lengths.push_back(subTunnelStatus("cli:a")->activePath().hop().size());
   });
   patch({{"subTunnelStatus", {{"cli:a", {{"activePath", {{"1", nullptr}, {"3", "10.0.0.3"}, {"4", "10.0.0.4"}}}}}}}});
   EXPECT_THAT(lengths, ElementsAre(3U));
}

TEST_F(NotificationTest, TheSessionAttributeChangesAsAWhole) {
   patch({{"spStatus", {{"10.0.0.9/1/10.0.0.1/1", Json::object()}}}});
   std::vector<RsvpSessionAttribute> seen;
   listen(spStatus("10.0.0.9/1/10.0.0.1/1"), [&](Vel::AttributeId, void const*) {
      seen.push_back(spStatus("10.0.0.9/1/10.0.0.1/1")->sessionAttribute());
   });
   patch({{"spStatus",
           {{"10.0.0.9/1/10.0.0.1/1", {{"includeAll", 5}, {"setupPriority", 7}, {"holdingPriority", 6}}}}}});
   EXPECT_THAT(seen, ElementsAre(RsvpSessionAttribute{7, 6, 0, 0, 5}));
}

TEST_F(NotificationTest, AChangedMappingIsOneNotification) {
   patch({{"spIdForLspRequestConfigId", {{"cli:a@primary.1", "10.0.0.9/1/10.0.0.1/1"}}}});
   noteTables();
   EXPECT_EQ(patch({{"spIdForLspRequestConfigId", {{"cli:a@primary.1", "10.0.0.9/2/10.0.0.1/1"}}}}), 1U);
   EXPECT_THAT(log, ElementsAre("+spId cli:a@primary.1"));
   log.clear();
   EXPECT_EQ(patch({{"spIdForLspRequestConfigId", {{"cli:a@primary.1", "10.0.0.9/2/10.0.0.1/1"}}}}), 0U);
   EXPECT_THAT(log, IsEmpty());
}

}  // namespace
}  // namespace Store
