// SPDX-License-Identifier: MIT
#include "host/notifications/EventText.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <array>
#include <nlohmann/json.hpp>

namespace Notifications {

namespace {

using Json = nlohmann::ordered_json;

Json stateJson(Snmp::TunnelEvent::State const& state) {
   auto const address = [](std::uint32_t lsr) {
      return fmt::format("{}.{}.{}.{}", lsr >> 24U, lsr >> 16U & 0xffU, lsr >> 8U & 0xffU, lsr & 0xffU);
   };
   auto const& index = state.index;
   // A tunnel that is new has not been anything.
   bool const none = index == decltype(state.index){};
   return {{"mplsTunnelOperStatus", state.operStatus == 1 ? "up" : "down"},
           {"index", none ? Json() : Json(fmt::format("{}", fmt::join(index, ".")))},
           {"ingress", none ? Json() : Json(address(index[2]))},
           {"egress", none ? Json() : Json(address(index[3]))},
           {"lsp", none ? Json() : Json(state.lsp)},
           {"path", state.path}};
}

}  // namespace

char const* nameOf(Snmp::TunnelEvent::Kind kind) {
   constexpr std::array names{"mplsTunnelUp", "mplsTunnelDown", "mplsTunnelRerouted", "mplsTunnelReoptimized"};
   return names.at(static_cast<std::size_t>(kind) - 1);
}

std::string eventJson(Snmp::TunnelEvent const& event, std::chrono::system_clock::time_point time) {
   using namespace std::chrono;
   auto const whole = floor<seconds>(time);
   Json const json{{"time", fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z", fmt::gmtime(system_clock::to_time_t(whole)),
                                        duration_cast<milliseconds>(time - whole).count())},
                   {"notification", nameOf(event.kind)},
                   {"tunnel", event.tunnel},
                   {"mplsTunnelName", event.name},
                   {"from", stateJson(event.from)},
                   {"to", stateJson(event.to)}};
   return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace Notifications
