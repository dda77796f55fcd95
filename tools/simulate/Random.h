// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace Tools::Simulation {

/// Numbers that look random and are the same everywhere: SplitMix64. The distributions of the standard library would
/// give other numbers with every implementation of it.
class Random {
 public:
   /// Streams of one seed are independent of each other.
   Random(std::uint64_t seed, std::uint64_t stream) : state_(mixed(seed + kStep) ^ mixed(~stream)) {}

   /// 0 to limit - 1. REQUIRES: limit is not 0.
   std::uint32_t below(std::uint32_t limit) {
      state_ += kStep;
      return static_cast<std::uint32_t>((mixed(state_) >> 32U) * limit >> 32U);
   }

   /// True in that many of a hundred cases.
   bool percent(std::uint32_t share) { return below(100) < share; }

   /// One of the elements. REQUIRES: there is one.
   template <class List>
   auto const& pick(List const& list) {
      return list[below(static_cast<std::uint32_t>(list.size()))];
   }

 private:
   static constexpr std::uint64_t kStep = 0x9e3779b97f4a7c15;

   static std::uint64_t mixed(std::uint64_t value) {
      value = (value ^ value >> 30U) * 0xbf58476d1ce4e5b9;
      value = (value ^ value >> 27U) * 0x94d049bb133111eb;
      return value ^ value >> 31U;
   }

   std::uint64_t state_;
};

}  // namespace Tools::Simulation
