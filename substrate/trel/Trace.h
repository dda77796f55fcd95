// SPDX-License-Identifier: MIT
/// Tracing: named handles, each with its set of enabled levels, and one replaceable sink for the lines of all of them.
#pragma once

#include <fmt/core.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Trel {

/// One line of trace as the sink receives it. The views are valid only during the call.
struct TraceRecord {
   std::string_view handle;    ///< name of the trace handle
   int level;                  ///< 0 (errors) to 9
   std::string_view file;      ///< source unit, may be empty
   std::string_view function;  ///< short function name, may be empty
   std::string_view text;      ///< the line, without a newline
};

using TraceSink = std::function<void(TraceRecord const&)>;

/// A set of trace levels, bit n for level n.
using TraceLevels = std::uint16_t;

/// Levels run from 0, errors, to 9, the detail of state machines.
inline constexpr unsigned kMaxTraceLevel = 9;

/// Level 0 carries errors and is enabled from the start on every handle.
inline constexpr TraceLevels kErrorLevel = 1U;

/// A named source of trace lines. Handles live for the whole process, whoever asked for them first.
class DebugHandler {
 public:
   explicit DebugHandler(std::string name, TraceLevels levels) : name_(std::move(name)), levels_(levels) {}
   DebugHandler(DebugHandler const&) = delete;
   DebugHandler& operator=(DebugHandler const&) = delete;

   std::string const& name() const { return name_; }
   TraceLevels levels() const { return levels_; }
   void levelsIs(TraceLevels levels) { levels_ = levels; }
   bool enabled(int level) const { return ((levels_ >> level) & 1U) != 0; }

   /// Hands the line to the sink if the level is enabled.
   void write(int level, std::string_view text, std::string_view file = {}, std::string_view function = {}) const;

 private:
   std::string name_;
   TraceLevels levels_;
};

struct Platform {
   /// The handle of that name; made with the pending levels of that name, or else with `initial`, when it is new.
   static DebugHandler& getDebugHandler(std::string_view name, TraceLevels initial = kErrorLevel);
};

/// Replaces the sink and returns the one that was in place. An empty sink drops all lines.
/// From the start lines go to the standard error stream.
TraceSink traceSinkIs(TraceSink sink);

/// Enables exactly `levels` on the handle `name`; a handle that does not exist yet gets them when it is made.
void traceLevelsIs(std::string_view name, TraceLevels levels);

/// Reads a level set such as "3", "0-2,8" or "none". Throws std::invalid_argument that names the faulty text.
TraceLevels parseTraceLevels(std::string_view text);

/// All handles that exist now, in order of name.
std::vector<DebugHandler const*> traceHandles();

/// Formats the arguments into `format` ("{}" placeholders in order) and writes the line, if `level` is enabled.
template <class... Args>
void fmtrace(DebugHandler const& handler, int level, fmt::format_string<Args...> format, Args&&... args) {
   if (handler.enabled(level)) {
      handler.write(level, fmt::format(format, std::forward<Args>(args)...));
   }
}

}  // namespace Trel
