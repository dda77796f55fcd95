// SPDX-License-Identifier: MIT
/// Long random sequences of patches and documents, compared after each with a plain JSON document that the JSON library
/// merges; and random damage, which must change nothing.
#include <random>
#include <set>

#include "host/store/tests/StoreFixture.h"

namespace Store {
namespace {

/// Makes up documents and patches about a few tunnels, so that they meet often.
class Maker {
 public:
   explicit Maker(unsigned seed) : random_(seed) {}

   std::size_t below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_); }
   bool chance(unsigned percent) { return below(100) < percent; }

   /// A patch when `removals`, else a document.
   Json document(bool removals) {
      Json document = Json::object();
      for (auto const& [name, make] : collections()) {
         if (chance(40)) continue;
         if (removals && chance(3)) {
            document[name] = nullptr;
            continue;
         }
         Json& entries = document[name] = Json::object();
         for (std::size_t left = below(5); left > 0; --left) {
            auto const [id, entry] = make(*this, removals);
            entries[id] = removals && chance(25) ? Json() : entry;
         }
      }
      return document;
   }

   std::string name() { return std::array{"a", "to-paris", "é%25", "x:y", "to-rome"}[below(5)]; }
   std::string source() { return std::array{"cli:", "auto:", "controller:"}[below(3)]; }
   std::string tunnel() { return source() + name(); }
   std::string subTunnel() { return tunnel() + std::array{"", "#1", "#4294967295"}[below(3)]; }
   std::string request() {
      return subTunnel() + std::array{"@primary.", "@secondary."}[below(2)] + std::array{"0", "1", "77"}[below(3)];
   }
   std::string sp() {
      return "10.0.0." + std::to_string(below(3)) + "/" + std::to_string(below(2)) + "/10.0.0.1/" +
             std::to_string(below(2));
   }

 private:
   using Make = std::pair<std::string, Json> (*)(Maker&, bool);
   static std::vector<std::pair<std::string, Make>> const& collections();

   /// Sets some attributes, or with `removals` some to null.
   Json entry(bool removals, std::vector<std::pair<std::string, Json>> const& attributes) {
      Json entry = Json::object();
      for (auto const& [name, value] : attributes) {
         if (chance(50)) continue;
         entry[name] = removals && chance(20) ? Json() : value;
      }
      return entry;
   }
   Json path(bool removals) {
      Json path = Json::object();
      for (std::size_t left = below(4); left > 0; --left) {
         Json address = chance(20) ? Json("2001:db8::" + std::to_string(1 + below(3)))
                                   : Json("10.0.0." + std::to_string(below(3)));
         path[std::array{"1", "2", "10", "4294967295"}[below(4)]] = removals && chance(30) ? Json() : address;
      }
      return path;
   }
   Json errors() {
      Json errors = Json::array();
      for (std::size_t left = below(3); left > 0; --left) errors.push_back({{"code", below(3)}, {"value", below(2)}});
      return errors;
   }

   std::mt19937 random_;
};

std::vector<std::pair<std::string, Maker::Make>> const& Maker::collections() {
   static std::vector<std::pair<std::string, Make>> const all{
         {"pathSpec",
          [](Maker& m, bool removals) {
             return std::pair{m.tunnel(),
                              m.entry(removals, {{"name", m.name()},
                                                 {"type", std::array{"unknown", "explicit", "dynamic"}[m.below(3)]}})};
          }},
         {"subTunnelConfig",
          [](Maker& m, bool removals) {
             return std::pair{m.subTunnel(), m.entry(removals, {{"primaryPathSpec", m.tunnel()},
                                                                {"secondaryPathSpec", m.tunnel()},
                                                                {"fastReroute", m.chance(50)}})};
          }},
         {"subTunnelStatus",
          [](Maker& m, bool removals) {
             return std::pair{m.subTunnel(), m.entry(removals, {{"up", m.chance(50)},
                                                                {"pathChanges", m.below(3)},
                                                                {"stateTransitions", m.below(3)},
                                                                {"activeLsp", m.request()},
                                                                {"activePath", m.path(removals)}})};
          }},
         {"lspRequestStatus",
          [](Maker& m, bool removals) {
             return std::pair{m.request(), m.entry(removals, {{"errors", m.errors()}})};
          }},
         {"spIdForLspRequestConfigId",
          [](Maker& m, bool) {
             return std::pair{m.request(), Json(m.sp())};
          }},
         {"spStatus",
          [](Maker& m, bool removals) {
             return std::pair{m.sp(), m.entry(removals, {{"setupPriority", m.below(3)},
                                                         {"holdingPriority", m.below(3)},
                                                         {"excludeAny", m.below(2)},
                                                         {"includeAny", m.below(2)},
                                                         {"includeAll", m.below(2)},
                                                         {"upSince", 0.25 * m.below(3)}})};
          }},
         {"tunnelIndexForTunnelSpecId",
          [](Maker& m, bool) {
             return std::pair{m.tunnel(), Json(m.below(3))};
          }},
         {"tunnelIndexForSubTunnelConfigId",
          [](Maker& m, bool) {
             return std::pair{m.subTunnel(), Json(m.below(3))};
          }},
   };
   return all;
}

