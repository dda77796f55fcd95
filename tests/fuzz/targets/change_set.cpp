// SPDX-License-Identifier: MIT
// Documents and patches, one a line; a line that begins with "=" replaces the state. What is taken changes the state as
// RFC 7396 says, whatever steps it is applied in; what is refused changes nothing.
#include <nlohmann/json.hpp>
#include <string>

#include "host/store/ChangeSet.h"
#include "host/store/StateStore.h"
#include "tests/fuzz/targets/Fuzz.h"

namespace {

using Fuzz::check;
using Json = nlohmann::json;
using Store::ChangeKind;

struct OneStore {
   Vel::Ptr<Vel::EntityDir> root = Vel::makePtr<Vel::EntityDir>("root");
   Store::StateStore store{root};
};

template <class Id>
std::string canonicalId(std::string const& text) {
   return Id::fromText(text).valueToStrep();
}

std::string canonicalKey(std::string const& collection, std::string const& id) {
   using namespace Rsvp;
   if (collection == "pathSpec") return canonicalId<RsvpLerPathSpecId>(id);
   if (collection == "subTunnelConfig" || collection == "subTunnelStatus")
      return canonicalId<RsvpLerSubTunnelConfigId>(id);
   if (collection == "spStatus") return canonicalId<RsvpSpId>(id);
   if (collection == "tunnelIndexForTunnelSpecId") return canonicalId<RsvpLerTunnelSpecId>(id);
   if (collection == "tunnelIndexForSubTunnelConfigId") return canonicalId<RsvpLerSubTunnelConfigId>(id);
   return canonicalId<RsvpLerLspRequestConfigId>(id);
}

/// With one spelling for each id, so that the library's merge sees which entries are the same.
Json canonical(Json const& document) {
   Json result = Json::object();
   for (auto const& [name, collection] : document.items()) {
      result[name] = collection.is_object() ? Json::object() : collection;
      for (auto const& [id, entry] : collection.items()) {
         if (collection.is_object()) result[name][canonicalKey(name, id)] = entry;
      }
   }
   return result;
}

/// Checks and applies in steps of so many entries; returns what changed.
std::size_t apply(Store::StateStore& store, ChangeKind kind, std::string_view text, std::size_t step) {
   Store::ChangeSet changes(store, kind, std::string(text));
   while (!changes.checkSome(step)) {
   }
   while (!changes.applySome(step)) {
   }
   return changes.changed();
}

void takeLine(Store::StateStore& store, std::string_view text, ChangeKind kind, std::size_t step) {
   std::string const before = store.document();
   try {
      apply(store, kind, text, step);
   } catch (Store::StateError const& error) {
      check(store.document() == before, "what is refused changes nothing", error.what());
      return;
   }
   std::string const after = store.document();

   Json expected = kind == ChangeKind::patch ? Json::parse(before) : Json::object();
   expected.merge_patch(canonical(Json::parse(text)));
   OneStore fresh;
   fresh.store.replace(expected.dump());
   check(fresh.store.document() == after, "the state is the merge of both", after);

   check(apply(store, kind, text, Store::ChangeSet::kAll) == 0, "what is there already changes nothing", after);
   check(store.replace(after) == 0, "the state's own document changes nothing", after);
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   std::string_view text = Fuzz::textOf(data, size);
   OneStore one;
   std::size_t step = 1;
   while (!text.empty()) {
      auto const end = std::min(text.find('\n'), text.size() - 1);
      std::string_view line = text.substr(0, end + 1);
      text.remove_prefix(end + 1);
      bool const replaces = line.starts_with('=');
      if (replaces) line.remove_prefix(1);
      takeLine(one.store, line, replaces ? ChangeKind::snapshot : ChangeKind::patch, step++);
   }
   return 0;
}
