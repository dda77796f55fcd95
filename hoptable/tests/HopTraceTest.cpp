// SPDX-License-Identifier: MIT
/// The trace lines of the hop chain, as those who debug a head end know them.
#include "hoptable/tests/HopChain.h"
#include "tests/support/TraceCapture.h"

namespace MplsSnmp {

namespace {

using testing::ElementsAre;
using TestSupport::TraceCapture;

constexpr Trel::TraceLevels kLevel8 = 1U << 8U;
constexpr Trel::TraceLevels kLevel9 = 1U << 9U;

class HopTraceTest : public HopChainTest {
 protected:
   static std::string coll(std::string_view handler, std::string_view more = "") {
      return fmt::format("void MplsSnmp::PathSpecCollSm::{}: hopTableIndex: 7{}", handler, more);
   }
   static std::string last(std::string_view handler, std::string_view more = "") {
      return fmt::format("void MplsSnmp::PathSpecSm::{}: hopTableIndex: 7{}", handler, more);
   }
   static std::string pathSpecLine(std::string_view id) {
      return last("handlePathSpec(const Rsvp::RsvpLerPathSpecId&)", fmt::format(", pathSpecId: {}", id));
   }
   std::string setting(std::string_view id) const {
      PathSpecPtr const spec = cli_->pathSpec()[Tunnel::pathSpecId(id)];
      return fmt::format("Setting local pathSpec: {}", Vel::toStrep(spec));
   }

