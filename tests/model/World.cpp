// SPDX-License-Identifier: MIT
// What there is in a world, and the objects that it is made of.
#include "tests/model/World.h"

#include <array>
#include <string>

namespace Model {

namespace {

using Rsvp::RsvpLerLspGroupId;
using Rsvp::RsvpLerLspRequestConfigId;
using Rsvp::RsvpLerPathSpecId;
using Rsvp::RsvpLerPathSpecType;
using Rsvp::RsvpLerSubTunnelConfigId;
using Rsvp::RsvpLerTunnelSource;
using Rsvp::RsvpLerTunnelSpecId;

}  // namespace

// ---- What there is

RsvpLerTunnelSource World::anySource() { return static_cast<RsvpLerTunnelSource>(pick(2)); }

RsvpLerSubTunnelConfigId World::anySubTunnel() {
   static std::array const names{Rsvp::storedName("paris"), Rsvp::storedName("rome"), Rsvp::storedName("oslo"),
                                 Rsvp::storedName("bern")};
   RsvpLerSubTunnelConfigId id;
   id.source = anySource();
   id.tunnelName = names[pick(names.size())];
   id.subTunnel = static_cast<std::uint32_t>(chance(25) ? 1 : 0);
   return id;
}

RsvpLerSubTunnelConfigId World::subTunnelOf(RsvpLerTunnelSpecId const& tunnel, std::uint32_t n) {
   RsvpLerSubTunnelConfigId id;
   id.source = tunnel.source;
   id.tunnelName = tunnel.tunnelName;
   id.subTunnel = n;
   return id;
}

RsvpLerLspRequestConfigId World::anyRequestOf(RsvpLerSubTunnelConfigId const& id) {
   return {{id, chance(90) ? RsvpLerPathSpecType::primary : RsvpLerPathSpecType::secondary},
           static_cast<std::uint32_t>(chance(2) ? 1 : 0)};
}

RsvpLerLspRequestConfigId World::anyRequest() { return anyRequestOf(anySubTunnel()); }

/// The sp id that a request has as a rule: each its own.
Rsvp::RsvpSpId World::spIdOf(RsvpLerLspRequestConfigId const& request) {
   auto const [at, isNew] = homes_.emplace(request.valueToStrep(), homes_.size());
   Rsvp::RsvpSpId id;
   id.session.destination = Lanu::IpGenAddr::fromHostOrder(at->second % 2 == 0 ? 0x0a000009 : 0xc8000009);
   id.session.tunnelId = static_cast<std::uint16_t>(1 + at->second);
   id.sender.address = Lanu::IpGenAddr::fromHostOrder(0x0a000001);
   id.sender.lspId = request.pathSpecType() == RsvpLerPathSpecType::primary ? 1 : 2;
   return id;
}

Rsvp::RsvpSpId World::anySpId() { return spIdOf(anyRequest()); }

RsvpLerPathSpecId World::anyPathSpecId(RsvpLerTunnelSource source) {
   static std::array const names{Rsvp::storedName("gold"), Rsvp::storedName("silver"), Rsvp::storedName("tin")};
   return {source, names[pick(names.size())]};
}

Rsvp::RsvpLerPath World::anyPath() {
   Rsvp::RsvpLerPath path;
   if (chance(4)) return path;
   for (auto hops = 3 + pick(8); path.hop().size() < hops;) {
      path.hopIs(static_cast<std::uint32_t>(1 + pick(30)),
                 Lanu::IpGenAddr::fromHostOrder(static_cast<std::uint32_t>(0x0a010000 + pick(200))));
   }
   return path;
}

// ---- The objects, made where they are absent

World::Writable<Rsvp::RsvpLerSpIdMap> World::spIdMap() {
   while (!lerStatus_->spIdMap()) Vel::Ptr(lerStatus_)->spIdMapIs(made<Rsvp::RsvpLerSpIdMap>());
   return writable(lerStatus_->spIdMap());
}
World::Writable<Rsvp::RsvpSpStatusColl> World::spStatusColl() {
   while (!kelpStatus_->spStatusColl()) Vel::Ptr(kelpStatus_)->spStatusCollIs(made<Rsvp::RsvpSpStatusColl>());
   return writable(kelpStatus_->spStatusColl());
}
World::Writable<Rsvp::RsvpLerSubTunnelConfigCollTable> World::configTable() {
   while (!lerStatus_->subTunnelConfigCollTable()) {
      Vel::Ptr(lerStatus_)->subTunnelConfigCollTableIs(made<Rsvp::RsvpLerSubTunnelConfigCollTable>());
   }
   return writable(lerStatus_->subTunnelConfigCollTable());
}
World::Writable<Rsvp::RsvpLerSubTunnelStatusCollTable> World::statusTable() {
   while (!lerStatus_->subTunnelStatusCollTable()) {
      Vel::Ptr(lerStatus_)->subTunnelStatusCollTableIs(made<Rsvp::RsvpLerSubTunnelStatusCollTable>());
   }
   return writable(lerStatus_->subTunnelStatusCollTable());
}
World::Writable<Rsvp::RsvpLerLspRequestStatusCollTable> World::requestTable() {
   while (!lerStatus_->lspRequestStatusCollTable()) {
      Vel::Ptr(lerStatus_)->lspRequestStatusCollTableIs(made<Rsvp::RsvpLerLspRequestStatusCollTable>());
   }
   return writable(lerStatus_->lspRequestStatusCollTable());
}
World::Writable<Rsvp::RsvpLerPathSpecCollTable> World::pathSpecTable() {
   while (!lerConfig_->pathSpecCollTable()) {
      Vel::Ptr(lerConfig_)->pathSpecCollTableIs(made<Rsvp::RsvpLerPathSpecCollTable>());
   }
   return writable(lerConfig_->pathSpecCollTable());
}
World::Writable<Rsvp::RsvpLerSubTunnelConfigColl> World::configColl(RsvpLerTunnelSpecId const& id) {
   auto const table = configTable();
   while (!table->subTunnelConfigColl()[id]) {
      table->subTunnelConfigCollIs(id, made<Rsvp::RsvpLerSubTunnelConfigColl>());
   }
   return writable(table->subTunnelConfigColl()[id]);
}
World::Writable<Rsvp::RsvpLerSubTunnelStatusColl> World::statusColl(RsvpLerTunnelSpecId const& id) {
   auto const table = statusTable();
   while (!table->subTunnelStatusColl()[id]) {
      table->subTunnelStatusCollIs(id, made<Rsvp::RsvpLerSubTunnelStatusColl>());
   }
   return writable(table->subTunnelStatusColl()[id]);
}
World::Writable<Rsvp::RsvpLerLspRequestStatusCollForLspGroup> World::requestColl(RsvpLerLspGroupId const& id) {
   auto const table = requestTable();
   while (!table->lspRequestStatusColl()[id]) {
      table->lspRequestStatusCollIs(id, made<Rsvp::RsvpLerLspRequestStatusCollForLspGroup>());
   }
   return writable(table->lspRequestStatusColl()[id]);
}
World::Writable<Rsvp::RsvpLerPathSpecCollForSource> World::pathSpecColl(RsvpLerTunnelSource source) {
   auto const table = pathSpecTable();
   while (!table->pathSpecColl()[source]) {
      table->pathSpecCollIs(source, made<Rsvp::RsvpLerPathSpecCollForSource>());
   }
   return writable(table->pathSpecColl()[source]);
}

World::Writable<Rsvp::RsvpLerSubTunnelStatus> World::newStatus(RsvpLerSubTunnelConfigId const& id) {
   auto const status = made<Rsvp::RsvpLerSubTunnelStatus>(id);
   status->upIs(chance(50));
   if (chance(95)) status->activeLspIs(chance(98) ? anyRequestOf(id) : anyRequest());
   status->activePathIs(anyPath());
   return status;
}

World::Writable<Rsvp::RsvpLerSubTunnelConfig> World::newConfig(RsvpLerSubTunnelConfigId const& id) {
   auto const config = made<Rsvp::RsvpLerSubTunnelConfig>(id);
   if (chance(97)) config->primaryPathSpecIdIs(anyPathSpecId(id.source));
   if (chance(90)) config->secondaryPathSpecIdIs(anyPathSpecId(id.source));
   config->fastRerouteIs(chance(50));
   return config;
}

World::Writable<Rsvp::RsvpLerSubTunnelConfigColl> World::newConfigColl(RsvpLerTunnelSpecId const& id) {
   auto const coll = made<Rsvp::RsvpLerSubTunnelConfigColl>();
   for (std::uint32_t n : {0U, 1U}) {
      RsvpLerSubTunnelConfigId const member = subTunnelOf(id, n);
      if (chance(70)) coll->subTunnelConfigIs(member, newConfig(member));
   }
   return coll;
}

World::Writable<Rsvp::RsvpLerSubTunnelStatusColl> World::newStatusColl(RsvpLerTunnelSpecId const& id) {
   auto const coll = made<Rsvp::RsvpLerSubTunnelStatusColl>();
   for (std::uint32_t n : {0U, 1U}) {
      RsvpLerSubTunnelConfigId const member = subTunnelOf(id, n);
      if (chance(70)) coll->subTunnelStatusIs(member, newStatus(member));
   }
   return coll;
}

World::Writable<Rsvp::RsvpLerLspRequestStatusCollForLspGroup> World::newRequestColl(RsvpLerLspGroupId const& id) {
   auto const coll = made<Rsvp::RsvpLerLspRequestStatusCollForLspGroup>();
   for (std::uint32_t n : {0U, 1U}) {
      RsvpLerLspRequestConfigId const member{id, n};
      if (chance(n == 0 ? 90 : 5)) coll->lspRequestStatusIs(member, made<Rsvp::RsvpLerLspRequestStatus>(member));
   }
   return coll;
}

World::Writable<Rsvp::RsvpLerPathSpecCollForSource> World::newPathSpecColl(RsvpLerTunnelSource source) {
   auto const coll = made<Rsvp::RsvpLerPathSpecCollForSource>();
   for (int n = 0; n < 4; ++n) {
      auto const id = anyPathSpecId(source);
      coll->pathSpecIs(id, newPathSpec(id));
   }
   return coll;
}

World::Writable<Rsvp::RsvpLerPathSpec> World::newPathSpec(RsvpLerPathSpecId const& id) {
   auto const spec = made<Rsvp::RsvpLerPathSpec>(id);
   spec->typeIs(static_cast<Rsvp::RsvpLerPathSpec::Type>(1 + pick(2)));
   return spec;
}

}  // namespace Model
