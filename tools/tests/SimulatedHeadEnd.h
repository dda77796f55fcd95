// SPDX-License-Identifier: MIT
#pragma once

#include <set>
#include <string>
#include <vector>

#include "tools/simulate/Document.h"

namespace Tools::Simulation {

inline std::string documentOf(HeadEnd const& headEnd) {
   std::string text;
   writeDocument(headEnd, [&](std::string_view piece) { text += piece; });
   return text;
}

/// The active LSPs of a document that have a row, by the rules of the published state, as
/// "destination/tunnelId/sender/lspId".
inline std::set<std::string> rowsOf(Json const& document) {
   auto const collection = [&](char const* name) { return document.value(name, Json::object()); };
   auto const requests = collection("lspRequestStatus");
   auto const spIds = collection("spIdForLspRequestConfigId");
   auto const configs = collection("subTunnelConfig");
   auto const signalled = collection("spStatus");
   std::multiset<std::string> mapped;
   for (auto const& [request, spId] : spIds.items()) mapped.insert(spId.get<std::string>());
   std::set<std::string> rows;
   auto const statuses = collection("subTunnelStatus");
   for (auto const& [id, status] : statuses.items()) {
      std::string const request = status.at("activeLsp");
      if (!configs.contains(id) || !requests.contains(request) || !spIds.contains(request)) continue;
      std::string const spId = spIds.at(request);
      if (signalled.contains(spId) && mapped.count(spId) == 1) rows.insert(spId);
   }
   return rows;
}

}  // namespace Tools::Simulation
