// SPDX-License-Identifier: MIT
#include "substrate/vel/System.h"

#include <chrono>
#include <utility>

namespace Vel {

namespace {

System::TimeSource timeSource = nullptr;

}  // namespace

Seconds System::currentTime() {
   if (timeSource) return timeSource();
   return std::chrono::duration<Seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

System::TimeSource System::timeSourceIs(TimeSource source) { return std::exchange(timeSource, source); }

}  // namespace Vel
