// SPDX-License-Identifier: MIT
// The streams: how each event finds its LSP request and its sp id, and the row tail that all of them share. The trace
// lines quote the dataflow's own statements.
#include <vector>

#include "derivation/Flatten.h"
#include "derivation/RsvpSnmpSubTunnelStatusSm.h"

namespace MplsSnmp {

namespace {

using Rsvp::RsvpLerLspGroupId;
using Rsvp::RsvpLerLspRequestConfigId;
using Rsvp::RsvpLerSubTunnelConfigId;
using Rsvp::RsvpLerTunnelSpecId;
using Rsvp::RsvpSpId;

void traceFilter(std::string_view condition) { traceDetail("filter( {} ) failed, terminating pipeline", condition); }

constexpr std::string_view boolText(bool value) { return value ? "True" : "False"; }

constexpr std::string_view kActiveLspFilter = "( ( *subTunnelStatus ).activeLsp == lspRequestConfigId )";

}  // namespace

// ---- initStream, spidReverseStream: the reverse index

bool RsvpSnmpSubTunnelStatusSm::eventToInitStream() {
   traceDetail("initStream = from( this.initialized ):");
   auto const map = rsvpLerStatus_->spIdMap();
   if (!map) {
      traceFilter("rsvpLerStatus.spIdMap");
      return true;
   }
   auto const& ids = map->spIdForLspRequestConfigId();
   traceDetail(" flatten( ( *rsvpLerStatus.spIdMap ).spIdForLspRequestConfigId ) flattening {} elements", ids.size());
   auto& machine = *builtinSmAttrNinitializedSm0_;
   for (auto it = ids.after(machine.bookmark()); it != ids.end(); ++it) {
      machine.bookmarkIs(it.bookmark());
      eventToSpidReverseStream(RsvpLerLspRequestConfigId(it->key), RsvpSpId(it->value), true);
      if (machine.shouldYield()) {
         traceDetail("init stream about to yield");
         return false;
      }
   }
   return true;
}

void RsvpSnmpSubTunnelStatusSm::eventToSpidReverseStream(RsvpLerLspRequestConfigId const& id, RsvpSpId const& spId,
                                                         bool isAdd) {
   traceDetail("spidReverseStream = merge( initStream, spidStream ): lspReqConfId={} spId={} isAdd={}", id, spId,
               boolText(isAdd));
   if (isAdd) {
      outputs_.putRequest(*localAttrStore_, spId, id);
   } else {
      outputs_.deleteRequest(*localAttrStore_, spId, id);
   }
}

// ---- spidStream, spidUpdateStream: the sp id of a request

void RsvpSnmpSubTunnelStatusSm::eventToSpidStream(RsvpLerLspRequestConfigId const& id,
                                                  Vel::Optional<RsvpSpId> const& spIdOpt) {
   traceDetail(fmt::runtime(kSpidStream.from), id, spIdOpt);
   flatten(kSpidStream, cacheAttr4_, id, spIdOpt, [&](RsvpSpId const& spId, bool isAdd) {
      eventToSpidReverseStream(id, spId, isAdd);
      eventToSpidUpdateStream(id, spId, isAdd);
   });
}

void RsvpSnmpSubTunnelStatusSm::eventToSpidUpdateStream(RsvpLerLspRequestConfigId const& id, RsvpSpId const& spId,
                                                        bool isAdd) {
   traceDetail("spidUpdateStream = spidStream => lrciFromStream={} spIdFromStream={} isAddFromStream={}", id, spId,
               boolText(isAdd));
   traceDetail("Verifying lspReqConfIdSet");
   if (isAmbiguous(spId)) {
      traceFilter(fmt::format("( ( !_lspReqConfIdSet{0} ) || ( len( ( *_lspReqConfIdSet{0} ).lrciSet ) < 2 ) )",
                              kSpidStream.ambiguityGate));
      return;
   }
   struct Work {
      RsvpLerLspRequestConfigId id;
      bool isAdd;
   };
   std::vector<Work> inputsToFlatten{{id, isAdd}};
   // The last of several requests inherits the sp id.
   if (auto const set = localAttrStore_->lspReqConfIdsForSpId()[spId]) {
      RsvpLerLspRequestConfigId const& remaining = set->lrciSet().begin()->key;
      if (remaining != id) inputsToFlatten.push_back({remaining, true});
   }
   traceDetail("num inputsToFlatten: {}", inputsToFlatten.size());
   traceDetail(" flatten( inputsToFlatten ) flattening {} elements", inputsToFlatten.size());
   for (Work const& work : inputsToFlatten) {
      traceCase(kSpidStream, work.isAdd);
      rowTail(kSpidStream, work.id, spId, work.isAdd, {});
   }
   settle(spId);
}

// ---- stcStream: the configuration of a sub-tunnel

void RsvpSnmpSubTunnelStatusSm::eventToStcStream(RsvpLerTunnelSpecId const& tunnelSpecId,
                                                 RsvpLerSubTunnelConfigId const& subTunnelConfigId,
                                                 Vel::Optional<SubTunnelConfigPtr> const& subTunnelConfigOpt) {
   traceDetail(fmt::runtime(kStcStream.from), tunnelSpecId, subTunnelConfigId, subTunnelConfigOpt);
   flatten(kStcStream, cacheAttr1_, SubTunnelKey{tunnelSpecId, subTunnelConfigId}, subTunnelConfigOpt,
           [&](SubTunnelConfigPtr const& config, bool isAdd) {
              traceCase(kStcStream, isAdd);
              auto const status = inputs_.subTunnelStatus(subTunnelConfigId);
              if (!status || !status->activeLsp().isSet()) return traceFilter("activeLsp");
              RsvpLerLspRequestConfigId const request = status->activeLsp();
              // The configuration of this sub-tunnel says nothing about an LSP of another.
              if (request.subTunnelConfigId() != subTunnelConfigId) return traceFilter(kActiveLspFilter);
              if (auto const spId = spIdOf(request)) {
                 rowTail(kStcStream, request, *spId, isAdd, {.subTunnelConfig = config});
              }
           });
}

// ---- lrsStream: the status of an LSP request

void RsvpSnmpSubTunnelStatusSm::eventToLrsStream(RsvpLerLspGroupId const& lspGroupId,
                                                 RsvpLerLspRequestConfigId const& id,
                                                 Vel::Optional<RequestStatusPtr> const& lspRequestStatusOpt) {
   traceDetail(fmt::runtime(kLrsStream.from), lspGroupId, id, lspRequestStatusOpt);
   flatten(kLrsStream, cacheAttr2_, RequestKey{lspGroupId, id}, lspRequestStatusOpt,
           [&](RequestStatusPtr const& status, bool isAdd) {
              traceCase(kLrsStream, isAdd);
              if (auto const spId = spIdOf(id)) {
                 rowTail(kLrsStream, id, *spId, isAdd, {.lspRequestStatus = status});
              }
           });
}

// ---- spsStream: the status of a signalled path

void RsvpSnmpSubTunnelStatusSm::eventToSpsStream(RsvpSpId const& spId, Vel::Optional<SpStatusPtr> const& spStatusOpt) {
   traceDetail(fmt::runtime(kSpsStream.from), spId, spStatusOpt);
   flatten(kSpsStream, cacheAttr3_, spId, spStatusOpt, [&](SpStatusPtr const& status, bool isAdd) {
      traceCase(kSpsStream, isAdd);
      auto const set = localAttrStore_->lspReqConfIdsForSpId()[spId];
      if (!set) return;
      for (auto it = set->lrciSet().begin(); it != set->lrciSet().end(); ++it) {
         RsvpLerLspRequestConfigId const request = it->key;
         if (inputs_.spId(request) == Vel::Optional<RsvpSpId>(spId)) {
            rowTail(kSpsStream, request, spId, isAdd, {.spStatus = status});
         } else {
            traceFilter("( spId == spIdFromMap )");
         }
      }
   });
}

// ---- stsStream: the active LSP of a sub-tunnel

void RsvpSnmpSubTunnelStatusSm::eventToStsStream(RsvpLerTunnelSpecId const& tunnelSpecId,
                                                 RsvpLerSubTunnelConfigId const& subTunnelConfigId,
                                                 Vel::Optional<RsvpLerLspRequestConfigId> const& activeLspOpt) {
   traceDetail(fmt::runtime(kStsStream.from), tunnelSpecId, subTunnelConfigId, activeLspOpt);
   flatten(kStsStream, cacheAttr0_, SubTunnelKey{tunnelSpecId, subTunnelConfigId}, activeLspOpt,
           [&](RsvpLerLspRequestConfigId const& request, bool isAdd) {
              traceCase(kStsStream, isAdd);
              // A sub-tunnel that names the LSP of another as its own gets no row and takes none away.
              if (request.subTunnelConfigId() != subTunnelConfigId) return traceFilter(kActiveLspFilter);
              if (auto const spId = spIdOf(request)) {
                 rowTail(kStsStream, request, *spId, isAdd, {.activeLsp = true});
              }
           });
}

// ---- What the streams share

Vel::Optional<RsvpSpId> RsvpSnmpSubTunnelStatusSm::spIdOf(RsvpLerLspRequestConfigId const& request) const {
   auto spId = inputs_.spId(request);
   if (!spId) traceFilter("spIdOp");
   return spId;
}

void RsvpSnmpSubTunnelStatusSm::rowTail(StreamTexts const& texts, RsvpLerLspRequestConfigId const& request,
                                        RsvpSpId const& spId, bool isAdd, StandIn const& standIn) {
   if (isAmbiguous(spId)) {
      traceFilter(fmt::format("( ( !_lspReqConfIdSet{0} ) || ( len( ( *_lspReqConfIdSet{0} ).lrciSet ) < 2 ) )",
                              texts.ambiguityGate));
      return;
   }
   traceDetail("Creating MIB key from spId {}", spId);
   MplsTunnelTableKey const mibKey = mibKeyFor(spId);
   std::string_view failed;
   auto const join = joinInputs(inputs_, request, spId, standIn, isAdd, failed);
   if (!join) return traceFilter(failed);
   if (isAdd) {
      outputs_.putRow(texts, mibKey, *join);
   } else {
      outputs_.deleteRow(mibKey);
   }
}

/// Whether the inputs as they are now make exactly this row: its sp id has one request, whose joined inputs are those
/// of the row.
bool RsvpSnmpSubTunnelStatusSm::isEntitled(MplsTunnelTableEntry const& row) const {
   RsvpSpId const spId = spIdFor(row.key());
   auto const set = localAttrStore_->lspReqConfIdsForSpId()[spId];
   if (!set || set->lrciSet().size() != 1) return false;
   std::string_view failed;
   auto const join = joinInputs(inputs_, set->lrciSet().begin()->key, spId, {}, true, failed);
   return join && outputs_.isRowOf(row, *join);
}

/// While an sp id is ambiguous its pipelines stop, so its row can outlive the inputs that it was made from. Once the
/// sp id is not ambiguous any more, such a row goes.
void RsvpSnmpSubTunnelStatusSm::settle(RsvpSpId const& spId) {
   auto const row = mib_->mplsTunnelTable()[mibKeyFor(spId)];
   if (row && !isEntitled(*row)) outputs_.deleteRow(row->key());
}

}  // namespace MplsSnmp

