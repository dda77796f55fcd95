// SPDX-License-Identifier: MIT
#include "tools/simulate/Document.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>

namespace Tools::Simulation {

namespace {

// A number with the default 0.
void put(Json& entry, char const* attribute, std::uint32_t value) {
   if (value != 0) entry[attribute] = value;
}

std::string requestId(Tunnel const& tunnel, Lsp const& lsp) {
   return Rsvp::RsvpLerLspRequestConfigId{{tunnel.id, lsp.group}, lsp.request}.valueToStrep();
}

std::string spId(Network const& network, Tunnel const& tunnel, Lsp const& lsp) {
   return Rsvp::RsvpSpId{{network.loopback(tunnel.egress), tunnel.tunnelId},
                         {network.loopback(network.headEnd()), lsp.lspId}}
         .valueToStrep();
}

Json pathSpec(PathSpec const& spec) {
   Json entry{{"type", spec.isExplicit ? "explicit" : "dynamic"}};
   if (spec.revision > 1) entry["name"] = fmt::format("{}-v{}", Rsvp::nameText(spec.id.name), spec.revision);
   return entry;
}

Json config(Tunnel const& tunnel) {
   Json entry{{"primaryPathSpec", tunnel.pathSpecs.front().id.valueToStrep()}};
   if (tunnel.pathSpecs.size() > 1) entry["secondaryPathSpec"] = tunnel.pathSpecs.back().id.valueToStrep();
   if (tunnel.fastReroute) entry["fastReroute"] = true;
   return entry;
}

Json status(Network const& network, Tunnel const& tunnel) {
   Json entry{{"activeLsp", requestId(tunnel, tunnel.active())}};
   if (tunnel.up) entry["up"] = true;
   put(entry, "pathChanges", tunnel.pathChanges);
   put(entry, "stateTransitions", tunnel.stateTransitions);
   unsigned index = 0;
   Router from = network.headEnd();
   for (Router const to : tunnel.active().path) {
      entry["activePath"][std::to_string(++index)] = network.hopAddress(from, to).valueToStrep();
      from = to;
   }
   return entry;
}

Json requestStatus(Lsp const& lsp) {
   Json entry = Json::object();
   if (lsp.error) entry["errors"] = Json::array({{{"code", lsp.error->code}, {"value", lsp.error->value}}});
   return entry;
}

Json spStatus(Tunnel const& tunnel, Lsp const& lsp) {
   Json entry{{"upSince", lsp.upSince}};
   put(entry, "setupPriority", tunnel.setupPriority);
   put(entry, "holdingPriority", tunnel.holdingPriority);
   put(entry, "excludeAny", tunnel.excludeAny);
   put(entry, "includeAny", tunnel.includeAny);
   put(entry, "includeAll", tunnel.includeAll);
   return entry;
}

// What a tunnel that is present has in one collection: so many entries, each with an id and a value.
struct Collection {
   char const* name;
   std::size_t (*count)(Tunnel const&);
   std::string (*id)(Network const&, Tunnel const&, std::size_t n);
   Json (*value)(Network const&, Tunnel const&, std::size_t n);
};

std::size_t one(Tunnel const&) { return 1; }
std::size_t ofPathSpecs(Tunnel const& tunnel) { return tunnel.pathSpecs.size(); }
std::size_t ofLsps(Tunnel const& tunnel) { return tunnel.lsps.size(); }
std::string idOfTunnel(Network const&, Tunnel const& tunnel, std::size_t) { return tunnel.id.valueToStrep(); }
std::string idOfRequest(Network const&, Tunnel const& tunnel, std::size_t n) {
   return requestId(tunnel, tunnel.lsps[n]);
}
std::string idOfSp(Network const& network, Tunnel const& tunnel, std::size_t n) {
   return spId(network, tunnel, tunnel.lsps[n]);
}
Json indexOfTunnel(Network const&, Tunnel const& tunnel, std::size_t) { return tunnel.tunnelId; }

constexpr std::array<Collection, 8> kCollections{{
      {"pathSpec", ofPathSpecs,
       [](Network const&, Tunnel const& tunnel, std::size_t n) { return tunnel.pathSpecs[n].id.valueToStrep(); },
       [](Network const&, Tunnel const& tunnel, std::size_t n) { return pathSpec(tunnel.pathSpecs[n]); }},
      {"subTunnelConfig", one, idOfTunnel,
       [](Network const&, Tunnel const& tunnel, std::size_t) { return config(tunnel); }},
      {"subTunnelStatus", one, idOfTunnel,
       [](Network const& network, Tunnel const& tunnel, std::size_t) { return status(network, tunnel); }},
      {"lspRequestStatus", ofLsps, idOfRequest,
       [](Network const&, Tunnel const& tunnel, std::size_t n) { return requestStatus(tunnel.lsps[n]); }},
      {"spIdForLspRequestConfigId", ofLsps, idOfRequest,
       [](Network const& network, Tunnel const& tunnel, std::size_t n) { return Json(idOfSp(network, tunnel, n)); }},
      {"spStatus", ofLsps, idOfSp,
       [](Network const&, Tunnel const& tunnel, std::size_t n) { return spStatus(tunnel, tunnel.lsps[n]); }},
      {"tunnelIndexForTunnelSpecId", [](Tunnel const& tunnel) -> std::size_t { return tunnel.id.isSplit() ? 0 : 1; },
       idOfTunnel, indexOfTunnel},
      {"tunnelIndexForSubTunnelConfigId",
       [](Tunnel const& tunnel) -> std::size_t { return tunnel.id.isSplit() ? 1 : 0; }, idOfTunnel, indexOfTunnel},
}};

std::size_t count(Collection const& collection, Tunnel const& tunnel) {
   return tunnel.present ? collection.count(tunnel) : 0;
}

// Where an entry is made from.
struct Place {
   std::string id;
   Tunnel const* tunnel;
   std::size_t n;
};

}  // namespace

void writeDocument(HeadEnd const& headEnd, Sink const& sink) {
   constexpr std::size_t kPiece = 1U << 16U;
   std::string text = "{";
   std::string_view separator = "\n";
   // Of a collection, only the ids are held at once.
   std::vector<Place> places;
   for (auto const& collection : kCollections) {
      places.clear();
      for (auto const& tunnel : headEnd.tunnels) {
         for (std::size_t n = 0; n < count(collection, tunnel); ++n) {
            places.push_back({collection.id(headEnd.network, tunnel, n), &tunnel, n});
         }
      }
      if (places.empty()) continue;
      std::ranges::sort(places, {}, &Place::id);
      fmt::format_to(std::back_inserter(text), "{}  \"{}\": {{", separator, collection.name);
      separator = "\n";
      for (auto const& [id, tunnel, n] : places) {
         fmt::format_to(std::back_inserter(text), "{}    {}: {}", separator, Json(id).dump(),
                        collection.value(headEnd.network, *tunnel, n).dump());
         separator = ",\n";
         if (text.size() < kPiece) continue;
         sink(text);
         text.clear();
      }
      text += "\n  }";
   }
   sink(text + "\n}\n");
}

Json entriesOf(Network const& network, Tunnel const& tunnel) {
   Json entries = Json::object();
   for (auto const& collection : kCollections) {
      auto& members = entries[collection.name] = Json::object();
      for (std::size_t n = 0; n < count(collection, tunnel); ++n) {
         members[collection.id(network, tunnel, n)] = collection.value(network, tunnel, n);
      }
   }
   return entries;
}

Json mergePatch(Json const& before, Json const& after) {
   Json patch = Json::object();
   for (auto const& [name, value] : before.items()) {
      if (!after.contains(name)) patch[name] = nullptr;
   }
   for (auto const& [name, value] : after.items()) {
      auto const old = before.find(name);
      if (old == before.end()) {
         patch[name] = value;
      } else if (*old != value) {
         patch[name] = old->is_object() && value.is_object() ? mergePatch(*old, value) : value;
      }
   }
   return patch;
}

}  // namespace Tools::Simulation
