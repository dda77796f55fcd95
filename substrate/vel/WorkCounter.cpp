// SPDX-License-Identifier: MIT
#include "substrate/vel/WorkCounter.h"

namespace Vel {

namespace {

// Set before any counter is made: a constant initialises it.
constinit WorkCounter* first = nullptr;

}  // namespace

WorkCounter::WorkCounter(char const* name) : name_(name), next_(first) { first = this; }

WorkCounter::~WorkCounter() {
   WorkCounter** at = &first;
   while (*at != this) at = &(*at)->next_;
   *at = next_;
}

std::map<std::string, std::uint64_t> WorkCounter::readings() {
   std::map<std::string, std::uint64_t> readings;
   for (WorkCounter const* counter = first; counter; counter = counter->next_) {
      readings[counter->name_] += counter->value_;
   }
   return readings;
}

WorkCounter collectionNodesVisited("collection nodes visited");
WorkCounter objectsMade("objects made");
WorkCounter reactorsRun("reactors run");

}  // namespace Vel
