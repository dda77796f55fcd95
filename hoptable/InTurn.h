// SPDX-License-Identifier: MIT
#pragma once

#include <utility>

#include "substrate/flo/Turn.h"
#include "substrate/vel/Ptr.h"

namespace MplsSnmp {

/// Lets a level handle a change in its turn, unless it has been retired or silenced by then.
template <class Level, class Handle>
void inTurn(Level& level, Handle handle) {
   Flo::Turn::take([level = Vel::Ptr(&level), handle = std::move(handle)] {
      if (!level->isMarkedForDeletion() && level->hasNotificationActive()) handle(*level);
   });
}

}  // namespace MplsSnmp
