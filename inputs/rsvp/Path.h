// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "inputs/lanu/IpGenAddr.h"
#include "substrate/vel/RbTreeMap.h"

namespace Rsvp {

/// The path of an LSP: hop addresses by hop index. A value; copies share their hops until one of them is changed.
class RsvpLerPath {
 public:
   using HopMap = Vel::RbTreeMap<std::uint32_t, Lanu::IpGenAddr>;

   HopMap const& hop() const;
   bool empty() const { return !hops_; }

   void hopIs(std::uint32_t index, Lanu::IpGenAddr const& address);
   void hopDel(std::uint32_t index);

   bool operator==(RsvpLerPath const& other) const { return hops_ == other.hops_ || hop() == other.hop(); }

 private:
   struct Hops {
      HopMap map;
      mutable Vel::RefCount refs;
      void newRef() const { refs.increment(); }
      void deleteRef() const {
         if (refs.decrement()) delete this;
      }
   };
   HopMap& own();

   Vel::Ptr<Hops> hops_;  // null when there is no hop
};

}  // namespace Rsvp
