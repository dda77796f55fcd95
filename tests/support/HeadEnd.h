// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "hoptable/HopTableHelper.h"
#include "inputs/rsvp/KelpStatus.h"
#include "inputs/rsvp/LerConfig.h"
#include "inputs/rsvp/LerHiveStatus.h"
#include "inputs/tallies/CounterTable.h"
#include "mib/MplsTeMib.h"

namespace TestSupport {

/// The inputs of a head end, written as its RSVP agent would write them, and the outputs of the module. Ids are given
/// in their text form.
class HeadEnd {
 public:
   Vel::Ptr<Rsvp::RsvpLerConfig> lerConfig = Vel::makePtr<Rsvp::RsvpLerConfig>("lerConfig");
   Vel::Ptr<Rsvp::RsvpLerHiveStatus> lerStatus = Vel::makePtr<Rsvp::RsvpLerHiveStatus>("lerStatus");
   Vel::Ptr<Rsvp::RsvpKelpStatus> kelpStatus = Vel::makePtr<Rsvp::RsvpKelpStatus>("kelpStatus");
   Vel::Ptr<Tallies::CounterTable> counterTable = Vel::makePtr<Tallies::CounterTable>("counters");
   Vel::Ptr<MplsSnmp::MplsTeMib> mib = MplsSnmp::mplsTeMibFactory("mplsTeMib");
   Vel::Ptr<MplsSnmp::HopTableHelper> hopTableHelper = MplsSnmp::hopTableHelperFactory();

   Vel::Ptr<Rsvp::RsvpLerSpIdMap> spIds = Vel::makePtr<Rsvp::RsvpLerSpIdMap>();
   Vel::Ptr<Rsvp::RsvpLerSubTunnelConfigCollTable> configs = Vel::makePtr<Rsvp::RsvpLerSubTunnelConfigCollTable>();
   Vel::Ptr<Rsvp::RsvpLerSubTunnelStatusCollTable> statuses = Vel::makePtr<Rsvp::RsvpLerSubTunnelStatusCollTable>();
   Vel::Ptr<Rsvp::RsvpLerLspRequestStatusCollTable> requests = Vel::makePtr<Rsvp::RsvpLerLspRequestStatusCollTable>();
   Vel::Ptr<Rsvp::RsvpSpStatusColl> spStatuses = Vel::makePtr<Rsvp::RsvpSpStatusColl>();
   Vel::Ptr<Rsvp::RsvpLerPathSpecCollTable> pathSpecs = Vel::makePtr<Rsvp::RsvpLerPathSpecCollTable>();

   HeadEnd() {
      lerStatus->spIdMapIs(spIds);
      lerStatus->subTunnelConfigCollTableIs(configs);
      lerStatus->subTunnelStatusCollTableIs(statuses);
      lerStatus->lspRequestStatusCollTableIs(requests);
      kelpStatus->spStatusCollIs(spStatuses);
      lerConfig->pathSpecCollTableIs(pathSpecs);
   }

   /// Everything that a row needs: the sub-tunnel `tunnel`, its active LSP `request`, and its sp id.
   void tunnelIs(std::string_view tunnel, std::string_view request, std::string_view spId) {
      configIs(tunnel);
      statusIs(tunnel, request);
      requestStatusIs(request);
      spStatusIs(spId);
      spIdIs(request, spId);
   }

   void spIdIs(std::string_view request, std::string_view spId) {
      spIds->spIdForLspRequestConfigIdIs(requestId(request), spIdOf(spId));
   }
   void spIdDel(std::string_view request) { spIds->spIdForLspRequestConfigIdDel(requestId(request)); }

   Vel::Ptr<Rsvp::RsvpLerSubTunnelConfig> configIs(std::string_view tunnel) {
      auto const id = subTunnelId(tunnel);
      auto const config = Vel::makePtr<Rsvp::RsvpLerSubTunnelConfig>(id);
      auto coll = Vel::Ptr(
            const_cast<Rsvp::RsvpLerSubTunnelConfigColl*>(configs->subTunnelConfigColl()[id.tunnelSpecId()].get()));
      if (!coll) {
         coll = Vel::makePtr<Rsvp::RsvpLerSubTunnelConfigColl>();
         configs->subTunnelConfigCollIs(id.tunnelSpecId(), coll);
      }
      coll->subTunnelConfigIs(id, config);
      return config;
   }
   void configDel(std::string_view tunnel) {
      auto const id = subTunnelId(tunnel);
      const_cast<Rsvp::RsvpLerSubTunnelConfigColl&>(*configs->subTunnelConfigColl()[id.tunnelSpecId()])
            .subTunnelConfigDel(id);
   }

