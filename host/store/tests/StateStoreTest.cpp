// SPDX-License-Identifier: MIT
#include <filesystem>

#include "host/store/tests/StoreFixture.h"
#include "substrate/vel/Exceptions.h"

namespace Store {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> hops(Rsvp::RsvpLerSubTunnelStatus const& status) {
   std::vector<std::string> all;
   for (auto const& hop : status.activePath().hop()) {
      all.push_back(fmt::format("{} {}", hop.key(), hop.value().valueToStrep()));
   }
   return all;
}

// ---- The inputs in the entity directory

TEST_F(StoreTest, TheInputsAreMountedWithTheirTables) {
   EXPECT_EQ(root->find("state/rsvp/lerConfig"), store.lerConfig());
   EXPECT_EQ(root->find("state/rsvp/lerHiveStatus"), store.lerHiveStatus());
   EXPECT_EQ(root->find("state/rsvp/kelpStatus"), store.kelpStatus());

   EXPECT_TRUE(store.lerConfig()->pathSpecCollTable());
   EXPECT_TRUE(store.lerHiveStatus()->spIdMap());
   EXPECT_TRUE(store.lerHiveStatus()->subTunnelConfigCollTable());
   EXPECT_TRUE(store.lerHiveStatus()->subTunnelStatusCollTable());
   EXPECT_TRUE(store.lerHiveStatus()->lspRequestStatusCollTable());
   EXPECT_TRUE(store.lerHiveStatus()->tunnelIndexMap());
   EXPECT_TRUE(store.lerHiveStatus()->subTunnelIndexMap());
   EXPECT_TRUE(store.kelpStatus()->spStatusColl());
   EXPECT_EQ(store.document(), "{\n}\n");
}

TEST(StateStore, IsMountedAsLongAsItLivesAndOnce) {
   auto const root = Vel::makePtr<Vel::EntityDir>("root");
   {
      StateStore const store(root);
      EXPECT_THROW(StateStore{root}, Vel::MutatorReinstantiatingException);
      EXPECT_TRUE(root->find("state/rsvp/lerConfig"));
   }
   EXPECT_FALSE(root->find("state/rsvp/lerConfig"));
   EXPECT_FALSE(root->find("state/rsvp/lerHiveStatus"));
   EXPECT_FALSE(root->find("state/rsvp/kelpStatus"));
   EXPECT_NO_THROW(StateStore{root});
}

// ---- What a document makes

TEST_F(StoreTest, EveryAttributeOfTheDocumentArrivesInItsObject) {
   EXPECT_EQ(store.applyPatch(R"({
      "pathSpec": {"cli:gold": {"name": "Gold path", "type": "explicit"}, "auto:any": {"type": "dynamic"}},
      "subTunnelConfig": {"cli:to-paris#2": {"primaryPathSpec": "cli:gold", "secondaryPathSpec": "auto:any",
                                             "fastReroute": true}},
      "subTunnelStatus": {"cli:to-paris#2": {"up": true, "pathChanges": 3, "stateTransitions": 4294967295,
                          "activeLsp": "cli:to-paris#2@secondary.7",
                          "activePath": {"1": "10.0.12.2", "20": "2001:db8::1"}}},
      "lspRequestStatus": {"cli:to-paris#2@secondary.7": {"errors": [{"code": 25, "value": 3}, {"code": 1, "value": 65535}]}},
      "spIdForLspRequestConfigId": {"cli:to-paris#2@secondary.7": "10.0.0.9/12/10.0.0.1/1"},
      "spStatus": {"10.0.0.9/12/10.0.0.1/1": {"setupPriority": 65535, "holdingPriority": 255, "excludeAny": 1,
                   "includeAny": 2, "includeAll": 4294967295, "upSince": 1760000000.25}},
      "tunnelIndexForTunnelSpecId": {"cli:to-paris": 12},
      "tunnelIndexForSubTunnelConfigId": {"cli:to-paris#2": 40}})"),
             9U);

