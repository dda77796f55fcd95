// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>

#include "host/daemon/Watch.h"
#include "host/feed/Descriptor.h"

namespace Daemon {

/// A timer in net-snmp's event loop, also when the loop has descriptors to serve without a pause. Not running at first.
class Timer {
 public:
   Timer(std::function<void()> elapsed, ErrorHandler failed);

   /// Calls `elapsed` once, after `first`.
   void start(std::chrono::nanoseconds first);
   /// Calls `elapsed` again and again, every `interval` (longer than zero).
   void repeat(std::chrono::nanoseconds interval);

 private:
   void set(std::chrono::nanoseconds first, std::chrono::nanoseconds interval);

   Feed::Descriptor descriptor_;
   Watch watch_;
};

}  // namespace Daemon
