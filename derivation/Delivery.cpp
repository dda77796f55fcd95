// SPDX-License-Identifier: MIT
// Where the input paths deliver: from the watchers to the streams of their owner.
#include "derivation/RsvpSnmpSubTunnelStatusSm.h"
#include "derivation/Trace.h"

namespace MplsSnmp::FloCode::RsvpSnmpSubTunnelStatusSm {

namespace {

/// An event whose watcher was let go before its turn came: what stands under the same keys now counts, if anything.
template <class Handle>
void takeUp(Owner& owner, std::string_view attribute, Handle&& handle) {
   if (!owner.follows()) return;
   traceDetail("We missed notifications that happened to {} before the enclosing entity got deleted", attribute);
   handle(owner.inputs());
}

}  // namespace

void SpidPath::deliver(Owner& owner, Rsvp::RsvpLerLspRequestConfigId const& id,
                       Vel::Optional<Rsvp::RsvpSpId> const& spId) {
   owner.eventToSpidStream(id, spId);
}
void SpidPath::missed(Owner& owner, std::string_view attribute, Rsvp::RsvpLerLspRequestConfigId const& id) {
   takeUp(owner, attribute, [&](JoinInputs const& now) { deliver(owner, id, now.spId(id)); });
}
void SpidPath::scanComplete(Owner& owner) { owner.inputScanComplete(&InputSmScanState::spidStreamScan); }

void SpsPath::deliver(Owner& owner, Rsvp::RsvpSpId const& spId, Vel::Optional<SpStatusPtr> const& status) {
   owner.eventToSpsStream(spId, status);
}
void SpsPath::missed(Owner& owner, std::string_view attribute, Rsvp::RsvpSpId const& spId) {
   takeUp(owner, attribute, [&](JoinInputs const& now) { deliver(owner, spId, eventValue(now.spStatus(spId))); });
}
void SpsPath::scanComplete(Owner& owner) { owner.inputScanComplete(&InputSmScanState::spsStreamScan); }

void StcPath::deliver(Owner& owner, Rsvp::RsvpLerTunnelSpecId const& tunnel, Rsvp::RsvpLerSubTunnelConfigId const& id,
                      Vel::Optional<SubTunnelConfigPtr> const& config) {
   owner.eventToStcStream(tunnel, id, config);
}
void StcPath::missed(Owner& owner, std::string_view attribute, Rsvp::RsvpLerTunnelSpecId const& tunnel,
                     Rsvp::RsvpLerSubTunnelConfigId const& id) {
   takeUp(owner, attribute,
          [&](JoinInputs const& now) { deliver(owner, tunnel, id, eventValue(now.subTunnelConfig(tunnel, id))); });
}
void StcPath::scanComplete(Owner& owner) { owner.inputScanComplete(&InputSmScanState::stcStreamScan); }

void LrsPath::deliver(Owner& owner, Rsvp::RsvpLerLspGroupId const& group, Rsvp::RsvpLerLspRequestConfigId const& id,
                      Vel::Optional<RequestStatusPtr> const& status) {
   owner.eventToLrsStream(group, id, status);
}
void LrsPath::missed(Owner& owner, std::string_view attribute, Rsvp::RsvpLerLspGroupId const& group,
                     Rsvp::RsvpLerLspRequestConfigId const& id) {
   takeUp(owner, attribute,
          [&](JoinInputs const& now) { deliver(owner, group, id, eventValue(now.lspRequestStatus(group, id))); });
}
void LrsPath::scanComplete(Owner& owner) { owner.inputScanComplete(&InputSmScanState::lrsStreamScan); }

void StsPath::deliver(Owner& owner, Rsvp::RsvpLerTunnelSpecId const& tunnel, Rsvp::RsvpLerSubTunnelConfigId const& id,
                      Vel::Optional<Rsvp::RsvpLerLspRequestConfigId> const& activeLsp) {
   owner.eventToStsStream(tunnel, id, activeLsp);
}
void StsPath::missed(Owner& owner, std::string_view attribute, Rsvp::RsvpLerTunnelSpecId const& tunnel,
                     Rsvp::RsvpLerSubTunnelConfigId const& id) {
   takeUp(owner, attribute, [&](JoinInputs const& now) {
      auto const status = now.subTunnelStatus(tunnel, id);
      deliver(owner, tunnel, id, status ? ActiveLspLevel::read(*status) : Vel::None);
   });
}
void StsPath::scanComplete(Owner& owner) { owner.inputScanComplete(&InputSmScanState::stsStreamScan); }

bool BuiltinSmAttrNinitializedSm0::doInputScan() {
   if (scanDone()) return true;
   Vel::Ptr<Owner> const keep(owner_);
   if (!owner_->eventToInitStream()) return false;
   traceDetail("{} scan complete.", className());
   traceDetail("{} scan, and parent scan, complete.", className());
   scanDoneIs(true);
   return true;
}

Flo::SmControl const& BuiltinSmAttrNinitializedSm0::control() const { return owner_->floControl(); }

std::string BuiltinSmAttrNinitializedSm0::taskName() const {
   return fmt::format("MplsSnmp::RsvpSnmpSubTunnelStatusSm-{}InputScanTask", className());
}

void BuiltinSmAttrNinitializedSm0::inputScanComplete() { owner_->inputScanComplete(&InputSmScanState::initStreamScan); }

}  // namespace MplsSnmp::FloCode::RsvpSnmpSubTunnelStatusSm
