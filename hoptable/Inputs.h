// SPDX-License-Identifier: MIT
/// What the chain of one tunnel is made of. Every level is built from the hop table index, an input of its own and the
/// three objects that travel down unchanged; levels hold counted references to all of them.
#pragma once

#include "inputs/rsvp/LerConfig.h"
#include "inputs/rsvp/SubTunnel.h"
#include "mib/MplsTeMib.h"

namespace MplsSnmp {

using LerConfigPtr = Vel::Ptr<Rsvp::RsvpLerConfig const>;
using PathSpecCollTablePtr = Vel::Ptr<Rsvp::RsvpLerPathSpecCollTable const>;
using PathSpecCollPtr = Vel::Ptr<Rsvp::RsvpLerPathSpecCollForSource const>;
using PathSpecPtr = Vel::Ptr<Rsvp::RsvpLerPathSpec const>;
using SubTunnelStatusPtr = Vel::Ptr<Rsvp::RsvpLerSubTunnelStatus const>;
using SubTunnelConfigPtr = Vel::Ptr<Rsvp::RsvpLerSubTunnelConfig const>;
using MplsTeMibPtr = Vel::Ptr<MplsTeMib>;

}  // namespace MplsSnmp
