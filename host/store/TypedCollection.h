// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "host/store/Attribute.h"
#include "host/store/Collection.h"
#include "host/store/Home.h"
#include "host/store/Limits.h"

namespace Store {

/// Entries that are observable objects, with the attributes of one table.
template <class Entry, auto const& Attributes>
struct Objects {
   static_assert(Attributes.size() <= DocumentReader::kMostMembers);
   using Id = std::remove_cvref_t<decltype(std::declval<Entry>().id())>;
   using Member = Vel::Ptr<Entry const>;

   template <class Home>
   static void check(DocumentReader& in, Home const& home, Id const& id, ChangeKind kind) {
      wanted(in, home.find(id), id, kind);
   }

   /// Publishes the entry as it is to be, or what is different about it. True when that is a change.
   template <class Home>
   static bool apply(DocumentReader& in, Home& home, Id const& id, ChangeKind kind) {
      Member const* const found = home.find(id);
      // Held: whoever is told of a change may take the entry out.
      Member const present = found ? *found : Member();
      auto const wanted = Objects::wanted(in, present ? &present : nullptr, id, kind);
      if (!present) {
         home.put(id, wanted);
         return true;
      }
      // What differs is found out first: whoever is told of one attribute may change another, which then stays.
      std::array<bool, Attributes.size()> differs;
      std::ranges::transform(Attributes, differs.begin(),
                             [&](auto const& attribute) { return !attribute.same(*present, *wanted); });
      bool changed = false;
      for (std::size_t index = 0; index < Attributes.size(); ++index) {
         if (differs[index]) changed |= Attributes[index].assign(writable(present), *wanted);
      }
      return changed;
   }

   /// Without the attributes that have their default.
   static Json write(Member const& member) {
      auto const fresh = Vel::makePtr<Entry>(member->id());
      Json written = Json::object();
      for (auto const& attribute : Attributes) {
         if (!attribute.same(*member, *fresh)) written[std::string(attribute.name)] = attribute.write(*member);
      }
      return written;
   }

 private:
   static constexpr auto kNames = [] {
      std::array<std::string_view, Attributes.size()> names;
      std::ranges::transform(Attributes, names.begin(), [](auto const& attribute) { return attribute.name; });
      return names;
   }();

   /// The entry as it is to be.
   static Vel::Ptr<Entry> wanted(DocumentReader& in, Member const* present, Id const& id, ChangeKind kind) {
      auto const entry = Vel::makePtr<Entry>(id);
      if (present && kind == ChangeKind::patch) {
         for (auto const& attribute : Attributes) attribute.assign(*entry, **present);
      }
      readInto(in, *entry);
      return entry;
   }

   static void readInto(DocumentReader& in, Entry& entry) {
      in.members(kNames, "attribute", [&](std::size_t index) {
         auto const& attribute = Attributes[index];
         if (in.takeNull()) {
            attribute.reset(entry, *Vel::makePtr<Entry>(entry.id()));
         } else {
            attribute.read(in, entry);
         }
      });
   }
};

/// Entries that are plain values.
template <class Key, class Form>
struct Values {
   using Id = Key;
   using Member = typename Form::Value;

   template <class Home>
   static void check(DocumentReader& in, Home const& /*home*/, Id const& /*id*/, ChangeKind /*kind*/) {
      taken(in);
   }

   template <class Home>
   static bool apply(DocumentReader& in, Home& home, Id const& id, ChangeKind /*kind*/) {
      Member const wanted = taken(in);
      Member const* const present = home.find(id);
      if (present && *present == wanted) return false;
      home.put(id, wanted);
      return true;
   }

   static Json write(Member const& member) { return Form::write(member); }

 private:
   static Member taken(DocumentReader& in) {
      Member value{};
      Form::read(in, value);
      return value;
   }
};

template <class Home, class Content>
class TypedChanges : public CollectionChanges {
 public:
   explicit TypedChanges(Home& home) : home_(home) {}

