// SPDX-License-Identifier: MIT
#pragma once

#include "substrate/vel/PtrInterface.h"
#include "substrate/vel/System.h"

namespace Orb {

/// The process's clock as a counted object.
class Clock : public Vel::PtrInterface {
 public:
   Vel::Seconds now() const { return Vel::System::currentTime(); }
};

class ActivityManager : public Vel::PtrInterface {
 public:
   Vel::Ptr<Clock> const& clock() const { return clock_; }

 private:
   Vel::Ptr<Clock> clock_ = Vel::makePtr<Clock>();
};

/// The activity manager of the process.
ActivityManager& activityManager();

}  // namespace Orb
