// SPDX-License-Identifier: MIT
/// Trace handles, their levels, and where the lines go.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "substrate/trel/Trace.h"
#include "substrate/vel/String.h"
#include "substrate/vel/TraceHandle.h"
#include "substrate/vel/ValueText.h"
#include "tests/support/TraceCapture.h"

namespace {

using testing::ElementsAre;
using testing::ThrowsMessage;
using TestSupport::TraceCapture;
using Trel::Platform;
using Lines = std::vector<TraceCapture::Line>;

TEST(TraceTest, whoeverNamesAHandleGetsTheSameOne) {
   auto& handler = Platform::getDebugHandler("Shared");
   EXPECT_EQ(&Platform::getDebugHandler("Shared"), &handler);
   EXPECT_NE(&Platform::getDebugHandler("Other"), &handler);
   EXPECT_EQ(handler.name(), "Shared");
}

TEST(TraceTest, aNewHandleWritesErrorsOnly) {
   auto const& handler = Platform::getDebugHandler("ErrorsOnly");
   EXPECT_TRUE(handler.enabled(0));
   for (int level = 1; level <= 9; ++level) EXPECT_FALSE(handler.enabled(level)) << level;
}

TEST(TraceTest, onlyEnabledLevelsReachTheSink) {
   TraceCapture const capture("Levels", Trel::parseTraceLevels("0,2,9"));
   auto const& handler = Platform::getDebugHandler("Levels");
   for (int level = 0; level < 10; ++level) handler.write(level, "line");
   EXPECT_EQ(capture.lines(), (Lines{{0, "line"}, {2, "line"}, {9, "line"}}));
}

TEST(TraceTest, theSinkLearnsWhereALineComesFrom) {
   std::string seen;
   auto const outer = Trel::traceSinkIs([&](Trel::TraceRecord const& record) {
      seen = fmt::format("{} {} {} {} {}", record.handle, record.level, record.file, record.function, record.text);
   });
   Platform::getDebugHandler("Origin").write(0, "no free index", "MplsTeMib", "hopTableIndex");
   EXPECT_EQ(seen, "Origin 0 MplsTeMib hopTableIndex no free index");
   Trel::traceSinkIs(outer);
}

TEST(TraceTest, replacingTheSinkReturnsTheOneThatWasInPlace) {
   int first = 0;
   int second = 0;
   auto const& handler = Platform::getDebugHandler("Sinks");
   auto const outer = Trel::traceSinkIs([&](auto const&) { ++first; });
   auto const replaced = Trel::traceSinkIs([&](auto const&) { ++second; });
   handler.write(0, "to the second");
   EXPECT_EQ(first, 0);
   EXPECT_EQ(second, 1);
   Trel::traceSinkIs(replaced);
   handler.write(0, "to the first");
   EXPECT_EQ(first, 1);
   Trel::traceSinkIs(nullptr);
   handler.write(0, "to nobody");
   EXPECT_EQ(first, 1);
   Trel::traceSinkIs(outer);
}

TEST(TraceTest, aSinkMayReplaceItself) {
   int later = 0;
   std::string const name = "a name that is long enough to live outside the sink itself";
   std::string seen;
   Trel::TraceSink outer;
   outer = Trel::traceSinkIs([&later, &seen, name](auto const&) {
      Trel::traceSinkIs([&later](auto const&) { ++later; });
      seen = name;
   });
   auto const& handler = Platform::getDebugHandler("SelfReplacing");
   handler.write(0, "first");
   handler.write(0, "second");
   EXPECT_EQ(seen, name);
   EXPECT_EQ(later, 1);
   Trel::traceSinkIs(outer);
}

TEST(TraceTest, fromTheStartLinesGoToTheStandardErrorStream) {
   testing::internal::CaptureStderr();
   Platform::getDebugHandler("MplsSnmp").write(0, "no hop table index is free");
   EXPECT_EQ(testing::internal::GetCapturedStderr(), "MplsSnmp/0: no hop table index is free\n");
}

TEST(TraceTest, levelsMayBeSetBeforeTheHandleIsMade) {
   Trel::traceLevelsIs("NotYetMade", Trel::parseTraceLevels("8-9"));
   auto const& handler = Platform::getDebugHandler("NotYetMade");
   EXPECT_FALSE(handler.enabled(0));
   EXPECT_TRUE(handler.enabled(8));
   Trel::traceLevelsIs("NotYetMade", Trel::parseTraceLevels("0"));
   EXPECT_TRUE(handler.enabled(0));
   EXPECT_FALSE(handler.enabled(8));
}

TEST(TraceTest, settingLevelsMakesNoHandle) {
   Trel::traceLevelsIs("NeverMade", 1);
   auto const all = Trel::traceHandles();
   EXPECT_FALSE(std::ranges::any_of(all, [](auto const* handler) { return handler->name() == "NeverMade"; }));
}

TEST(TraceTest, allHandlesAreListedInOrderOfName) {
   for (std::string const name : {"Listed2", "Listed1", "Listed3"}) Platform::getDebugHandler(name);
   std::vector<std::string> listed;
   for (auto const* const handler : Trel::traceHandles()) {
      if (handler->name().starts_with("Listed")) listed.push_back(handler->name());
   }
   EXPECT_THAT(listed, ElementsAre("Listed1", "Listed2", "Listed3"));
}

TEST(TraceTest, setsOfLevelsAreNumbersAndRanges) {
   EXPECT_EQ(Trel::parseTraceLevels("none"), 0);
   EXPECT_EQ(Trel::parseTraceLevels("0"), 1);
   EXPECT_EQ(Trel::parseTraceLevels("0-2,8"), 0x107);
   EXPECT_EQ(Trel::parseTraceLevels("8,0-2,1"), 0x107);
   EXPECT_EQ(Trel::parseTraceLevels("3-3"), 8);
   EXPECT_EQ(Trel::parseTraceLevels("0-9"), 0x3ff);
}

TEST(TraceTest, anErrorInASetOfLevelsNamesTheFaultyText) {
   struct Case {
      std::string_view text;
      std::string_view faulty;
   };
   for (Case const& c :
        {Case{"", ""}, Case{"x", "x"}, Case{"10", "10"}, Case{"0-10", "10"}, Case{"-1", ""}, Case{"1-", ""},
         Case{"1,,2", ""}, Case{"1,", ""}, Case{"1 ", "1 "}, Case{"0x1", "0x1"}, Case{"1-2-3", "2-3"},
         Case{"none,1", "none"}, Case{"99999999999999999999", "99999999999999999999"}}) {
      EXPECT_THAT([&] { Trel::parseTraceLevels(c.text); },
                  ThrowsMessage<std::invalid_argument>(fmt::format(
                        "\"{}\" is not a set of trace levels: \"{}\" is not a level from 0 to 9", c.text, c.faulty)));
   }
}

TEST(TraceTest, aRangeThatRunsDownwardsIsRefused) {
   EXPECT_THAT([] { Trel::parseTraceLevels("0,5-3"); },
               ThrowsMessage<std::invalid_argument>(
                     "\"0,5-3\" is not a set of trace levels: the range \"5-3\" runs downwards"));
}

TEST(TraceTest, formatsOnlyLinesThatAreWritten) {
   TraceCapture const capture("Formatted", Trel::parseTraceLevels("9"));
   auto const& handler = Platform::getDebugHandler("Formatted");
   Trel::fmtrace(handler, 9, "filter( {} ) failed, terminating pipeline", Vel::String("spStatus"));
   Trel::fmtrace(handler, 8, "not {}", "written");
   EXPECT_EQ(capture.lines(), (Lines{{9, "filter( spStatus ) failed, terminating pipeline"}}));
}

TEST(TraceHandleTest, aLineIsMadeOfTheValuesStreamedToIt) {
   TraceCapture const capture("Unit");
   Vel::TraceHandle const handle("Unit");
   handle.trace(8, "Enter ", Vel::String("getNumber"), " of ", 5U, '/', 10);
   EXPECT_EQ(capture.lines(), (Lines{{8, "Enter getNumber of 5/10"}}));
}

TEST(TraceHandleTest, writesErrorsFromTheStartUnlessItIsNotEnabled) {
   EXPECT_TRUE(Vel::TraceHandle("EnabledUnit").enabled(0));
   EXPECT_FALSE(Vel::TraceHandle("DisabledUnit", false).enabled(0));
}

TEST(TraceHandleTest, levelsThatWereSetForItCountMoreThanItsOwnWish) {
   Trel::traceLevelsIs("WantedUnit", Trel::parseTraceLevels("0"));
   EXPECT_TRUE(Vel::TraceHandle("WantedUnit", false).enabled(0));
   EXPECT_FALSE(Vel::TraceHandle("WantedUnit", false).enabled(1));
   Vel::TraceHandle const enabled("TwiceNamedUnit");
   EXPECT_TRUE(Vel::TraceHandle("TwiceNamedUnit", false).enabled(0));
}

}  // namespace
