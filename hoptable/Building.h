// SPDX-License-Identifier: MIT
#pragma once

#include <utility>

#include "substrate/flo/Turn.h"
#include "substrate/vel/PtrInterface.h"

namespace MplsSnmp {

/// A level of a hop chain that is being built, known as such until it is complete: its parent does not have it yet, and
/// yet it ends with the parent when an observer of the first hop rows ends the chain.
class Building {
 public:
   /// What is built as long as this lives is built for `parent`.
   class Under {
    public:
      explicit Under(Vel::PtrInterface const& parent) : outer_(parent_) { parent_ = &parent; }
      ~Under() { parent_ = outer_; }
      Under(Under const&) = delete;
      Under& operator=(Under const&) = delete;

    private:
      Vel::PtrInterface const* outer_;
   };

   /// Builds `level`: `start` runs in a turn, so that what it sets off waits until it is done.
   template <class Level, class Start>
   static void run(Level& level, Start&& start) {
      Building const building(level, [](Vel::PtrInterface& object) { static_cast<Level&>(object).retire(); });
      Flo::Turn::hold(start);
   }
   /// Ends what is being built for `parent`.
   static void retire(Vel::PtrInterface const& parent) {
      for (Building* at = innermost_; at; at = at->outer_) {
         if (at->for_ == &parent) at->retire_(at->level_);
      }
   }

 private:
   Building(Vel::PtrInterface& level, void (*retire)(Vel::PtrInterface&))
         : level_(level), retire_(retire), for_(std::exchange(parent_, nullptr)), outer_(innermost_) {
      innermost_ = this;
   }
   ~Building() { innermost_ = outer_; }
   Building(Building const&) = delete;
   Building& operator=(Building const&) = delete;

   static inline Vel::PtrInterface const* parent_ = nullptr;
   static inline Building* innermost_ = nullptr;

   Vel::PtrInterface& level_;
   void (*retire_)(Vel::PtrInterface&);
   Vel::PtrInterface const* for_;
   Building* outer_;
};

}  // namespace MplsSnmp
