// SPDX-License-Identifier: MIT
#include "host/daemon/Log.h"

#include <fmt/format.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/sinks/syslog_sink.h>
#include <syslog.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>
#include <utility>

#include "host/loop/NetSnmp.h"

namespace Daemon {

namespace {

/// The urgency of a line in the terms of syslog.
int priorityOf(spdlog::level::level_enum level) {
   if (level >= spdlog::level::err) return LOG_ERR;
   if (level == spdlog::level::warn) return LOG_WARNING;
   return level == spdlog::level::info ? LOG_INFO : LOG_DEBUG;
}

/// Hands every line to net-snmp, which adds the time and knows where it goes.
class NetSnmpSink : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
   void sink_it_(spdlog::details::log_msg const& message) override {
      snmp_log(priorityOf(message.level), "mplste: %.*s\n", static_cast<int>(message.payload.size()),
               message.payload.data());
   }
   void flush_() override {}
};

/// The prefix by which the journal knows how urgent a line is (sd-daemon(3)).
class JournalPrefix : public spdlog::custom_flag_formatter {
   void format(spdlog::details::log_msg const& message, std::tm const& /*time*/, spdlog::memory_buf_t& line) override {
      fmt::format_to(std::back_inserter(line), "<{}>", priorityOf(message.level));
   }
   std::unique_ptr<custom_flag_formatter> clone() const override { return std::make_unique<JournalPrefix>(); }
};

std::unique_ptr<spdlog::formatter> journalFormatter() {
   auto formatter = std::make_unique<spdlog::pattern_formatter>();
   formatter->add_flag<JournalPrefix>('*').set_pattern("%*%v");
   return formatter;
}

/// Of the module's errors the one that any walk causes: it asks for each column, also for those that are not served.
bool asksForWhatIsNotServed(Trel::TraceRecord const& record) {
   return record.text.find(" invalid column ") != std::string_view::npos;
}

}  // namespace

std::string oneLine(std::string_view text) {
   while (text.ends_with('\n')) text.remove_suffix(1);
   std::string line;
   line.reserve(text.size());
   for (unsigned char const c : text) {
      if (c < ' ' || c == 0x7f) {
         fmt::format_to(std::back_inserter(line), "\\x{:02x}", c);
      } else {
         line.push_back(static_cast<char>(c));
      }
   }
   return line;
}

bool isTraced(std::string_view handle) {
   return std::ranges::any_of(Trel::traceHandles(), [&](auto const* known) { return known->name() == handle; });
}

std::string tracedNames() {
   std::string names;
   for (auto const* const handle : Trel::traceHandles()) names += " " + handle->name();
   return names;
}

std::string levelsText(Trel::TraceLevels levels) {
   std::string text;
   for (unsigned level = 0; level <= Trel::kMaxTraceLevel; ++level) {
      auto const has = [&](unsigned other) { return other <= Trel::kMaxTraceLevel && ((levels >> other) & 1U) != 0; };
      if (!has(level)) continue;
      unsigned const first = level;
      while (has(level + 1)) ++level;
      if (!text.empty()) text += ',';
      text += first == level ? fmt::to_string(first) : fmt::format("{}-{}", first, level);
   }
   return text.empty() ? "none" : text;
}

std::string kindOf(std::string_view text) {
   std::string kind;
   bool quoted = false;
   while (!text.empty()) {
      std::string_view const word = text.substr(0, text.find(' '));
      text.remove_prefix(std::min(word.size() + 1, text.size()));
      bool const varies =
            quoted || std::ranges::any_of(word, [](char c) { return c == '"' || (c >= '0' && c <= '9'); });
      if (std::ranges::count(word, '"') % 2 != 0) quoted = !quoted;
      if (varies && kind.ends_with("# ")) continue;
      kind += varies ? "#" : word;
      kind += ' ';
   }
   return kind;
}

