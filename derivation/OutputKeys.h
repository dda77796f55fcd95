// SPDX-License-Identifier: MIT
/// The keys of the derivation's three outputs, as the sets of keys seen during a scan hold them.
#pragma once

#include <cstdint>

#include "inputs/rsvp/Ids.h"
#include "mib/Keys.h"
#include "substrate/vel/ValueType.h"

namespace MplsSnmp {

/// lspReqConfIdsForSpId[ k0 ].lrciSet[ k1 ]
struct LspReqConfIdsForSpIdLrciSetOutputKeyType : Vel::ValueType<LspReqConfIdsForSpIdLrciSetOutputKeyType> {
   Rsvp::RsvpSpId k0;
   Rsvp::RsvpLerLspRequestConfigId k1;
   bool k0Valid = false;
   bool k1Valid = false;

   LspReqConfIdsForSpIdLrciSetOutputKeyType() = default;
   LspReqConfIdsForSpIdLrciSetOutputKeyType(Rsvp::RsvpSpId spId, Rsvp::RsvpLerLspRequestConfigId id)
         : k0(std::move(spId)), k1(std::move(id)), k0Valid(true), k1Valid(true) {}

   bool operator==(LspReqConfIdsForSpIdLrciSetOutputKeyType const&) const = default;
   auto operator<=>(LspReqConfIdsForSpIdLrciSetOutputKeyType const&) const = default;

   static constexpr std::string_view velTypeName =
         "MplsSnmp::RsvpSnmpSubTunnelStatusSm::LspReqConfIdsForSpIdLrciSetOutputKeyType";
   static constexpr auto velFields() {
      using K = LspReqConfIdsForSpIdLrciSetOutputKeyType;
      return std::make_tuple(Vel::field("k0", &K::k0), Vel::field("k1", &K::k1), Vel::field("k0Valid", &K::k0Valid),
                             Vel::field("k1Valid", &K::k1Valid));
   }
};

/// mib.mplsTunnelTable[ k0 ]
struct MibMplsTunnelTableOutputKeyType : Vel::ValueType<MibMplsTunnelTableOutputKeyType> {
   MplsTunnelTableKey k0;
   bool k0Valid = false;

   MibMplsTunnelTableOutputKeyType() = default;
   explicit MibMplsTunnelTableOutputKeyType(MplsTunnelTableKey const& key) : k0(key), k0Valid(true) {}

   bool operator==(MibMplsTunnelTableOutputKeyType const&) const = default;
   auto operator<=>(MibMplsTunnelTableOutputKeyType const&) const = default;

   static constexpr std::string_view velTypeName =
         "MplsSnmp::RsvpSnmpSubTunnelStatusSm::MibMplsTunnelTableOutputKeyType";
   static constexpr auto velFields() {
      using K = MibMplsTunnelTableOutputKeyType;
      return std::make_tuple(Vel::field("k0", &K::k0), Vel::field("k0Valid", &K::k0Valid));
   }
};

/// hopTableHelper.pathSpecCollTableSm[ k0 ]
struct HopTableHelperPathSpecCollTableSmOutputKeyType : Vel::ValueType<HopTableHelperPathSpecCollTableSmOutputKeyType> {
   std::uint32_t k0 = 0;
   bool k0Valid = false;

   HopTableHelperPathSpecCollTableSmOutputKeyType() = default;
   explicit HopTableHelperPathSpecCollTableSmOutputKeyType(std::uint32_t hopIndex) : k0(hopIndex), k0Valid(true) {}

   bool operator==(HopTableHelperPathSpecCollTableSmOutputKeyType const&) const = default;
   auto operator<=>(HopTableHelperPathSpecCollTableSmOutputKeyType const&) const = default;

   static constexpr std::string_view velTypeName =
         "MplsSnmp::RsvpSnmpSubTunnelStatusSm::HopTableHelperPathSpecCollTableSmOutputKeyType";
   static constexpr auto velFields() {
      using K = HopTableHelperPathSpecCollTableSmOutputKeyType;
      return std::make_tuple(Vel::field("k0", &K::k0), Vel::field("k0Valid", &K::k0Valid));
   }
};

}  // namespace MplsSnmp
