// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "mib/Enums.h"
#include "mib/Keys.h"
#include "mib/SessionAttributesBits.h"
#include "substrate/vel/PtrInterface.h"
#include "substrate/vel/String.h"
#include "substrate/vel/System.h"

namespace MplsSnmp {

/// RowStatus active and StorageType readOnly (SNMPv2-TC), which every row of the module has.
inline constexpr std::uint32_t kRowStatusActive = 1;
inline constexpr std::uint32_t kStorageTypeReadOnly = 5;

/// A row of mplsTunnelTable and, with its two counts, of mplsTunnelPerfTable (RFC 3812). Shared and immutable: a
/// change of its stored fields is a new row. The other columns are computed by each call of their accessor.
class MplsTunnelTableEntry : public Vel::PtrInterface {
 public:
   static Vel::TypeInfo const& typeInfo();
   Vel::TypeInfo const& fwkType() const override { return typeInfo(); }

   MplsTunnelTableKey const& key() const { return key_; }
   std::uint32_t hopTableIndex() const { return hopTableIndex_; }  ///< mplsTunnelHopTableIndex
   AdminStatus adminStatus() const { return AdminStatus::adminUp; }
   std::uint32_t rowStatus() const { return kRowStatusActive; }
   std::uint32_t storageType() const { return kStorageTypeReadOnly; }

   /// Has the processor fetch what most columns are read from: for a walk that will come by.
   virtual void fetchAhead() const {}

   virtual Vel::String name() const = 0;
   virtual Vel::String descr() const = 0;
   virtual bool isIf() const = 0;
   virtual std::uint32_t ifIndex() const = 0;
   virtual MplsOwner owner() const = 0;
   virtual TunnelRole role() const = 0;
   virtual SignallingProto signallingProto() const = 0;
   virtual std::uint8_t setupPrio() const = 0;
   virtual std::uint8_t holdingPrio() const = 0;
   virtual SessionAttributesBits sessionAttributes() const = 0;
   virtual bool localProtectInUse() const = 0;
   virtual std::uint32_t pathInUse() const = 0;
   virtual std::uint32_t includeAnyAffinity() const = 0;
   virtual std::uint32_t includeAllAffinity() const = 0;
   virtual std::uint32_t excludeAnyAffinity() const = 0;
   /// How long the instance has been up, in seconds.
   virtual Vel::Seconds instanceUpTime() const = 0;
   virtual std::uint32_t pathChanges() const = 0;
   virtual std::uint32_t stateTransitions() const = 0;
   virtual OperStatus operStatus() const = 0;
   virtual std::uint64_t perfPackets() const = 0;
   virtual std::uint64_t perfBytes() const = 0;

 protected:
   MplsTunnelTableEntry(MplsTunnelTableKey const& key, std::uint32_t hopTableIndex)
         : key_(key), hopTableIndex_(hopTableIndex) {}

 private:
   MplsTunnelTableKey key_;
   std::uint32_t hopTableIndex_;
};

}  // namespace MplsSnmp
