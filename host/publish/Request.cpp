// SPDX-License-Identifier: MIT
#include "host/publish/Request.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <limits>
#include <nlohmann/json.hpp>

#include "host/store/Closest.h"
#include "host/store/JsonReader.h"
#include "host/store/Scan.h"

namespace Publish {

namespace {

using Store::JsonReader;

// In the order of Request::Kind, from `replace` on.
constexpr std::array<std::string_view, 5> kNames{"$replace", "$state", "$status", "$events", "$trace"};

[[noreturn]] void refuseUnknown(JsonReader const& in, std::string_view name) {
   auto const meant = Store::closest(name, kNames);
   in.refuse(meant.empty() ? "there is no such request; there are $replace, $state, $status, $events and $trace"
                           : fmt::format("there is no such request; \"{}\" is probably meant", meant));
}

/// The document inside {"$replace": DOCUMENT}, with blanks in place of what is around it: what the store says of a
/// column is true of the line, and nothing large is moved. The store finds out whether it is a document.
std::string documentIn(std::string line, std::size_t begin) {
   std::fill_n(line.begin(), begin, ' ');
   auto const end = Store::beforeBlanks(line);
   if (end != 0 && line[end - 1] == '}') line.resize(end - 1);
   return line;
}

void takeEnd(JsonReader& in, std::string_view name) {
   bool first = false;
   if (auto const second = in.nextMember(first)) {
      JsonReader::Inside const inside(in, *second);
      in.refuse(fmt::format("nothing else may stand beside {}", name));
   }
   in.end();
}

}  // namespace

Request requestFrom(std::string line) {
   using Kind = Request::Kind;
   JsonReader in(line);
   try {
      bool first = true;
      std::optional<std::string> name;
      // What is no object, or begins in another way, is the store's to refuse.
      try {
         if (in.kind() != JsonReader::Kind::object) return {Kind::patch, std::move(line)};
         in.beginObject();
         name = in.nextMember(first);
      } catch (Store::StateError const&) {
         return {Kind::patch, std::move(line)};
      }
      if (!name || !name->starts_with('$')) return {Kind::patch, std::move(line)};
      JsonReader::Inside const inside(in, *name);
      auto const found = std::ranges::find(kNames, *name);
      if (found == kNames.end()) refuseUnknown(in, *name);
      auto const kind = static_cast<Kind>(static_cast<std::size_t>(Kind::replace) + (found - kNames.begin()));
      if (kind == Kind::replace) {
         std::size_t const begin = in.position();
         return {kind, documentIn(std::move(line), begin)};
      }
      std::string text;
      if (kind == Kind::trace) {
         if (in.takeNull()) {
            takeEnd(in, *name);
            return {Kind::traces, {}};
         }
         text = in.text("HANDLE=LEVELS or null");
      } else if (kind == Kind::events && in.kind() == JsonReader::Kind::number) {
         text = std::to_string(in.integer(std::numeric_limits<std::uint64_t>::max()));
      } else if (!in.takeNull()) {
         in.refuseKind("null");
      }
      takeEnd(in, *name);
      return {kind, std::move(text)};
   } catch (Store::StateError const& error) {
      return {Kind::refused, withoutLine(error.what())};
   }
}

bool isQuestion(std::string_view line) {
   auto const at = Store::behindBlanks(line);
   if (at == line.size() || line[at] != '{') return false;
   auto const name = line.substr(Store::behindBlanks(line, at + 1));
   return name.starts_with("\"$") && !name.starts_with("\"$replace\"");
}

bool isBlank(std::string_view line) { return Store::behindBlanks(line) == line.size(); }

std::string withoutLine(std::string_view error) {
   constexpr std::string_view kLine = "line 1, ";
   if (error.starts_with(kLine)) error.remove_prefix(kLine.size());
   return std::string(error);
}

std::string changedAnswer(std::size_t changed) { return fmt::format("{{\"ok\":true,\"changed\":{}}}\n", changed); }

std::string doneAnswer() { return "{\"ok\":true}\n"; }

std::string statusAnswer(std::string_view json) { return fmt::format("{{\"ok\":true,\"status\":{}}}\n", json); }

std::string eventsAnswer(std::string_view text) { return fmt::format("{{\"ok\":true,{}}}\n", text); }
std::string tracesAnswer(std::string_view json) { return fmt::format("{{\"ok\":true,\"traces\":{}}}\n", json); }

std::string errorAnswer(std::string_view error) {
   using Json = nlohmann::json;
   Json const text = std::string(error);
   return fmt::format("{{\"ok\":false,\"error\":{}}}\n", text.dump(-1, ' ', false, Json::error_handler_t::replace));
}

}  // namespace Publish
