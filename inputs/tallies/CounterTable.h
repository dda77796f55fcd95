// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string_view>

#include "substrate/vel/Entity.h"

namespace Tallies {

/// Packets and bytes that went into a tunnel.
struct Counter {
   std::uint64_t packets = 0;
   std::uint64_t bytes = 0;
   bool operator==(Counter const&) const = default;
};

/// The forwarding plane's counters by tunnel value, written by another process while this one reads.
class CounterMap {
 public:
   virtual ~CounterMap() = default;

   /// An entry of the map. It is in memory that its writer may be changing: `copy` may be torn.
   class Entry {
    public:
      virtual ~Entry() = default;
      /// Throws Trel::CorruptionDetectedException when the map turns out to be damaged.
      virtual Counter copy() const = 0;
   };

   /// The entry of `tunnelValue`, valid until the next call, or null.
   /// Throws Trel::CorruptionDetectedException.
   virtual Entry const* find(std::uint64_t tunnelValue) const = 0;

   /// What to do about damage that a reader met.
   virtual void corruptionHandler(std::string_view message) const = 0;
};

/// The counters as an input of the state store.
class CounterTable : public Vel::Entity {
 public:
   using Entity::Entity;

   /// Null when no counters are attached.
   virtual CounterMap const* counterMap() const { return nullptr; }
};

}  // namespace Tallies
