// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "substrate/orb/TaskScheduler.h"
#include "substrate/vel/Ptr.h"
#include "substrate/vel/String.h"

namespace Flo {

/// How a derivation does its scans. Copied as a whole.
struct SmControl {
   /// Where its tasks run; null is the scheduler of the thread.
   Vel::Ptr<Orb::TaskScheduler> taskScheduler{};
   Orb::TaskPriority taskPriority = Orb::TaskPriority::normal;
   /// A label and a number of the host's own, carried along and not interpreted.
   Vel::String hostLabel{};
   std::uint64_t hostData = 0;
   /// No tasks: the scans run inline, to their end, inside the start of the machine.
   bool synchronous = false;

   bool operator==(SmControl const& other) const {
      return taskScheduler == other.taskScheduler && taskPriority == other.taskPriority &&
             hostLabel == other.hostLabel && hostData == other.hostData && synchronous == other.synchronous;
   }

   /// Process-wide default for hosts without a scheduler: while it is on, every machine is synchronous.
   static bool defaultSynchronous();
   static void defaultSynchronousIs(bool synchronous);

   bool isSynchronous() const { return synchronous || defaultSynchronous(); }
   /// The scheduler that tasks go to.
   Vel::Ptr<Orb::TaskScheduler> scheduler() const {
      return taskScheduler ? taskScheduler : Orb::TaskSchedulerRoot::findOrCreateScheduler();
   }
};

}  // namespace Flo
