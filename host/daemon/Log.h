// SPDX-License-Identifier: MIT
#pragma once

#include <spdlog/logger.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "host/daemon/LogOutput.h"
#include "substrate/trel/Trace.h"

namespace Daemon {

/// `text` as one line: control characters become \xNN, but for a line break at its end, which goes.
std::string oneLine(std::string_view text);

/// Whether there is a trace handle of that name, and the names of all, each with a blank in front.
bool isTraced(std::string_view handle);
std::string tracedNames();

/// Levels as they are written in HANDLE=LEVELS: "0-2,8", or "none".
std::string levelsText(Trel::TraceLevels levels);

/// `text` without what differs between lines of one kind: words with a digit in them, and what stands in double quotes,
/// become `#`, as many as stand side by side one `#`.
std::string kindOf(std::string_view text);

/// Keeps the log from being filled with lines that somebody out there can cause at will: each text once in a span of
/// time, no more than a number of texts of each kind, and no more than a number of kinds. Who can vary a text without
/// end uses up what is his kind's, and no other's.
class RepeatFilter {
 public:
   using Clock = std::chrono::steady_clock;
   struct Limits {
      std::size_t texts = 10;  ///< of each kind
      std::size_t kinds = 100;
      Clock::duration span = std::chrono::hours(1);
   };
   enum class Verdict : std::uint8_t {
      dropped,
      admitted,
      lastOfItsKind,  ///< admitted, and no other text of its kind is before the span is over
      lastKind,       ///< admitted, and no text of a kind that is new is before the span is over
   };
   RepeatFilter() : RepeatFilter(Limits{}) {}
   explicit RepeatFilter(Limits limits) : limits_(limits) {}

   /// Whether `text` may be written at `now`.
   Verdict verdict(std::string_view text, Clock::time_point now);

 private:
   using Texts = std::set<std::string, std::less<>>;

   Limits limits_;
   Clock::time_point spanEnd_ = Clock::time_point::min();
   std::map<std::string, Texts, std::less<>> written_;
};

/// The log of the process, on the standard error stream until `outputIs` says otherwise: with time and severity in
/// words, or, where the stream is systemd's journal, with the severity in the journal's own notation. While it lives,
/// trace lines go there too, with their handle and level. Error lines (level 0) are taken to be repeatable, but for
/// handles that somebody wants to see. Those that say of a request that it asked for what is not served are no more
/// urgent than other trace lines: the fault, if there is one, is the manager's, and every walk asks so.
class Log {
 public:
   Log();
   ~Log();
   Log(Log const&) = delete;
   Log& operator=(Log const&) = delete;

   /// From now on what is at least as urgent as `least` goes there, and nothing else anywhere.
   void outputIs(LogOutput output, LogLevel least);

   void error(std::string_view text) { logger_->error("{}", oneLine(text)); }
   void info(std::string_view text) { logger_->info("{}", oneLine(text)); }
   void warn(std::string_view text) { logger_->warn("{}", oneLine(text)); }
   /// The same for lines that may repeat without end. Each `part` of the program has a RepeatFilter of its own.
   void repeatable(spdlog::level::level_enum severity, std::string_view part, std::string_view text);

   /// Enables these levels of a trace handle, and writes all its lines.
   void traceLevelsIs(std::string const& handle, Trel::TraceLevels levels);
   struct Trace {
      std::string handle;
      Trel::TraceLevels levels;
      bool exists;  ///< or else it has its levels when it does
   };
   /// All handles that there are, and those whose levels were enabled before there is one; in order of name.
   std::vector<Trace> traces() const;
   /// Warns of those that nothing traces under: a name may be misspelt, or its part not be loaded yet.
   void warnOfUnknownHandles();
   /// Takes back what was enabled: all handles write their errors only.
   void tracesDel();

 private:
   void trace(Trel::TraceRecord const& record);

   std::shared_ptr<spdlog::logger> logger_;
   std::map<std::string, RepeatFilter, std::less<>> filters_;
   std::map<std::string, Trel::TraceLevels, std::less<>> wanted_;
   Trel::TraceSink formerSink_;
};

}  // namespace Daemon
