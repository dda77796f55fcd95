// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "mib/MplsTunnelHopTableEntry.h"
#include "mib/MplsTunnelTableEntry.h"
#include "substrate/orb/NumAllocator.h"
#include "substrate/vel/Entity.h"
#include "substrate/vel/RbTreeMap.h"

namespace MplsSnmp {

/// The computed MIB: the rows of mplsTunnelTable and mplsTunnelHopTable in walk order, and the allocator of the hop
/// list indices that tie the two together (mplsTunnelHopTableIndex, mplsTunnelHopListIndex). The derivation writes
/// it, SNMP requests only read it. Owns its rows.
class MplsTeMib : public Vel::Entity {
 public:
   using TunnelTable = Vel::RbTreeMap<MplsTunnelTableKey, Vel::Ptr<MplsTunnelTableEntry const>>;
   using HopTable = Vel::RbTreeMap<MplsTunnelHopTableKey, Vel::Ptr<MplsTunnelHopTableEntry const>>;
   enum : Vel::AttributeId {
      attrName = 1,
      attrMplsTunnelTable,
      attrMplsTunnelHopTable,
      attrNumAllocator,
      attrNumAllocatorConfig,
      attrNumAllocatorStatus
   };
   static Vel::TypeInfo const& typeInfo();
   Vel::TypeInfo const& fwkType() const override { return typeInfo(); }

   /// Empty, its allocator ready and notifications on.
   explicit MplsTeMib(Vel::String name);

   TunnelTable const& mplsTunnelTable() const { return mplsTunnelTable_; }
   /// Inserts the row under its own key, or replaces the row that is there. Throws when `row` is null.
   void mplsTunnelTableIs(Vel::Ptr<MplsTunnelTableEntry const> const& row);
   /// Removes and returns the row; null, and nothing changes, when there is none.
   Vel::Ptr<MplsTunnelTableEntry const> mplsTunnelTableDel(MplsTunnelTableKey key);
   void mplsTunnelTableDel(TunnelTable::Iterator const& position) { mplsTunnelTableDel(position->key()); }
   /// Removes the rows that there are now, one notification each; those that an observer puts meanwhile stay.
   void mplsTunnelTableDelAll();

   HopTable const& mplsTunnelHopTable() const { return mplsTunnelHopTable_; }
   /// As for tunnel rows.
   void mplsTunnelHopTableIs(Vel::Ptr<MplsTunnelHopTableEntry const> const& row);
   Vel::Ptr<MplsTunnelHopTableEntry const> mplsTunnelHopTableDel(MplsTunnelHopTableKey key);
   void mplsTunnelHopTableDel(HopTable::Iterator const& position) { mplsTunnelHopTableDel(position->key()); }
   void mplsTunnelHopTableDelAll();

   /// Builds range, status and allocator anew: all indices handed out before are forgotten.
   void initNumAllocator();
   /// A hop list index from 1 to 4294967295, or 0 when all are in use. REQUIRES: there is an allocator.
   std::uint32_t getHopTableIndex() const;
   /// Frees an index; the hop rows of that list are the caller's business. REQUIRES: there is an allocator.
   void releaseHopTableIndex(std::uint32_t index) const;

   // The parts of the allocator, and the allocator that is made of them. A new range or status counts from the next
   // `numAllocatorIs` on.

   Vel::Ptr<Orb::NumAllocatorConfig> const& numAllocatorConfig() const { return numAllocatorConfig_; }
   /// Throws Vel::RangeException for what is no part of 1 to 4294967295.
   void numAllocatorConfigIs(Orb::Range const& range);
   void numAllocatorConfigDel();
   Vel::Ptr<Orb::NumAllocatorStatus> const& numAllocatorStatus() const { return numAllocatorStatus_; }
   void numAllocatorStatusIs();
   void numAllocatorStatusDel();
   Vel::Ptr<Orb::NumAllocator> const& numAllocator() const { return numAllocator_; }
   /// Throws when an argument is null, or the range of `config` is no part of 1 to 4294967295.
   void numAllocatorIs(Vel::Ptr<Orb::NumAllocatorConfig> const& config, Vel::Ptr<Orb::NumAllocatorStatus> const& status,
                       Vel::Ptr<Orb::Clock> const& clock);
   void numAllocatorDel();

 private:
   TunnelTable mplsTunnelTable_;
   HopTable mplsTunnelHopTable_;
   Vel::Ptr<Orb::NumAllocator> numAllocator_;
   Vel::Ptr<Orb::NumAllocatorConfig> numAllocatorConfig_;
   Vel::Ptr<Orb::NumAllocatorStatus> numAllocatorStatus_;
};

/// A new MIB entity, as its constructor makes it.
Vel::Ptr<MplsTeMib> mplsTeMibFactory(Vel::String name);

}  // namespace MplsSnmp