   void check(DocumentReader& in, std::string_view text, ChangeKind kind) override {
      Id const id = in.idFrom<Id>(text);
      if (entries_.contains(id)) in.refuse(fmt::format("this names the entry {} a second time", id.valueToStrep()));
      in.kind();  // steps over the space in front of the value
      std::size_t const begin = in.position();
      bool const goes = in.takeNull();
      if (!goes) {
         Content::check(in, home_, id, kind);
         if (kind == ChangeKind::snapshot || !home_.find(id)) ++added_;
         if (added_ + (kind == ChangeKind::snapshot ? 0 : home_.size()) > kMostEntries) {
            in.refuse(fmt::format("with this the collection has more than {} entries", kMostEntries));
         }
      }
      if (entries_.size() == kMostNamed) in.refuse(fmt::format("more than {} entries are named", kMostNamed));
      entries_.insertOrAssign(id, goes ? kGoes : begin);
   }

   Step applyNext(DocumentReader& in, ChangeKind kind) override {
      auto const entry = entries_.after(applied_);
      if (entry == entries_.end()) return Step::finished;
      applied_ = entry.bookmark();
      if (entry->value == kGoes) return Step::unchanged;
      in.positionIs(entry->value);
      return stepOf(Content::apply(in, home_, entry->key, kind));
   }

   Step removeNext() override {
      if (othersGo_) {
         auto const id = home_.next(cursor_);
         if (!id) return Step::finished;
         std::size_t const* const named = entries_.find(*id);
         return stepOf((!named || *named == kGoes) && home_.del(*id));
      }
      auto const entry = entries_.after(removed_);
      if (entry == entries_.end()) return Step::finished;
      removed_ = entry.bookmark();
      return stepOf(entry->value == kGoes && home_.del(entry->key));
   }

   bool destroySome() override { return entries_.destroySome(); }

 private:
   using Id = typename Home::Id;
   using Entries = Vel::HashMap2018<Id, std::size_t>;

   static Step stepOf(bool changed) { return changed ? Step::changed : Step::unchanged; }

   static constexpr std::size_t kGoes = ~std::size_t{0};
   Home& home_;
   Entries entries_;  // where the value of each entry begins in the document, or kGoes
   std::size_t added_ = 0;
   typename Entries::Bookmark applied_ = 0;
   typename Entries::Bookmark removed_ = 0;
   typename Home::Cursor cursor_;
};

template <class Home, class Content>
class TypedWriter : public CollectionWriter {
 public:
   explicit TypedWriter(Home const& home) : home_(home) {}

   bool step(std::string& out, Layout const& layout) override {
      if (!allFound_) {
         if (auto const id = home_.next(cursor_)) {
            ids_.emplace(id->valueToStrep(), *id);
            return true;
         }
         allFound_ = true;
      }
      if (ids_.empty()) return false;
      auto const entry = ids_.extract(ids_.begin());
      out += std::exchange(first_, false) ? layout.firstEntry : layout.nextEntry;
      out += Json(entry.key()).dump();
      out += layout.colon;
      out += Content::write(*home_.find(entry.mapped())).dump();
      return true;
   }

 private:
   Home const& home_;
   typename Home::Cursor cursor_;
   // In order as they come: to sort them all at once would take long.
   std::map<std::string, typename Home::Id> ids_;
   bool allFound_ = false;
   bool first_ = true;
};

template <class Home, class Content>
class TypedCollection : public Collection {
 public:
   template <class Holder>
   TypedCollection(std::string_view name, Holder&& holder) : Collection(name), home_(std::forward<Holder>(holder)) {}

   std::size_t size() const override { return home_.size(); }

   std::unique_ptr<CollectionWriter> writer() const override {
      return std::make_unique<TypedWriter<Home, Content>>(home_);
   }

   std::unique_ptr<CollectionChanges> changes() override {
      return std::make_unique<TypedChanges<Home, Content>>(home_);
   }

 private:
   static_assert(std::is_same_v<typename Home::Id, typename Content::Id>);
   static_assert(std::is_same_v<typename Home::Member, typename Content::Member>);
   Home home_;
};

}  // namespace Store
