// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include "host/loop/Descriptor.h"
#include "host/loop/Watch.h"
#include "substrate/orb/TaskScheduler.h"

namespace Loop {

/// Runs the tasks of this thread's scheduler in net-snmp's event loop: a short slice at a time between the requests
/// while there is work, and nothing at all while there is none.
class TaskRunner {
 public:
   /// `idle` is called whenever no task is left, for the first time also when there was none from the start.
   explicit TaskRunner(
         std::function<void()> idle = [] {}, ErrorHandler failed = logError);
   ~TaskRunner();
   TaskRunner(TaskRunner const&) = delete;
   TaskRunner& operator=(TaskRunner const&) = delete;

   /// Stays in the loop, and answers requests, until no task is left. Not to be called from within the loop.
   void settle() const;

 private:
   void run();

   Vel::Ptr<Orb::TaskScheduler> scheduler_;
   std::function<void()> idle_;
   Descriptor wakeUp_;  // readable for as long as there is work
   Watch watch_;
};

}  // namespace Loop
