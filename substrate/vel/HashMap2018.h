// SPDX-License-Identifier: MIT
#pragma once

#include <tsl/hopscotch_set.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <ranges>
#include <type_traits>
#include <utility>
#include <vector>

#include "substrate/vel/ChunkedVector.h"
#include "substrate/vel/Hasher.h"
#include "substrate/vel/WorkCounter.h"

namespace Vel {

/// A hash map that keeps insertion order: a dense vector of entries, in order of insertion, with a hash index over it
/// once it has more than a handful of them (a small map costs one allocation). A large one grows and shrinks a piece at
/// a time, so that no insertion or erasure takes noticeably longer than another.
///
/// Every entry has a number, never used again, that grows in order of insertion. It makes iteration robust and gives
/// scans their bookmark: an iterator goes on behind the last number that it visited, whatever was inserted, erased or
/// moved meanwhile. No entry is visited twice, no entry that stays is missed, entries inserted on the way are visited.
/// An iterator whose entry has been erased may be advanced and asked for its bookmark, but not dereferenced.
///
/// References to keys and values hold until the next insertion or erasure.
template <class K, class V>
class HashMap2018 {
 public:
   struct Entry {
      K key;
      V value;
   };
   /// The number of an entry; 0 stands before all of them.
   using Bookmark = std::uint64_t;

   HashMap2018() = default;
   /// Values find the map empty when they are destroyed with it.
   ~HashMap2018() { clear(); }
   HashMap2018(HashMap2018 const&) = delete;
   HashMap2018& operator=(HashMap2018 const&) = delete;

   class Iterator {
    public:
      Entry const& operator*() const { return slot().entry; }
      Entry const* operator->() const { return &slot().entry; }
      /// Where a scan that stops behind this entry goes on later (`HashMap2018::after`).
      Bookmark bookmark() const { return number_; }

      Iterator& operator++() {
         settle(map_->positionAfter(number_, position_));
         return *this;
      }
      /// Iterators at the end are equal; others by entry.
      bool operator==(Iterator const& other) const { return number_ == other.number_; }

    private:
      friend class HashMap2018;
      Iterator(HashMap2018 const* map, std::size_t position) : map_(map) { settle(position); }

      void settle(std::size_t position) {
         position_ = position;
         number_ = position < map_->slots_.size() ? map_->slots_[position].number : kEnd;
         ++collectionNodesVisited;
      }
      auto const& slot() const { return map_->slots_[map_->positionOf(number_, position_)]; }

      static constexpr Bookmark kEnd = ~Bookmark{0};
      HashMap2018 const* map_;
      std::size_t position_ = 0;
      Bookmark number_ = kEnd;
   };

   std::size_t size() const { return live_; }
   bool empty() const { return live_ == 0; }

   /// The value of `key`, or null.
   V const* find(K const& key) const {
      std::size_t const position = locate(key);
      return position == kAbsent ? nullptr : &slots_[position].entry.value;
   }
   V* find(K const& key) { return const_cast<V*>(std::as_const(*this).find(key)); }
   bool contains(K const& key) const { return locate(key) != kAbsent; }
   /// The value of `key`, or a default-made one.
   V operator[](K const& key) const {
      V const* const value = find(key);
      return value ? *value : V{};
   }

   /// Inserts or overwrites; true when the key is new.
   bool insertOrAssign(K const& key, V value) {
      if (V* const existing = find(key)) {
         // The old value is destroyed only after the new one is in place.
         [[maybe_unused]] V const old = std::exchange(*existing, std::move(value));
         return false;
      }
      slots_.push_back(Slot{nextNumber_++, true, Entry{key, std::move(value)}});
      ++live_;
      if (index_ && (live_ < kUndivided || index_->divided())) {
         index_->part(hashOf(key)).insert(static_cast<Position>(slots_.size() - 1));
      } else if (live_ > kUnindexed) {
         reindex();
      } else if (slots_.size() > kUnindexed) {
         compact();
      }
      if (hole().end != 0) compactSome();
      return true;
   }

   /// True when there was such a key.
   bool erase(K const& key) {
      std::size_t const position = locate(key);
      if (position == kAbsent) return false;
      if (index_) index_->erase(hashOf(key), static_cast<Position>(position));
      // The entry is destroyed only after the map is in order again: its destruction may come back to this map.
      [[maybe_unused]] Entry const removed = std::exchange(slots_[position].entry, Entry{});
      slots_[position].alive = false;
      --live_;
      if (position == firstLive_) firstLive_ = static_cast<Position>(skipDead(position));
      tidyUp();
      return true;
   }

