// SPDX-License-Identifier: MIT
#include "inputs/rsvp/Path.h"

namespace Rsvp {

RsvpLerPath::HopMap const& RsvpLerPath::hop() const {
   static HopMap const none;
   return hops_ ? hops_->map : none;
}

RsvpLerPath::HopMap& RsvpLerPath::own() {
   if (!hops_) {
      hops_ = Vel::makePtr<Hops>();
   } else if (hops_->refs.value() > 1) {
      auto copy = Vel::makePtr<Hops>();
      copy->map = hops_->map;
      hops_ = copy;
   }
   return hops_->map;
}

void RsvpLerPath::hopIs(std::uint32_t index, Lanu::IpGenAddr const& address) {
   HopMap& map = own();
   if (!map.assign(index, address)) map.insert(index, address);
}

void RsvpLerPath::hopDel(std::uint32_t index) {
   if (!hop().contains(index)) return;
   HopMap& map = own();
   map.erase(index);
   if (map.empty()) hops_ = nullptr;
}

}  // namespace Rsvp
