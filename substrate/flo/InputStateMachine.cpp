// SPDX-License-Identifier: MIT
#include "substrate/flo/InputStateMachine.h"

#include "substrate/flo/Turn.h"
#include "substrate/trel/Assert.h"

namespace Flo::Gen {

Vel::WorkCounter childMachinesMade("child machines made");

InputStateMachine::InputStateMachine(InputStateMachine* parent) : parent_(parent) {
   if (parent) ++childMachinesMade;
}

void InputStateMachine::handleInitialized() {
   if (control().isSynchronous()) {
      scan();
   } else {
      doInitializeTask();
   }
}

void InputStateMachine::doInitializeTask() {
   task_ = Vel::makePtr<Orb::Task>(control().scheduler(), control().taskPriority, taskName(),
                                   [this](Orb::Task&) { Turn::take([machine = Vel::Ptr(this)] { machine->scan(); }); });
   task_->scheduleTask();
}

void InputStateMachine::scan() {
   // What an event sets off may drop the last reference to this machine.
   Vel::Ptr<InputStateMachine> const keep(this);
   bool const done = isMarkedForDeletion() || doInputScan();
   if (isMarkedForDeletion()) {
      task_ = nullptr;
      return;
   }
   if (!done) {
      task_->scheduleTask();
      return;
   }
   task_ = nullptr;
   inputScanComplete();
}

void InputStateMachine::velDoZombieReactors(bool zombie) {
   markedForDeletionIs(zombie);
   if (!zombie) return;
   PtrInterface::hasNotificationActiveIs(false);
   task_ = nullptr;
}

bool InputStateMachine::shouldYield() const {
   InputStateMachine const& machine = top();
   return machine.task_ && !machine.inReactor_ && machine.task_->taskShouldYield();
}

SmControl const& InputStateMachine::control() const {
   Trel::fmassert(parent_ != nullptr, "a top machine has a control of its own");
   return parent_->control();
}

std::string InputStateMachine::taskName() const { return std::string(className()) + "InputScanTask"; }

}  // namespace Flo::Gen
