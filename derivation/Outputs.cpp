// SPDX-License-Identifier: MIT
#include "derivation/Outputs.h"

#include "derivation/Trace.h"
#include "substrate/trel/Assert.h"

namespace MplsSnmp {

Vel::Ptr<MplsTunnelTableEntry const> asTunnelTableEntry(Vel::Ptr<Vel::PtrInterface const> const& row, int number) {
   auto const entry = Vel::ptrCast<MplsTunnelTableEntry const>(row);
   if (!entry) {
      Trel::fmassert(false, fmt::format("_tmpCache{}_ && \"dynamic cast to MplsSnmp::MplsTunnelTableEntry::PtrConst "
                                        "from MplsSnmp::MplsTunnelTableEntryRsvp::PtrConst failed\"",
                                        number));
   }
   return entry;
}

void Outputs::putRequest(LocalAttrStore& store, Rsvp::RsvpSpId const& spId, Rsvp::RsvpLerLspRequestConfigId const& id) {
   lspReqConfIdsForSpIdLrciSetOutput.see({spId, id});
   auto const set = store.lspReqConfIdsForSpIdIs(spId);
   traceDetail("into( lspReqConfIdsForSpId[ spId ].lrciSet[ lspReqConfId ] ): inserting k1={}, k2={}", spId, id);
   set->lrciSetIs(id);
}

void Outputs::deleteRequest(LocalAttrStore& store, Rsvp::RsvpSpId const& spId,
                            Rsvp::RsvpLerLspRequestConfigId const& id) {
   lspReqConfIdsForSpIdLrciSetOutput.see({spId, id});
   traceDetail("into( lspReqConfIdsForSpId[ spId ].lrciSet[ lspReqConfId ] ): deleting k1={}, k2={}", spId, id);
   store.requestDel(spId, id);
}

bool Outputs::isRowOf(MplsTunnelTableEntry const& row, Join const& join) const {
   auto const* const rsvp = dynamic_cast<MplsTunnelTableEntryRsvp const*>(&row);
   return rsvp && rsvp->subTunnelStatus() == join.subTunnelStatus && rsvp->subTunnelConfig() == join.subTunnelConfig &&
          rsvp->spStatus() == join.spStatus && rsvp->lspRequestStatus() == join.lspRequestStatus &&
          rsvp->counterTable() == counterTable_ && rsvp->lerHiveStatus() == lerStatus_;
}

void Outputs::putRow(StreamTexts const& texts, MplsTunnelTableKey const& key, Join const& join) {
   Vel::Ptr<MplsTunnelTableEntry const> row = mib_->mplsTunnelTable()[key];
   if (!row || !isRowOf(*row, join)) {
      if (row) deleteRow(key);
      std::uint32_t const hopTableIndex = mib_->getHopTableIndex();
      if (hopTableIndex == 0) {
         traceDetail("filter( ( _hopTableIndex{} > 0 ) ) failed, terminating pipeline", texts.hopIndex);
         return;
      }
      row = asTunnelTableEntry(
            mplsTunnelTableEntryRsvpFactory(key, hopTableIndex, join.subTunnelStatus, join.subTunnelConfig,
                                            join.spStatus, join.lspRequestStatus, counterTable_, lerStatus_),
            texts.dynamicCast);
   }
   if (!(row->key() == key)) {
      Trel::fmtrace(debugHandler(), kError,
                    "In \"into( mib.mplsTunnelTable[ mibKey ] )\" the value inserted in the into statement has "
                    "internal key: {}, but the key specified in the into is: {}",
                    row->key(), key);
   }
   traceDetail("into( mib.mplsTunnelTable[ mibKey ] ): inserting k1={}, value={}", key, row);
   mibMplsTunnelTableOutput.see(MibMplsTunnelTableOutputKeyType(key));
   mib_->mplsTunnelTableIs(row);
   // An observer of the table may have taken the row out again.
   if (mib_->mplsTunnelTable()[key] == row) putHopEntry(row->hopTableIndex(), join);
}

void Outputs::putHopEntry(std::uint32_t hopIndex, Join const& join) {
   // An entry over other inputs is left from an earlier life: an index is bound to its inputs, so it goes first.
   auto const existing = hopTableHelper_->pathSpecCollTableSm()[hopIndex];
   if (existing && !(existing->lerConfig() == lerConfig_ && existing->subTunnelStatus() == join.subTunnelStatus &&
                     existing->subTunnelConfig() == join.subTunnelConfig && existing->mplsTeMib() == mib_)) {
      hopTableHelper_->pathSpecCollTableSmDel(hopIndex);
   }
   hopTableHelperPathSpecCollTableSmOutput.see(HopTableHelperPathSpecCollTableSmOutputKeyType(hopIndex));
   auto const entry =
         hopTableHelper_->pathSpecCollTableSmIs(hopIndex, lerConfig_, join.subTunnelStatus, join.subTunnelConfig, mib_);
   traceDetail("into( hopTableHelper.pathSpecCollTableSm[ hopIndex ] ): inserting k1={}, value={}", hopIndex, entry);
}

void Outputs::deleteRow(MplsTunnelTableKey const& key) {
   auto const row = mib_->mplsTunnelTable()[key];
   if (!row) {
      traceDetail("filter( hopIndex ) failed, terminating pipeline");
      return;
   }
   std::uint32_t const hopIndex = row->hopTableIndex();
   mib_->releaseHopTableIndex(hopIndex);
   traceDetail("into( hopTableHelper.pathSpecCollTableSm[ ( *hopIndex ) ] ): deleting k1={}", hopIndex);
   hopTableHelper_->pathSpecCollTableSmDel(hopIndex);
   traceDetail("into( mib.mplsTunnelTable[ mibKey ] ): deleting k1={}", key);
   mib_->mplsTunnelTableDel(key);
}

}  // namespace MplsSnmp
