// SPDX-License-Identifier: MIT
#include "substrate/flo/Turn.h"

#include <deque>

namespace Flo {

namespace {

std::deque<std::function<void()>> waiting;

}  // namespace

bool Turn::underWay_ = false;

void Turn::wait(std::function<void()> work) { waiting.push_back(std::move(work)); }

void Turn::finish() {
   while (!waiting.empty()) {
      std::function<void()> const next = std::move(waiting.front());
      waiting.pop_front();
      guard(next);
   }
   // A copy, so that the turn is over when the exception leaves.
   if (std::exception_ptr const failed = std::exchange(failed_, nullptr)) std::rethrow_exception(failed);
}

}  // namespace Flo
