// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <utility>

#include "substrate/vel/PtrInterface.h"

namespace TestSupport {

/// A counted object that tells when it goes.
class Counted : public Vel::PtrInterface {
 public:
   explicit Counted(std::function<void()> onDestruction) : onDestruction_(std::move(onDestruction)) {}
   explicit Counted(int& alive) : Counted([&alive] { --alive; }) { ++alive; }
   ~Counted() override { onDestruction_(); }

 private:
   std::function<void()> onDestruction_;
};

}  // namespace TestSupport