   using Type = Rsvp::RsvpLerPathSpec::Type;
   EXPECT_EQ(Rsvp::nameText(pathSpec("cli:gold")->name()), "Gold path");
   EXPECT_EQ(pathSpec("cli:gold")->name().view().back(), '\0') << "a name is stored with its NUL";
   EXPECT_EQ(pathSpec("cli:gold")->type(), Type::explicitPath);
   EXPECT_EQ(Rsvp::nameText(pathSpec("auto:any")->name()), "any") << "the name of the id stands for a missing name";
   EXPECT_EQ(pathSpec("auto:any")->type(), Type::dynamic);

   auto const* const config = subTunnelConfig("cli:to-paris#2");
   EXPECT_EQ(config->id().valueToStrep(), "cli:to-paris#2");
   EXPECT_EQ(config->primaryPathSpecId().valueToStrep(), "cli:gold");
   EXPECT_EQ(config->secondaryPathSpecId().valueToStrep(), "auto:any");
   EXPECT_TRUE(config->fastReroute());

   auto const* const status = subTunnelStatus("cli:to-paris#2");
   EXPECT_TRUE(status->up());
   EXPECT_EQ(status->pathChanges(), 3U);
   EXPECT_EQ(status->stateTransitions(), 4294967295U);
   EXPECT_EQ(status->activeLsp().valueToStrep(), "cli:to-paris#2@secondary.7");
   EXPECT_THAT(hops(*status), ElementsAre("1 10.0.12.2", "20 2001:db8::1"));

   using Error = Rsvp::RsvpLerLspRequestStatus::Error;
   auto const* const request = lspRequestStatus("cli:to-paris#2@secondary.7");
   EXPECT_THAT(request->errors(), ElementsAre(Error{25, 3}, Error{1, 65535}));

   auto const* const sp = spStatus("10.0.0.9/12/10.0.0.1/1");
   EXPECT_EQ(sp->sessionAttribute(), (Rsvp::RsvpSessionAttribute{65535, 255, 1, 2, 4294967295}));
   EXPECT_EQ(sp->upSince(), 1760000000.25);

   Rsvp::RsvpLerHiveStatus const& ler = *store.lerHiveStatus();
   EXPECT_EQ(ler.spIdMap()->spIdForLspRequestConfigId()[status->activeLsp()], sp->id());
   EXPECT_EQ(ler.tunnelIndexMap()->tunnelIndexForTunnelSpecId()[status->id().tunnelSpecId()], 12U);
   EXPECT_EQ(ler.subTunnelIndexMap()->tunnelIndexForSubTunnelConfigId()[status->id()], 40U);
}

TEST_F(StoreTest, AttributesLeftOutOfANewEntryTakeTheirDefaults) {
   EXPECT_EQ(store.applyPatch(R"({"pathSpec": {"controller:low%40delay": {}}, "subTunnelConfig": {"cli:a": {}},
      "subTunnelStatus": {"cli:a": {}}, "lspRequestStatus": {"cli:a@primary.0": {}},
      "spStatus": {"10.0.0.9/0/10.0.0.1/0": {}}})"),
             5U);
   EXPECT_EQ(Rsvp::nameText(pathSpec("controller:low%40delay")->name()), "low@delay");
   EXPECT_EQ(pathSpec("controller:low%40delay")->type(), Rsvp::RsvpLerPathSpec::Type::unknown);
   EXPECT_FALSE(subTunnelConfig("cli:a")->primaryPathSpecId().isConfigured());
   EXPECT_FALSE(subTunnelConfig("cli:a")->secondaryPathSpecId().isConfigured());
   EXPECT_FALSE(subTunnelConfig("cli:a")->fastReroute());
   EXPECT_FALSE(subTunnelStatus("cli:a")->up());
   EXPECT_FALSE(subTunnelStatus("cli:a")->activeLsp().isSet());
   EXPECT_TRUE(subTunnelStatus("cli:a")->activePath().empty());
   EXPECT_THAT(lspRequestStatus("cli:a@primary.0")->errors(), IsEmpty());
   EXPECT_EQ(spStatus("10.0.0.9/0/10.0.0.1/0")->sessionAttribute(), Rsvp::RsvpSessionAttribute());
   EXPECT_EQ(spStatus("10.0.0.9/0/10.0.0.1/0")->upSince(), 0);
}

