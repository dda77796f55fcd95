// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "substrate/flo/SmControl.h"
#include "substrate/vel/PtrInterface.h"
#include "substrate/vel/WorkCounter.h"

namespace Flo::Gen {

/// Machines that were made for objects below the inputs that a derivation is given.
extern Vel::WorkCounter childMachinesMade;

class ReactorScope;

/// Base of the machines that watch the inputs of a derivation. They form a tree: a top machine per input, which has a
/// scan task of its own unless its control is synchronous, and children that follow the nested collections below it
/// and leave all decisions about yielding to their top machine.
class InputStateMachine : public Vel::PtrInterface {
 public:
   /// Start of the machine. A top machine creates its scan task, or scans inline when it is synchronous.
   void handleInitialized();

   /// Scans the input from where the last call stopped; each entry becomes an event. False when the machine yielded.
   virtual bool doInputScan() = 0;
   bool scanDone() const { return scanDone_; }

   /// True when a scan must stop now. Only scans in a task yield, and never while a notification is being handled.
   bool shouldYield() const;

   /// Whether a notification is being handled in this tree of machines.
   bool inReactor() const { return top().inReactor_; }
   void inReactorIs(bool inReactor) { top().inReactor_ = inReactor; }

   /// Retires the machine, its scan with it: it does nothing any more, whoever still holds it. Machines override this
   /// to do the same to their reactors and children.
   virtual void velDoZombieReactors(bool zombie);

   virtual std::string_view className() const = 0;

 protected:
   explicit InputStateMachine(InputStateMachine* parent);

   /// Top machines: the control that the scan runs under, and the name of its task.
   virtual SmControl const& control() const;
   virtual std::string taskName() const;
   /// Top machines: the initial scan is finished.
   virtual void inputScanComplete() {}

   void scanDoneIs(bool done) { scanDone_ = done; }

 private:
   friend class ReactorScope;

   void doInitializeTask();
   void scan();
   InputStateMachine& top() { return parent_ ? parent_->top() : *this; }
   InputStateMachine const& top() const { return parent_ ? parent_->top() : *this; }

   InputStateMachine* parent_;
   Vel::Ptr<Orb::Task> task_;
   bool inReactor_ = false;
   bool scanDone_ = false;
};

/// Marks a tree of machines as handling a notification for as long as it lives.
class ReactorScope {
 public:
   explicit ReactorScope(InputStateMachine& machine) : top_(&machine.top()), outer_(top_->inReactor_) {
      top_->inReactor_ = true;
   }
   ~ReactorScope() { top_->inReactor_ = outer_; }
   ReactorScope(ReactorScope const&) = delete;
   ReactorScope& operator=(ReactorScope const&) = delete;

 private:
   Vel::Ptr<InputStateMachine> top_;  // held: the notification may be the end of the tree
   bool outer_;
};

}  // namespace Flo::Gen
