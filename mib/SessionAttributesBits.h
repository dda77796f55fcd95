// SPDX-License-Identifier: MIT
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "substrate/vel/Hasher.h"
#include "substrate/vel/ValueText.h"

namespace MplsSnmp {

using Vel::operator<<;

/// The session attribute flags of a tunnel (mplsTunnelSessionAttributes): five booleans, bit 0 first.
class SessionAttributesBits {
 public:
   static constexpr std::string_view velTypeName = "MplsSnmp::SessionAttributesBits";
   static constexpr std::uint8_t kMask = 0x1f;

   SessionAttributesBits() = default;
   /// Throws Vel::RangeException for a value above 0x1F.
   explicit SessionAttributesBits(std::uint8_t value);
   /// Reads the text form from the whole of [begin, end). Throws Vel::ParseException.
   SessionAttributesBits(Vel::TextIterator begin, Vel::TextIterator end);

   bool fastReroute() const { return bit(0); }
   bool mergingPermitted() const { return bit(1); }
   bool isPersistent() const { return bit(2); }
   bool isPinned() const { return bit(3); }
   bool recordRoute() const { return bit(4); }
   void fastRerouteIs(bool set) { bitIs(0, set); }
   void mergingPermittedIs(bool set) { bitIs(1, set); }
   void isPersistentIs(bool set) { bitIs(2, set); }
   void isPinnedIs(bool set) { bitIs(3, set); }
   void recordRouteIs(bool set) { bitIs(4, set); }

   /// The five flags in the low bits.
   std::uint8_t value() const { return value_; }

   /// By `value`.
   bool operator==(SessionAttributesBits const&) const = default;
   auto operator<=>(SessionAttributesBits const&) const = default;
   std::uint32_t hash(std::uint32_t seed = Vel::hashSeed32) const;
   std::string valueToStrep() const;
   Vel::String stringValue() const { return Vel::String(valueToStrep()); }
   static void sequenceToValue(Vel::TextIterator& position, Vel::TextIterator end, SessionAttributesBits& out);

 private:
   bool bit(unsigned n) const { return ((value_ >> n) & 1U) != 0; }
   void bitIs(unsigned n, bool set) {
      value_ = static_cast<std::uint8_t>(set ? value_ | (1U << n) : value_ & ~(1U << n));
   }

   std::uint8_t value_ = 0;
};

}  // namespace MplsSnmp
