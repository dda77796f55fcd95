// SPDX-License-Identifier: MIT
/// Status of the head end as its agent publishes it:
///
///   RsvpLerHiveStatus
///     .spIdMap                    -> .spIdForLspRequestConfigId[LSP request] = sp id
///     .subTunnelConfigCollTable   -> .subTunnelConfigColl[tunnel spec] -> .subTunnelConfig[sub-tunnel]
///     .subTunnelStatusCollTable   -> .subTunnelStatusColl[tunnel spec] -> .subTunnelStatus[sub-tunnel]
///     .lspRequestStatusCollTable  -> .lspRequestStatusColl[LSP group]  -> .lspRequestStatus[LSP request]
///     .tunnelIndexMap             -> .tunnelIndexForTunnelSpecId[tunnel spec] = index
///     .subTunnelIndexMap          -> .tunnelIndexForSubTunnelConfigId[sub-tunnel] = index
///
/// Any of the pointers may be null. All collections replace a member that is set again.
#pragma once

#include "inputs/rsvp/Ids.h"
#include "inputs/rsvp/SubTunnel.h"
#include "substrate/vel/Entity.h"
#include "substrate/vel/HashMap2018.h"
#include "substrate/vel/Mutators.h"

namespace Rsvp {

/// An observable object with the one keyed collection that all levels of the published state have in common. The
/// classes below name it as their attribute.
template <class K, class V>
class KeyedCollection : public Vel::PtrInterface {
 public:
   using Key = K;
   using Map = Vel::HashMap2018<K, V>;
   enum : Vel::AttributeId { attrMember = 1 };

   KeyedCollection() { hasNotificationActiveIs(true); }

 protected:
   Map const& members() const { return members_; }
   void memberIs(K const& key, V const& value) { Vel::setMember(*this, attrMember, members_, key, value); }
   void memberDel(K const& key) { Vel::delMember(*this, attrMember, members_, key); }

 private:
   Map members_;
};

class RsvpLerSpIdMap : public KeyedCollection<RsvpLerLspRequestConfigId, RsvpSpId> {
 public:
   Map const& spIdForLspRequestConfigId() const { return members(); }
   void spIdForLspRequestConfigIdIs(Key const& id, RsvpSpId const& spId) { memberIs(id, spId); }
   void spIdForLspRequestConfigIdDel(Key const& id) { memberDel(id); }
};

class RsvpLerSubTunnelConfigColl
      : public KeyedCollection<RsvpLerSubTunnelConfigId, Vel::Ptr<RsvpLerSubTunnelConfig const>> {
 public:
   Map const& subTunnelConfig() const { return members(); }
   void subTunnelConfigIs(Key const& id, Vel::Ptr<RsvpLerSubTunnelConfig const> const& config) { memberIs(id, config); }
   void subTunnelConfigDel(Key const& id) { memberDel(id); }
};

class RsvpLerSubTunnelConfigCollTable
      : public KeyedCollection<RsvpLerTunnelSpecId, Vel::Ptr<RsvpLerSubTunnelConfigColl const>> {
 public:
   Map const& subTunnelConfigColl() const { return members(); }
   void subTunnelConfigCollIs(Key const& id, Vel::Ptr<RsvpLerSubTunnelConfigColl const> const& coll) {
      memberIs(id, coll);
   }
   void subTunnelConfigCollDel(Key const& id) { memberDel(id); }
};

class RsvpLerSubTunnelStatusColl
      : public KeyedCollection<RsvpLerSubTunnelConfigId, Vel::Ptr<RsvpLerSubTunnelStatus const>> {
 public:
   Map const& subTunnelStatus() const { return members(); }
   void subTunnelStatusIs(Key const& id, Vel::Ptr<RsvpLerSubTunnelStatus const> const& status) { memberIs(id, status); }
   void subTunnelStatusDel(Key const& id) { memberDel(id); }
};

class RsvpLerSubTunnelStatusCollTable
      : public KeyedCollection<RsvpLerTunnelSpecId, Vel::Ptr<RsvpLerSubTunnelStatusColl const>> {
 public:
   Map const& subTunnelStatusColl() const { return members(); }
   void subTunnelStatusCollIs(Key const& id, Vel::Ptr<RsvpLerSubTunnelStatusColl const> const& coll) {
      memberIs(id, coll);
   }
   void subTunnelStatusCollDel(Key const& id) { memberDel(id); }
};

class RsvpLerLspRequestStatusCollForLspGroup
      : public KeyedCollection<RsvpLerLspRequestConfigId, Vel::Ptr<RsvpLerLspRequestStatus const>> {
 public:
   Map const& lspRequestStatus() const { return members(); }
   void lspRequestStatusIs(Key const& id, Vel::Ptr<RsvpLerLspRequestStatus const> const& status) {
      memberIs(id, status);
   }
   void lspRequestStatusDel(Key const& id) { memberDel(id); }
};

class RsvpLerLspRequestStatusCollTable
      : public KeyedCollection<RsvpLerLspGroupId, Vel::Ptr<RsvpLerLspRequestStatusCollForLspGroup const>> {
 public:
   Map const& lspRequestStatusColl() const { return members(); }
   void lspRequestStatusCollIs(Key const& id, Vel::Ptr<RsvpLerLspRequestStatusCollForLspGroup const> const& coll) {
      memberIs(id, coll);
   }
   void lspRequestStatusCollDel(Key const& id) { memberDel(id); }
};

class RsvpLerTunnelIndexMap : public KeyedCollection<RsvpLerTunnelSpecId, std::uint32_t> {
 public:
   Map const& tunnelIndexForTunnelSpecId() const { return members(); }
   void tunnelIndexForTunnelSpecIdIs(Key const& id, std::uint32_t index) { memberIs(id, index); }
   void tunnelIndexForTunnelSpecIdDel(Key const& id) { memberDel(id); }
};

class RsvpLerSubTunnelIndexMap : public KeyedCollection<RsvpLerSubTunnelConfigId, std::uint32_t> {
 public:
   Map const& tunnelIndexForSubTunnelConfigId() const { return members(); }
   void tunnelIndexForSubTunnelConfigIdIs(Key const& id, std::uint32_t index) { memberIs(id, index); }
   void tunnelIndexForSubTunnelConfigIdDel(Key const& id) { memberDel(id); }
};

class RsvpLerHiveStatus : public Vel::Entity {
 public:
   enum : Vel::AttributeId {
      attrSpIdMap = 1,
      attrSubTunnelConfigCollTable,
      attrSubTunnelStatusCollTable,
      attrLspRequestStatusCollTable,
      attrTunnelIndexMap,
      attrSubTunnelIndexMap
   };