TEST_F(StoreTest, WhatIsSetToItsDefaultIsSetNotRefused) {
   patch({{"spStatus", {{"10.0.0.9/1/10.0.0.1/1", {{"setupPriority", 7}, {"upSince", 5}}}}}});
   patch({{"spStatus", {{"10.0.0.9/1/10.0.0.1/1", {{"setupPriority", 0}, {"upSince", 0.0}}}}}});
   EXPECT_EQ(spStatus("10.0.0.9/1/10.0.0.1/1")->sessionAttribute().setupPriority, 0);
   EXPECT_EQ(spStatus("10.0.0.9/1/10.0.0.1/1")->upSince(), 0);
}

TEST_F(StoreTest, TwoSpellingsOfAnIdAreOneEntry) {
   EXPECT_EQ(store.applyPatch(R"({"subTunnelStatus": {"cli:to-paris": {"pathChanges": 1}}})"), 1U);
   EXPECT_EQ(store.applyPatch(R"({"subTunnelStatus": {"cli:to%2dpari%73": {"pathChanges": 2}}})"), 1U);
   EXPECT_EQ(store.applyPatch(R"({"subTunnelStatus": {"cli:to-\u0070aris": {"up": true}}})"), 1U);
   EXPECT_EQ(state(), Json::parse(R"({"subTunnelStatus": {"cli:to-paris": {"pathChanges": 2, "up": true}}})"));
}

TEST_F(StoreTest, NamesOfAllScriptsAreTaken) {
   patch({{"pathSpec", {{"cli:Zürich–北京:a/b c", {{"name", "Zürich \"北京\" \\ \t"}}}}}});
   EXPECT_EQ(state()["pathSpec"]["cli:Zürich–北京:a/b c"]["name"], "Zürich \"北京\" \\ \t");
}

TEST_F(StoreTest, TheIdsOfATunnelShareOneName) {
   store.applyPatch(R"({"subTunnelConfig": {"cli:to-paris": {}}, "subTunnelStatus": {"cli:to-paris":
      {"activeLsp": "cli:to-paris@primary.1"}}, "lspRequestStatus": {"cli:to-paris@primary.1": {}},
      "pathSpec": {"cli:to-paris": {"name": "to-paris"}}})");
   char const* const name = subTunnelConfig("cli:to-paris")->id().tunnelName.view().data();
   EXPECT_EQ(subTunnelStatus("cli:to-paris")->id().tunnelName.view().data(), name);
   EXPECT_EQ(subTunnelStatus("cli:to-paris")->activeLsp().subTunnelConfigId().tunnelName.view().data(), name);
   EXPECT_EQ(lspRequestStatus("cli:to-paris@primary.1")->id().subTunnelConfigId().tunnelName.view().data(), name);
   EXPECT_EQ(pathSpec("cli:to-paris")->id().name.view().data(), name);
   EXPECT_EQ(pathSpec("cli:to-paris")->name().view().data(), name);
}

TEST_F(StoreTest, AByteOrderMarkAndSpaceAreNoObstacle) {
   EXPECT_EQ(store.applyPatch("\xef\xbb\xbf \r\n\t{ \"pathSpec\" : { \"cli:gold\" : { } } } \n"), 1U);
}

// ---- Patches

TEST_F(StoreTest, APatchSetsTheNamedAttributesOnly) {
   patch({{"subTunnelStatus", {{"cli:a", {{"up", true}, {"pathChanges", 3}}}}}});
   EXPECT_EQ(patch({{"subTunnelStatus", {{"cli:a", {{"stateTransitions", 5}}}}}}), 1U);
   EXPECT_EQ(state()["subTunnelStatus"]["cli:a"], (Json{{"up", true}, {"pathChanges", 3}, {"stateTransitions", 5}}));
}

