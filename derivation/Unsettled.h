// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <vector>

#include "inputs/rsvp/Ids.h"
#include "substrate/vel/Optional.h"

namespace MplsSnmp {

/// The sp ids that an event has touched and that are still to be settled: two at most, as a rule.
class Unsettled {
 public:
   void add(Rsvp::RsvpSpId const& spId) {
      if (std::ranges::find(spIds_, spId) == spIds_.end()) spIds_.push_back(spId);
   }
   void remove(Rsvp::RsvpSpId const& spId) { std::erase(spIds_, spId); }
   /// Takes one out; None when there is none left.
   Vel::Optional<Rsvp::RsvpSpId> take() {
      if (spIds_.empty()) return Vel::None;
      Rsvp::RsvpSpId const spId = spIds_.front();
      spIds_.erase(spIds_.begin());
      return spId;
   }

 private:
   std::vector<Rsvp::RsvpSpId> spIds_;
};

}  // namespace MplsSnmp