   explicit RsvpLerHiveStatus(Vel::String name) : Entity(std::move(name)) { hasNotificationActiveIs(true); }

   Vel::Ptr<RsvpLerSpIdMap const> const& spIdMap() const { return spIdMap_; }
   void spIdMapIs(Vel::Ptr<RsvpLerSpIdMap const> const& map) { Vel::setAttribute(*this, attrSpIdMap, spIdMap_, map); }

   Vel::Ptr<RsvpLerSubTunnelConfigCollTable const> const& subTunnelConfigCollTable() const {
      return subTunnelConfigCollTable_;
   }
   void subTunnelConfigCollTableIs(Vel::Ptr<RsvpLerSubTunnelConfigCollTable const> const& table) {
      Vel::setAttribute(*this, attrSubTunnelConfigCollTable, subTunnelConfigCollTable_, table);
   }

   Vel::Ptr<RsvpLerSubTunnelStatusCollTable const> const& subTunnelStatusCollTable() const {
      return subTunnelStatusCollTable_;
   }
   void subTunnelStatusCollTableIs(Vel::Ptr<RsvpLerSubTunnelStatusCollTable const> const& table) {
      Vel::setAttribute(*this, attrSubTunnelStatusCollTable, subTunnelStatusCollTable_, table);
   }

   Vel::Ptr<RsvpLerLspRequestStatusCollTable const> const& lspRequestStatusCollTable() const {
      return lspRequestStatusCollTable_;
   }
   void lspRequestStatusCollTableIs(Vel::Ptr<RsvpLerLspRequestStatusCollTable const> const& table) {
      Vel::setAttribute(*this, attrLspRequestStatusCollTable, lspRequestStatusCollTable_, table);
   }

   Vel::Ptr<RsvpLerTunnelIndexMap const> const& tunnelIndexMap() const { return tunnelIndexMap_; }
   void tunnelIndexMapIs(Vel::Ptr<RsvpLerTunnelIndexMap const> const& map) {
      Vel::setAttribute(*this, attrTunnelIndexMap, tunnelIndexMap_, map);
   }

   Vel::Ptr<RsvpLerSubTunnelIndexMap const> const& subTunnelIndexMap() const { return subTunnelIndexMap_; }
   void subTunnelIndexMapIs(Vel::Ptr<RsvpLerSubTunnelIndexMap const> const& map) {
      Vel::setAttribute(*this, attrSubTunnelIndexMap, subTunnelIndexMap_, map);
   }

 private:
   Vel::Ptr<RsvpLerSpIdMap const> spIdMap_;
   Vel::Ptr<RsvpLerSubTunnelConfigCollTable const> subTunnelConfigCollTable_;
   Vel::Ptr<RsvpLerSubTunnelStatusCollTable const> subTunnelStatusCollTable_;
   Vel::Ptr<RsvpLerLspRequestStatusCollTable const> lspRequestStatusCollTable_;
   Vel::Ptr<RsvpLerTunnelIndexMap const> tunnelIndexMap_;
   Vel::Ptr<RsvpLerSubTunnelIndexMap const> subTunnelIndexMap_;
};

}  // namespace Rsvp
