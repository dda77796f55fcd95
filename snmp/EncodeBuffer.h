// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>

namespace MplsSnmp {

/// Where one value is encoded on its way to net-snmp. Its size is the limit of all columns without one of their own.
using EncodeBuffer = std::array<std::uint8_t, 1024>;
inline constexpr std::size_t kEncodeBufferSize = std::tuple_size_v<EncodeBuffer>;

}  // namespace MplsSnmp