TEST_F(StoreTest, NullResetsAnAttributeAndLeavesTheOthers) {
   store.applyPatch(R"({
      "pathSpec": {"cli:gold": {"name": "Gold", "type": "explicit"}},
      "subTunnelConfig": {"cli:a": {"primaryPathSpec": "cli:gold", "secondaryPathSpec": "cli:x", "fastReroute": true}},
      "subTunnelStatus": {"cli:a": {"up": true, "activeLsp": "cli:a@primary.1", "activePath": {"1": "10.0.0.1"}}},
      "lspRequestStatus": {"cli:a@primary.1": {"errors": [{"code": 1, "value": 2}]}},
      "spStatus": {"10.0.0.9/12/10.0.0.1/1": {"setupPriority": 7, "holdingPriority": 6, "upSince": 5}}})");
   EXPECT_EQ(store.applyPatch(R"({
      "pathSpec": {"cli:gold": {"name": null}},
      "subTunnelConfig": {"cli:a": {"secondaryPathSpec": null}},
      "subTunnelStatus": {"cli:a": {"activeLsp": null, "activePath": null}},
      "lspRequestStatus": {"cli:a@primary.1": {"errors": null}},
      "spStatus": {"10.0.0.9/12/10.0.0.1/1": {"setupPriority": null}}})"),
             5U);
   EXPECT_EQ(state(), Json::parse(R"({
      "pathSpec": {"cli:gold": {"type": "explicit"}},
      "subTunnelConfig": {"cli:a": {"primaryPathSpec": "cli:gold", "fastReroute": true}},
      "subTunnelStatus": {"cli:a": {"up": true}},
      "lspRequestStatus": {"cli:a@primary.1": {}},
      "spStatus": {"10.0.0.9/12/10.0.0.1/1": {"holdingPriority": 6, "upSince": 5.0}}})"));
   EXPECT_EQ(Rsvp::nameText(pathSpec("cli:gold")->name()), "gold");
}

TEST_F(StoreTest, TheActivePathMergesHopByHop) {
   patch({{"subTunnelStatus",
           {{"cli:a", {{"activePath", {{"1", "10.0.0.1"}, {"2", "10.0.0.2"}, {"3", "10.0.0.3"}}}}}}}});
   EXPECT_EQ(
         patch({{"subTunnelStatus", {{"cli:a", {{"activePath", {{"2", "10.9.9.9"}, {"3", nullptr}, {"7", "::1"}}}}}}}}),
         1U);
   EXPECT_THAT(hops(*subTunnelStatus("cli:a")), ElementsAre("1 10.0.0.1", "2 10.9.9.9", "7 ::1"));

   EXPECT_EQ(patch({{"subTunnelStatus", {{"cli:a", {{"activePath", {{"5", nullptr}}}}}}}}), 0U) << "hop 5 is not there";
   EXPECT_EQ(patch({{"subTunnelStatus", {{"cli:a", {{"activePath", Json::object()}}}}}}), 0U);
   EXPECT_EQ(
         patch({{"subTunnelStatus", {{"cli:a", {{"activePath", {{"1", nullptr}, {"2", nullptr}, {"7", nullptr}}}}}}}}),
         1U);
   EXPECT_TRUE(subTunnelStatus("cli:a")->activePath().empty());
}

TEST_F(StoreTest, ThePatchOfOnePathLeavesItsCopiesAlone) {
   patch({{"subTunnelStatus", {{"cli:a", {{"activePath", {{"1", "10.0.0.1"}}}}}}}});
   Rsvp::RsvpLerPath const before = subTunnelStatus("cli:a")->activePath();
   patch({{"subTunnelStatus", {{"cli:a", {{"activePath", {{"1", "10.0.0.2"}}}}}}}});
   EXPECT_EQ(before.hop()[1].valueToStrep(), "10.0.0.1");
}

