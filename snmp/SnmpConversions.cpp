// SPDX-License-Identifier: MIT
#include "snmp/SnmpConversions.h"

#include "substrate/trel/Assert.h"

namespace MplsSnmp {

namespace {
constexpr unsigned kFlags = 5;
}  // namespace

int SessionAttributesToAsnBits(SessionAttributesBits const& bits, std::uint8_t* octets, int len) {
   Trel::fmassert(len >= 1, "len >= 1");
   // The flags count from the least significant bit, BITS from the most significant one.
   unsigned octet = 0;
   for (unsigned flag = 0; flag < kFlags; ++flag) {
      if (((bits.value() >> flag) & 1U) != 0) octet |= 0x80U >> flag;
   }
   octets[0] = static_cast<std::uint8_t>(octet);
   return 1;
}

}  // namespace MplsSnmp
