// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "mib/SessionAttributesBits.h"

namespace MplsSnmp {

/// mplsTunnelSessionAttributes (RFC 3812) as BITS: one octet, the first flag in its most significant bit. Returns how
/// many octets were written, which is 1. REQUIRES: len >= 1.
int SessionAttributesToAsnBits(SessionAttributesBits const& bits, std::uint8_t* octets, int len);

}  // namespace MplsSnmp