   void clear() {
      [[maybe_unused]] Slots const removed = std::exchange(slots_, {});
      index_.reset();
      live_ = 0;
      firstLive_ = 0;
   }

   /// Destroys some of the entries; true when none is left. For a large map that nobody needs any more, of which to
   /// destroy all at once would take long. REQUIRES: nothing else is done with the map from the first call on.
   bool destroySome() {
      index_.reset();
      slots_.truncate(slots_.size() - std::min<std::size_t>(slots_.size(), kDestroyedAtOnce));
      live_ = 0;
      firstLive_ = 0;
      return slots_.empty();
   }

   Iterator begin() const { return Iterator(this, firstLive_); }
   Iterator end() const { return Iterator(this, slots_.size()); }
   /// The first entry behind `bookmark`.
   Iterator after(Bookmark bookmark) const { return Iterator(this, positionAfter(bookmark, slots_.size())); }
   /// Behind it stand only entries that are inserted from now on.
   Bookmark lastBookmark() const { return nextNumber_ - 1; }

 private:
   using Position = std::uint32_t;
   struct Slot {
      std::uint64_t number : 63;
      std::uint64_t alive : 1;
      Entry entry;
   };
   // A key type that is itself a Position could not be told from one: its keys are wrapped for the look-up.
   struct KeyView {
      K const& key;
   };
   struct Hash {
      HashMap2018 const* map;
      std::size_t operator()(Position position) const { return hashOf(map->slots_[position].entry.key); }
      std::size_t operator()(KeyView view) const { return hashOf(view.key); }
   };
   struct Equal {
      using is_transparent = void;
      HashMap2018 const* map;
      bool operator()(Position a, Position b) const { return a == b; }
      bool operator()(Position a, KeyView view) const { return map->slots_[a].entry.key == view.key; }
      bool operator()(KeyView view, Position a) const { return map->slots_[a].entry.key == view.key; }
   };
   // Hashes are stored, so that growing the index does not hash every key again.
   using Part = tsl::hopscotch_set<Position, Hash, Equal, std::allocator<Position>, 30, true>;
   /// The slots that are left behind when entries move up to close the gaps of erased ones: those from `begin` to
   /// `end`. None of them is alive, and their numbers mean nothing. Before them the entries have moved up, behind them
   /// they are still to. There is a hole, if only an empty one, as long as `end` is not 0.
   struct Hole {
      Position begin = 0;
      Position end = 0;
      bool holds(std::size_t position) const { return position >= begin && position < end; }
   };
   /// The hash index. A large one is divided by the hash: its parts grow and shrink one by one.
   class Index {
    public:
      Index(HashMap2018 const& map, std::size_t capacity)
            : parts_(capacity < kUndivided ? 1 : kParts,
                     Part(capacity < kUndivided ? capacity : capacity / kParts, Hash{&map}, Equal{&map})) {}

      bool divided() const { return parts_.size() != 1; }
      // A part looks at the low bits of the hash.
      Part& part(std::uint32_t hash) { return parts_[(hash >> kPartShift) & (parts_.size() - 1)]; }
      void erase(std::uint32_t hash, Position position) {
         Part& among = part(hash);
         among.erase(position, hash);
         if (among.bucket_count() > kSmallPart && among.size() < among.bucket_count() / 8)
            among.rehash(2 * among.size());
      }
      /// Only a map with an index has one.
      Hole hole;

    private:
      static constexpr std::size_t kSmallPart = 64;
      static constexpr std::size_t kParts = 64;
      static constexpr unsigned kPartShift = 26;
      std::vector<Part> parts_;
   };
   using Slots = ChunkedVector<Slot>;

   static constexpr std::size_t kAbsent = ~std::size_t{0};
   static constexpr std::size_t kUnindexed = 8;
   static constexpr std::size_t kUndivided = 4096;
   static constexpr std::size_t kDestroyedAtOnce = 1024;
   static constexpr std::size_t kCompactedAtOnce = 1024;
   // Of a larger map, at each change: more than one change leaves behind.
   static constexpr int kCompactedByChange = 4;

   std::size_t locate(K const& key) const {
      if (index_) {
         auto const hash = hashOf(key);
         Part const& part = index_->part(hash);
         auto const found = part.find(KeyView{key}, hash);
         return found == part.end() ? kAbsent : *found;
      }
      for (std::size_t position = 0; position < slots_.size(); ++position) {
         if (slots_[position].alive && slots_[position].entry.key == key) return position;
      }
      return kAbsent;
   }

