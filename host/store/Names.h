// SPDX-License-Identifier: MIT
#pragma once

#include "inputs/rsvp/Ids.h"
#include "substrate/vel/HashMap2018.h"

namespace Store {

/// The tunnel or path spec name inside an id. An sp id has none.
inline Vel::String& nameIn(Rsvp::RsvpLerTunnelSpecId& id) { return id.tunnelName; }
inline Vel::String& nameIn(Rsvp::RsvpLerSubTunnelConfigId& id) { return id.tunnelName; }
inline Vel::String& nameIn(Rsvp::RsvpLerPathSpecId& id) { return id.name; }
inline Vel::String& nameIn(Rsvp::RsvpLerLspRequestConfigId& id) { return id.lspGroupId.subTunnelConfigId.tunnelName; }

/// The names that one document has used so far. A tunnel's name stands in half a dozen of its ids: all of them share
/// one string.
class Names {
 public:
   template <class Id>
   Id shared(Id id) {
      if constexpr (requires { nameIn(id); }) {
         Vel::String& name = nameIn(id);
         if (Vel::String const* const known = names_.find(name)) {
            name = *known;
         } else {
            names_.insertOrAssign(name, name);
         }
      }
      return id;
   }

   /// See HashMap2018.
   bool destroySome() { return names_.destroySome(); }

 private:
   Vel::HashMap2018<Vel::String, Vel::String> names_;
};

}  // namespace Store
