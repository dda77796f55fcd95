// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace Vel {

/// Counts the steps of one kind of work that the process has done. What a change costs is the difference of two
/// readings: a number that, unlike a time, is the same on every machine.
///
/// Counters have static storage, in the library whose work they count, and go with it.
class WorkCounter {
 public:
   /// `name` has static storage too, and is printed: "rows built".
   explicit WorkCounter(char const* name);
   ~WorkCounter();
   WorkCounter(WorkCounter const&) = delete;
   WorkCounter& operator=(WorkCounter const&) = delete;

   WorkCounter& operator++() {
      ++value_;
      return *this;
   }
   WorkCounter& operator+=(std::uint64_t steps) {
      value_ += steps;
      return *this;
   }
   std::uint64_t value() const { return value_; }

   /// All counters of the process by name; those of one name are added up.
   static std::map<std::string, std::uint64_t> readings();

 private:
   char const* name_;
   std::uint64_t value_ = 0;
   WorkCounter* next_;
};

/// Entries of collections that a walk, a scan or the upkeep of a collection came by. Look-ups by key do not count.
extern WorkCounter collectionNodesVisited;
/// Counted objects that were made, whatever has become of them.
extern WorkCounter objectsMade;
/// Calls of reactors.
extern WorkCounter reactorsRun;

}  // namespace Vel