   Hole hole() const { return index_ ? index_->hole : Hole(); }

   std::size_t skipDead(std::size_t position) const {
      Hole const hole = this->hole();
      for (; position < slots_.size(); ++position) {
         if (hole.holds(position)) position = hole.end;
         if (position == slots_.size() || slots_[position].alive) break;
         ++collectionNodesVisited;
      }
      return position;
   }

   /// Position of the slot with this number; `guess` is where it was last.
   std::size_t positionOf(Bookmark number, std::size_t guess) const {
      Hole const hole = this->hole();
      if (guess < slots_.size() && slots_[guess].number == number && !hole.holds(guess)) return guess;
      auto const numberAt = [this](std::size_t position) { return Bookmark{slots_[position].number}; };
      bool const movedUp = hole.begin != 0 && number <= numberAt(hole.begin - 1);
      auto const positions = movedUp ? std::views::iota(std::size_t{0}, std::size_t{hole.begin})
                                     : std::views::iota(std::size_t{hole.end}, slots_.size());
      return *std::ranges::lower_bound(positions, number, {}, numberAt);
   }

   std::size_t positionAfter(Bookmark number, std::size_t guess) const {
      std::size_t position = positionOf(number, guess);
      if (position < slots_.size() && slots_[position].number == number) ++position;
      return skipDead(position);
   }

   /// Drops the slots of erased entries when there are more of these than of others.
   void tidyUp() {
      if (hole().end == 0 && slots_.size() - live_ <= std::max<std::size_t>(live_, kUnindexed)) return;
      if (slots_.size() > kCompactedAtOnce) return compactSome();
      compact();
      slots_.shrink_to_fit();
   }

   /// Does a bit of what `compact` does at once: moves entries up, and then drops slots from the end.
   void compactSome() {
      Hole& hole = index_->hole;
      if (hole.end == 0) hole.end = firstLive_;
      for (int step = 0; step < kCompactedByChange; ++step, ++collectionNodesVisited) {
         if (hole.end < slots_.size()) {
            moveUp(hole);
         } else if (hole.begin < slots_.size()) {
            slots_.truncate(slots_.size() - 1);
            hole.end = static_cast<Position>(slots_.size());
            firstLive_ = std::min(firstLive_, hole.begin);
         } else {
            hole = Hole();
            return;
         }
      }
   }

   /// Moves the slot behind the hole in front of it, if it is alive.
   void moveUp(Hole& hole) {
      Slot& slot = slots_[hole.end];
      if (slot.alive) {
         if (hole.begin != hole.end) {
            auto const hash = hashOf(slot.entry.key);
            Part& part = index_->part(hash);
            part.erase(hole.end, hash);
            slots_[hole.begin] = Slot{slot.number, true, std::move(slot.entry)};
            slot.alive = false;
            part.insert(hole.begin);
            if (firstLive_ == hole.end) firstLive_ = hole.begin;
         }
         ++hole.begin;
      }
      ++hole.end;
   }

   /// Drops all slots of erased entries.
   void compact() {
      collectionNodesVisited += slots_.size();
      std::size_t kept = 0;
      for (std::size_t position = 0; position < slots_.size(); ++position) {
         if (!slots_[position].alive) continue;
         if (kept != position) slots_[kept] = std::move(slots_[position]);
         ++kept;
      }
      slots_.truncate(kept);
      firstLive_ = 0;
      index_.reset();
      if (slots_.size() > kUnindexed) reindex();
   }

   void reindex() {
      Hole const hole = this->hole();
      index_ = std::make_unique<Index>(*this, slots_.size() * 2);
      index_->hole = hole;
      for (std::size_t position = 0; position < slots_.size(); ++position) {
         if (!slots_[position].alive) continue;
         index_->part(hashOf(slots_[position].entry.key)).insert(static_cast<Position>(position));
      }
   }

   Slots slots_;
   std::unique_ptr<Index> index_;
   Position live_ = 0;
   Position firstLive_ = 0;  // no slot before it is alive
   Bookmark nextNumber_ = 1;
};

/// The value of a set's members.
struct Unit {
   bool operator==(Unit const&) const = default;
};

/// A hash map used as a set.
template <class K>
using HashSet2018 = HashMap2018<K, Unit>;

}  // namespace Vel
