// SPDX-License-Identifier: MIT
#include "hoptable/HopTableHelper.h"

#include <algorithm>
#include <array>
#include <vector>

#include "hoptable/Types.h"
#include "substrate/flo/Turn.h"
#include "substrate/vel/Generic.h"
#include "substrate/vel/Mutators.h"

namespace MplsSnmp {

namespace {

using Helper = HopTableHelper;

constexpr std::string_view kTypeName = "MplsSnmp::HopTableHelper";
constexpr std::string_view kEntries = "pathSpecCollTableSm";

constexpr std::array kAttributes{Vel::AttributeInfo{
      .id = Helper::attrPathSpecCollTableSm,
      .name = kEntries,
      .get = Vel::Generic::method<static_cast<Vel::Ptr<PathSpecCollTableSm> (Helper::*)(std::uint32_t) const>(
            &Helper::pathSpecCollTableSm)>,
      .set = Vel::Generic::method<&Helper::pathSpecCollTableSmIs>,
      .del = Vel::Generic::method<&Helper::pathSpecCollTableSmDel>,
      .keys = Vel::Generic::keys<Helper, static_cast<Helper::Entries const& (Helper::*)() const>(
                                               &Helper::pathSpecCollTableSm)>}};

template <class T>
void refuseNull(Vel::Ptr<T> const& input, std::string_view argument) {
   if (!input) Vel::throwMutatorArgNullPointerException(kTypeName, kEntries, argument);
}

template <class T>
void refuseOther(Vel::Ptr<T> const& existing, Vel::Ptr<T> const& input, std::string_view argument) {
   if (existing != input) Vel::throwMutatorReinstantiating(kTypeName, kEntries, argument);
}

/// Those that there are: few, one as a rule.
std::vector<HopTableHelper*>& helpers() {
   static std::vector<HopTableHelper*> all;
   return all;
}

}  // namespace

Vel::TypeInfo const& HopTableHelper::typeInfo() {
   static constexpr Vel::TypeInfo type{.name = kTypeName,
                                       .attributes = kAttributes,
                                       .construct = Vel::Generic::constructor<&HopTableHelper::HopTableHelperIs>};
   return type;
}

std::span<Vel::TypeInfo const* const> hopTableHelperTypes() {
   static std::array<Vel::TypeInfo const*, 1> const types{&HopTableHelper::typeInfo()};
   return types;
}

Vel::Ptr<HopTableHelper> HopTableHelper::HopTableHelperIs() {
   Vel::Ptr<HopTableHelper> const helper(new HopTableHelper);
   helper->hasNotificationActiveIs(true);
   return helper;
}

Vel::Ptr<HopTableHelper> hopTableHelperFactory() { return HopTableHelper::HopTableHelperIs(); }

HopTableHelper::HopTableHelper() { helpers().push_back(this); }

HopTableHelper::~HopTableHelper() {
   // Known as a helper until its last entry has gone: an observer of the hop rows may have another take a list over.
   pathSpecCollTableSmDelAll();
   std::erase(helpers(), this);
}

Vel::Ptr<PathSpecCollTableSm> HopTableHelper::pathSpecCollTableSmIs(std::uint32_t hopTableIndex,
                                                                    LerConfigPtr const& lerConfig,
                                                                    SubTunnelStatusPtr const& subTunnelStatus,
                                                                    SubTunnelConfigPtr const& subTunnelConfig,
                                                                    MplsTeMibPtr const& mplsTeMib) {
   refuseNull(lerConfig, "lerConfig");
   refuseNull(subTunnelStatus, "subTunnelStatus");
   refuseNull(subTunnelConfig, "subTunnelConfig");
   refuseNull(mplsTeMib, "mplsTeMib");
   if (auto const existing = pathSpecCollTableSm(hopTableIndex)) {
      refuseOther(existing->lerConfig(), lerConfig, "lerConfig");
      refuseOther(existing->subTunnelStatus(), subTunnelStatus, "subTunnelStatus");
      refuseOther(existing->subTunnelConfig(), subTunnelConfig, "subTunnelConfig");
      refuseOther(existing->mplsTeMib(), mplsTeMib, "mplsTeMib");
      return existing;
   }
   // What observers of the hop rows set off waits until the entry stands under its index.
   return Flo::Turn::hold([&] {
      auto const entry =
            pathSpecCollTableSmFactory(hopTableIndex, lerConfig, subTunnelStatus, subTunnelConfig, mplsTeMib);
      if (pathSpecCollTableSm_.contains(hopTableIndex)) {
         // An observer of the hop rows has been quicker.
         entry->retire();
         return pathSpecCollTableSmIs(hopTableIndex, lerConfig, subTunnelStatus, subTunnelConfig, mplsTeMib);
      }
      Vel::setMember(*this, attrPathSpecCollTableSm, pathSpecCollTableSm_, hopTableIndex, entry);
      return entry;
   });
}

bool HopTableHelper::otherKeepersDel(std::uint32_t hopTableIndex, MplsTeMibPtr const& mplsTeMib) const {
   // A copy: the observers of the hop rows may make helpers and let others go.
   bool found = false;
   std::vector<HopTableHelper*> const all = helpers();
   for (HopTableHelper* const helper : all) {
      if (helper == this || std::ranges::find(helpers(), helper) == helpers().end()) continue;
      Vel::Ptr<HopTableHelper> const keep(helper);
      auto const entry = helper->pathSpecCollTableSm(hopTableIndex);
      if (entry && entry->mplsTeMib() == mplsTeMib) found |= helper->pathSpecCollTableSmDel(hopTableIndex) != nullptr;
   }
   return found;
}

Vel::Ptr<PathSpecCollTableSm> HopTableHelper::pathSpecCollTableSmDel(std::uint32_t hopTableIndex) {
   // An observer of the hop rows may drop the helper.
   Vel::Ptr<HopTableHelper> const keep(this);
   auto const entry = pathSpecCollTableSm(hopTableIndex);
   if (!entry) return nullptr;
   pathSpecCollTableSm_.erase(hopTableIndex);
   entry->hasNotificationActiveIs(false);
   entry->retire();
   // Told when the hop rows have gone: what somebody then puts under the index, here or in another helper, is its own.
   visit(attrPathSpecCollTableSm, hopTableIndex);
   return entry;
}

void HopTableHelper::pathSpecCollTableSmDelAll() {
   Vel::Ptr<HopTableHelper> const keep(this);
   auto const last = pathSpecCollTableSm_.lastBookmark();
   for (auto at = pathSpecCollTableSm_.begin(); at != pathSpecCollTableSm_.end() && at.bookmark() <= last; ++at) {
      pathSpecCollTableSmDel(at->key);
   }
}

}  // namespace MplsSnmp
