// SPDX-License-Identifier: MIT
#pragma once

#include <spdlog/logger.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "host/daemon/LogOutput.h"
#include "substrate/trel/Trace.h"

namespace Daemon {

/// `text` as one line: control characters become \xNN, but for a line break at its end, which goes.
std::string oneLine(std::string_view text);

/// Whether there is a trace handle of that name, and the names of all, each with a blank in front.
bool isTraced(std::string_view handle);
std::string tracedNames();

/// Keeps the log from being filled with lines that somebody out there can cause at will: each text once in a span of
/// time, and no more than a number of texts.
class RepeatFilter {
 public:
   using Clock = std::chrono::steady_clock;
   explicit RepeatFilter(std::size_t texts = 100, Clock::duration span = std::chrono::hours(1))
         : limit_(texts), span_(span) {}

   /// Whether `text` may be written at `now`.
   bool admits(std::string_view text, Clock::time_point now);
   /// Whether no other text is admitted before the span is over.
   bool full() const { return written_.size() == limit_; }

 private:
   std::size_t limit_;
   Clock::duration span_;
   Clock::time_point spanEnd_ = Clock::time_point::min();
   std::set<std::string, std::less<>> written_;
};

/// The log of the process, on the standard error stream until `outputIs` says otherwise: with time and severity in
/// words, or, where the stream is systemd's journal, with the severity in the journal's own notation. While it lives,
/// trace lines go there too, with their handle and level. Error lines (level 0) are taken to be repeatable, but for
/// handles that somebody wants to see.
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
   /// Warns of those that nothing traces under: a name may be misspelt, or its part not be loaded yet.
   void warnOfUnknownHandles();
   /// Takes back what was enabled: all handles write their errors only.
   void tracesDel();

 private:
   void trace(Trel::TraceRecord const& record);

   std::shared_ptr<spdlog::logger> logger_;
   std::map<std::string, RepeatFilter, std::less<>> filters_;
   std::set<std::string, std::less<>> wanted_;
   Trel::TraceSink formerSink_;
};

}  // namespace Daemon