   Vel::Ptr<Rsvp::RsvpLerSubTunnelStatus> statusIs(std::string_view tunnel, std::string_view activeLsp) {
      auto const id = subTunnelId(tunnel);
      auto const status = Vel::makePtr<Rsvp::RsvpLerSubTunnelStatus>(id);
      if (!activeLsp.empty()) status->activeLspIs(requestId(activeLsp));
      auto coll = Vel::Ptr(
            const_cast<Rsvp::RsvpLerSubTunnelStatusColl*>(statuses->subTunnelStatusColl()[id.tunnelSpecId()].get()));
      if (!coll) {
         coll = Vel::makePtr<Rsvp::RsvpLerSubTunnelStatusColl>();
         statuses->subTunnelStatusCollIs(id.tunnelSpecId(), coll);
      }
      coll->subTunnelStatusIs(id, status);
      return status;
   }
   void statusDel(std::string_view tunnel) {
      auto const id = subTunnelId(tunnel);
      const_cast<Rsvp::RsvpLerSubTunnelStatusColl&>(*statuses->subTunnelStatusColl()[id.tunnelSpecId()])
            .subTunnelStatusDel(id);
   }

   Vel::Ptr<Rsvp::RsvpLerLspRequestStatus> requestStatusIs(std::string_view request) {
      auto const id = requestId(request);
      auto const status = Vel::makePtr<Rsvp::RsvpLerLspRequestStatus>(id);
      auto coll = Vel::Ptr(const_cast<Rsvp::RsvpLerLspRequestStatusCollForLspGroup*>(
            requests->lspRequestStatusColl()[id.lspGroupId].get()));
      if (!coll) {
         coll = Vel::makePtr<Rsvp::RsvpLerLspRequestStatusCollForLspGroup>();
         requests->lspRequestStatusCollIs(id.lspGroupId, coll);
      }
      coll->lspRequestStatusIs(id, status);
      return status;
   }
   void requestStatusDel(std::string_view request) {
      auto const id = requestId(request);
      const_cast<Rsvp::RsvpLerLspRequestStatusCollForLspGroup&>(*requests->lspRequestStatusColl()[id.lspGroupId])
            .lspRequestStatusDel(id);
   }

   Vel::Ptr<Rsvp::RsvpSpStatus> spStatusIs(std::string_view spId) {
      auto const status = Vel::makePtr<Rsvp::RsvpSpStatus>(spIdOf(spId));
      spStatuses->spStatusIs(spIdOf(spId), status);
      return status;
   }
   void spStatusDel(std::string_view spId) { spStatuses->spStatusDel(spIdOf(spId)); }

   static Rsvp::RsvpLerSubTunnelConfigId subTunnelId(std::string_view text) {
      return Rsvp::RsvpLerSubTunnelConfigId::fromText(text);
   }
   static Rsvp::RsvpLerLspRequestConfigId requestId(std::string_view text) {
      return Rsvp::RsvpLerLspRequestConfigId::fromText(text);
   }
   static Rsvp::RsvpSpId spIdOf(std::string_view text) { return Rsvp::RsvpSpId::fromText(text); }

   /// The row of an sp id, or null.
   Vel::Ptr<MplsSnmp::MplsTunnelTableEntry const> row(std::string_view spId) const {
      auto const id = spIdOf(spId);
      auto const hostOrder = [](Lanu::IpGenAddr const& address) {
         auto const octets = address.octets();
         std::uint32_t number = 0;
         for (unsigned char const octet : octets) number = number << 8U | octet;
         return number;
      };
      return mib->mplsTunnelTable()[{id.session.tunnelId, id.sender.lspId, hostOrder(id.sender.address),
                                     hostOrder(id.session.destination)}];
   }
};

}  // namespace TestSupport
