// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "mib/Enums.h"
#include "mib/Keys.h"
#include "mib/MplsTunnelTableEntry.h"
#include "substrate/vel/PtrInterface.h"
#include "substrate/vel/String.h"

namespace MplsSnmp {

/// A row of mplsTunnelHopTable (RFC 3812). Shared and immutable.
class MplsTunnelHopTableEntry : public Vel::PtrInterface {
 public:
   static Vel::TypeInfo const& typeInfo();
   Vel::TypeInfo const& fwkType() const override { return typeInfo(); }

   MplsTunnelHopTableKey const& key() const { return key_; }
   std::uint32_t rowStatus() const { return kRowStatusActive; }
   std::uint32_t storageType() const { return kStorageTypeReadOnly; }

   virtual HopAddrType hopAddrType() const = 0;
   virtual Vel::Bytes hopIpAddr() const = 0;
   virtual std::uint32_t hopIpPrefixLen() const = 0;
   virtual Vel::Bytes hopAsNumber() const = 0;
   virtual Vel::Bytes hopAddrUnnum() const = 0;
   virtual Vel::Bytes hopLspId() const = 0;
   virtual HopType hopType() const = 0;
   virtual bool hopInclude() const = 0;
   virtual Vel::String hopPathOptionName() const = 0;
   virtual HopEntryPathComp hopEntryPathComp() const = 0;

 protected:
   explicit MplsTunnelHopTableEntry(MplsTunnelHopTableKey const& key) : key_(key) {}

 private:
   MplsTunnelHopTableKey key_;
};

}  // namespace MplsSnmp
