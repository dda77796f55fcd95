// SPDX-License-Identifier: MIT
#include "tools/Rates.h"

#include <utility>

namespace Tools {

namespace {

using Counter = std::optional<std::uint64_t>;

bool wentBack(Counter before, Counter now) { return before && now && *now < *before; }

std::optional<double> rate(Counter before, Counter now, double seconds) {
   if (!before || !now || seconds <= 0) return std::nullopt;
   return static_cast<double>(*now - *before) / seconds;
}

Rates ratesBetween(Counters const& before, Counters const& now, double seconds) {
   // 64 bits do not wrap in a lifetime. Both counters restart together, even if one has already passed its old value.
   if (wentBack(before.packets, now.packets) || wentBack(before.bytes, now.bytes)) return {{}, {}, true};
   return {rate(before.packets, now.packets, seconds), rate(before.bytes, now.bytes, seconds)};
}

}  // namespace

std::map<Oid, Rates> RateMeter::next(Reading reading, Clock::time_point at) {
   std::chrono::duration<double> const elapsed = at - beforeAt_;
   std::map<Oid, Rates> rates;
   for (auto const& [index, now] : reading) {
      auto const before = before_.find(index);
      rates.emplace(index, before == before_.end() ? Rates{} : ratesBetween(before->second, now, elapsed.count()));
   }
   before_ = std::move(reading);
   beforeAt_ = at;
   return rates;
}

}  // namespace Tools
