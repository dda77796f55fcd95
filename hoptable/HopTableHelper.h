// SPDX-License-Identifier: MIT
#pragma once

#include "hoptable/PathSpecCollTableSm.h"
#include "substrate/vel/HashMap2018.h"

namespace MplsSnmp {

/// The tunnels whose hop rows are to be kept, by hop table index: the derivation puts an entry for every tunnel that
/// it gives an index, and the entry keeps the rows of mplsTunnelHopTable of that index for as long as it is here.
/// Owns its entries.
class HopTableHelper : public Vel::PtrInterface {
 public:
   enum : Vel::AttributeId { attrPathSpecCollTableSm = 1 };
   using Entries = Vel::HashMap2018<std::uint32_t, Vel::Ptr<PathSpecCollTableSm>>;

   static Vel::TypeInfo const& typeInfo();
   Vel::TypeInfo const& fwkType() const override { return typeInfo(); }

   /// A new, empty helper with notifications on.
   static Vel::Ptr<HopTableHelper> HopTableHelperIs();
   ~HopTableHelper() override;

   Entries const& pathSpecCollTableSm() const { return pathSpecCollTableSm_; }
   /// The entry of an index, or null.
   Vel::Ptr<PathSpecCollTableSm> pathSpecCollTableSm(std::uint32_t hopTableIndex) const {
      return pathSpecCollTableSm_[hopTableIndex];
   }

   /// Makes the entry of an index, or returns the one that was made with the very same objects. An index is bound to
   /// its objects until the entry is deleted: throws MutatorReinstantiatingException for others, and
   /// MutatorArgNullPointerException for a null one; nothing changes then.
   Vel::Ptr<PathSpecCollTableSm> pathSpecCollTableSmIs(std::uint32_t hopTableIndex, LerConfigPtr const& lerConfig,
                                                       SubTunnelStatusPtr const& subTunnelStatus,
                                                       SubTunnelConfigPtr const& subTunnelConfig,
                                                       MplsTeMibPtr const& mplsTeMib);
   /// Removes the entry with its hop rows and returns it, retired; null when there is none. Observers of the helper are
   /// told when the rows have gone.
   Vel::Ptr<PathSpecCollTableSm> pathSpecCollTableSmDel(std::uint32_t hopTableIndex);
   /// Removes the entries that there are now; those that an observer puts meanwhile stay.
   void pathSpecCollTableSmDelAll();
   /// Removes the entries that other helpers of the process have for this index of this MIB: a hop list is kept by one
   /// chain, and a derivation over this helper takes the lists of an earlier one over.
   /// True when there was one.
   bool otherKeepersDel(std::uint32_t hopTableIndex, MplsTeMibPtr const& mplsTeMib) const;

 private:
   HopTableHelper();

   Entries pathSpecCollTableSm_;
};

Vel::Ptr<HopTableHelper> hopTableHelperFactory();

}  // namespace MplsSnmp
