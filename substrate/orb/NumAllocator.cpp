// SPDX-License-Identifier: MIT
#include "substrate/orb/NumAllocator.h"

#include "substrate/trel/Assert.h"

namespace Orb {

ActivityManager& activityManager() {
   static auto const manager = Vel::makePtr<ActivityManager>();
   return *manager;
}

NumAllocatorConfig::NumAllocatorConfig(Range range) : range_(range) {
   Trel::fmassert(0 < range.first && range.first <= range.last, "0 < range.first && range.first <= range.last");
}

bool NumAllocatorStatus::isUsed(std::uint64_t number) const {
   auto const above = runs_.upper_bound(number);
   return above != runs_.begin() && std::prev(above)->second >= number;
}

std::uint64_t NumAllocatorStatus::firstFree(Range const& range, std::uint64_t from) const {
   std::uint64_t candidate = std::max(from, range.first);
   // Runs are never adjacent, so one step leaves a run for a free number.
   auto const above = runs_.upper_bound(candidate);
   if (above != runs_.begin() && std::prev(above)->second >= candidate) {
      candidate = std::prev(above)->second + 1;
   }
   return candidate <= range.last ? candidate : 0;
}

void NumAllocatorStatus::use(std::uint64_t number) {
   std::uint64_t first = number;
   std::uint64_t last = number;
   auto above = runs_.upper_bound(number);
   if (above != runs_.end() && above->first == number + 1) {
      last = above->second;
      above = runs_.erase(above);
   }
   if (above != runs_.begin() && std::prev(above)->second + 1 == number) {
      first = std::prev(above)->first;
   }
   runs_[first] = last;
   ++inUse_;
}

void NumAllocatorStatus::free(std::uint64_t number) {
   auto const run = std::prev(runs_.upper_bound(number));
   auto const [first, last] = *run;
   if (first == number) {
      runs_.erase(run);
   } else {
      run->second = number - 1;
   }
   if (last > number) runs_[number + 1] = last;
   --inUse_;
}

NumAllocator::NumAllocator(Vel::Ptr<NumAllocatorConfig> config, Vel::Ptr<NumAllocatorStatus> status,
                           Vel::Ptr<Clock> clock)
      : config_(std::move(config)), status_(std::move(status)), clock_(std::move(clock)) {}

Vel::Ptr<NumAllocator> NumAllocator::NumAllocatorIs(Vel::Ptr<NumAllocatorConfig> config,
                                                    Vel::Ptr<NumAllocatorStatus> status, Vel::Ptr<Clock> clock) {
   Trel::fmassert(config && status && clock, "config && status && clock");
   return Vel::Ptr<NumAllocator>(new NumAllocator(std::move(config), std::move(status), std::move(clock)));
}

std::uint64_t NumAllocator::getNumber() {
   Range const& range = config_->range();
   auto const freeBehind = [&](std::uint64_t number) {
      std::uint64_t const ahead = number >= range.last ? 0 : status_->firstFree(range, number + 1);
      return ahead != 0 ? ahead : status_->firstFree(range, range.first);
   };
   std::uint64_t number = freeBehind(status_->lastGiven_);
   if (number == 0) return 0;
   if (number == status_->lastReleased_) number = freeBehind(number);
   status_->use(number);
   status_->lastGiven_ = number;
   if (number == status_->lastReleased_) status_->lastReleased_ = 0;
   status_->changedAt_ = clock_->now();
   return number;
}

bool NumAllocator::releaseNumber(std::uint64_t number) {
   if (!status_->isUsed(number)) return false;
   status_->free(number);
   status_->lastReleased_ = number;
   status_->changedAt_ = clock_->now();
   return true;
}

}  // namespace Orb