// ---- Where the input paths deliver

namespace MplsSnmp::FloCode::RsvpSnmpSubTunnelStatusSm {

void SpidPath::deliver(Owner& owner, Rsvp::RsvpLerLspRequestConfigId const& id,
                       Vel::Optional<Rsvp::RsvpSpId> const& spId) {
   owner.eventToSpidStream(id, spId);
}
void SpidPath::scanComplete(Owner& owner) { owner.inputScanComplete(&InputSmScanState::spidStreamScan); }

void SpsPath::deliver(Owner& owner, Rsvp::RsvpSpId const& spId, Vel::Optional<SpStatusPtr> const& status) {
   owner.eventToSpsStream(spId, status);
}
void SpsPath::scanComplete(Owner& owner) { owner.inputScanComplete(&InputSmScanState::spsStreamScan); }

void StcPath::deliver(Owner& owner, Rsvp::RsvpLerTunnelSpecId const& tunnel, Rsvp::RsvpLerSubTunnelConfigId const& id,
                      Vel::Optional<SubTunnelConfigPtr> const& config) {
   owner.eventToStcStream(tunnel, id, config);
}
void StcPath::scanComplete(Owner& owner) { owner.inputScanComplete(&InputSmScanState::stcStreamScan); }

void LrsPath::deliver(Owner& owner, Rsvp::RsvpLerLspGroupId const& group, Rsvp::RsvpLerLspRequestConfigId const& id,
                      Vel::Optional<RequestStatusPtr> const& status) {
   owner.eventToLrsStream(group, id, status);
}
void LrsPath::scanComplete(Owner& owner) { owner.inputScanComplete(&InputSmScanState::lrsStreamScan); }

void StsPath::deliver(Owner& owner, Rsvp::RsvpLerTunnelSpecId const& tunnel, Rsvp::RsvpLerSubTunnelConfigId const& id,
                      Vel::Optional<Rsvp::RsvpLerLspRequestConfigId> const& activeLsp) {
   owner.eventToStsStream(tunnel, id, activeLsp);
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
