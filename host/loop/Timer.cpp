// SPDX-License-Identifier: MIT
#include "host/loop/Timer.h"

#include <sys/timerfd.h>

#include <algorithm>
#include <cstdint>

namespace Loop {

namespace {

timespec toTimespec(std::chrono::nanoseconds time) {
   auto const seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
   return {.tv_sec = seconds.count(), .tv_nsec = (time - seconds).count()};
}

}  // namespace

Timer::Timer(std::function<void()> elapsed, ErrorHandler failed)
      : descriptor_(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK), "timerfd_create"),
        watch_(
              descriptor_,
              [this, elapsed = std::move(elapsed)] {
                 std::uint64_t times = 0;
                 if (read(descriptor_, &times, sizeof times) == sizeof times) elapsed();
              },
              std::move(failed)) {}

void Timer::start(std::chrono::nanoseconds first) { set(first, {}); }

void Timer::repeat(std::chrono::nanoseconds interval) { set(interval, interval); }

void Timer::set(std::chrono::nanoseconds first, std::chrono::nanoseconds interval) {
   // Zero would stop it.
   itimerspec const times{.it_interval = toTimespec(interval),
                          .it_value = toTimespec(std::max(first, std::chrono::nanoseconds(1)))};
   timerfd_settime(descriptor_, 0, &times, nullptr);
}

}  // namespace Loop
