// SPDX-License-Identifier: MIT
/// The row keys of the MIB tables. Their order is the order of an SNMP walk.
#pragma once

#include <cstdint>

#include "substrate/vel/ValueType.h"

namespace MplsSnmp {

using Vel::operator<<;

/// Index of mplsTunnelTable and mplsTunnelPerfTable (RFC 3812): mplsTunnelIndex, mplsTunnelInstance,
/// mplsTunnelIngressLSRId, mplsTunnelEgressLSRId. LSR ids are IPv4 addresses in host byte order.
struct MplsTunnelTableKey : Vel::ValueType<MplsTunnelTableKey> {
   std::uint16_t tunnelIndex = 0;
   std::uint32_t tunnelInstance = 0;
   std::uint32_t tunnelIngressLsrId = 0;
   std::uint32_t tunnelEgressLsrId = 0;

   MplsTunnelTableKey() = default;
   MplsTunnelTableKey(std::uint16_t index, std::uint32_t instance, std::uint32_t ingressLsrId,
                      std::uint32_t egressLsrId)
         : tunnelIndex(index),
           tunnelInstance(instance),
           tunnelIngressLsrId(ingressLsrId),
           tunnelEgressLsrId(egressLsrId) {}
   /// Reads the text form from the whole of [begin, end). Throws Vel::ParseException, Vel::RangeException.
   MplsTunnelTableKey(Vel::TextIterator begin, Vel::TextIterator end);

   /// Lexicographic, field by field.
   bool operator==(MplsTunnelTableKey const&) const = default;
   auto operator<=>(MplsTunnelTableKey const&) const = default;

   static constexpr std::string_view velTypeName = "MplsSnmp::MplsTunnelTableKey";
   static constexpr auto velFields() {
      using K = MplsTunnelTableKey;
      return std::make_tuple(Vel::field("tunnelIndex", &K::tunnelIndex),
                             Vel::field("tunnelInstance", &K::tunnelInstance),
                             Vel::field("tunnelIngressLsrId", &K::tunnelIngressLsrId),
                             Vel::field("tunnelEgressLsrId", &K::tunnelEgressLsrId));
   }
};

/// Index of mplsTunnelHopTable: mplsTunnelHopListIndex, mplsTunnelHopPathOptionIndex, mplsTunnelHopIndex.
struct MplsTunnelHopTableKey : Vel::ValueType<MplsTunnelHopTableKey> {
   std::uint32_t tunnelHopListIndex = 0;
   std::uint32_t tunnelHopPathOptionIndex = 0;
   std::uint32_t tunnelHopIndex = 0;

   MplsTunnelHopTableKey() = default;
   MplsTunnelHopTableKey(std::uint32_t listIndex, std::uint32_t pathOptionIndex, std::uint32_t hopIndex)
         : tunnelHopListIndex(listIndex), tunnelHopPathOptionIndex(pathOptionIndex), tunnelHopIndex(hopIndex) {}
   /// Reads the text form from the whole of [begin, end). Throws Vel::ParseException, Vel::RangeException.
   MplsTunnelHopTableKey(Vel::TextIterator begin, Vel::TextIterator end);

   /// Lexicographic, field by field.
   bool operator==(MplsTunnelHopTableKey const&) const = default;
   auto operator<=>(MplsTunnelHopTableKey const&) const = default;

   static constexpr std::string_view velTypeName = "MplsSnmp::MplsTunnelHopTableKey";
   static constexpr auto velFields() {
      using K = MplsTunnelHopTableKey;
      return std::make_tuple(Vel::field("tunnelHopListIndex", &K::tunnelHopListIndex),
                             Vel::field("tunnelHopPathOptionIndex", &K::tunnelHopPathOptionIndex),
                             Vel::field("tunnelHopIndex", &K::tunnelHopIndex));
   }
};

}  // namespace MplsSnmp