TEST_F(StoreTest, ErrorsAreReplacedWhole) {
   patch({{"lspRequestStatus",
           {{"cli:a@primary.1", {{"errors", {{{"code", 25}, {"value", 3}}, {{"code", 1}, {"value", 1}}}}}}}}});
   patch({{"lspRequestStatus", {{"cli:a@primary.1", {{"errors", {{{"code", 2}, {"value", 2}}}}}}}}});
   EXPECT_EQ(state()["lspRequestStatus"]["cli:a@primary.1"]["errors"], Json::parse(R"([{"code": 2, "value": 2}])"));
   patch({{"lspRequestStatus", {{"cli:a@primary.1", {{"errors", Json::array()}}}}}});
   EXPECT_THAT(lspRequestStatus("cli:a@primary.1")->errors(), IsEmpty());
}

TEST_F(StoreTest, NullRemovesAnEntry) {
   patch({{"spStatus", {{"10.0.0.9/12/10.0.0.1/1", Json::object()}, {"10.0.0.9/13/10.0.0.1/1", Json::object()}}},
          {"tunnelIndexForTunnelSpecId", {{"cli:a", 1}}}});
   EXPECT_EQ(patch({{"spStatus", {{"10.0.0.9/12/10.0.0.1/1", nullptr}}},
                    {"tunnelIndexForTunnelSpecId", {{"cli:a", nullptr}}}}),
             2U);
   EXPECT_FALSE(spStatus("10.0.0.9/12/10.0.0.1/1"));
   EXPECT_TRUE(spStatus("10.0.0.9/13/10.0.0.1/1"));
   EXPECT_EQ(count("tunnelIndexForTunnelSpecId"), 0U);
   EXPECT_EQ(patch({{"spStatus", {{"10.0.0.9/12/10.0.0.1/1", nullptr}}}}), 0U) << "it is no error that it has gone";
}

TEST_F(StoreTest, NullForACollectionRemovesAllItsEntries) {
   store.applyPatch(example("headend.json"));
   for (std::string const name :
        {"pathSpec", "subTunnelConfig", "subTunnelStatus", "lspRequestStatus", "spIdForLspRequestConfigId", "spStatus",
         "tunnelIndexForTunnelSpecId", "tunnelIndexForSubTunnelConfigId"}) {
      Json expected = state();
      std::size_t const entries = count(name);
      EXPECT_GT(entries, 0U) << name;
      EXPECT_EQ(patch({{name, nullptr}}), entries);
      expected.erase(name);
      EXPECT_EQ(state(), expected) << name;
   }
   EXPECT_EQ(store.document(), "{\n}\n");
}

TEST_F(StoreTest, AnEntryWithoutAttributesIsMadeOnce) {
   EXPECT_EQ(patch({{"subTunnelStatus", {{"cli:a", Json::object()}}}}), 1U);
   patch({{"subTunnelStatus", {{"cli:a", {{"up", true}}}}}});
   EXPECT_EQ(patch({{"subTunnelStatus", {{"cli:a", Json::object()}}}}), 0U);
   EXPECT_TRUE(subTunnelStatus("cli:a")->up());
}

TEST_F(StoreTest, AnEmptyPatchChangesNothing) {
   store.applyPatch(example("headend.json"));
   std::string const before = store.document();
   EXPECT_EQ(store.applyPatch("{}"), 0U);
   EXPECT_EQ(store.applyPatch(R"({"pathSpec": {}, "spStatus": {}})"), 0U);
   EXPECT_EQ(store.document(), before);
}

TEST_F(StoreTest, AnActiveLspOfAnotherTunnelIsTaken) {
   EXPECT_EQ(patch({{"subTunnelStatus", {{"cli:a", {{"activeLsp", "cli:b@primary.1"}}}}}}), 1U);
}

// ---- The collections between a table and its entries

