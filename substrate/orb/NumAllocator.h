// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>

#include "substrate/orb/ActivityManager.h"
#include "substrate/vel/PtrInterface.h"

namespace Orb {

/// The numbers from `first` to `last`, both included.
struct Range {
   std::uint64_t first;
   std::uint64_t last;
   bool operator==(Range const&) const = default;
};

/// The range that an allocator hands out from. REQUIRES: 0 < first <= last.
class NumAllocatorConfig : public Vel::PtrInterface {
 public:
   explicit NumAllocatorConfig(Range range);
   Range const& range() const { return range_; }

 private:
   Range range_;
};

/// Which numbers are handed out: disjoint runs of used numbers, so that its size follows the numbers in use and not
/// the range.
class NumAllocatorStatus : public Vel::PtrInterface {
 public:
   std::uint64_t inUse() const { return inUse_; }
   bool isUsed(std::uint64_t number) const;

 private:
   friend class NumAllocator;
   /// The first free number of `range` at or behind `from`, or 0.
   std::uint64_t firstFree(Range const& range, std::uint64_t from) const;
   void use(std::uint64_t number);
   void free(std::uint64_t number);

   std::map<std::uint64_t, std::uint64_t> runs_;  // first to last of each run
   std::uint64_t inUse_ = 0;
   std::uint64_t lastGiven_ = 0;
   std::uint64_t lastReleased_ = 0;
   Vel::Seconds changedAt_ = 0;
};

/// Hands out numbers of a range. It goes on upwards from the number handed out last and starts again at the bottom
/// behind the top, and never hands out the number released last while another is free, so that somebody who still
/// knows a released number has time to forget it.
class NumAllocator : public Vel::PtrInterface {
 public:
   /// REQUIRES: none is null.
   static Vel::Ptr<NumAllocator> NumAllocatorIs(Vel::Ptr<NumAllocatorConfig> config,
                                                Vel::Ptr<NumAllocatorStatus> status, Vel::Ptr<Clock> clock);

   /// A free number, now in use; 0 when the range is exhausted.
   std::uint64_t getNumber();
   /// True when the number was in use.
   bool releaseNumber(std::uint64_t number);

   NumAllocatorStatus const& status() const { return *status_; }

 private:
   NumAllocator(Vel::Ptr<NumAllocatorConfig> config, Vel::Ptr<NumAllocatorStatus> status, Vel::Ptr<Clock> clock);

   Vel::Ptr<NumAllocatorConfig> config_;
   Vel::Ptr<NumAllocatorStatus> status_;
   Vel::Ptr<Clock> clock_;
};

}  // namespace Orb