   Vel::Ptr<Rsvp::RsvpLerPathSpec> const gold_ = specIs("cli:gold");
   Tunnel const paris_ = Tunnel::make("cli:to-paris", "cli:gold", twoHops_);
};

TEST_F(HopTraceTest, anEntryIsBuiltDownToItsRows) {
   specIs("cli:silver");
   TraceCapture const trace("MplsSnmp");
   entryIs(7, paris_);
   using Line = TraceCapture::Line;
   EXPECT_THAT(
         trace.lines(),
         ElementsAre(Line{8, "void MplsSnmp::PathSpecCollTableSm::handleInitialized(): hopTableIndex: 7"},
                     Line{8, "void MplsSnmp::PathSpecCollTableSm::handlePathSpecCollTable(): hopTableIndex: 7"},
                     Line{9, "Instantiate PathSpecCollSm"},  //
                     Line{8, coll("handlePathSpecColl()")},  //
                     Line{8, coll("handlePathSpecColl(Rsvp::RsvpLerTunnelSource)", ", source: cli")},
                     Line{9, "Instantiate PathSpecSm"},                                                           //
                     Line{8, last("handleInitialized()")},                                                        //
                     Line{8, last("handleActivePath()")},                                                         //
                     Line{9, "subTunnelStatus::activePath::hop length: 2"}, Line{9, "Setting local activePath"},  //
                     Line{8, last("cleanupMibEntries()")},                                                        //
                     Line{8, last("maybeAddMibEntries()")},                                                       //
                     Line{9, "no pathSpec yet... returning"},                                                     //
                     Line{8, last("handlePathSpec()")},                                                           //
                     Line{8, pathSpecLine("cli:gold")},                                                           //
                     Line{9, setting("cli:gold")},                                                                //
                     Line{8, last("cleanupMibEntries()")},                                                        //
                     Line{8, last("maybeAddMibEntries()")},                                                       //
                     Line{9, "activePath.hop length: 2"},                                                         //
                     Line{9, "adding entry for hop: 1, 10.0.12.2"},                                               //
                     Line{9, "adding entry for hop: 2, 10.0.23.3"},                                               //
                     Line{8, pathSpecLine("cli:silver")},                                                         //
                     Line{9, "pathSpecId doesn't match entry pathSpecId: cli:gold"}));
}

TEST_F(HopTraceTest, everyLineNamesItsUnitAndItsFunction) {
   auto& handler = Trel::Platform::getDebugHandler("MplsSnmp");
   auto const outerLevels = handler.levels();
   handler.levelsIs(kLevel8 | kLevel9);
   std::vector<std::string> functions;
   auto const outer = Trel::traceSinkIs([&](Trel::TraceRecord const& record) {
      EXPECT_EQ(record.handle, "MplsSnmp");
      EXPECT_EQ(record.file, "HopTableHelper");
      functions.emplace_back(record.function);
   });
   entryIs(7, paris_);
   helper_->pathSpecCollTableSmDel(7);
   Trel::traceSinkIs(outer);
   handler.levelsIs(outerLevels);
   EXPECT_THAT(functions, ElementsAre("handleInitialized", "handlePathSpecCollTable", "handlePathSpecCollTable",
                                      "handlePathSpecColl", "handlePathSpecColl", "handlePathSpecColl",
                                      "handleInitialized", "handleActivePath", "handleActivePath", "handleActivePath",
                                      "cleanupMibEntries", "maybeAddMibEntries", "maybeAddMibEntries", "handlePathSpec",
                                      "handlePathSpec", "handlePathSpec", "cleanupMibEntries", "maybeAddMibEntries",
                                      "maybeAddMibEntries", "maybeAddMibEntries", "maybeAddMibEntries", "handleDel",
                                      "cleanupMibEntries", "cleanupMibEntries", "cleanupMibEntries"));
}

TEST_F(HopTraceTest, anEntryThatIsDeletedNamesTheRowsThatGo) {
   entryIs(7, paris_);
   TraceCapture const trace("MplsSnmp");
   helper_->pathSpecCollTableSmDel(7);
   EXPECT_THAT(trace.texts(),
               ElementsAre(last("handleDel()"), last("cleanupMibEntries()"), "deleting entry for hop: 1, 0a:00:0c:02",
                           "deleting entry for hop: 2, 0a:00:17:03"));
}

TEST_F(HopTraceTest, losingTheTableAndTheCollection) {
   entryIs(7, paris_);
   TraceCapture trace("MplsSnmp");
   table_->pathSpecCollDel(Source::cli);
   EXPECT_THAT(trace.texts(),
               ElementsAre(coll("handlePathSpecColl(Rsvp::RsvpLerTunnelSource)", ", source: cli"), "Delete pathSpecSm",
                           last("handleDel()"), last("cleanupMibEntries()"), "deleting entry for hop: 1, 0a:00:0c:02",
                           "deleting entry for hop: 2, 0a:00:17:03"));
   trace.clear();
   lerConfig_->pathSpecCollTableIs(nullptr);
   EXPECT_THAT(trace.texts(),
               ElementsAre("void MplsSnmp::PathSpecCollTableSm::handlePathSpecCollTable(): hopTableIndex: 7",
                           "Delete PathSpecCollSm"));
}

TEST_F(HopTraceTest, aReplacedChildGoesAfterTheNewOneIsCompleteAndTheRowsAreWrittenOnceMore) {
   entryIs(7, paris_);
   auto const other = Vel::makePtr<Coll>();
   auto const gold = specIs(other, "cli:gold");
   TraceCapture const trace("MplsSnmp");
   table_->pathSpecCollIs(Source::cli, other);
   EXPECT_THAT(trace.texts(), ElementsAre(coll("handlePathSpecColl(Rsvp::RsvpLerTunnelSource)", ", source: cli"),  //
                                          "Instantiate PathSpecSm",                                                //
                                          last("handleInitialized()"),                                             //
                                          last("handleActivePath()"),                                              //
                                          "subTunnelStatus::activePath::hop length: 2",                            //
                                          "Setting local activePath",                                              //
                                          last("cleanupMibEntries()"),                                             //
                                          "deleting entry for hop: 1, 0a:00:0c:02",                                //
                                          "deleting entry for hop: 2, 0a:00:17:03",                                //
                                          last("maybeAddMibEntries()"),                                            //
                                          "no pathSpec yet... returning",                                          //
                                          last("handlePathSpec()"),                                                //
                                          pathSpecLine("cli:gold"),                                                //
                                          fmt::format("Setting local pathSpec: {}", Vel::toStrep(gold)),           //
                                          last("cleanupMibEntries()"),                                             //
                                          last("maybeAddMibEntries()"),                                            //
                                          "activePath.hop length: 2",                                              //
                                          "adding entry for hop: 1, 10.0.12.2",                                    //
                                          "adding entry for hop: 2, 10.0.23.3",                                    //
                                          last("handleDel()"),                                                     //
                                          last("cleanupMibEntries()"),                                             //
                                          "deleting entry for hop: 1, 0a:00:0c:02",                                //
                                          "deleting entry for hop: 2, 0a:00:17:03",                                //
                                          last("maybeAddMibEntries()"),                                            //
                                          "activePath.hop length: 2",                                              //
                                          "adding entry for hop: 1, 10.0.12.2",                                    //
                                          "adding entry for hop: 2, 10.0.23.3"));
}

TEST_F(HopTraceTest, aChangeOfTheActivePath) {
   entryIs(7, paris_);
   TraceCapture trace("MplsSnmp");
   paris_.pathIs({{3, "2001:db8::1"}});
   EXPECT_THAT(trace.texts(), ElementsAre(last("handleActivePath()"), "subTunnelStatus::activePath::hop length: 1",
                                          "Setting local activePath", last("cleanupMibEntries()"),
                                          "deleting entry for hop: 1, 0a:00:0c:02",
                                          "deleting entry for hop: 2, 0a:00:17:03", last("maybeAddMibEntries()"),
                                          "activePath.hop length: 1", "adding entry for hop: 3, 2001:db8::1"));
   trace.clear();
   paris_.pathIs({});
   EXPECT_THAT(trace.texts(),
               ElementsAre(last("handleActivePath()"), "subTunnelStatus::activePath::hop length: 0",
                           "Setting local activePath", last("cleanupMibEntries()"),
                           "deleting entry for hop: 3, 20:01:0d:b8:00:00:00:00:00:00:00:00:00:00:00:01"));
}

TEST_F(HopTraceTest, removingThePathSpecInUse) {
   entryIs(7, paris_);
   TraceCapture const trace("MplsSnmp");
   specDel("cli:gold");
   EXPECT_THAT(trace.texts(),
               ElementsAre(pathSpecLine("cli:gold"), "Setting local pathSpec: null", last("cleanupMibEntries()"),
                           "deleting entry for hop: 1, 0a:00:0c:02", "deleting entry for hop: 2, 0a:00:17:03"));
}

TEST_F(HopTraceTest, changesOfTheConfiguredIds) {
   entryIs(7, paris_);
   TraceCapture trace("MplsSnmp");
   paris_.secondaryIs("cli:silver");
   EXPECT_THAT(trace.texts(), ElementsAre(last("handleSecondaryPathSpecId()", ", secondaryPathSpecId: cli:silver"),
                                          last("handlePathSpec()"), pathSpecLine("cli:gold"), setting("cli:gold"),
                                          last("cleanupMibEntries()"), "deleting entry for hop: 1, 0a:00:0c:02",
                                          "deleting entry for hop: 2, 0a:00:17:03", last("maybeAddMibEntries()"),
                                          "activePath.hop length: 2", "adding entry for hop: 1, 10.0.12.2",
                                          "adding entry for hop: 2, 10.0.23.3"));
   trace.clear();
   paris_.secondaryIs("");
   EXPECT_THAT(trace.texts(), ElementsAre(last("handleSecondaryPathSpecId()", ", secondaryPathSpecId: none")));
   trace.clear();
   paris_.primaryIs("");
   EXPECT_THAT(trace.texts(),
               ElementsAre(last("handlePrimaryPathSpecId()", ", primaryPathSpecId: none"), last("cleanupMibEntries()"),
                           "deleting entry for hop: 1, 0a:00:0c:02", "deleting entry for hop: 2, 0a:00:17:03"));
   trace.clear();
   // No rows, no path spec: nothing to clean up.
   paris_.primaryIs("cli:bronze");
   EXPECT_THAT(trace.texts(), ElementsAre(last("handlePrimaryPathSpecId()", ", primaryPathSpecId: cli:bronze"),
                                          last("handlePathSpec()"), pathSpecLine("cli:gold"),
                                          "pathSpecId doesn't match entry pathSpecId: cli:bronze"));
}

TEST_F(HopTraceTest, pointingTheReactorAtAnotherConfigurationRunsTheHandlersOfBothIds) {
   entryIs(7, paris_);
   Tunnel const rome = Tunnel::make("cli:to-rome", "", {});
   TraceCapture const trace("MplsSnmp", kLevel8);
   pathSpecSm(7)->velSubTunnelConfig()->notifierIs(rome.config);
   EXPECT_THAT(trace.texts(),
               ElementsAre(last("handlePrimaryPathSpecId()", ", primaryPathSpecId: none"), last("cleanupMibEntries()"),
                           last("handleSecondaryPathSpecId()", ", secondaryPathSpecId: none")));
}

TEST_F(HopTraceTest, entryLinesAndDetailLinesAreEnabledSeparately) {
   specIs("cli:silver");
   {
      TraceCapture const trace("MplsSnmp", kLevel8);
      entryIs(7, paris_);
      EXPECT_TRUE(trace.has(pathSpecLine("cli:silver")));
      EXPECT_FALSE(trace.has("pathSpecId doesn't match entry pathSpecId: cli:gold"));
   }
   {
      TraceCapture const trace("MplsSnmp", kLevel9);
      specIs("cli:silver");
      EXPECT_THAT(trace.texts(), ElementsAre("pathSpecId doesn't match entry pathSpecId: cli:gold"));
   }
   TraceCapture const trace("MplsSnmp", 0xffff & ~kLevel8 & ~kLevel9);
   specIs("cli:gold");
   EXPECT_THAT(trace.texts(), ElementsAre());
}

}  // namespace

}  // namespace MplsSnmp