TEST_F(StoreTest, EnclosingCollectionsComeWithTheirFirstEntryAndGoWithTheLast) {
   patch({{"subTunnelStatus", {{"cli:a#1", Json::object()}, {"cli:a#2", Json::object()}}},
          {"subTunnelConfig", {{"cli:a#1", Json::object()}}},
          {"lspRequestStatus", {{"cli:a#1@primary.1", Json::object()}, {"cli:a#1@secondary.1", Json::object()}}},
          {"pathSpec", {{"auto:x", Json::object()}}}});
   Rsvp::RsvpLerHiveStatus const& ler = *store.lerHiveStatus();
   EXPECT_EQ(ler.subTunnelStatusCollTable()->subTunnelStatusColl().size(), 1U) << "one tunnel, two parts";
   EXPECT_EQ(ler.subTunnelConfigCollTable()->subTunnelConfigColl().size(), 1U);
   EXPECT_EQ(ler.lspRequestStatusCollTable()->lspRequestStatusColl().size(), 2U) << "two groups";
   EXPECT_EQ(store.lerConfig()->pathSpecCollTable()->pathSpecColl().size(), 1U);

   patch({{"subTunnelStatus", {{"cli:a#1", nullptr}}}});
   EXPECT_EQ(ler.subTunnelStatusCollTable()->subTunnelStatusColl().size(), 1U);
   patch({{"subTunnelStatus", {{"cli:a#2", nullptr}}},
          {"subTunnelConfig", {{"cli:a#1", nullptr}}},
          {"lspRequestStatus", nullptr},
          {"pathSpec", {{"auto:x", nullptr}}}});
   EXPECT_TRUE(ler.subTunnelStatusCollTable()->subTunnelStatusColl().empty());
   EXPECT_TRUE(ler.subTunnelConfigCollTable()->subTunnelConfigColl().empty());
   EXPECT_TRUE(ler.lspRequestStatusCollTable()->lspRequestStatusColl().empty());
   EXPECT_TRUE(store.lerConfig()->pathSpecCollTable()->pathSpecColl().empty());
}

// ---- Whole documents

TEST_F(StoreTest, AWholeDocumentRemovesWhatItDoesNotName) {
   store.replace(example("headend.json"));
   Json smaller = state();
   smaller.erase("pathSpec");
   smaller["subTunnelStatus"].erase("cli:to-paris");
   smaller["spStatus"].begin()->erase("setupPriority");
   std::size_t const specs = count("pathSpec");
   EXPECT_EQ(replace(smaller), specs + 2);
   EXPECT_EQ(state(), smaller);
   EXPECT_EQ(store.replace("{}"), [&] {
      std::size_t entries = 0;
      for (auto const& [name, collection] : smaller.items()) entries += collection.size();
      return entries;
   }());
   EXPECT_EQ(store.document(), "{\n}\n");
}

TEST_F(StoreTest, AWholeDocumentKeepsTheObjectsThatItNamesAgain) {
   store.replace(example("headend.json"));
   Vel::Ptr<Rsvp::RsvpLerSubTunnelStatus const> const paris(subTunnelStatus("cli:to-paris"));
   Vel::Ptr<Rsvp::RsvpLerPathSpec const> const gold(pathSpec("cli:gold"));
   Json document = state();
   document["subTunnelStatus"]["cli:to-paris"]["pathChanges"] = 4000;
   EXPECT_EQ(replace(document), 1U);
   EXPECT_EQ(subTunnelStatus("cli:to-paris"), paris.get());
   EXPECT_EQ(paris->pathChanges(), 4000U);
   EXPECT_EQ(pathSpec("cli:gold"), gold.get());
}

TEST_F(StoreTest, AnAttributeThatAWholeDocumentLeavesOutTakesItsDefault) {
   patch({{"subTunnelStatus", {{"cli:a", {{"up", true}, {"activePath", {{"1", "10.0.0.1"}, {"2", "10.0.0.2"}}}}}}}});
   EXPECT_EQ(replace({{"subTunnelStatus", {{"cli:a", {{"activePath", {{"2", "10.0.0.2"}}}}}}}}), 1U);
   EXPECT_EQ(state(), Json::parse(R"({"subTunnelStatus": {"cli:a": {"activePath": {"2": "10.0.0.2"}}}})"));
}

