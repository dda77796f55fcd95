// SPDX-License-Identifier: MIT
#pragma once

#include "derivation/Join.h"
#include "derivation/LocalAttrStore.h"
#include "derivation/OutputKeys.h"
#include "derivation/StreamTexts.h"
#include "hoptable/HopTableHelper.h"
#include "inputs/rsvp/LerConfig.h"
#include "inputs/tallies/CounterTable.h"
#include "mib/MplsTeMib.h"
#include "mib/MplsTunnelTableEntryRsvp.h"
#include "substrate/orb/TaskScheduler.h"

namespace MplsSnmp {

/// One output of the derivation: what was written to it during the initial scan, and how far the removal of what was
/// not has come (its reconciliation).
template <class Key, class Bookmark>
struct Output {
   std::string_view name;
   bool reconciling = true;
   bool useBookmark = false;
   bool ready = false;
   Bookmark bookmark{};
   Vel::HashSet2018<Key> seen{};
   Vel::Ptr<Orb::Task> reconciliationTask{};

   /// All that is there counts as written before the scan that begins.
   void beginAnew() {
      reconciling = true;
      useBookmark = false;
      ready = false;
      bookmark = {};
      seen.clear();
   }
   /// Remembers a key that was written while the scan is under way.
   void see(Key const& key) {
      if (reconciling) seen.insertOrAssign(key, Vel::Unit());
   }
};

/// The three outputs and the statements that write them.
///
/// What belongs to an sp id is one unit: its row, the hop index that the row holds, the hop entry under that index and
/// the hop rows that the entry writes. Each statement is carried through to its end, also when an observer retires the
/// derivation in the middle: there is no time at which a unit stays in parts. A delete takes away what it has found,
/// and not what an observer may have put under the same key meanwhile.
class Outputs {
 public:
   Outputs(Vel::Ptr<MplsTeMib> mib, Vel::Ptr<HopTableHelper> hopTableHelper,
           Vel::Ptr<Rsvp::RsvpLerConfig const> lerConfig, Vel::Ptr<Rsvp::RsvpLerHiveStatus const> lerStatus,
           Vel::Ptr<Tallies::CounterTable const> counterTable)
         : mib_(std::move(mib)),
           hopTableHelper_(std::move(hopTableHelper)),
           lerConfig_(std::move(lerConfig)),
           lerStatus_(std::move(lerStatus)),
           counterTable_(std::move(counterTable)) {}

   /// lspReqConfIdsForSpId[ spId ].lrciSet[ id ]
   void putRequest(LocalAttrStore& store, Rsvp::RsvpSpId const& spId, Rsvp::RsvpLerLspRequestConfigId const& id);
   void deleteRequest(LocalAttrStore& store, Rsvp::RsvpSpId const& spId, Rsvp::RsvpLerLspRequestConfigId const& id);

   /// Removes a row under the key that is not over the joined inputs; true then.
   bool clear(MplsTunnelTableKey const& key, Join const& join);
   /// The row and the hop entry of a joined LSP. A row under the key stays, with its index and hop entry. False when
   /// there is none in the end, for want of a free hop index as a rule. REQUIRES: `clear` has made way.
   bool putRow(StreamTexts const& texts, MplsTunnelTableKey const& key, Join const& join);
   /// Releases the hop index, then removes the hop entry (and so the hop rows), then the row.
   void deleteRow(MplsTunnelTableKey const& key);
   /// The row alone, while it is still the one under its key.
   void removeRow(Vel::Ptr<MplsTunnelTableEntry const> const& row);
   /// Ends the hop entry of an index of this MIB, whichever helper has it.
   void hopListDel(std::uint32_t hopIndex);

   /// Whether the row is over exactly the joined inputs and those that every row of this derivation has, and its hop
   /// index is its own.
   bool isRowOf(MplsTunnelTableEntry const& row, Join const& join) const;
   /// Whether a row under the key is there from before the scan that is under way.
   bool isOfEarlierLife(MplsTunnelTableKey const& key) const {
      return mibMplsTunnelTableOutput.reconciling &&
             !mibMplsTunnelTableOutput.seen.contains(MibMplsTunnelTableOutputKeyType(key));
   }
   /// Whether the helper has an entry for an index of this MIB.
   bool hasHopEntry(std::uint32_t hopIndex) const;
   /// Whether a hop index can be drawn.
   bool isIndexLeft() const;

   template <class Call>
   void forEach(Call&& call) {
      call(lspReqConfIdsForSpIdLrciSetOutput);
      call(mibMplsTunnelTableOutput);
      call(hopTableHelperPathSpecCollTableSmOutput);
   }

   MplsTeMib& mib() const { return *mib_; }
   HopTableHelper& hopTableHelper() const { return *hopTableHelper_; }

   Output<LspReqConfIdsForSpIdLrciSetOutputKeyType, std::uint64_t> lspReqConfIdsForSpIdLrciSetOutput{
         .name = "lspReqConfIdsForSpIdLrciSetOutput"};
   Output<MibMplsTunnelTableOutputKeyType, Vel::Optional<MplsTunnelTableKey>> mibMplsTunnelTableOutput{
         .name = "mibMplsTunnelTableOutput"};
   Output<HopTableHelperPathSpecCollTableSmOutputKeyType, std::uint64_t> hopTableHelperPathSpecCollTableSmOutput{
         .name = "hopTableHelperPathSpecCollTableSmOutput"};

 private:
   bool isEntryOf(PathSpecCollTableSm const& entry, Join const& join) const;
   /// False when the helper refuses the entry.
   bool putHopEntry(std::uint32_t hopIndex, Join const& join);

   Vel::Ptr<MplsTeMib> mib_;
   Vel::Ptr<HopTableHelper> hopTableHelper_;
   Vel::Ptr<Rsvp::RsvpLerConfig const> lerConfig_;
   Vel::Ptr<Rsvp::RsvpLerHiveStatus const> lerStatus_;
   Vel::Ptr<Tallies::CounterTable const> counterTable_;
};

/// A row as the MIB's table holds it. Asserts that it is one; `number` is that of the stream's cast.
Vel::Ptr<MplsTunnelTableEntry const> asTunnelTableEntry(Vel::Ptr<Vel::PtrInterface const> const& row, int number);

}  // namespace MplsSnmp
