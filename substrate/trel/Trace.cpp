// SPDX-License-Identifier: MIT
#include "substrate/trel/Trace.h"

#include <charconv>
#include <cstdio>
#include <map>
#include <memory>
#include <stdexcept>
#include <utility>

namespace Trel {

namespace {

void writeToStandardError(TraceRecord const& record) {
   std::fprintf(stderr, "%.*s/%d: %.*s\n", static_cast<int>(record.handle.size()), record.handle.data(), record.level,
                static_cast<int>(record.text.size()), record.text.data());
}

struct Registry {
   std::map<std::string, std::unique_ptr<DebugHandler>, std::less<>> handles;
   std::map<std::string, TraceLevels, std::less<>> pending;
   // Shared by the line that is being written, so that a sink may replace itself.
   std::shared_ptr<TraceSink const> sink = std::make_shared<TraceSink const>(writeToStandardError);
};

Registry& registry() {
   // Never destroyed: handles are used by static destructors too.
   static auto* const theRegistry = new Registry;
   return *theRegistry;
}

unsigned parseLevel(std::string_view text, std::string_view whole) {
   unsigned level = 0;
   auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), level);
   if (error != std::errc{} || end != text.data() + text.size() || level > kMaxTraceLevel) {
      throw std::invalid_argument(fmt::format("\"{}\" is not a set of trace levels: \"{}\" is not a level from 0 to {}",
                                              whole, text, kMaxTraceLevel));
   }
   return level;
}

}  // namespace

void DebugHandler::write(int level, std::string_view text, std::string_view file, std::string_view function) const {
   if (!enabled(level)) return;
   auto const sink = registry().sink;
   if (*sink) (*sink)(TraceRecord{name_, level, file, function, text});
}

DebugHandler& Platform::getDebugHandler(std::string_view name, TraceLevels initial) {
   auto& handles = registry().handles;
   if (auto const found = handles.find(name); found != handles.end()) return *found->second;
   auto const& pending = registry().pending;
   auto const wanted = pending.find(name);
   auto handler = std::make_unique<DebugHandler>(std::string(name), wanted == pending.end() ? initial : wanted->second);
   return *handles.emplace(std::string(name), std::move(handler)).first->second;
}

TraceSink traceSinkIs(TraceSink sink) {
   return *std::exchange(registry().sink, std::make_shared<TraceSink const>(std::move(sink)));
}

void traceLevelsIs(std::string_view name, TraceLevels levels) {
   auto& handles = registry().handles;
   if (auto const found = handles.find(name); found != handles.end()) {
      found->second->levelsIs(levels);
   } else {
      registry().pending.insert_or_assign(std::string(name), levels);
   }
}

TraceLevels parseTraceLevels(std::string_view text) {
   if (text == "none") return 0;
   TraceLevels levels = 0;
   std::string_view rest = text;
   while (true) {
      auto const comma = rest.find(',');
      std::string_view const part = rest.substr(0, comma);
      auto const dash = part.find('-');
      unsigned const first = parseLevel(part.substr(0, dash), text);
      unsigned const last = dash == std::string_view::npos ? first : parseLevel(part.substr(dash + 1), text);
      if (last < first) {
         throw std::invalid_argument(
               fmt::format("\"{}\" is not a set of trace levels: the range \"{}\" runs downwards", text, part));
      }
      for (unsigned level = first; level <= last; ++level) {
         levels = static_cast<TraceLevels>(levels | (1U << level));
      }
      if (comma == std::string_view::npos) return levels;
      rest.remove_prefix(comma + 1);
   }
}

std::vector<DebugHandler const*> traceHandles() {
   std::vector<DebugHandler const*> all;
   for (auto const& [name, handler] : registry().handles) all.push_back(handler.get());
   return all;
}

}  // namespace Trel
