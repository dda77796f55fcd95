// SPDX-License-Identifier: MIT
/// What is refused, with which words, and that a refusal changes nothing.
#include "host/store/tests/StoreFixture.h"

namespace Store {
namespace {

using ::testing::StartsWith;

constexpr std::string_view kRequest = "cli:a@primary.1";
constexpr std::string_view kSp = "10.0.0.9/12/10.0.0.1/1";

/// A document that uses every attribute.
Json const& full() {
   static Json const document = Json::parse(R"({
      "pathSpec": {"cli:gold": {"name": "gold path", "type": "explicit"}},
      "subTunnelConfig": {"cli:a": {"primaryPathSpec": "cli:gold", "secondaryPathSpec": "cli:x", "fastReroute": true}},
      "subTunnelStatus": {"cli:a": {"up": true, "pathChanges": 3, "stateTransitions": 5, "activeLsp": "cli:a@primary.1",
                                    "activePath": {"1": "10.0.12.2", "2": "2001:db8::2"}}},
      "lspRequestStatus": {"cli:a@primary.1": {"errors": [{"code": 25, "value": 3}]}},
      "spIdForLspRequestConfigId": {"cli:a@primary.1": "10.0.0.9/12/10.0.0.1/1"},
      "spStatus": {"10.0.0.9/12/10.0.0.1/1": {"setupPriority": 7, "holdingPriority": 6, "excludeAny": 1, "includeAny": 2,
                                              "includeAll": 3, "upSince": 1760000000.25}},
      "tunnelIndexForTunnelSpecId": {"cli:a": 12}, "tunnelIndexForSubTunnelConfigId": {"cli:b#2": 40}})");
   return document;
}

// ---- Wrong values

enum class Takes { flag, uint8, uint16, uint32, time, text, pathSpecId, lspRequestId, spId, object, array };

struct AttributeCase {
   std::string collection, entry, attribute;
   Takes takes;
};

std::ostream& operator<<(std::ostream& out, AttributeCase const& attribute) {
   return out << attribute.collection << '/' << attribute.attribute;
}

std::vector<std::string> wrongValues(Takes takes) {
   std::vector<std::string> const structures{"{}", "[]", "[1]", R"({"a": 1})"};
   std::vector<std::string> const integers{"-1", "1.0", "1.5", "1e1", "-0.5", "18446744073709551616", "4294967296"};
   auto const all = [](auto const&... lists) {
      std::vector<std::string> joined;
      (joined.insert(joined.end(), lists.begin(), lists.end()), ...);
      return joined;
   };
   auto const list = [](auto... texts) { return std::vector<std::string>{texts...}; };
   switch (takes) {
      case Takes::flag:
         return all(structures, list("0", "1", R"("true")", R"("")"));
      case Takes::uint8:
         return all(structures, integers, list("256", "true", R"("7")"));
      case Takes::uint16:
         return all(structures, integers, list("65536", "true", R"("7")"));
      case Takes::uint32:
         return all(structures, integers, list("true", "false", R"("7")", R"("0xff")"));
      case Takes::time:
         return all(structures, list("-1", "-0.001", "1e400", "true", R"("2024-05-01")"));
      case Takes::text:
         return all(structures, list("true", "7", R"("")", R"("a\u0000b")", '"' + std::string(1025, 'n') + '"'));
      case Takes::pathSpecId:
         return all(structures, list("7", "false", R"("")", R"("gold")", R"("none")", R"("cli:")", R"("cli:a#1")"));
      case Takes::lspRequestId:
         return all(structures, list("7", "true", R"("")", R"("cli:a")", R"("cli:a@primary")", R"("cli:a@primary.01")",
                                     R"("cli:a@third.1")", R"("cli:a@primary.4294967296")"));
      case Takes::spId:
         return all(structures,
                    list("7", "true", R"("")", R"("10.0.0.9/12/10.0.0.1")", R"("10.0.0.9/65536/10.0.0.1/1")",
                         R"("2001:db8::9/12/10.0.0.1/1")", R"("10.0.0.9/12/10.0.0.1/4294967296")"));
      case Takes::object:
         return list("[]", "7", "true", R"("")", R"({"1": 7})", R"({"1": "10.0.0"})", R"({"1": {}})");
      case Takes::array:
         return list("{}", "7", "true", R"("")", "[7]", "[null]", "[[]]", "[{}]", R"([{"code": 1}])",
                     R"([{"value": 1}])", R"([{"code": 1, "value": null}])", R"([{"code": 256, "value": 1}])",
                     R"([{"code": 1, "value": 65536}])", R"([{"code": 1, "value": 1, "x": 1}])",
                     R"([{"code": 1, "value": 1, "code": 1}])", R"([{"code": 1.0, "value": 1}])");
   }
   return {};
}

class WrongValue : public StoreTest, public ::testing::WithParamInterface<AttributeCase> {};

TEST_P(WrongValue, IsRefusedAtItsPlace) {
   auto const& [collection, entry, attribute, takes] = GetParam();
   replace(full());
   std::string const place = "/" + collection + "/" + entry + (attribute.empty() ? "" : "/" + attribute);
   for (std::string const& wrong : wrongValues(takes)) {
      // Behind a good change, which must not stay.
      std::string const value = attribute.empty() ? wrong : "{\"" + attribute + "\": " + wrong + "}";
      std::string const text = R"({"tunnelIndexForTunnelSpecId": {"cli:new": 1}, "pathSpec": {"cli:gold": null}, ")" +
                               collection + R"(": {")" + entry + "\": " + value + "}}";
      if (collection == "pathSpec" || collection == "tunnelIndexForTunnelSpecId") {
         std::string const alone = "{\"" + collection + R"(": {")" + entry + "\": " + value + "}}";
         EXPECT_THAT(refusal(alone), StartsWith(place)) << alone;
         EXPECT_THAT(refusal(alone, ChangeKind::snapshot), StartsWith(place)) << alone;
      } else {
         EXPECT_THAT(refusal(text), StartsWith(place)) << text;
         EXPECT_THAT(refusal(text, ChangeKind::snapshot), StartsWith(place)) << text;
      }
   }
}

INSTANTIATE_TEST_SUITE_P(
      EveryAttribute, WrongValue,
      ::testing::Values(AttributeCase{"pathSpec", "cli:gold", "name", Takes::text},
                        AttributeCase{"pathSpec", "cli:gold", "type", Takes::text},
                        AttributeCase{"subTunnelConfig", "cli:a", "primaryPathSpec", Takes::pathSpecId},
                        AttributeCase{"subTunnelConfig", "cli:a", "secondaryPathSpec", Takes::pathSpecId},
                        AttributeCase{"subTunnelConfig", "cli:a", "fastReroute", Takes::flag},
                        AttributeCase{"subTunnelStatus", "cli:a", "up", Takes::flag},
                        AttributeCase{"subTunnelStatus", "cli:a", "pathChanges", Takes::uint32},
                        AttributeCase{"subTunnelStatus", "cli:a", "stateTransitions", Takes::uint32},
                        AttributeCase{"subTunnelStatus", "cli:a", "activeLsp", Takes::lspRequestId},
                        AttributeCase{"subTunnelStatus", "cli:a", "activePath", Takes::object},
                        AttributeCase{"lspRequestStatus", std::string(kRequest), "errors", Takes::array},
                        AttributeCase{"spIdForLspRequestConfigId", std::string(kRequest), "", Takes::spId},
                        AttributeCase{"spStatus", std::string(kSp), "setupPriority", Takes::uint16},
                        AttributeCase{"spStatus", std::string(kSp), "holdingPriority", Takes::uint8},
                        AttributeCase{"spStatus", std::string(kSp), "excludeAny", Takes::uint32},
                        AttributeCase{"spStatus", std::string(kSp), "includeAny", Takes::uint32},
                        AttributeCase{"spStatus", std::string(kSp), "includeAll", Takes::uint32},
                        AttributeCase{"spStatus", std::string(kSp), "upSince", Takes::time},
                        AttributeCase{"tunnelIndexForTunnelSpecId", "cli:a", "", Takes::uint32},
                        AttributeCase{"tunnelIndexForSubTunnelConfigId", "cli:b#2", "", Takes::uint32}));

TEST_F(StoreTest, TheTableOfWrongValuesLeavesNoAttributeOut) {
   // Every member of the full document is in the table above, so that a new attribute cannot be forgotten.
   std::size_t attributes = 0;
   for (auto const& [collection, entries] : full().items()) {
      for (auto const& [id, entry] : entries.items()) attributes += entry.is_object() ? entry.size() : 1;
   }
   EXPECT_EQ(attributes, 20U);
   replace(full());
   EXPECT_EQ(state(), full()) << "no attribute of it has its default";
}

TEST_F(StoreTest, EveryEntryAndEveryCollectionIsAnObject) {
   for (auto const& [collection, entries] : full().items()) {
      for (std::string const wrong : {"[]", "7", "true", "\"\""}) {
         EXPECT_THAT(refusal("{\"" + collection + "\": " + wrong + "}"),
                     StartsWith("/" + collection + ": expected an object"));
         std::string const id = entries.begin().key();
         if (!entries.begin()->is_object()) continue;
         EXPECT_THAT(refusal("{\"" + collection + "\": {\"" + id + "\": " + wrong + "}}"),
                     StartsWith("/" + collection + "/" + id + ": expected an object"));
      }
   }
}

// ---- The words

struct Worded {
   std::string document, message;
};

class Wording : public StoreTest, public ::testing::WithParamInterface<Worded> {};

TEST_P(Wording, SaysWhereAndWhat) { EXPECT_EQ(refusal(GetParam().document), GetParam().message); }

INSTANTIATE_TEST_SUITE_P(
      Refused, Wording,
      ::testing::Values(
            Worded{"[]", "/: expected an object but found an array"},
            Worded{"null", "/: expected an object but found null"}, Worded{"", "line 1, column 1: the text is empty"},
            Worded{R"({"pathSpecx": {}, "y": 1})",
                   "/pathSpecx: there is no such collection; \"pathSpec\" is probably meant"},
            Worded{R"({"subTunnelstatus": {}})",
                   "/subTunnelstatus: there is no such collection; \"subTunnelStatus\" is probably meant"},
            Worded{R"({"tunnels": {}})", "/tunnels: there is no such collection"},
            Worded{R"({"pathSpec": {}, "pathSpec": {}})", "/pathSpec: this collection is there twice"},
            Worded{R"({"pathSpec": {"cli:gold": {"Type": "dynamic"}}})",
                   "/pathSpec/cli:gold/Type: there is no such attribute; \"type\" is probably meant"},
            Worded{R"({"pathSpec": {"cli:gold": {"hops": 3}}})", "/pathSpec/cli:gold/hops: there is no such attribute"},
            Worded{R"({"pathSpec": {"cli:gold": {"type": "dynamic", "type": "dynamic"}}})",
                   "/pathSpec/cli:gold/type: this member is there twice"},
            Worded{R"({"pathSpec": {"cli:gold": {"type": "loose"}}})",
                   R"(/pathSpec/cli:gold/type: expected "unknown", "explicit" or "dynamic" but found "loose")"},
            Worded{R"({"pathSpec": {"cli:gold": {"type": 1}}})",
                   R"(/pathSpec/cli:gold/type: expected "unknown", "explicit" or "dynamic" but found 1)"},
            Worded{R"({"pathSpec": {"cli:gold": {"name": ""}}})", "/pathSpec/cli:gold/name: the name is empty"},
            Worded{R"({"pathSpec": {"cli:gold": {}, "cli:%67old": null}})",
                   "/pathSpec/cli:%67old: this names the entry cli:gold a second time"},
            Worded{R"({"tunnelIndexForTunnelSpecId": {"cli:a": 1, "cli:a": 1}})",
                   "/tunnelIndexForTunnelSpecId/cli:a: this names the entry cli:a a second time"},
            Worded{R"({"pathSpec": {"gold": null}})",
                   R"(/pathSpec/gold: this is not a path spec id: there is no ":" behind a source)"},
            Worded{R"({"subTunnelStatus": {"cli:to-paris": {"activeLsp": "cli:to-paris@primary"}}})",
                   "/subTunnelStatus/cli:to-paris/activeLsp: \"cli:to-paris@primary\" is not an LSP request id: "
                   "there is no \".\" before the number of the request"},
            Worded{R"({"subTunnelStatus": {"cli:to-paris": {"activeLsp": 1}}})",
                   "/subTunnelStatus/cli:to-paris/activeLsp: expected an LSP request id but found 1"},
            Worded{R"({"subTunnelConfig": {"cli:a": {"primaryPathSpec": false}}})",
                   "/subTunnelConfig/cli:a/primaryPathSpec: expected a path spec id but found false"},
            Worded{R"({"subTunnelStatus": {"cli:a": {"activePath": {"0": "10.0.0.1"}}}})",
                   "/subTunnelStatus/cli:a/activePath/0: a hop index is a number from 1 to 4294967295, without leading "
                   "zeros"},
            Worded{R"({"subTunnelStatus": {"cli:a": {"activePath": {"2": "10.0.0.256"}}}})",
                   R"(/subTunnelStatus/cli:a/activePath/2: expected an IP address but found "10.0.0.256")"},
            Worded{R"({"subTunnelStatus": {"cli:a": {"activePath": {"2": "10.0.0.2", "1": null, "2": null}}}})",
                   "/subTunnelStatus/cli:a/activePath: hop 2 is there twice"},
            Worded{R"({"lspRequestStatus": {"cli:a@primary.1": {"errors": [{"code": 1, "value": 2}, {"code": 3}]}}})",
                   "/lspRequestStatus/cli:a@primary.1/errors/1: an error has both a code and a value"},
            Worded{R"({"lspRequestStatus": {"cli:a@primary.1": {"errors": [{"code": 256, "value": 2}]}}})",
                   "/lspRequestStatus/cli:a@primary.1/errors/0/code: expected an integer from 0 to 255 but found 256"},
            Worded{R"({"spIdForLspRequestConfigId": {"cli:a@primary.1": 12}})",
                   "/spIdForLspRequestConfigId/cli:a@primary.1: expected an sp id but found 12"},
            Worded{R"({"spStatus": {"10.0.0.9/70000/10.0.0.1/1": {}}})",
                   "/spStatus/10.0.0.9/70000/10.0.0.1/1: this is not an sp id: 70000 is out of range (at most 65535)"},
            Worded{R"({"spStatus": {"10.0.0.9/12/10.0.0.1/1": {"setupPriority": 1.0}}})",
                   "/spStatus/10.0.0.9/12/10.0.0.1/1/setupPriority: expected an integer from 0 to 65535 but found 1.0"},
            Worded{R"({"tunnelIndexForTunnelSpecId": {"cli:a#1": 1}})",
                   "/tunnelIndexForTunnelSpecId/cli:a#1: this is not a tunnel spec id: "
                   "the character 0x23 in the name must be written as %23"}));

// ---- Ids

TEST_F(StoreTest, AMalformedIdIsRefusedInARemovalToo) {
   for (auto const& [collection, entries] : full().items()) {
      for (std::string const& id : std::initializer_list<std::string>{
                 "", "x", ":", "cli", "cli:", "file:a", "cli:a%", "cli:a%4", "cli:a%zz", "cli:a%00", "cli:a\tb",
                 "cli:a%ff", "CLI:a", "cli:" + std::string(1025, 'n')}) {
         EXPECT_THAT(refusal(Json{{collection, {{id, nullptr}}}}.dump()), StartsWith("/" + collection + "/")) << id;
      }
   }
}

TEST_F(StoreTest, ALongNameIsNoErrorAndATooLongOneIsAShortMessage) {
   std::string encoded;
   for (int i = 0; i < 1024; ++i) encoded += "%41";
   EXPECT_EQ(
         patch({{"spIdForLspRequestConfigId", {{"controller:" + encoded + "#4294967295@secondary.4294967295", kSp}}}}),
         1U);
   EXPECT_THAT(refusal(Json{{"pathSpec", {{"cli:" + std::string(30'000, 'x'), nullptr}}}}.dump()),
               ::testing::EndsWith(": this is too long for an id: 30004 octets, at most 3136"));
   EXPECT_EQ(refusal(Json{{"pathSpec", {{"cli:" + std::string(10'000'000, 'x'), nullptr}}}}.dump()),
             "/pathSpec: the text has more than 32768 octets");
   EXPECT_LT(refusal(Json{{"subTunnelStatus", {{"cli:a", {{"activeLsp", std::string(3000, '.')}}}}}}.dump()).size(),
             700U);
}

TEST_F(StoreTest, ControlCharactersOfTheInputDoNotReachTheTerminal) {
   EXPECT_EQ(refusal(R"({"pathSpec": {"cli:\u001b[2J\n": {}}})"),
             "/pathSpec/cli:\\x1b[2J\\x0a: this is not a path spec id: the character 0x1b in the name must be written "
             "as %1B");
   EXPECT_EQ(refusal(R"({"\u0007\u009b": {}})"), "/\\x07\\xc2\\x9b: there is no such collection");
}

// ---- Damaged texts

TEST_F(StoreTest, ADocumentCutOffAnywhereIsRefused) {
   replace(full());
   std::string const text = full().dump(1);
   for (std::size_t length = 0; length < text.size(); ++length) {
      for (ChangeKind const kind : {ChangeKind::patch, ChangeKind::snapshot}) {
         EXPECT_THAT(refusal(text.substr(0, length), kind), StartsWith("line ")) << length;
      }
   }
   EXPECT_EQ(refusal(text), "");
}

TEST_F(StoreTest, DepthAndSizeDoNotMatter) {
   std::string const deep(100'000, '[');
   std::string deepObjects;
   for (int i = 0; i < 100'000; ++i) deepObjects += R"({"pathSpec":)";
   EXPECT_EQ(refusal(deep), "/: expected an object but found an array");
   EXPECT_EQ(refusal(deepObjects),
             R"(/pathSpec/pathSpec: this is not a path spec id: there is no ":" behind a source)");
   EXPECT_EQ(refusal(R"({"pathSpec": )" + deep), "/pathSpec: expected an object but found an array");
   EXPECT_EQ(refusal(R"({"pathSpec": {"cli:a": {"name": )" + deep),
             "/pathSpec/cli:a/name: expected a text but found an array");
   EXPECT_EQ(refusal(R"({"lspRequestStatus": {"cli:a@primary.1": {"errors": )" + deep),
             "/lspRequestStatus/cli:a@primary.1/errors/0: expected an object but found an array");
   EXPECT_EQ(refusal(std::string(5'000'000, ' ')), "line 1, column 5000001: the text is empty");
   EXPECT_EQ(refusal(std::string(1'000'000, '9')), "/: the number has more than 128 characters");
   EXPECT_EQ(refusal("\"" + std::string(10'000'000, 'x')), "/: the text has more than 32768 octets");
}

// ---- What an entry may hold

std::string hops(unsigned first, unsigned count, char const* address = R"("10.0.0.1")") {
   std::string text;
   for (unsigned index = first; index < first + count; ++index) {
      text += fmt::format("{}\"{}\": {}", text.empty() ? "" : ", ", index, address);
   }
   return text;
}

std::string pathOf(std::string const& hops) {
   return R"({"subTunnelStatus": {"cli:a": {"activePath": {)" + hops + "}}}}";
}

TEST_F(StoreTest, APathHas256HopsAtMost) {
   std::string const tooMany = "/subTunnelStatus/cli:a/activePath: the path has 257 hops, at most 256";
   for (auto const kind : {ChangeKind::patch, ChangeKind::snapshot}) {
      EXPECT_EQ(refusal(pathOf(hops(1, 257)), kind), tooMany);
      EXPECT_EQ(refusal(pathOf(hops(4294967040, 256)), kind), "");
   }
}

TEST_F(StoreTest, AlsoWhenTheyComeOneAfterAnother) {
   EXPECT_EQ(refusal(pathOf(hops(1, 200))), "");
   EXPECT_EQ(refusal(pathOf(hops(201, 56))), "");
   std::string const before = store.document();
   EXPECT_EQ(refusal(pathOf(hops(300, 1))), "/subTunnelStatus/cli:a/activePath: the path has 257 hops, at most 256");
   EXPECT_EQ(store.document(), before);
   EXPECT_EQ(refusal(pathOf(hops(300, 1) + ", " + hops(7, 1, "null"))), "") << "one comes and one goes";
   EXPECT_EQ(refusal(pathOf(hops(300, 1)), ChangeKind::snapshot), "") << "a whole path";
}

TEST_F(StoreTest, AllHopsCanBeReplacedAtOnceAndNoMoreNamed) {
   EXPECT_EQ(refusal(pathOf(hops(1, 256))), "");
   EXPECT_EQ(refusal(pathOf(hops(1, 256, "null") + ", " + hops(1001, 256))), "");
   EXPECT_EQ(refusal(pathOf(hops(1, 513, "null"))),
             "/subTunnelStatus/cli:a/activePath/513: more than 512 hops are named");
}

TEST_F(StoreTest, AnLspRequestHas64ErrorsAtMost) {
   auto const errors = [](unsigned count) {
      std::string list;
      for (unsigned i = 0; i < count; ++i)
         list += i == 0 ? R"({"code": 1, "value": 2})" : R"(, {"code": 1, "value": 2})";
      return R"({"lspRequestStatus": {"cli:a@primary.1": {"errors": [)" + list + "]}}}";
   };
   EXPECT_EQ(refusal(errors(64)), "");
   EXPECT_EQ(refusal(errors(65)), "/lspRequestStatus/cli:a@primary.1/errors/64: there are more than 64 errors");
}

TEST_F(StoreTest, ACollectionHas262144EntriesAtMost) {
   auto const entries = [](unsigned first, unsigned count, char const* value) {
      std::string text = R"({"tunnelIndexForTunnelSpecId": {)";
      for (unsigned i = first; i < first + count; ++i) {
         text += fmt::format("{}\"cli:{}\":{}", i == first ? "" : ",", i, value);
      }
      return text + "}}";
   };
   EXPECT_EQ(refusal(entries(1, 262145, "1"), ChangeKind::snapshot),
             "/tunnelIndexForTunnelSpecId/cli:262145: with this the collection has more than 262144 entries");
   EXPECT_EQ(refusal(entries(1, 262144, "1")), "");
   EXPECT_EQ(refusal(entries(262145, 1, "1")),
             "/tunnelIndexForTunnelSpecId/cli:262145: with this the collection has more than 262144 entries");
   EXPECT_EQ(refusal(entries(7, 1, "2")), "") << "what is there may change";
   EXPECT_EQ(refusal(entries(1, 1, "null")), "");
   EXPECT_EQ(refusal(entries(262145, 1, "1")), "") << "there is room again";
}

TEST_F(StoreTest, AfterARefusalTheNextPatchIsTaken) {
   EXPECT_NE(refusal("{"), "");
   EXPECT_EQ(patch({{"pathSpec", {{"cli:gold", Json::object()}}}}), 1U);
}

}  // namespace
}  // namespace Store
