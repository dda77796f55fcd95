// SPDX-License-Identifier: MIT
#pragma once

#include <fmt/format.h>

#include <string_view>

#include "substrate/trel/Trace.h"

namespace Vel {

/// The trace handle of one source unit. Every unit that names the same handle shares it.
class TraceHandle {
 public:
   /// `enabled`: whether error lines (level 0) are written from the start, unless somebody has decided that already.
   explicit TraceHandle(std::string_view name, bool enabled = true)
         : handler_(Trel::Platform::getDebugHandler(name, enabled ? Trel::kErrorLevel : Trel::TraceLevels{0})) {}

   bool enabled(int level) const { return handler_.enabled(level); }

   /// Writes a line made of the values one after the other, if the level is enabled.
   template <class... Values>
   void trace(int level, Values const&... values) const {
      traceFrom(level, {}, {}, values...);
   }

   /// The same, naming the source file and the function.
   template <class... Values>
   void traceFrom(int level, std::string_view file, std::string_view function, Values const&... values) const {
      if (!enabled(level)) return;
      std::string line;
      (fmt::format_to(std::back_inserter(line), "{}", values), ...);
      handler_.write(level, line, file, function);
   }

 private:
   Trel::DebugHandler& handler_;
};

}  // namespace Vel
