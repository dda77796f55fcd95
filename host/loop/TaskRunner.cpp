// SPDX-License-Identifier: MIT
#include "host/loop/TaskRunner.h"

#include <sys/eventfd.h>

#include "host/loop/NetSnmp.h"

namespace Loop {

namespace {

// A request waits for one slice at most before it is read.
constexpr std::chrono::milliseconds kSlice(2);

}  // namespace

TaskRunner::TaskRunner(std::function<void()> idle, ErrorHandler failed)
      : scheduler_(Orb::TaskSchedulerRoot::findOrCreateScheduler()),
        idle_(std::move(idle)),
        wakeUp_(eventfd(1, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd"),
        watch_(
              wakeUp_, [this] { run(); }, std::move(failed)) {
   scheduler_->wakeIs([this] { eventfd_write(wakeUp_, 1); });
}

TaskRunner::~TaskRunner() { scheduler_->wakeIs(nullptr); }

void TaskRunner::settle() const {
   while (scheduler_->hasWork()) agent_check_and_process(1);
}

void TaskRunner::run() {
   scheduler_->runSlice(kSlice);
   if (scheduler_->hasWork()) return;
   eventfd_t wakeUps = 0;
   eventfd_read(wakeUp_, &wakeUps);
   idle_();
}

}  // namespace Loop
