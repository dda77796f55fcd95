// SPDX-License-Identifier: MIT
#include "host/daemon/Log.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "host/daemon/Ready.h"

namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;

TEST(OneLine, aTextStaysOneLineWhateverItHolds) {
   EXPECT_EQ(Daemon::oneLine("tunnel to Köln"), "tunnel to Köln");
   EXPECT_EQ(Daemon::oneLine("a\nb\x1b[31m\x7f"), "a\\x0ab\\x1b[31m\\x7f");
   EXPECT_EQ(Daemon::oneLine("net-snmp ends its lines\n"), "net-snmp ends its lines");
}

TEST(KindOf, linesThatDifferInNumbersAndNamesAreOfOneKind) {
   EXPECT_EQ(Daemon::kindOf("mplsTunnelTable invalid column 11"),
             Daemon::kindOf("mplsTunnelTable invalid column 4711"));
   EXPECT_NE(Daemon::kindOf("mplsTunnelTable invalid column 11"),
             Daemon::kindOf("mplsTunnelHopTable invalid column 11"));
   EXPECT_EQ(Daemon::kindOf("no user \"a\" here"), Daemon::kindOf("no user \"that is of many words\" here"));
   EXPECT_NE(Daemon::kindOf("no user \"a\" here"), Daemon::kindOf("no user \"a\" there"));
   EXPECT_EQ(Daemon::kindOf("octets 0x30 0x82"), Daemon::kindOf("octets 0x30 0x82 0x01 0xff"));
}

using Verdict = Daemon::RepeatFilter::Verdict;

TEST(RepeatFilter, aTextIsWrittenOnceInASpanOfTime) {
   Daemon::RepeatFilter filter({.texts = 10, .kinds = 10, .span = 1h});
   Daemon::RepeatFilter::Clock::time_point const start{};
   EXPECT_EQ(filter.verdict("invalid column 11", start), Verdict::admitted);
   EXPECT_EQ(filter.verdict("invalid column 17", start), Verdict::admitted);
   EXPECT_EQ(filter.verdict("invalid column 11", start + 59min), Verdict::dropped);
   EXPECT_EQ(filter.verdict("invalid column 11", start + 1h), Verdict::admitted);
   EXPECT_EQ(filter.verdict("invalid column 11", start + 119min), Verdict::dropped);
}

TEST(RepeatFilter, whoVariesATextUsesUpHisOwnKindOnly) {
   Daemon::RepeatFilter filter({.texts = 3, .kinds = 10, .span = 1h});
   Daemon::RepeatFilter::Clock::time_point const start{};
   EXPECT_EQ(filter.verdict("invalid column 1", start), Verdict::admitted);
   EXPECT_EQ(filter.verdict("invalid column 2", start), Verdict::admitted);
   EXPECT_EQ(filter.verdict("invalid column 3", start), Verdict::lastOfItsKind);
   for (int i = 4; i < 1000; ++i) {
      EXPECT_EQ(filter.verdict(fmt::format("invalid column {}", i), start), Verdict::dropped);
   }
   EXPECT_EQ(filter.verdict("the segment is damaged", start), Verdict::admitted);
   EXPECT_EQ(filter.verdict("invalid column 4", start + 1h), Verdict::admitted);
}

TEST(RepeatFilter, kindsThatAllDifferEndToo) {
   Daemon::RepeatFilter filter({.texts = 3, .kinds = 2, .span = 1h});
   Daemon::RepeatFilter::Clock::time_point const start{};
   EXPECT_EQ(filter.verdict("a 1", start), Verdict::admitted);
   EXPECT_EQ(filter.verdict("b 1", start), Verdict::lastKind);
   EXPECT_EQ(filter.verdict("c 1", start), Verdict::dropped);
   EXPECT_EQ(filter.verdict("a 2", start), Verdict::admitted);
   EXPECT_EQ(filter.verdict("c 1", start + 1h), Verdict::admitted);
}

class LogTest : public testing::Test {
 protected:
   LogTest() { testing::internal::CaptureStderr(); }
   std::string written() {
      std::string const text = testing::internal::GetCapturedStderr();
      testing::internal::CaptureStderr();
      return text;
   }
   ~LogTest() override { testing::internal::GetCapturedStderr(); }
};

TEST_F(LogTest, aLineHasItsTimeAndItsSeverity) {
   Daemon::Log log;
   log.warn("the state file has gone\n");
   EXPECT_THAT(written(), testing::MatchesRegex("[-0-9]+ [0-9:.]+ warning: the state file has gone\n"));
}

