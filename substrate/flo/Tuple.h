// SPDX-License-Identifier: MIT
#pragma once

#include <compare>
#include <string>

#include "substrate/vel/Hasher.h"
#include "substrate/vel/ValueText.h"

namespace Flo {

/// Two values that are one key or one element of a stream.
template <class A, class B>
struct Tuple {
   A first{};
   B second{};

   bool operator==(Tuple const&) const = default;
   auto operator<=>(Tuple const&) const = default;

   std::uint32_t hash(std::uint32_t seed = Vel::hashSeed32) const {
      Vel::Hasher hasher(seed);
      Vel::mixField(hasher, first);
      Vel::mixField(hasher, second);
      return hasher.result();
   }
   std::string valueToStrep() const { return fmt::format("Tuple({}, {})", Vel::toStrep(first), Vel::toStrep(second)); }
};

}  // namespace Flo
