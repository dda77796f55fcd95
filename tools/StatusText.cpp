// SPDX-License-Identifier: MIT
#include "tools/StatusText.h"

#include <fmt/format.h>

#include "tools/Text.h"

namespace Tools {

namespace {

// Also of what is not there, or null: then it is null.
Json const& at(Json const& object, char const* name) {
   static Json const null;
   auto const found = object.is_object() ? object.find(name) : object.end();
   return object.is_object() && found != object.end() ? *found : null;
}

std::string text(Json const& value) {
   if (value.is_null()) return "-";
   if (value.is_string()) return escaped(value.get<std::string>());
   return escaped(value.dump(-1, ' ', false, Json::error_handler_t::replace));
}

std::string number(Json const& value, std::string_view noun) {
   return value.is_number_unsigned() ? counted(value.get<std::uint64_t>(), noun) : text(value);
}

std::string process(Json const& status) {
   auto const& uptime = at(status, "uptime");
   return fmt::format("{}, process {}, since {}{}", text(at(status, "version")), text(at(status, "pid")),
                      text(at(status, "started")),
                      uptime.is_number_unsigned() ? fmt::format(" ({})", duration(uptime.get<std::uint64_t>())) : "");
}

std::string addresses(Json const& list) {
   std::string texts;
   for (auto const& address : list) texts += (texts.empty() ? "" : " ") + text(address);
   return texts.empty() ? "-" : texts;
}

std::string file(Json const& file) {
   if (file.is_null()) return "-";
   return fmt::format("{}, loaded {}, last {}", text(at(file, "path")), number(at(file, "loads"), "time"),
                      text(at(file, "lastLoad")));
}

std::string publishers(Json const& publish) {
   if (publish.is_null()) return "-";
   return fmt::format("{}, {} now, {} so far, {} refused, last uid {}", text(at(publish, "socket")),
                      text(at(publish, "connections")), text(at(publish, "accepted")), text(at(publish, "refused")),
                      text(at(publish, "lastPublisher")));
}

std::string refused(Json const& refused) {
   auto const& last = at(refused, "last");
   auto const number = Tools::number(at(refused, "documents"), "document");
   if (last.is_null()) return number;
   return fmt::format("{}, last {} from {}: {}", number, text(at(last, "time")), text(at(last, "from")),
                      text(at(last, "reason")));
}

std::string counters(Json const& counters) {
   if (counters.is_null()) return "-";
   return fmt::format("{}, {}", text(at(counters, "name")),
                      at(counters, "attached") == true ? "attached" : "not there");
}

std::string agentx(Json const& master) {
   if (master.is_null()) return "-";
   auto const& state = at(master, "state");
   auto const line = fmt::format("{}, {} since {}", text(at(master, "master")), text(state), text(at(master, "since")));
   // While it is connected the last error is only why it once was not.
   return state == "disconnected" ? fmt::format("{}: {}", line, text(at(master, "lastError"))) : line;
}

std::string notifications(Json const& notifications) {
   if (notifications.is_null()) return "off";
   auto const& rate = at(notifications, "maxRate");
   return fmt::format("{} sent, {} coalesced, {} waiting, {}", text(at(notifications, "sent")),
                      text(at(notifications, "coalesced")), text(at(notifications, "waiting")),
                      rate == 0U ? "no limit" : text(rate) + " a second at most");
}

// A line for each member, the first with the title.
void addNumbers(TextTable& table, std::string title, Json const& numbers) {
   for (auto const& [name, value] : numbers.items()) {
      table.add({{std::exchange(title, "")}, {fmt::format("{} {}", escaped(name), text(value))}});
   }
}

}  // namespace

std::vector<std::string> statusLines(Json const& status) {
   auto const& state = at(status, "state");
   TextTable table({{""}, {""}});
   table.add({{"mplsted"}, {process(status)}});
   table.add({{"SNMP"}, {addresses(at(status, "addresses"))}});
   table.add({{"AgentX"}, {agentx(at(status, "agentx"))}});
   table.add({{"state file"}, {file(at(state, "file"))}});
   table.add({{"publishers"}, {publishers(at(state, "publish"))}});
   table.add({{"last change"}, {text(at(state, "lastChange"))}});
   table.add({{"notifications"}, {notifications(at(status, "notifications"))}});
   table.add({{"refused"}, {refused(at(status, "refused"))}});
   table.add({{"counters"}, {counters(at(status, "counters"))}});
   addNumbers(table, "rows", at(status, "rows"));
   table.add({{"hop lists"}, {text(at(status, "hopLists"))}});
   addNumbers(table, "entries", at(state, "entries"));
   table.add({{"tasks"}, {text(at(status, "tasks"))}});
   addNumbers(table, "work", at(status, "work"));
   return table.lines(false);
}

}  // namespace Tools
