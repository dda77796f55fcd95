// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>

#include "host/loop/Descriptor.h"
#include "host/loop/Watch.h"

namespace Loop {

/// A timer in net-snmp's event loop, also when the loop has descriptors to serve without a pause. Not running at first.
class Timer {
 public:
   explicit Timer(std::function<void()> elapsed, ErrorHandler failed = logError);

   /// Calls `elapsed` once, after `first`.
   void start(std::chrono::nanoseconds first);
   /// Calls `elapsed` again and again, every `interval` (longer than zero).
   void repeat(std::chrono::nanoseconds interval);

 private:
   void set(std::chrono::nanoseconds first, std::chrono::nanoseconds interval);

   Descriptor descriptor_;
   Watch watch_;
};

}  // namespace Loop