TEST_F(StoreTest, InAWholeDocumentNullIsTheDefaultOrNothing) {
   patch({{"subTunnelStatus", {{"cli:a", {{"up", true}}}, {"cli:b", Json::object()}}},
          {"pathSpec", {{"cli:x", Json::object()}}}});
   store.replace(
         R"({"subTunnelStatus": {"cli:a": {"up": null, "activePath": {"1": null}}, "cli:b": null, "cli:c": null},
                     "pathSpec": null, "tunnelIndexForTunnelSpecId": {"cli:a": null}})");
   EXPECT_EQ(state(), Json::parse(R"({"subTunnelStatus": {"cli:a": {}}})"));
}

// ---- The state as a document

TEST_F(StoreTest, TheDocumentIsCanonical) {
   store.applyPatch(
         R"({"tunnelIndexForTunnelSpecId": {"cli:b": 2, "cli:%61": 0}, "pathSpec": {"cli:z%2f%0a": {"name": "z/\n"},
      "auto:é": {"type": "dynamic", "name": "e"}}, "spStatus": {"10.0.0.9/12/10.0.0.1/1": {"upSince": 3, "excludeAny": 1}},
      "subTunnelStatus": {"cli:a": {"activePath": {"10": "2001:DB8:0::1", "9": "10.0.0.1"}, "activeLsp": null}}})");
   EXPECT_EQ(store.document(), R"({
  "pathSpec": {
    "auto:é": {"name":"e","type":"dynamic"},
    "cli:z/%0A": {}
  },
  "subTunnelStatus": {
    "cli:a": {"activePath":{"10":"2001:db8::1","9":"10.0.0.1"}}
  },
  "spStatus": {
    "10.0.0.9/12/10.0.0.1/1": {"excludeAny":1,"upSince":3.0}
  },
  "tunnelIndexForTunnelSpecId": {
    "cli:a": 0,
    "cli:b": 2
  }
}
)");
}

TEST_F(StoreTest, EveryExampleComesBackAsItWentIn) {
   store.replace(example("headend.json"));
   Json const headend = Json::parse(example("headend.json"));
   for (auto const& collection : store.collections()) {
      EXPECT_EQ(collection->size(), headend.at(std::string(collection->name())).size()) << collection->name();
   }
   EXPECT_EQ(store.replace(store.document()), 0U);
   EXPECT_EQ(store.applyPatch(store.document()), 0U);
   EXPECT_EQ(store.replace(example("headend.json")), 0U);

   std::size_t patches = 0;
   for (auto const& file : std::filesystem::directory_iterator(EXAMPLES_DIR)) {
      if (file.path().extension() != ".json" || file.path().filename() == "headend.json") continue;
      ++patches;
      EXPECT_GT(store.applyPatch(example(file.path().filename().string())), 0U) << file.path();
      EXPECT_EQ(store.replace(store.document()), 0U) << file.path();
   }
   EXPECT_GT(patches, 0U);
}

TEST_F(StoreTest, TheOrderOfMembersDoesNotMatter) {
   store.replace(example("headend.json"));
   std::string const expected = store.document();
   // The same document with every object turned round.
   auto const turned = [](auto const& self, nlohmann::ordered_json const& value) -> nlohmann::ordered_json {
      if (!value.is_object()) return value;
      nlohmann::ordered_json result = nlohmann::ordered_json::object();
      std::vector<std::pair<std::string, nlohmann::ordered_json>> members;
      for (auto const& [name, member] : value.items()) members.emplace_back(name, self(self, member));
      for (auto member = members.rbegin(); member != members.rend(); ++member) result[member->first] = member->second;
      return result;
   };
   std::string const backwards = turned(turned, nlohmann::ordered_json::parse(example("headend.json"))).dump();
   EXPECT_EQ(store.replace(backwards), 0U);
   store.replace("{}");
   store.replace(backwards);
   EXPECT_EQ(store.document(), expected);
}

}  // namespace
}  // namespace Store
