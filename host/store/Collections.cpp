// SPDX-License-Identifier: MIT
/// The tables of the state document: which collections there are, where they live, and the attributes of their entries.
#include "host/store/Collections.h"

#include "host/store/TypedCollection.h"

namespace Store {

namespace {

using namespace Rsvp;

using PathSpec = RsvpLerPathSpec;
constexpr std::array kPathSpecAttributes{
      attribute<PathSpec, Property<&PathSpec::name, &PathSpec::nameIs>, PathSpecName>("name"),
      attribute<PathSpec, Property<&PathSpec::type, &PathSpec::typeIs>, PathSpecType>("type"),
};

using Config = RsvpLerSubTunnelConfig;
constexpr std::array kSubTunnelConfigAttributes{
      attribute<Config, Property<&Config::primaryPathSpecId, &Config::primaryPathSpecIdIs>, IdText<RsvpLerPathSpecId>>(
            "primaryPathSpec"),
      attribute<Config, Property<&Config::secondaryPathSpecId, &Config::secondaryPathSpecIdIs>,
                IdText<RsvpLerPathSpecId>>("secondaryPathSpec"),
      attribute<Config, Property<&Config::fastReroute, &Config::fastRerouteIs>, Flag>("fastReroute"),
};

using Status = RsvpLerSubTunnelStatus;
constexpr std::array kSubTunnelStatusAttributes{
      attribute<Status, Property<&Status::up, &Status::upIs>, Flag>("up"),
      attribute<Status, Property<&Status::pathChanges, &Status::pathChangesIs>, Number<std::uint32_t>>("pathChanges"),
      attribute<Status, Property<&Status::stateTransitions, &Status::stateTransitionsIs>, Number<std::uint32_t>>(
            "stateTransitions"),
      attribute<Status, Property<&Status::activeLsp, &Status::activeLspIs>, IdText<RsvpLerLspRequestConfigId>>(
            "activeLsp"),
      attribute<Status, Property<&Status::activePath, &Status::activePathIs>, Path>("activePath"),
};

using RequestStatus = RsvpLerLspRequestStatus;
constexpr std::array kLspRequestStatusAttributes{
      attribute<RequestStatus, Property<&RequestStatus::errors, &RequestStatus::errorsIs>, Errors>("errors"),
};

using SpStatus = RsvpSpStatus;
using Session = RsvpSessionAttribute;
constexpr std::array kSpStatusAttributes{
      attribute<SpStatus, SessionField<&Session::setupPriority>, Number<std::uint16_t>>("setupPriority"),
      attribute<SpStatus, SessionField<&Session::holdingPriority>, Number<std::uint8_t>>("holdingPriority"),
      attribute<SpStatus, SessionField<&Session::excludeAny>, Number<std::uint32_t>>("excludeAny"),
      attribute<SpStatus, SessionField<&Session::includeAny>, Number<std::uint32_t>>("includeAny"),
      attribute<SpStatus, SessionField<&Session::includeAll>, Number<std::uint32_t>>("includeAll"),
      attribute<SpStatus, Property<&SpStatus::upSince, &SpStatus::upSinceIs>, Time>("upSince"),
};

using PathSpecHome =
      NestedHome<Level<RsvpLerPathSpecCollTable, &RsvpLerPathSpecCollTable::pathSpecColl,
                       &RsvpLerPathSpecCollTable::pathSpecCollIs, &RsvpLerPathSpecCollTable::pathSpecCollDel>,
                 Level<RsvpLerPathSpecCollForSource, &RsvpLerPathSpecCollForSource::pathSpec,
                       &RsvpLerPathSpecCollForSource::pathSpecIs, &RsvpLerPathSpecCollForSource::pathSpecDel>,
                 &RsvpLerPathSpecId::source>;

using SubTunnelConfigHome =
      NestedHome<Level<RsvpLerSubTunnelConfigCollTable, &RsvpLerSubTunnelConfigCollTable::subTunnelConfigColl,
                       &RsvpLerSubTunnelConfigCollTable::subTunnelConfigCollIs,
                       &RsvpLerSubTunnelConfigCollTable::subTunnelConfigCollDel>,
                 Level<RsvpLerSubTunnelConfigColl, &RsvpLerSubTunnelConfigColl::subTunnelConfig,
                       &RsvpLerSubTunnelConfigColl::subTunnelConfigIs, &RsvpLerSubTunnelConfigColl::subTunnelConfigDel>,
                 &RsvpLerSubTunnelConfigId::tunnelSpecId>;

using SubTunnelStatusHome =
      NestedHome<Level<RsvpLerSubTunnelStatusCollTable, &RsvpLerSubTunnelStatusCollTable::subTunnelStatusColl,
                       &RsvpLerSubTunnelStatusCollTable::subTunnelStatusCollIs,
                       &RsvpLerSubTunnelStatusCollTable::subTunnelStatusCollDel>,
                 Level<RsvpLerSubTunnelStatusColl, &RsvpLerSubTunnelStatusColl::subTunnelStatus,
                       &RsvpLerSubTunnelStatusColl::subTunnelStatusIs, &RsvpLerSubTunnelStatusColl::subTunnelStatusDel>,
                 &RsvpLerSubTunnelConfigId::tunnelSpecId>;

using LspRequestStatusHome = NestedHome<
      Level<RsvpLerLspRequestStatusCollTable, &RsvpLerLspRequestStatusCollTable::lspRequestStatusColl,
            &RsvpLerLspRequestStatusCollTable::lspRequestStatusCollIs,
            &RsvpLerLspRequestStatusCollTable::lspRequestStatusCollDel>,
      Level<RsvpLerLspRequestStatusCollForLspGroup, &RsvpLerLspRequestStatusCollForLspGroup::lspRequestStatus,
            &RsvpLerLspRequestStatusCollForLspGroup::lspRequestStatusIs,
            &RsvpLerLspRequestStatusCollForLspGroup::lspRequestStatusDel>,
      &RsvpLerLspRequestConfigId::lspGroupId>;

using SpIdHome =
      FlatHome<Level<RsvpLerSpIdMap, &RsvpLerSpIdMap::spIdForLspRequestConfigId,
                     &RsvpLerSpIdMap::spIdForLspRequestConfigIdIs, &RsvpLerSpIdMap::spIdForLspRequestConfigIdDel>>;

using SpStatusHome = FlatHome<Level<RsvpSpStatusColl, &RsvpSpStatusColl::spStatus, &RsvpSpStatusColl::spStatusIs,
                                    &RsvpSpStatusColl::spStatusDel>>;

using TunnelIndexHome = FlatHome<Level<RsvpLerTunnelIndexMap, &RsvpLerTunnelIndexMap::tunnelIndexForTunnelSpecId,
                                       &RsvpLerTunnelIndexMap::tunnelIndexForTunnelSpecIdIs,
                                       &RsvpLerTunnelIndexMap::tunnelIndexForTunnelSpecIdDel>>;

using SubTunnelIndexHome =
      FlatHome<Level<RsvpLerSubTunnelIndexMap, &RsvpLerSubTunnelIndexMap::tunnelIndexForSubTunnelConfigId,
                     &RsvpLerSubTunnelIndexMap::tunnelIndexForSubTunnelConfigIdIs,
                     &RsvpLerSubTunnelIndexMap::tunnelIndexForSubTunnelConfigIdDel>>;

/// A new `Coll`, given to its input by `set`, as a collection of the document.
template <class Home, class Content, class Coll, class Input>
std::unique_ptr<Collection> collection(std::string_view name, Input& input,
                                       void (Input::*set)(Vel::Ptr<Coll const> const&)) {
   auto const coll = Vel::makePtr<Coll>();
   (input.*set)(coll);
   return std::make_unique<TypedCollection<Home, Content>>(name, coll);
}

}  // namespace

std::vector<std::unique_ptr<Collection>> collectionsOf(RsvpLerConfig& config, RsvpLerHiveStatus& status,
                                                       RsvpKelpStatus& kelpStatus) {
   std::vector<std::unique_ptr<Collection>> all;
   all.push_back(collection<PathSpecHome, Objects<PathSpec, kPathSpecAttributes>>("pathSpec", config,
                                                                                  &RsvpLerConfig::pathSpecCollTableIs));
   all.push_back(collection<SubTunnelConfigHome, Objects<Config, kSubTunnelConfigAttributes>>(
         "subTunnelConfig", status, &RsvpLerHiveStatus::subTunnelConfigCollTableIs));
   all.push_back(collection<SubTunnelStatusHome, Objects<Status, kSubTunnelStatusAttributes>>(
         "subTunnelStatus", status, &RsvpLerHiveStatus::subTunnelStatusCollTableIs));
   all.push_back(collection<LspRequestStatusHome, Objects<RequestStatus, kLspRequestStatusAttributes>>(
         "lspRequestStatus", status, &RsvpLerHiveStatus::lspRequestStatusCollTableIs));
   all.push_back(collection<SpIdHome, Values<RsvpLerLspRequestConfigId, IdText<RsvpSpId>>>(
         "spIdForLspRequestConfigId", status, &RsvpLerHiveStatus::spIdMapIs));
   all.push_back(collection<SpStatusHome, Objects<SpStatus, kSpStatusAttributes>>("spStatus", kelpStatus,
                                                                                  &RsvpKelpStatus::spStatusCollIs));
   all.push_back(collection<TunnelIndexHome, Values<RsvpLerTunnelSpecId, Number<std::uint32_t>>>(
         "tunnelIndexForTunnelSpecId", status, &RsvpLerHiveStatus::tunnelIndexMapIs));
   all.push_back(collection<SubTunnelIndexHome, Values<RsvpLerSubTunnelConfigId, Number<std::uint32_t>>>(
         "tunnelIndexForSubTunnelConfigId", status, &RsvpLerHiveStatus::subTunnelIndexMapIs));
   return all;
}

}  // namespace Store
