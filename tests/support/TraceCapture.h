// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "substrate/trel/Trace.h"

namespace TestSupport {

/// Catches the trace lines of one handle, at the given levels, for as long as it lives.
class TraceCapture {
 public:
   struct Line {
      int level;
      std::string text;
      bool operator==(Line const&) const = default;
   };

   explicit TraceCapture(std::string_view handle, Trel::TraceLevels levels = 0xffff)
         : handler_(Trel::Platform::getDebugHandler(handle)),
           outerLevels_(handler_.levels()),
           outerSink_(Trel::traceSinkIs([this](Trel::TraceRecord const& record) { take(record); })) {
      handler_.levelsIs(levels);
   }
   ~TraceCapture() {
      handler_.levelsIs(outerLevels_);
      Trel::traceSinkIs(outerSink_);
   }
   TraceCapture(TraceCapture const&) = delete;
   TraceCapture& operator=(TraceCapture const&) = delete;

   std::vector<Line> const& lines() const { return lines_; }
   std::vector<std::string> texts() const {
      std::vector<std::string> all;
      for (Line const& line : lines_) all.push_back(line.text);
      return all;
   }
   /// How many lines are exactly this text.
   auto count(std::string_view text) const { return std::ranges::count(lines_, text, &Line::text); }
   bool has(std::string_view text) const { return count(text) != 0; }
   void clear() { lines_.clear(); }

 private:
   void take(Trel::TraceRecord const& record) {
      if (record.handle == handler_.name()) lines_.push_back({record.level, std::string(record.text)});
   }

   Trel::DebugHandler& handler_;
   Trel::TraceLevels outerLevels_;
   std::vector<Line> lines_;
   Trel::TraceSink outerSink_;
};

}  // namespace TestSupport
