// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <type_traits>

#include "substrate/vel/Ptr.h"
#include "substrate/vel/String.h"

namespace Vel {

/// The seed that values are hashed with unless the caller has one of its own.
inline constexpr std::uint32_t hashSeed32 = 0x9e37'79b9U;

/// Accumulates the fields of a value, in declaration order, into a hash. Hashes are only good within one process.
class Hasher {
 public:
   explicit Hasher(std::uint32_t seed) : state_(seed) {}

   void mix1(std::uint8_t value) { mix(value); }
   void mix2(std::uint16_t value) { mix(value); }
   void mix4(std::uint32_t value) { mix(value); }
   void mix8(std::uint64_t value) {
      mix(static_cast<std::uint32_t>(value));
      mix(static_cast<std::uint32_t>(value >> 32U));
   }
   void mixText(std::string_view text) { mix8(std::hash<std::string_view>()(text)); }

   std::uint32_t result() const {
      std::uint64_t x = state_;
      x ^= x >> 32U;
      x *= 0xd6e8'feb8'6659'fd93U;
      x ^= x >> 32U;
      return static_cast<std::uint32_t>(x);
   }

 private:
   void mix(std::uint32_t value) { state_ = (state_ ^ value) * 0x9e37'79b9'7f4a'7c15U + 0x7f4a'7c15U; }
   std::uint64_t state_;
};

/// Mixes one field of any hashable type.
template <class T>
void mixField(Hasher& hasher, T const& value) {
   if constexpr (std::is_enum_v<T>) {
      mixField(hasher, static_cast<std::underlying_type_t<T>>(value));
   } else if constexpr (std::is_integral_v<T>) {
      if constexpr (sizeof(T) == 1) {
         hasher.mix1(static_cast<std::uint8_t>(value));
      } else if constexpr (sizeof(T) == 2) {
         hasher.mix2(static_cast<std::uint16_t>(value));
      } else if constexpr (sizeof(T) == 4) {
         hasher.mix4(static_cast<std::uint32_t>(value));
      } else {
         hasher.mix8(static_cast<std::uint64_t>(value));
      }
   } else if constexpr (std::is_same_v<T, String>) {
      hasher.mixText(value.view());
   } else {
      hasher.mix4(value.hash(hashSeed32));
   }
}

/// The hash of any key type of a keyed collection.
template <class T>
std::uint32_t hashOf(T const& value, std::uint32_t seed = hashSeed32) {
   if constexpr (requires { value.hash(seed); }) {
      return value.hash(seed);
   } else {
      Hasher hasher(seed);
      mixField(hasher, value);
      return hasher.result();
   }
}

}  // namespace Vel
