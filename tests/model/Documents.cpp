// SPDX-License-Identifier: MIT
// What happens to inputs that a state store keeps: documents, whole ones and patches, at once or in the slices of a
// queue, so that some of a document's entries are applied while others are not.
#include <nlohmann/json.hpp>

#include "tests/model/World.h"

namespace Model {

namespace {

using Json = nlohmann::json;

}  // namespace

World::Published::Published() : root(Vel::makePtr<Vel::EntityDir>("")), store(root), queue(store) {}

/// Makes the agent's inputs those of the store, or those of the publisher again.
void World::swapInputs() {
   std::swap(lerConfig_, others_.lerConfig);
   std::swap(lerStatus_, others_.lerStatus);
   std::swap(kelpStatus_, others_.kelpStatus);
}

bool World::isPublished() const { return lerStatus_ == published_.store.lerHiveStatus(); }

std::string World::documentEvent() {
   if (chance(3)) {
      // The state as it was at another time.
      std::string const document = std::exchange(published_.earlier, published_.store.document());
      return publish(Store::ChangeKind::snapshot, document);
   }
   Json patch = Json::object();
   for (auto entries = 1 + pick(3); entries > 0; --entries) addEntry(patch);
   if (chance(2)) patch["spStatus"]["10.0.0.9/1"] = nullptr;  // refused: nothing of it is applied
   return publish(Store::ChangeKind::patch, patch.dump());
}

/// At once, or behind those that wait already.
std::string World::publish(Store::ChangeKind kind, std::string const& document) {
   bool const waits = chance(60) && published_.queue.waiting() < 4;
   bool const isPatch = kind == Store::ChangeKind::patch;
   std::string what = fmt::format("{} {}", waits ? "queued" : "applied", isPatch ? document : "an earlier state");
   if (waits) {
      published_.queue.add(kind, document, [this](Store::ChangeQueue::Outcome const&) { told(); });
      return what;
   }
   try {
      if (isPatch) {
         published_.store.applyPatch(document);
      } else {
         published_.store.replace(document);
      }
   } catch (Store::StateError const&) {
      what += ", refused";
   }
   watchPublished();
   return what;
}

/// A tunnel with all it needs, or a change of one of its entries.
void World::addEntry(Json& patch) {
   auto const id = anySubTunnel();
   auto const& table = lerStatus_->subTunnelStatusCollTable();
   auto const coll = table->subTunnelStatusColl()[id.tunnelSpecId()];
   auto const status = coll ? coll->subTunnelStatus()[id] : nullptr;
   bool const hasLsp = status && status->activeLsp().isSet() && status->activeLsp().subTunnelConfigId() == id;
   auto const request = hasLsp ? status->activeLsp() : anyRequestOf(id);
   auto const name = id.valueToStrep();
   auto const requestName = request.valueToStrep();
   auto const spId = (chance(85) ? spIdOf(request) : anySpId()).valueToStrep();
   auto const entry = [&](char const* collection, std::string const& key, Json value) {
      patch[collection][key] = chance(10) ? Json() : std::move(value);
   };
   auto const path = [&] {
      Json hops = Json::object();
      auto const fresh = anyPath();
      for (auto const& hop : fresh.hop()) hops[std::to_string(hop.key())] = hop.value().valueToStrep();
      if (status) {
         for (auto const& hop : status->activePath().hop()) hops.emplace(std::to_string(hop.key()), Json());
      }
      return hops;
   };
   auto const pathSpec = [&] { return chance(95) ? Json(anyPathSpecId(id.source).valueToStrep()) : Json(); };
   auto const kind = pick(100);
   if (kind < 40) {
      patch["subTunnelConfig"][name] = {{"primaryPathSpec", pathSpec()}, {"secondaryPathSpec", pathSpec()}};
      patch["subTunnelStatus"][name] = {{"activeLsp", requestName}, {"activePath", path()}};
      patch["lspRequestStatus"][requestName] = Json::object();
      patch["spStatus"][spId] = Json::object();
      for (auto const type : {Rsvp::RsvpLerPathSpecType::primary, Rsvp::RsvpLerPathSpecType::secondary}) {
         for (std::uint32_t n : {0U, 1U}) {
            Rsvp::RsvpLerLspRequestConfigId const other{{id, type}, n};
            patch["spIdForLspRequestConfigId"][other.valueToStrep()] = other == request ? Json(spId) : Json();
         }
      }
      for (int n = 0; n < 2; ++n) patch["pathSpec"][anyPathSpecId(id.source).valueToStrep()] = Json::object();
   } else if (kind < 48) {
      entry("spIdForLspRequestConfigId", anyRequestOf(id).valueToStrep(), spId);
   } else if (kind < 57) {
      entry("subTunnelConfig", name, {{"primaryPathSpec", pathSpec()}, {"fastReroute", chance(50)}});
   } else if (kind < 75) {
      entry("subTunnelStatus", name, {{"activePath", path()}});
   } else if (kind < 81) {
      entry("subTunnelStatus", name, {{"activeLsp", chance(95) ? Json(anyRequestOf(id).valueToStrep()) : Json()}});
   } else if (kind < 86) {
      entry("lspRequestStatus", requestName, Json::object());
   } else if (kind < 90) {
      entry("spStatus", spId, {{"setupPriority", pick(8)}});
   } else if (kind < 99) {
      entry("pathSpec", anyPathSpecId(id.source).valueToStrep(), {{"type", chance(50) ? "explicit" : "dynamic"}});
   } else {
      static std::array const names{"pathSpec", "subTunnelConfig", "subTunnelStatus", "lspRequestStatus", "spStatus"};
      patch[names[pick(names.size())]] = nullptr;
   }
}

/// Whatever the store has made of late is observed, too.
void World::watchPublished() {
   if (!isPublished()) return;
   std::set<Vel::PtrInterface const*> watched;
   for (auto const& observer : observers_) watched.insert(observer->notifierObject());
   auto const look = [&](Vel::Ptr<Vel::PtrInterface const> const& object) {
      if (object && watched.insert(object.get()).second) watch(object);
   };
   auto const lookAll = [&](auto const& table, auto const& colls, auto const& entriesOf) {
      look(table);
      for (auto const& coll : colls) {
         look(coll.value);
         for (auto const& entry : entriesOf(*coll.value)) look(entry.value);
      }
   };
   look(lerConfig_);
   look(lerStatus_);
   look(kelpStatus_);
   look(lerStatus_->spIdMap());
   look(kelpStatus_->spStatusColl());
   auto const& configs = lerStatus_->subTunnelConfigCollTable();
   lookAll(
         configs, configs->subTunnelConfigColl(), [](auto const& coll) -> auto& { return coll.subTunnelConfig(); });
   auto const& statuses = lerStatus_->subTunnelStatusCollTable();
   lookAll(
         statuses, statuses->subTunnelStatusColl(), [](auto const& coll) -> auto& { return coll.subTunnelStatus(); });
   auto const& requests = lerStatus_->lspRequestStatusCollTable();
   lookAll(
         requests, requests->lspRequestStatusColl(), [](auto const& coll) -> auto& { return coll.lspRequestStatus(); });
   auto const& specs = lerConfig_->pathSpecCollTable();
   lookAll(
         specs, specs->pathSpecColl(), [](auto const& coll) -> auto& { return coll.pathSpec(); });
}

}  // namespace Model
