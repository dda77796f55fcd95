// SPDX-License-Identifier: MIT
#include "derivation/Outputs.h"

#include "derivation/Trace.h"
#include "substrate/trel/Assert.h"
#include "substrate/vel/Exceptions.h"

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
   return rsvp && mib_->numAllocator() && mib_->numAllocator()->status().isUsed(row.hopTableIndex()) &&
          rsvp->subTunnelStatus() == join.subTunnelStatus && rsvp->subTunnelConfig() == join.subTunnelConfig &&
          rsvp->spStatus() == join.spStatus && rsvp->lspRequestStatus() == join.lspRequestStatus &&
          rsvp->counterTable() == counterTable_ && rsvp->lerHiveStatus() == lerStatus_;
}

bool Outputs::clear(MplsTunnelTableKey const& key, Join const& join) {
   auto const row = mib_->mplsTunnelTable()[key];
   if (!row || isRowOf(*row, join)) return false;
   deleteRow(key);
   return true;
}

bool Outputs::putRow(StreamTexts const& texts, MplsTunnelTableKey const& key, Join const& join) {
   Vel::Ptr<MplsTunnelTableEntry const> row = mib_->mplsTunnelTable()[key];
   if (!row) {
      std::uint32_t const hopTableIndex = mib_->getHopTableIndex();
      if (hopTableIndex == 0) {
         traceDetail("filter( ( _hopTableIndex{} > 0 ) ) failed, terminating pipeline", texts.hopIndex);
         return false;
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
   if (!(mib_->mplsTunnelTable()[key] == row)) {
      // An observer of the table has taken the row out again: its index is nobody's.
      hopListDel(row->hopTableIndex());
      mib_->releaseHopTableIndex(row->hopTableIndex());
      return false;
   }
   if (putHopEntry(row->hopTableIndex(), join)) return true;
   deleteRow(key);
   return false;
}

bool Outputs::isEntryOf(PathSpecCollTableSm const& entry, Join const& join) const {
   return !entry.isMarkedForDeletion() && entry.lerConfig() == lerConfig_ &&
          entry.subTunnelStatus() == join.subTunnelStatus && entry.subTunnelConfig() == join.subTunnelConfig &&
          entry.mplsTeMib() == mib_;
}

bool Outputs::putHopEntry(std::uint32_t hopIndex, Join const& join) {
   // An entry over other inputs is left from an earlier life: an index is bound to its inputs, so it goes first.
   auto const existing = hopTableHelper_->pathSpecCollTableSm()[hopIndex];
   // One of another helper takes the hop rows along, ours are then written anew.
   bool const others = hopTableHelper_->otherKeepersDel(hopIndex, mib_);
   if (existing && (others || !isEntryOf(*existing, join))) hopTableHelper_->pathSpecCollTableSmDel(hopIndex);
   hopTableHelperPathSpecCollTableSmOutput.see(HopTableHelperPathSpecCollTableSmOutputKeyType(hopIndex));
   try {
      auto const entry = hopTableHelper_->pathSpecCollTableSmIs(hopIndex, lerConfig_, join.subTunnelStatus,
                                                                join.subTunnelConfig, mib_);
      traceDetail("into( hopTableHelper.pathSpecCollTableSm[ hopIndex ] ): inserting k1={}, value={}", hopIndex, entry);
   } catch (Vel::MutatorReinstantiatingException const& refused) {
      // Only an observer of the helper that puts entries of its own can cause that.
      Trel::fmtrace(debugHandler(), kError, "hop index {} has an entry that is not its tunnel's: {}", hopIndex,
                    refused.what());
      return false;
   }
   return true;
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
   hopListDel(hopIndex);
   traceDetail("into( mib.mplsTunnelTable[ mibKey ] ): deleting k1={}", key);
   removeRow(row);
}

void Outputs::hopListDel(std::uint32_t hopIndex) {
   if (hasHopEntry(hopIndex)) {
      hopTableHelper_->pathSpecCollTableSmDel(hopIndex);
   } else {
      hopTableHelper_->otherKeepersDel(hopIndex, mib_);
   }
}

bool Outputs::hasHopEntry(std::uint32_t hopIndex) const {
   auto const entry = hopTableHelper_->pathSpecCollTableSm()[hopIndex];
   return entry && entry->mplsTeMib() == mib_;
}

void Outputs::removeRow(Vel::Ptr<MplsTunnelTableEntry const> const& row) {
   if (mib_->mplsTunnelTable()[row->key()] == row) mib_->mplsTunnelTableDel(row->key());
}

bool Outputs::isIndexLeft() const {
   auto const& config = mib_->numAllocatorConfig();
   auto const& allocator = mib_->numAllocator();
   return !config || !allocator || allocator->status().inUse() <= config->range().last - config->range().first;
}

}  // namespace MplsSnmp
