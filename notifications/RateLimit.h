// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <numeric>

namespace MplsSnmp {

/// How many may go in any one second. Counts them in slots of a tenth of a second and looks back over eleven of these,
/// so that the limit is kept wherever the second begins; at a steady pace that gives a little less than the limit.
class RateLimit {
 public:
   using Clock = std::chrono::steady_clock;
   using Time = Clock::time_point;

   /// 0 is no limit. What has gone already counts.
   void perSecondIs(std::uint32_t most) { perSecond_ = most; }
   std::uint32_t perSecond() const { return perSecond_; }

   /// Whether another one may go now; counts it then. REQUIRES: time does not go back.
   bool take(Time now) {
      advance(now);
      if (perSecond_ != 0 && total() >= perSecond_) return false;
      ++gone_[current_ % kSlots];
      return true;
   }

   /// How long from `now` until another one may go, at least.
   Clock::duration wait(Time now) {
      advance(now);
      if (perSecond_ == 0 || total() < perSecond_) return {};
      // The oldest slot that something went in is forgotten when eleven slots have passed since it began.
      std::int64_t oldest = current_ - (kSlots - 1);
      while (gone_[oldest % kSlots] == 0) ++oldest;
      return Time(kSlot * (oldest + kSlots)) - now;
   }

 private:
   static constexpr std::int64_t kSlots = 11;
   static constexpr std::chrono::milliseconds kSlot{100};

   std::uint64_t total() const { return std::accumulate(gone_.begin(), gone_.end(), std::uint64_t{0}); }

   void advance(Time now) {
      std::int64_t const slot = now.time_since_epoch() / kSlot;
      if (slot - current_ >= kSlots) {
         gone_.fill(0);
         current_ = slot;
      }
      while (current_ < slot) gone_[++current_ % kSlots] = 0;
   }

   std::uint32_t perSecond_ = 0;
   std::int64_t current_ = kSlots;  // the number of the slot that is filled now
   std::array<std::uint32_t, kSlots> gone_{};
};

}  // namespace MplsSnmp
