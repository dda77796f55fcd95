// SPDX-License-Identifier: MIT
#include "mib/MplsTeMib.h"

#include <array>
#include <vector>

#include "mib/Trace.h"
#include "substrate/trel/Assert.h"
#include "substrate/vel/Generic.h"
#include "substrate/vel/Mutators.h"

namespace MplsSnmp {

namespace {

constexpr Orb::Range kHopListIndices{1, 0xffff'ffffU};
constexpr std::string_view kTypeName = "MplsSnmp::MplsTeMib";

/// Puts the row under its own key and notifies; the very same row again changes nothing.
template <class Row, class Table>
void putRow(Vel::PtrInterface const& owner, Vel::AttributeId attribute, std::string_view name, Table& table,
            Vel::Ptr<Row const> const& row) {
   if (!row) Vel::throwMutatorArgNullPointerException(kTypeName, name, "row");
   auto const key = row->key();
   if (table[key] == row) return;
   if (!table.assign(key, row)) table.insert(key, row);
   owner.visit(attribute, key);
}

template <class Table, class Key>
auto removeRow(Vel::PtrInterface const& owner, Vel::AttributeId attribute, Table& table, Key const& key) {
   auto const row = table[key];
   if (table.erase(key)) owner.visit(attribute, key);
   return row;
}

/// Removes the rows that there are now; those that an observer puts meanwhile stay.
template <class Row, class Table>
void removeAllRows(Vel::PtrInterface const& owner, Vel::AttributeId attribute, Table& table) {
   // A reactor may drop the last reference to the owner.
   Vel::Ptr<Vel::PtrInterface const> const keep(&owner);
   std::vector<Vel::Ptr<Row const>> rows;
   rows.reserve(table.size());
   for (auto const& node : table) rows.push_back(node.value());
   for (auto const& row : rows) {
      if (table[row->key()] == row) removeRow(owner, attribute, table, row->key());
   }
}

/// The indices that `range` gives have to fit the MIB's column.
void needHopListIndices(Orb::Range const& range) {
   if (range.first == 0 || range.last < range.first || range.last > kHopListIndices.last) {
      throw Vel::RangeException(fmt::format("{} to {} is no range of hop list indices (1 to {} at most)", range.first,
                                            range.last, kHopListIndices.last));
   }
}

template <class T>
void refuseNull(Vel::Ptr<T> const& pointer, std::string_view argument) {
   if (!pointer) Vel::throwMutatorArgNullPointerException(kTypeName, "numAllocator", argument);
}

Vel::Ptr<Vel::Entity> newEntityForDir(Vel::String const& name) { return mplsTeMibFactory(name); }

using Vel::Generic::method;

using Mib = MplsTeMib;
using TunnelRowDel = Vel::Ptr<MplsTunnelTableEntry const> (Mib::*)(MplsTunnelTableKey);
using HopRowDel = Vel::Ptr<MplsTunnelHopTableEntry const> (Mib::*)(MplsTunnelHopTableKey);

Vel::Any tunnelRow(Vel::PtrInterface const& self, Vel::AnyArgs args) {
   return Vel::Generic::apply<Vel::Ptr<MplsTunnelTableEntry const>, MplsTunnelTableKey>(
         args,
         [&](MplsTunnelTableKey const& key) { return Vel::Generic::objectOf<Mib const>(self).mplsTunnelTable()[key]; });
}

Vel::Any hopRow(Vel::PtrInterface const& self, Vel::AnyArgs args) {
   return Vel::Generic::apply<Vel::Ptr<MplsTunnelHopTableEntry const>, MplsTunnelHopTableKey>(
         args, [&](MplsTunnelHopTableKey const& key) {
            return Vel::Generic::objectOf<Mib const>(self).mplsTunnelHopTable()[key];
         });
}

constexpr std::array kAttributes{
      Vel::AttributeInfo{.id = Mib::attrName, .name = "name", .get = method<&Vel::Entity::name>},
      Vel::AttributeInfo{.id = Mib::attrMplsTunnelTable,
                         .name = "mplsTunnelTable",
                         .get = tunnelRow,
                         .set = method<&Mib::mplsTunnelTableIs>,
                         .del = method<static_cast<TunnelRowDel>(&Mib::mplsTunnelTableDel)>,
                         .keys = Vel::Generic::keys<Mib, &Mib::mplsTunnelTable>,
                         .size = Vel::Generic::size<Mib, &Mib::mplsTunnelTable>},
      Vel::AttributeInfo{.id = Mib::attrMplsTunnelHopTable,
                         .name = "mplsTunnelHopTable",
                         .get = hopRow,
                         .set = method<&Mib::mplsTunnelHopTableIs>,
                         .del = method<static_cast<HopRowDel>(&Mib::mplsTunnelHopTableDel)>,
                         .keys = Vel::Generic::keys<Mib, &Mib::mplsTunnelHopTable>,
                         .size = Vel::Generic::size<Mib, &Mib::mplsTunnelHopTable>},
      Vel::AttributeInfo{.id = Mib::attrNumAllocator,
                         .name = "numAllocator",
                         .get = method<&Mib::numAllocator>,
                         .set = method<&Mib::numAllocatorIs>,
                         .del = method<&Mib::numAllocatorDel>},
      Vel::AttributeInfo{.id = Mib::attrNumAllocatorConfig,
                         .name = "numAllocatorConfig",
                         .get = method<&Mib::numAllocatorConfig>,
                         .set = method<&Mib::numAllocatorConfigIs>,
                         .del = method<&Mib::numAllocatorConfigDel>},
      Vel::AttributeInfo{.id = Mib::attrNumAllocatorStatus,
                         .name = "numAllocatorStatus",
                         .get = method<&Mib::numAllocatorStatus>,
                         .set = method<&Mib::numAllocatorStatusIs>,
                         .del = method<&Mib::numAllocatorStatusDel>},
      Vel::AttributeInfo{.name = "initNumAllocator", .invoke = method<&Mib::initNumAllocator>},
      Vel::AttributeInfo{.name = "getHopTableIndex", .invoke = method<&Mib::getHopTableIndex>},
      Vel::AttributeInfo{.name = "releaseHopTableIndex", .invoke = method<&Mib::releaseHopTableIndex>}};

}  // namespace

Vel::TypeInfo const& MplsTeMib::typeInfo() {
   static constexpr Vel::TypeInfo type{.name = kTypeName,
                                       .attributes = kAttributes,
                                       .construct = Vel::Generic::constructor<&mplsTeMibFactory>,
                                       .newEntityForDir = newEntityForDir};
   return type;
}

MplsTeMib::MplsTeMib(Vel::String name) : Entity(std::move(name)) {
   hasNotificationActiveIs(true);
   initNumAllocator();
}

Vel::Ptr<MplsTeMib> mplsTeMibFactory(Vel::String name) { return Vel::makePtr<MplsTeMib>(std::move(name)); }

void MplsTeMib::mplsTunnelTableIs(Vel::Ptr<MplsTunnelTableEntry const> const& row) {
   putRow(*this, attrMplsTunnelTable, "mplsTunnelTable", mplsTunnelTable_, row);
}

Vel::Ptr<MplsTunnelTableEntry const> MplsTeMib::mplsTunnelTableDel(MplsTunnelTableKey key) {
   return removeRow(*this, attrMplsTunnelTable, mplsTunnelTable_, key);
}

void MplsTeMib::mplsTunnelTableDelAll() {
   removeAllRows<MplsTunnelTableEntry>(*this, attrMplsTunnelTable, mplsTunnelTable_);
}

void MplsTeMib::mplsTunnelHopTableIs(Vel::Ptr<MplsTunnelHopTableEntry const> const& row) {
   putRow(*this, attrMplsTunnelHopTable, "mplsTunnelHopTable", mplsTunnelHopTable_, row);
}

Vel::Ptr<MplsTunnelHopTableEntry const> MplsTeMib::mplsTunnelHopTableDel(MplsTunnelHopTableKey key) {
   return removeRow(*this, attrMplsTunnelHopTable, mplsTunnelHopTable_, key);
}

void MplsTeMib::mplsTunnelHopTableDelAll() {
   removeAllRows<MplsTunnelHopTableEntry>(*this, attrMplsTunnelHopTable, mplsTunnelHopTable_);
}

void MplsTeMib::initNumAllocator() {
   traceHandle().traceFrom(8, "MplsSnmp", "initNumAllocator", "Enter void MplsSnmp::MplsTeMib::initNumAllocator()");
   numAllocatorConfigIs(kHopListIndices);
   numAllocatorStatusIs();
   numAllocatorIs(numAllocatorConfig_, numAllocatorStatus_, Orb::activityManager().clock());
}

std::uint32_t MplsTeMib::getHopTableIndex() const {
   Trel::fmassert(static_cast<bool>(numAllocator()), "numAllocator()");
   return static_cast<std::uint32_t>(numAllocator_->getNumber());
}

void MplsTeMib::releaseHopTableIndex(std::uint32_t index) const {
   Trel::fmassert(static_cast<bool>(numAllocator()), "numAllocator()");
   numAllocator_->releaseNumber(index);
}

void MplsTeMib::numAllocatorConfigIs(Orb::Range const& range) {
   needHopListIndices(range);
   Vel::setAttribute(*this, attrNumAllocatorConfig, numAllocatorConfig_, Vel::makePtr<Orb::NumAllocatorConfig>(range));
}
void MplsTeMib::numAllocatorConfigDel() {
   Vel::setAttribute(*this, attrNumAllocatorConfig, numAllocatorConfig_, nullptr);
}

void MplsTeMib::numAllocatorStatusIs() {
   Vel::setAttribute(*this, attrNumAllocatorStatus, numAllocatorStatus_, Vel::makePtr<Orb::NumAllocatorStatus>());
}
void MplsTeMib::numAllocatorStatusDel() {
   Vel::setAttribute(*this, attrNumAllocatorStatus, numAllocatorStatus_, nullptr);
}

void MplsTeMib::numAllocatorIs(Vel::Ptr<Orb::NumAllocatorConfig> const& config,
                               Vel::Ptr<Orb::NumAllocatorStatus> const& status, Vel::Ptr<Orb::Clock> const& clock) {
   refuseNull(config, "config");
   refuseNull(status, "status");
   refuseNull(clock, "clock");
   needHopListIndices(config->range());
   auto const allocator = Orb::NumAllocator::NumAllocatorIs(config, status, clock);
   allocator->hasNotificationActiveIs(true);
   Vel::setAttribute(*this, attrNumAllocator, numAllocator_, allocator);
}
void MplsTeMib::numAllocatorDel() { Vel::setAttribute(*this, attrNumAllocator, numAllocator_, nullptr); }

}  // namespace MplsSnmp