TEST_F(LogTest, theJournalIsToldHowUrgentALineIsAndAddsTheTimeItself) {
   struct stat mine {};
   ASSERT_EQ(fstat(STDERR_FILENO, &mine), 0);
   setenv("JOURNAL_STREAM", fmt::format("{}:{}", mine.st_dev, mine.st_ino).c_str(), 1);
   {
      Daemon::Log log;
      log.traceLevelsIs("LogTest.journal", 0b11);
      log.error("an error");
      log.warn("a warning");
      log.info("a word");
      Trel::Platform::getDebugHandler("LogTest.journal").write(1, "a trace line");
   }
   EXPECT_EQ(written(), "<3>an error\n<4>a warning\n<6>a word\n<7>LogTest.journal 1: a trace line\n");

   setenv("JOURNAL_STREAM", "1:1", 1);  // that of somebody who has redirected us since
   Daemon::Log log;
   log.warn("a warning");
   EXPECT_THAT(written(), HasSubstr(" warning: a warning\n"));
   unsetenv("JOURNAL_STREAM");
}

TEST_F(LogTest, whatIsLessUrgentThanAskedForIsLeftOut) {
   Daemon::Log log;
   log.traceLevelsIs("LogTest.urgency", 0b11);
   auto const all = [&] {
      log.error("an error");
      log.warn("a warning");
      log.info("a word");
      Trel::Platform::getDebugHandler("LogTest.urgency").write(1, "a trace line");
      std::string found;
      for (std::string text = written(); !text.empty(); text.erase(0, text.find('\n') + 1)) {
         found += text.substr(24, text.find(':', 24) - 24) + " ";
      }
      return found;
   };
   EXPECT_EQ(all(), "error warning info trace ");
   log.outputIs(Daemon::LogOutput::standardError, Daemon::LogLevel::info);
   EXPECT_EQ(all(), "error warning info ");
   log.outputIs(Daemon::LogOutput::standardError, Daemon::LogLevel::error);
   EXPECT_EQ(all(), "error ");
}

TEST(LevelsText, levelsAreWrittenAsTheyAreRead) {
   for (char const* const text : {"none", "0", "9", "0-2,8", "0,2,4-9", "0-9"}) {
      EXPECT_EQ(Daemon::levelsText(Trel::parseTraceLevels(text)), text);
   }
}

TEST_F(LogTest, handlesAreListedAlsoThoseThatThereAreNotYet) {
   Daemon::Log log;
   Trel::Platform::getDebugHandler("LogTest.known");
   log.traceLevelsIs("LogTest.later", 0b110);
   auto const find = [&] {
      auto const traces = log.traces();
      EXPECT_TRUE(std::ranges::is_sorted(traces, {}, &Daemon::Log::Trace::handle));
      EXPECT_EQ(std::ranges::find(traces, "LogTest.known", &Daemon::Log::Trace::handle)->levels, Trel::kErrorLevel);
      return *std::ranges::find(traces, "LogTest.later", &Daemon::Log::Trace::handle);
   };
   EXPECT_FALSE(find().exists);
   EXPECT_EQ(find().levels, 0b110U);
   Trel::Platform::getDebugHandler("LogTest.later").write(2, "now it is there");
   EXPECT_TRUE(find().exists);
   EXPECT_THAT(written(), HasSubstr(" trace: LogTest.later 2: now it is there\n"));
}

TEST_F(LogTest, tracesCanBeTakenBack) {
   Daemon::Log log;
   auto const& handle = Trel::Platform::getDebugHandler("LogTest.takenBack");
   log.traceLevelsIs("LogTest.takenBack", 0b1010);
   EXPECT_EQ(handle.levels(), 0b1010U);
   log.tracesDel();
   EXPECT_EQ(handle.levels(), Trel::kErrorLevel);
}

TEST_F(LogTest, traceLinesShowWhereTheyComeFromAndHowUrgentTheyAre) {
   Daemon::Log log;
   log.traceLevelsIs("LogTest.wanted", 0b101);
   auto const& handle = Trel::Platform::getDebugHandler("LogTest.wanted");
   handle.write(2, "walk\nof a table");
   handle.write(1, "not enabled");
   EXPECT_THAT(written(), testing::MatchesRegex("[-0-9]+ [0-9:.]+ trace: LogTest.wanted 2: walk\\\\x0aof a table\n"));
}

