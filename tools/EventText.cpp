// SPDX-License-Identifier: MIT
#include "tools/EventText.h"

#include <fmt/format.h>

#include "tools/Text.h"

namespace Tools {

namespace {

std::string member(Json const& object, char const* name) {
   auto const found = object.is_object() ? object.find(name) : object.end();
   return object.is_object() && found != object.end() && found->is_string() ? escaped(found->get<std::string>()) : "-";
}

/// The LSP and the path, and the row of mplsTunnelTable, of a tunnel that is up; else that it is down.
std::string sideText(Json const& event, char const* side) {
   auto const state = event.value(side, Json::object());
   if (member(state, "mplsTunnelOperStatus") != "up") return "down";
   std::string path;
   for (auto const& hop : state.value("path", Json::array())) {
      if (hop.is_string()) path += " " + escaped(hop.get<std::string>());
   }
   // The tunnel's name has been said.
   auto const lsp = member(state, "lsp");
   auto const at = lsp.rfind('@');
   return fmt::format("{} {}{}{}", member(state, "index"), at == std::string::npos ? lsp : lsp.substr(at + 1),
                      path.empty() ? "" : " by", path);
}

}  // namespace

std::string eventLine(Json const& event, bool colour) {
   constexpr std::string_view kPrefix = "mplsTunnel";
   auto kind = member(event, "notification");
   if (kind.starts_with(kPrefix)) kind.erase(0, kPrefix.size());
   auto const style = kind == "Down" ? Style::bad : kind == "Up" ? Style::plain : Style::warning;
   return fmt::format("{}  {} {}: {} -> {}", member(event, "time"), member(event, "tunnel"),
                      styled(kind, style, colour), sideText(event, "from"), sideText(event, "to"));
}

}  // namespace Tools
