// SPDX-License-Identifier: MIT
// Documents and patches, one a line; a line that begins with "=" replaces the state. What is taken changes the state as
// RFC 7396 says, whatever steps it is applied in; what is refused changes nothing. Lines that begin with "+" are
// patches that go between the steps of the one before them: the state is as if they had gone before or behind it.
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

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

/// How many entries `work` says that it has changed; none when it is refused.
template <class F>
std::optional<std::size_t> changedBy(F&& work) {
   try {
      return work();
   } catch (Store::StateError const&) {
      return {};
   }
}

void takeLineWithOthers(Store::StateStore& store, std::string_view text, ChangeKind kind, std::size_t step,
                        std::vector<std::string_view> const& others) {
   OneStore expected;
   expected.store.replace(store.document());
   auto const inOrder = [&](ChangeKind as, std::string_view line) {
      return changedBy([&] { return apply(expected.store, as, line, Store::ChangeSet::kAll); });
   };

   Store::ChangeSet changes(store, kind, std::string(text));
   std::optional<std::optional<std::size_t>> wanted;
   auto other = others.begin();
   auto const goBetween = [&] {
      if (other == others.end()) return;
      if (changes.checked() && !wanted) wanted = inOrder(kind, text);
      Store::ChangeSet small(store, ChangeKind::patch, std::string(*other));
      small.goesBetween(changes);
      auto const changed = changedBy([&] {
         small.checkSome();
         if (!small.removesWhole()) small.applySome();
         return small.changed();
      });
      if (!small.checked() || !small.removesWhole()) {
         check(changed == inOrder(ChangeKind::patch, *other), "it goes between like alone", *other);
      }
      ++other;
   };
   auto const changed = changedBy([&] {
      do goBetween();
      while (!changes.checkSome(step));
      do goBetween();
      while (!changes.applySome(step));
      return changes.changed();
   });
   if (!wanted) wanted = inOrder(kind, text);
   check(changed == *wanted, "those that go between make no difference", text);
   check(store.document() == expected.store.document(), "the state is that of one behind the other", text);
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   std::string_view text = Fuzz::textOf(data, size);
   OneStore one;
   std::size_t step = 1;
   auto const nextLine = [&] {
      auto const end = std::min(text.find('\n'), text.size() - 1);
      std::string_view const line = text.substr(0, end + 1);
      text.remove_prefix(end + 1);
      return line;
   };
   while (!text.empty()) {
      std::string_view line = nextLine();
      bool const replaces = line.starts_with('=');
      if (replaces) line.remove_prefix(1);
      auto const kind = replaces ? ChangeKind::snapshot : ChangeKind::patch;
      std::vector<std::string_view> others;
      while (text.starts_with('+')) others.push_back(nextLine().substr(1));
      if (others.empty()) {
         takeLine(one.store, line, kind, step++);
      } else {
         takeLineWithOthers(one.store, line, kind, step++, others);
      }
   }
   return 0;
}