TEST_F(LogTest, errorLinesThatRepeatAreWrittenOnceUnlessTheyAreWanted) {
   Daemon::Log log;
   log.traceLevelsIs("LogTest.wanted", Trel::kErrorLevel);
   for (int i = 0; i < 3; ++i) {
      Trel::Platform::getDebugHandler("LogTest.wanted").write(0, "shown");
      Trel::Platform::getDebugHandler("LogTest.other").write(0, "kept short");
   }
   std::string const text = written();
   auto const count = [&](std::string const& what) {
      int found = 0;
      for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++found;
      return found;
   };
   EXPECT_EQ(count("error: LogTest.wanted 0: shown\n"), 3) << text;
   EXPECT_EQ(count("error: LogTest.other 0: kept short\n"), 1) << text;
}

TEST_F(LogTest, whatIsSaidTooOftenSilencesNothingElse) {
   Daemon::Log log;
   for (int i = 0; i < 150; ++i)
      log.repeatable(spdlog::level::warn, "net-snmp", fmt::format("Bad PDU type received: {}", i));
   log.repeatable(spdlog::level::err, "net-snmp", "the engine's clock has gone");
   log.repeatable(spdlog::level::err, "Tallies", "the segment is damaged");
   std::string const text = written();
   EXPECT_THAT(text, HasSubstr(" warning: Bad PDU type received: 8\n"));
   EXPECT_THAT(text, HasSubstr(" warning: Bad PDU type received: 9 (and no more of this kind for some time)\n"));
   EXPECT_THAT(text, testing::Not(HasSubstr("received: 10")));
   EXPECT_THAT(text, HasSubstr(" error: the engine's clock has gone\n"));
   EXPECT_THAT(text, HasSubstr(" error: the segment is damaged\n"));
}

TEST_F(LogTest, aRequestForWhatIsNotServedIsNoErrorOfTheOperators) {
   Daemon::Log log;
   auto const& handle = Trel::Platform::getDebugHandler("LogTest.module");
   handle.write(0, "mplsTunnelTable invalid column 11");
   handle.write(0, "handle_mplsTunnelTable - reading ifIndex failed");
   std::string const text = written();
   EXPECT_THAT(text, HasSubstr(" trace: LogTest.module 0: mplsTunnelTable invalid column 11\n"));
   EXPECT_THAT(text, HasSubstr(" error: LogTest.module 0: handle_mplsTunnelTable - reading ifIndex failed\n"));

   log.outputIs(Daemon::LogOutput::standardError, Daemon::LogLevel::info);
   handle.write(0, "mplsTunnelTable invalid column 12");
   EXPECT_EQ(written(), "");
}

TEST_F(LogTest, afterItsTimeTheFormerSinkIsBack) {
   std::vector<std::string> lines;
   auto const before = Trel::traceSinkIs([&](Trel::TraceRecord const& record) { lines.emplace_back(record.text); });
   { Daemon::Log const log; }
   Trel::Platform::getDebugHandler("LogTest.other").write(0, "to the former sink");
   Trel::traceSinkIs(before);
   EXPECT_THAT(lines, testing::ElementsAre("to the former sink"));
   EXPECT_EQ(written(), "");
}

TEST(Ready, theLineSaysWhatIsServedWhereAndHowSoon) {
   Daemon::Ready ready{13,   {"examples/headend.json"}, {"udp:127.0.0.1:11161"}, "community public, read-only", 12ms,
                       140ms};
   EXPECT_EQ(toText(ready),
             "ready: 13 tunnels from examples/headend.json, SNMP on udp:127.0.0.1:11161 (community public, read-only), "
             "first answer after 12 ms, all rows after 140 ms");
   ready.tunnels = 1;
   ready.sources = {"state.json", "/run/mplste/publish.sock"};
   ready.addresses = {"udp:0.0.0.0:161", "tcp:0.0.0.0:161"};
   ready.access = "access as in /etc/snmp/mplsted.conf";
   EXPECT_THAT(toText(ready), AllOf(HasSubstr("ready: 1 tunnel from state.json and /run/mplste/publish.sock, "),
                                    HasSubstr("SNMP on udp:0.0.0.0:161 and tcp:0.0.0.0:161 "
                                              "(access as in /etc/snmp/mplsted.conf)")));
}

}  // namespace
