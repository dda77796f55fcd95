// SPDX-License-Identifier: MIT
/// The inputs of the derivation: which collections each stream follows, level by level, and where its events go. This
/// page and the streams' handlers (Streams.cpp) are the whole wiring.
#pragma once

#include <string_view>
#include <tuple>

#include "inputs/rsvp/KelpStatus.h"
#include "inputs/rsvp/LerHiveStatus.h"
#include "substrate/vel/Optional.h"

namespace MplsSnmp {
class RsvpSnmpSubTunnelStatusSm;
}

namespace MplsSnmp::FloCode::RsvpSnmpSubTunnelStatusSm {

/// What a level of an input path watches.
enum class Watch {
   pointer,     ///< an attribute that points to the next level's object
   collection,  ///< a keyed collection of the next level's objects
   members,     ///< leaf: a keyed collection; each member is an event
   value        ///< leaf: an attribute; its value is the event
};

/// A level that follows the pointer attribute `Getter` of `Entity`.
template <class Entity, auto Getter, Vel::AttributeId Attribute>
struct PointerLevel {
   static constexpr Watch watch = Watch::pointer;
   using Input = Entity;
   static constexpr Vel::AttributeId attribute = Attribute;
   static auto const& read(Entity const& entity) { return (entity.*Getter)(); }
};

/// A level that follows the keyed collection `Getter` of `Entity`.
template <class Entity, auto Getter, Watch Kind>
struct KeyedLevel {
   static constexpr Watch watch = Kind;
   using Input = Entity;
   using Key = typename Entity::Key;
   static constexpr Vel::AttributeId attribute = Entity::attrMember;
   static auto const& read(Entity const& entity) { return (entity.*Getter)(); }
};

using LerStatus = Rsvp::RsvpLerHiveStatus;

// spIdMap.spIdForLspRequestConfigId[]

struct SpIdMapLevel : PointerLevel<LerStatus, &LerStatus::spIdMap, LerStatus::attrSpIdMap> {
   static constexpr std::string_view className = "SpIdMapSm13", attributeName = "spIdMap";
};
struct SpIdForLspRequestConfigIdLevel
      : KeyedLevel<Rsvp::RsvpLerSpIdMap, &Rsvp::RsvpLerSpIdMap::spIdForLspRequestConfigId, Watch::members> {
   static constexpr std::string_view className = "SpIdForLspRequestConfigIdSm14",
                                     attributeName = "spIdForLspRequestConfigId";
};

// spStatusColl.spStatus[]

struct SpStatusCollLevel : PointerLevel<Rsvp::RsvpKelpStatus, &Rsvp::RsvpKelpStatus::spStatusColl,
                                        Rsvp::RsvpKelpStatus::attrSpStatusColl> {
   static constexpr std::string_view className = "SpStatusCollSm11", attributeName = "spStatusColl";
};
struct SpStatusLevel : KeyedLevel<Rsvp::RsvpSpStatusColl, &Rsvp::RsvpSpStatusColl::spStatus, Watch::members> {
   static constexpr std::string_view className = "SpStatusSm12", attributeName = "spStatus";
};

// subTunnelConfigCollTable.subTunnelConfigColl[].subTunnelConfig[]

struct SubTunnelConfigCollTableLevel
      : PointerLevel<LerStatus, &LerStatus::subTunnelConfigCollTable, LerStatus::attrSubTunnelConfigCollTable> {
   static constexpr std::string_view className = "SubTunnelConfigCollTableSm5",
                                     attributeName = "subTunnelConfigCollTable";
};
struct SubTunnelConfigCollLevel
      : KeyedLevel<Rsvp::RsvpLerSubTunnelConfigCollTable, &Rsvp::RsvpLerSubTunnelConfigCollTable::subTunnelConfigColl,
                   Watch::collection> {
   static constexpr std::string_view className = "SubTunnelConfigCollSm6", attributeName = "subTunnelConfigColl";
};
struct SubTunnelConfigLevel : KeyedLevel<Rsvp::RsvpLerSubTunnelConfigColl,
                                         &Rsvp::RsvpLerSubTunnelConfigColl::subTunnelConfig, Watch::members> {
   static constexpr std::string_view className = "SubTunnelConfigSm7", attributeName = "subTunnelConfig";
};

// lspRequestStatusCollTable.lspRequestStatusColl[].lspRequestStatus[]

struct LspRequestStatusCollTableLevel
      : PointerLevel<LerStatus, &LerStatus::lspRequestStatusCollTable, LerStatus::attrLspRequestStatusCollTable> {
   static constexpr std::string_view className = "LspRequestStatusCollTableSm8",
                                     attributeName = "lspRequestStatusCollTable";
};
struct LspRequestStatusCollLevel
      : KeyedLevel<Rsvp::RsvpLerLspRequestStatusCollTable,
                   &Rsvp::RsvpLerLspRequestStatusCollTable::lspRequestStatusColl, Watch::collection> {
   static constexpr std::string_view className = "LspRequestStatusCollSm9", attributeName = "lspRequestStatusColl";
};
struct LspRequestStatusLevel
      : KeyedLevel<Rsvp::RsvpLerLspRequestStatusCollForLspGroup,
                   &Rsvp::RsvpLerLspRequestStatusCollForLspGroup::lspRequestStatus, Watch::members> {
   static constexpr std::string_view className = "LspRequestStatusSm10", attributeName = "lspRequestStatus";
};

// subTunnelStatusCollTable.subTunnelStatusColl[].subTunnelStatus[].activeLsp

struct SubTunnelStatusCollTableLevel
      : PointerLevel<LerStatus, &LerStatus::subTunnelStatusCollTable, LerStatus::attrSubTunnelStatusCollTable> {
   static constexpr std::string_view className = "SubTunnelStatusCollTableSm1",
                                     attributeName = "subTunnelStatusCollTable";
};
struct SubTunnelStatusCollLevel
      : KeyedLevel<Rsvp::RsvpLerSubTunnelStatusCollTable, &Rsvp::RsvpLerSubTunnelStatusCollTable::subTunnelStatusColl,
                   Watch::collection> {
   static constexpr std::string_view className = "SubTunnelStatusCollSm2", attributeName = "subTunnelStatusColl";
};
struct SubTunnelStatusLevel : KeyedLevel<Rsvp::RsvpLerSubTunnelStatusColl,
                                         &Rsvp::RsvpLerSubTunnelStatusColl::subTunnelStatus, Watch::collection> {
   static constexpr std::string_view className = "SubTunnelStatusSm3", attributeName = "subTunnelStatus";
};
struct ActiveLspLevel {
   static constexpr Watch watch = Watch::value;
   using Input = Rsvp::RsvpLerSubTunnelStatus;
   static constexpr Vel::AttributeId attribute = Input::attrActiveLsp;
   static constexpr std::string_view className = "ActiveLspSm4", attributeName = "activeLsp";
   static Vel::Optional<Rsvp::RsvpLerLspRequestConfigId> read(Input const& status) {
      if (!status.activeLsp().isSet()) return Vel::None;
      return status.activeLsp();
   }
};

/// An input path: its levels, the owner's handler for its events, what becomes of an event whose watcher has been let
/// go before its turn came, and the owner's flag that its scan is done. (Definitions in Delivery.cpp.)
using Owner = MplsSnmp::RsvpSnmpSubTunnelStatusSm;

struct SpidPath {
   using Levels = std::tuple<SpIdMapLevel, SpIdForLspRequestConfigIdLevel>;
   static void deliver(Owner& owner, Rsvp::RsvpLerLspRequestConfigId const& id,
                       Vel::Optional<Rsvp::RsvpSpId> const& spId);
   static void missed(Owner& owner, std::string_view attribute, Rsvp::RsvpLerLspRequestConfigId const& id);
   static void scanComplete(Owner& owner);
};
struct SpsPath {
   using Levels = std::tuple<SpStatusCollLevel, SpStatusLevel>;
   static void deliver(Owner& owner, Rsvp::RsvpSpId const& spId,
                       Vel::Optional<Vel::Ptr<Rsvp::RsvpSpStatus const>> const& status);
   static void missed(Owner& owner, std::string_view attribute, Rsvp::RsvpSpId const& spId);
   static void scanComplete(Owner& owner);
};
struct StcPath {
   using Levels = std::tuple<SubTunnelConfigCollTableLevel, SubTunnelConfigCollLevel, SubTunnelConfigLevel>;
   static void deliver(Owner& owner, Rsvp::RsvpLerTunnelSpecId const& tunnel, Rsvp::RsvpLerSubTunnelConfigId const& id,
                       Vel::Optional<Vel::Ptr<Rsvp::RsvpLerSubTunnelConfig const>> const& config);
   static void missed(Owner& owner, std::string_view attribute, Rsvp::RsvpLerTunnelSpecId const& tunnel,
                      Rsvp::RsvpLerSubTunnelConfigId const& id);
   static void scanComplete(Owner& owner);
};
struct LrsPath {
   using Levels = std::tuple<LspRequestStatusCollTableLevel, LspRequestStatusCollLevel, LspRequestStatusLevel>;
   static void deliver(Owner& owner, Rsvp::RsvpLerLspGroupId const& group, Rsvp::RsvpLerLspRequestConfigId const& id,
                       Vel::Optional<Vel::Ptr<Rsvp::RsvpLerLspRequestStatus const>> const& status);
   static void missed(Owner& owner, std::string_view attribute, Rsvp::RsvpLerLspGroupId const& group,
                      Rsvp::RsvpLerLspRequestConfigId const& id);
   static void scanComplete(Owner& owner);
};
struct StsPath {
   using Levels =
         std::tuple<SubTunnelStatusCollTableLevel, SubTunnelStatusCollLevel, SubTunnelStatusLevel, ActiveLspLevel>;
   static void deliver(Owner& owner, Rsvp::RsvpLerTunnelSpecId const& tunnel, Rsvp::RsvpLerSubTunnelConfigId const& id,
                       Vel::Optional<Rsvp::RsvpLerLspRequestConfigId> const& activeLsp);
   static void missed(Owner& owner, std::string_view attribute, Rsvp::RsvpLerTunnelSpecId const& tunnel,
                      Rsvp::RsvpLerSubTunnelConfigId const& id);
   static void scanComplete(Owner& owner);
};

}  // namespace MplsSnmp::FloCode::RsvpSnmpSubTunnelStatusSm
