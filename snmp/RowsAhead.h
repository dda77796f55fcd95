// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "substrate/vel/FetchAhead.h"

namespace MplsSnmp {

/// Runs some rows ahead of a walk through an ordered table and has the processor fetch them: a large table is not in
/// its caches, and a walk would wait for each node, row and input in turn. Holds nothing: rows may come and go.
template <class Collection>
class RowsAhead {
 public:
   using Node = typename Collection::Node;

   /// The walk has gone on to `current`, which is in the table.
   void follow(Collection const& table, Node const& current) {
      if (table.size() < kLarge) return;
      bool const isOn = version_ == table.modificationCount() && count_ > 0 && at(0) == &current;
      if (!isOn) {
         // Perhaps it goes no further: a GETNEXT takes one step.
         first_ = 0;
         count_ = 0;
         version_ = table.modificationCount();
         append(table.peekNext(current));
         return;
      }
      first_ = (first_ + 1) % kDistance;
      --count_;
      // Two at a time until the distance is reached.
      for (int steps = 0; steps < 2 && count_ < kDistance; ++steps) {
         auto const& last = count_ > 0 ? *at(count_ - 1) : current;
         if (!append(table.peekNext(last))) return;
      }
   }

 private:
   // Fewer rows are in the caches anyhow.
   static constexpr std::size_t kLarge = 2000;
   static constexpr std::size_t kDistance = 8;
   // A node is there when the walk is so much nearer, and then what it points to.
   static constexpr std::size_t kRowBehindNode = 2;
   static constexpr std::size_t kInputsBehindNode = 4;

   Node const* at(std::size_t n) const { return nodes_[(first_ + n) % kDistance]; }

   bool append(Node const* node) {
      if (!node) return false;
      nodes_[(first_ + count_++) % kDistance] = node;
      Vel::fetchAhead(node);
      if (count_ > kRowBehindNode) Vel::fetchAhead(at(count_ - 1 - kRowBehindNode)->value().get());
      if constexpr (requires { node->value()->fetchAhead(); }) {
         if (count_ <= kInputsBehindNode) return true;
         if (auto const& row = at(count_ - 1 - kInputsBehindNode)->value()) row->fetchAhead();
      }
      return true;
   }

   std::array<Node const*, kDistance> nodes_{};
   std::size_t first_ = 0;
   std::size_t count_ = 0;
   std::uint32_t version_ = 0;
};

}  // namespace MplsSnmp