/// What the store's own document says for `document`: without empty collections and without defaults.
Json normalised(Json document) {
   for (auto collection = document.begin(); collection != document.end();) {
      collection = collection->empty() ? document.erase(collection) : std::next(collection);
   }
   Json const defaults = Json::parse(R"({"type": "unknown", "fastReroute": false, "up": false, "pathChanges": 0,
      "stateTransitions": 0, "activePath": {}, "errors": [], "setupPriority": 0, "holdingPriority": 0, "excludeAny": 0,
      "includeAny": 0, "includeAll": 0, "upSince": 0})");
   for (auto& [collectionName, entries] : document.items()) {
      for (auto& [id, entry] : entries.items()) {
         if (!entry.is_object()) continue;
         for (auto attribute = entry.begin(); attribute != entry.end();) {
            bool const nameOfTheId = collectionName == "pathSpec" && attribute.key() == "name" &&
                                     Rsvp::nameText(Rsvp::RsvpLerPathSpecId::fromText(id).name) == *attribute;
            bool const isDefault = defaults.contains(attribute.key()) && defaults[attribute.key()] == *attribute;
            attribute = nameOfTheId || isDefault ? entry.erase(attribute) : std::next(attribute);
         }
      }
   }
   return document;
}

std::size_t entriesThatDiffer(Json const& before, Json const& after) {
   std::size_t differ = 0;
   std::set<std::string> names;
   for (Json const& document : {before, after}) {
      for (auto const& [name, entries] : document.items()) names.insert(name);
   }
   for (std::string const& name : names) {
      Json const old = before.value(name, Json::object());
      Json const now = after.value(name, Json::object());
      for (auto const& [id, entry] : old.items()) differ += !now.contains(id) || now[id] != entry;
      for (auto const& [id, entry] : now.items()) differ += !old.contains(id);
   }
   return differ;
}

/// The same document with some letters of its ids percent-encoded.
std::string respelt(Maker& maker, Json const& document) {
   nlohmann::ordered_json result = nlohmann::ordered_json::object();
   for (auto const& [name, entries] : document.items()) {
      if (!entries.is_object()) {
         result[name] = entries;
         continue;
      }
      result[name] = nlohmann::ordered_json::object();
      for (auto const& [id, entry] : entries.items()) {
         std::string other = id;
         auto const letter = other.find_first_of("aotx", other.find(':'));
         if (name != "spStatus" && letter < other.find_first_of("#@") && maker.chance(30)) {
            other.replace(letter, 1, fmt::format("%{:02x}", other[letter]));
         }
         result[name][other] = entry;
      }
   }
   return result.dump();
}

class ModelTest : public StoreTest, public ::testing::WithParamInterface<unsigned> {};

TEST_P(ModelTest, PatchesAndDocumentsDoWhatAMergeOfTheDocumentDoes) {
   Maker maker(GetParam());
   Json model = Json::object();
   for (int step = 0; step < 500; ++step) {
      SCOPED_TRACE(step);
      Json const before = normalised(model);
      bool const isPatch = !maker.chance(10);
      Json const document = maker.document(isPatch);
      std::size_t changed = 0;
      if (isPatch) {
         model.merge_patch(document);
         changed = store.applyPatch(respelt(maker, document));
      } else {
         model = document;
         changed = store.replace(respelt(maker, document));
      }
      Json const expected = normalised(model);
      ASSERT_EQ(state(), expected);
      ASSERT_EQ(changed, entriesThatDiffer(before, expected));
      for (auto const& collection : store.collections()) {
         std::string const name(collection->name());
         ASSERT_EQ(collection->size(), expected.contains(name) ? expected[name].size() : 0U) << name;
      }
      ASSERT_EQ(isPatch ? patch(document) : replace(document), 0U) << "the second time it changes nothing";
      ASSERT_EQ(store.replace(store.document()), 0U);
   }
}

TEST_P(ModelTest, DamagedTextsChangeNothing) {
   Maker maker(GetParam() + 1000);
   std::size_t refused = 0;
   for (int step = 0; step < 750; ++step) {
      SCOPED_TRACE(step);
      if (step % 10 == 0) store.replace(maker.document(false).dump());
      std::string text = maker.document(true).dump();
      for (std::size_t damage = 1 + maker.below(3); damage > 0; --damage) {
         std::size_t const at = maker.below(text.size());
         switch (maker.below(5)) {
            case 0:
               text[at] = static_cast<char>(maker.below(256));
               break;
            case 1:
               text.erase(at, 1 + maker.below(4));
               break;
            case 2:
               text.insert(at, 1, "{}[]\":,\\%#@-0.e"[maker.below(15)]);
               break;
            case 3:
               text.insert(at, text.substr(at, 1 + maker.below(20)));
               break;
            default:
               text.resize(at + 1);
               break;
         }
         if (text.empty()) break;
      }
      ChangeKind const kind = maker.chance(50) ? ChangeKind::patch : ChangeKind::snapshot;
      // Checks by itself that a refusal is one line and changes nothing.
      bool const accepted = refusal(text, kind).empty();
      refused += !accepted;
      ASSERT_TRUE(!accepted || Json::accept(text)) << text;
      ASSERT_EQ(store.replace(store.document()), 0U);
   }
   EXPECT_GT(refused, 500U);
}

INSTANTIATE_TEST_SUITE_P(Seeds, ModelTest, ::testing::Range(1U, 3U));

}  // namespace
}  // namespace Store
