// SPDX-License-Identifier: MIT
/// The ids of the published state, known to the type registry from when the library is loaded.
#include <array>

#include "inputs/rsvp/Ids.h"
#include "substrate/vel/TypeRegistry.h"
#include "substrate/vel/ValueInfo.h"

namespace {

using namespace Rsvp;
using Vel::valueTypeNamed;

Vel::TypeInfo const kAddress = valueTypeNamed<Lanu::IpGenAddr>("Lanu::IpGenAddr");
Vel::TypeInfo const kTunnelSpec = valueTypeNamed<RsvpLerTunnelSpecId>("Rsvp::RsvpLerTunnelSpecId");
Vel::TypeInfo const kSubTunnel = valueTypeNamed<RsvpLerSubTunnelConfigId>("Rsvp::RsvpLerSubTunnelConfigId");
Vel::TypeInfo const kPathSpec = valueTypeNamed<RsvpLerPathSpecId>("Rsvp::RsvpLerPathSpecId");
Vel::TypeInfo const kLspGroup = valueTypeNamed<RsvpLerLspGroupId>("Rsvp::RsvpLerLspGroupId");
Vel::TypeInfo const kLspRequest = valueTypeNamed<RsvpLerLspRequestConfigId>("Rsvp::RsvpLerLspRequestConfigId");
Vel::TypeInfo const kSp = valueTypeNamed<RsvpSpId>("Rsvp::RsvpSpId");

std::array const kTypes{&kAddress,
                        &kTunnelSpec,
                        &kSubTunnel,
                        &kPathSpec,
                        &kLspGroup,
                        &kLspRequest,
                        &kSp,
                        &Vel::valueTypeInfo<RsvpLerTunnelSource>(),
                        &Vel::valueTypeInfo<RsvpLerPathSpecType>()};

Vel::TypeModule const inputsModule("Inputs", kTypes);

}  // namespace