RepeatFilter::Verdict RepeatFilter::verdict(std::string_view text, Clock::time_point now) {
   if (now >= spanEnd_) {
      spanEnd_ = now + limits_.span;
      written_.clear();
   }
   std::string kind = kindOf(text);
   auto texts = written_.find(kind);
   bool const isNew = texts == written_.end();
   if (isNew) {
      if (written_.size() == limits_.kinds) return Verdict::dropped;
      texts = written_.try_emplace(std::move(kind)).first;
   }
   if (texts->second.size() == limits_.texts || !texts->second.emplace(text).second) return Verdict::dropped;
   if (texts->second.size() == limits_.texts) return Verdict::lastOfItsKind;
   return isNew && written_.size() == limits_.kinds ? Verdict::lastKind : Verdict::admitted;
}

Log::Log() : logger_(std::make_shared<spdlog::logger>("mplsted")) {
   outputIs(LogOutput::standardError, LogLevel::debug);
   logger_->flush_on(spdlog::level::trace);
   formerSink_ = Trel::traceSinkIs([this](Trel::TraceRecord const& record) { trace(record); });
}

Log::~Log() { Trel::traceSinkIs(std::move(formerSink_)); }

void Log::outputIs(LogOutput output, LogLevel least) {
   spdlog::sink_ptr sink;
   if (output == LogOutput::syslog) {
      sink = std::make_shared<spdlog::sinks::syslog_sink_st>("mplsted", LOG_PID, LOG_DAEMON, false);
   } else if (output == LogOutput::netSnmp) {
      sink = std::make_shared<NetSnmpSink>();
   } else {
      sink = std::make_shared<spdlog::sinks::stderr_sink_st>();
   }
   logger_->sinks() = {std::move(sink)};
   if (output == LogOutput::standardError && standardErrorIsJournal()) {
      logger_->set_formatter(journalFormatter());
   } else {
      logger_->set_pattern("%Y-%m-%d %H:%M:%S.%e %l: %v");
   }
   constexpr std::array kLevels{spdlog::level::err, spdlog::level::warn, spdlog::level::info, spdlog::level::trace};
   logger_->set_level(kLevels[static_cast<std::size_t>(least)]);
}

void Log::tracesDel() {
   for (auto const& [handle, levels] : std::exchange(wanted_, {})) Trel::traceLevelsIs(handle, Trel::kErrorLevel);
}

void Log::traceLevelsIs(std::string const& handle, Trel::TraceLevels levels) {
   wanted_[handle] = levels;
   Trel::traceLevelsIs(handle, levels);
}

std::vector<Log::Trace> Log::traces() const {
   std::vector<Trace> traces;
   for (auto const& [handle, levels] : wanted_) {
      if (!isTraced(handle)) traces.push_back({handle, levels, false});
   }
   for (auto const* const handle : Trel::traceHandles()) traces.push_back({handle->name(), handle->levels(), true});
   std::ranges::sort(traces, {}, &Trace::handle);
   return traces;
}

void Log::warnOfUnknownHandles() {
   for (auto const& [handle, levels] : wanted_) {
      if (!isTraced(handle)) {
         warn(fmt::format("trace handle {}: nothing traces under that name so far, but{}", handle, tracedNames()));
      }
   }
}

void Log::repeatable(spdlog::level::level_enum severity, std::string_view part, std::string_view text) {
   auto filter = filters_.find(part);
   if (filter == filters_.end()) filter = filters_.try_emplace(std::string(part)).first;
   std::string hint;
   switch (filter->second.verdict(text, RepeatFilter::Clock::now())) {
      case RepeatFilter::Verdict::dropped:
         return;
      case RepeatFilter::Verdict::lastOfItsKind:
         hint = " (and no more of this kind for some time)";
         break;
      case RepeatFilter::Verdict::lastKind:
         hint = fmt::format(" (and nothing new of {} for some time)", part);
         break;
      case RepeatFilter::Verdict::admitted:
         break;
   }
   logger_->log(severity, "{}{}", oneLine(text), hint);
}

void Log::trace(Trel::TraceRecord const& record) {
   std::string const line = fmt::format("{} {}: {}", record.handle, record.level, record.text);
   bool const urgent = record.level == 0 && !asksForWhatIsNotServed(record);
   auto const severity = urgent ? spdlog::level::err : spdlog::level::trace;
   if (record.level == 0 && !wanted_.contains(record.handle)) {
      repeatable(severity, record.handle, line);
   } else {
      logger_->log(severity, "{}", oneLine(line));
   }
}

}  // namespace Daemon
