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
   TypedChanges(Home& home, DocumentReader& in, ChangeKind kind) : home_(home), in_(in), kind_(kind) {}

   void check(std::string_view text) override {
      Id const id = in_.idFrom<Id>(text);
      if (entries_.contains(id)) in_.refuse(fmt::format("this names the entry {} a second time", id.valueToStrep()));
      if (ahead_) ahead_->doNow(id);
      in_.kind();  // steps over the space in front of the value
      Entry entry{in_.position()};
      if (in_.takeNull()) {
         entry.begin = kGoes;
      } else {
         Content::check(in_, home_, id, kind_);
      }
      count(entry, id);
      refuseTooMany();
      if (entries_.size() == kMostNamed) in_.refuse(fmt::format("more than {} entries are named", kMostNamed));
      entries_.insertOrAssign(id, entry);
   }

   bool checkAgain() override {
      if (changed_.empty()) return false;
      Id const id = std::move(changed_.back());
      changed_.pop_back();
      std::string const text = id.valueToStrep();
      JsonReader::Inside const inEntry(in_, text);
      if (Entry* const entry = entries_.find(id)) {
         if (entry->begin != kGoes) {
            in_.positionIs(entry->begin);
            Content::check(in_, home_, id, kind_);
         }
         added_ -= entry->adds;
         removed_ -= entry->removes;
         count(*entry, id);
      }
      if (added_ != 0) refuseTooMany();
      return true;
   }

   void checked() override {
      toCome_ = static_cast<std::ptrdiff_t>(added_) - static_cast<std::ptrdiff_t>(othersGo_ ? home_.size() : removed_);
   }

   Step applyNext() override {
      auto const entry = entries_.after(lastApplied_);
      if (entry == entries_.end()) return Step::finished;
      lastApplied_ = entry.bookmark();
      if (entry->value.begin == kGoes) return Step::unchanged;
      return carryOut(Id(entry->key));
   }

   Step removeNext() override {
      if (othersGo_) {
         auto const id = home_.next(cursor_);
         if (!id) return Step::finished;
         Entry const* const named = entries_.find(*id);
         return !named ? remove(*id) : named->begin == kGoes ? carryOut(*id) : Step::unchanged;
      }
      auto const entry = entries_.after(lastRemoved_);
      if (entry == entries_.end()) return Step::finished;
      lastRemoved_ = entry.bookmark();
      return carryOut(Id(entry->key));
   }

   bool destroySome() override { return entries_.destroySome(); }

   void comesBehind(CollectionChanges& ahead) override { ahead_ = &static_cast<TypedChanges&>(ahead); }
   void comesBefore(CollectionChanges& behind) override { behind_ = &static_cast<TypedChanges&>(behind); }

 private:
   using Id = typename Home::Id;
   struct Entry {
      std::size_t begin = 0;  // where its value begins in the document, or one of those below
      bool adds = false;
      bool removes = false;
   };
   using Entries = Vel::HashMap2018<Id, Entry>;
   static constexpr std::size_t kGoes = ~std::size_t{0};
   static constexpr std::size_t kDone = kGoes - 1;

   /// What it does to the number of entries.
   void count(Entry& entry, Id const& id) {
      bool const present = home_.find(id) != nullptr;
      entry.adds = entry.begin != kGoes && (kind_ == ChangeKind::snapshot || !present);
      entry.removes = entry.begin == kGoes && present;
      added_ += entry.adds;
      removed_ += entry.removes;
   }

   void refuseTooMany() {
      auto const others = kind_ == ChangeKind::snapshot
                                ? 0
                                : static_cast<std::ptrdiff_t>(home_.size()) + (ahead_ ? ahead_->toCome_ : 0);
      if (static_cast<std::ptrdiff_t>(added_) + others > static_cast<std::ptrdiff_t>(kMostEntries)) {
         in_.refuse(fmt::format("with this the collection has more than {} entries", kMostEntries));
      }
   }

   /// Does what is to be done to the entry, if it is not done.
   Step carryOut(Id const& id) {
      Entry* const entry = entries_.find(id);
      std::size_t const begin = std::exchange(entry->begin, kDone);
      if (begin == kDone) return Step::unchanged;
      if (begin == kGoes) return remove(id);
      in_.positionIs(begin);
      std::size_t const before = home_.size();
      bool const changed = Content::apply(in_, home_, id, kind_);
      toCome_ -= static_cast<std::ptrdiff_t>(home_.size()) - static_cast<std::ptrdiff_t>(before);
      return told(id, changed);
   }

   Step remove(Id const& id) {
      bool const changed = home_.del(id);
      toCome_ += changed;
      return told(id, changed);
   }

   Step told(Id const& id, bool changed) {
      if (changed && behind_) behind_->changed_.push_back(id);
      return changed ? Step::changed : Step::unchanged;
   }

   /// Does what is to be done to the entry before the time, and not again then.
   void doNow(Id const& id) {
      Step step = Step::unchanged;
      if (entries_.contains(id)) {
         step = carryOut(id);
      } else if (othersGo_) {
         entries_.insertOrAssign(id, {kDone});
         step = remove(id);
      }
      changedForOthers_ += step == Step::changed;
   }

   Home& home_;
   DocumentReader& in_;
   ChangeKind const kind_;
   Entries entries_;
   std::size_t added_ = 0;
   std::size_t removed_ = 0;
   std::ptrdiff_t toCome_ = 0;  // entries that the collection has more when all is applied, once all is checked
   typename Entries::Bookmark lastApplied_ = 0;
   typename Entries::Bookmark lastRemoved_ = 0;
   typename Home::Cursor cursor_;

   TypedChanges* ahead_ = nullptr;
   TypedChanges* behind_ = nullptr;
   std::vector<Id> changed_;  // by another document that comes before
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

   std::unique_ptr<CollectionChanges> changes(DocumentReader& in, ChangeKind kind) override {
      return std::make_unique<TypedChanges<Home, Content>>(home_, in, kind);
   }

 private:
   static_assert(std::is_same_v<typename Home::Id, typename Content::Id>);
   static_assert(std::is_same_v<typename Home::Member, typename Content::Member>);
   Home home_;
};

}  // namespace Store
