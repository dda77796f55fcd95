// SPDX-License-Identifier: MIT
#include "host/module/Module.h"

#include <gmock/gmock.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "host/loop/NetSnmp.h"
#include "host/snmp/SnmpUtil.h"
#include "host/store/StateStore.h"
#include "substrate/orb/TaskScheduler.h"
#include "substrate/vel/TypeRegistry.h"
#include "tests/support/AgentLibrary.h"
#include "tests/support/ScratchDirectory.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr std::array<oid, 11> kTunnelTable{1, 3, 6, 1, 2, 1, 10, 166, 3, 2, 2};
constexpr std::array<oid, 11> kHopTable{1, 3, 6, 1, 2, 1, 10, 166, 3, 2, 4};
constexpr std::array<oid, 11> kPerfTable{1, 3, 6, 1, 2, 1, 10, 166, 3, 2, 9};

/// The name under which net-snmp has a table, or nothing.
std::string registeredAs(std::array<oid, 11> const& table, char const* context) {
   auto const* const subtree = netsnmp_subtree_find(table.data(), table.size(), nullptr, context);
   if (!subtree || !subtree->reginfo || subtree->reginfo->rootoid_len != table.size()) return "";
   return subtree->reginfo->handlerName;
}

std::vector<std::string> registeredTables(char const* context) {
   std::vector<std::string> names;
   for (auto const& table : {kTunnelTable, kHopTable, kPerfTable}) {
      if (auto const name = registeredAs(table, context); !name.empty()) names.push_back(name);
   }
   return names;
}

std::vector<std::string> servedContexts() {
   std::vector<std::string> contexts;
   for (auto const& entry : Snmp::mibContexts()) contexts.push_back(entry.context.stdString());
   return contexts;
}

bool isMapped(std::string const& file) {
   std::ifstream maps("/proc/self/maps");
   std::stringstream text;
   text << maps.rdbuf();
   return text.str().find(file) != std::string::npos;
}

class ModuleTest : public testing::Test {
 protected:
   ModuleTest() {
      std::ifstream file(EXAMPLES_DIR "/headend.json");
      std::stringstream text;
      text << file.rdbuf();
      store_.replace(text.str());
   }

   Host::ModuleInputs inputs() const {
      return {store_.lerConfig(), store_.lerHiveStatus(), store_.kelpStatus(), counters_};
   }
   std::string refusal(std::filesystem::path const& file) const {
      try {
         Host::Module const host(file, root_, inputs());
      } catch (Host::ModuleError const& error) {
         return error.what();
      }
      return "loaded";
   }
   static std::string leftOver() {
      std::string what;
      if (!registeredTables("").empty() || !registeredTables("red").empty()) what += " registrations";
      if (!Snmp::AutoRegistree::registrations().empty()) what += " handler registrations";
      if (!Snmp::mibContexts().empty()) what += " contexts";
      if (Vel::TypeRegistry::instance().moduleNames() != std::vector<std::string_view>{"Inputs"}) what += " types";
      if (Orb::TaskSchedulerRoot::findOrCreateScheduler()->hasWork()) what += " tasks";
      if (SnmpUtil::getEntityRelative("snmp/mpls/mplsTeMib")) what += " entities";
      if (isMapped("mplsTeStdMIB.so")) what += " mapping";
      return what;
   }

   Vel::Ptr<Vel::EntityDir> root_ = Vel::makePtr<Vel::EntityDir>("");
   Store::StateStore store_{root_};
   Vel::Ptr<Tallies::CounterTable const> counters_ = Vel::makePtr<Tallies::CounterTable>("mplsTunnelCounterTable");
};

TEST_F(ModuleTest, aLoadedModuleDerivesTheRowsOfItsInputs) {
   Host::Module const host(MODULE_FILE, root_, inputs());
   EXPECT_EQ(host.tunnels(), 0U) << "the scans are tasks, nothing runs before its time";
   Orb::TaskSchedulerRoot::findOrCreateScheduler()->runAll();
   EXPECT_EQ(host.tunnels(), 13U);
   store_.applyPatch(R"({"subTunnelStatus": {"cli:to-paris": null}})");
   Orb::TaskSchedulerRoot::findOrCreateScheduler()->runAll();
   EXPECT_EQ(host.tunnels(), 12U);
}

TEST_F(ModuleTest, theTablesAreServedInTheDefaultContextOnly) {
   Host::Module const host(MODULE_FILE, root_, inputs(), {"red", "", "red"});
   EXPECT_THAT(registeredTables(""),
               UnorderedElementsAre("mplsTunnelTable_", "mplsTunnelHopTable_", "mplsTunnelPerfTable_"));
   EXPECT_THAT(registeredTables("red"), IsEmpty());
   EXPECT_THAT(servedContexts(), UnorderedElementsAre("", "red"));
}

TEST_F(ModuleTest, aHundredTimesLoadedAndUnloadedNothingIsLeft) {
   auto const references = [this] {
      return std::array{store_.lerConfig()->references(), store_.lerHiveStatus()->references(),
                        store_.kelpStatus()->references(), counters_->references()};
   };
   auto const before = references();
   ASSERT_EQ(leftOver(), "");
   for (int round = 0; round < 100; ++round) {
      {
         Host::Module const host(MODULE_FILE, root_, inputs(), {"red"});
         // In every second round the scans are cut short.
         if (round % 2 == 0) Orb::TaskSchedulerRoot::findOrCreateScheduler()->runAll();
         ASSERT_EQ(registeredTables("").size(), 3U);
         ASSERT_TRUE(isMapped("mplsTeStdMIB.so"));
      }
      ASSERT_EQ(leftOver(), "") << "round " << round;
      ASSERT_EQ(references(), before) << "round " << round;
   }
}

TEST_F(ModuleTest, theStateGoesOnChangingWithoutTheModule) {
   { Host::Module const host(MODULE_FILE, root_, inputs()); }
   EXPECT_EQ(store_.applyPatch(R"({"subTunnelStatus": {"cli:to-paris": null}})"), 1U);
   Host::Module const host(MODULE_FILE, root_, inputs());
   Orb::TaskSchedulerRoot::findOrCreateScheduler()->runAll();
   EXPECT_EQ(host.tunnels(), 12U);
}

TEST_F(ModuleTest, aMissingModuleIsNamedWithTheLinkersReason) {
   EXPECT_EQ(
         refusal("/nowhere/mplsTeStdMIB.so"),
         "cannot load the module: /nowhere/mplsTeStdMIB.so: cannot open shared object file: No such file or directory");
   EXPECT_EQ(leftOver(), "");
}

TEST_F(ModuleTest, aFileThatIsNoLibraryIsRefused) {
   EXPECT_THAT(refusal(EXAMPLES_DIR "/headend.json"), HasSubstr("headend.json: "));
   EXPECT_EQ(leftOver(), "");
}

TEST_F(ModuleTest, anotherLibraryIsRefused) {
   EXPECT_EQ(refusal(OTHER_LIBRARY),
             OTHER_LIBRARY " is not a MIB module: no type 'MplsSnmp::HopTableHelper' is registered");
   EXPECT_EQ(leftOver(), "");
}

TEST_F(ModuleTest, aModuleThatCouldNotBeUnloadedIsRefused) {
   // The linker's name of the function that unloads follows the file's name.
   TestSupport::ScratchDirectory const directory;
   auto const renamed = directory.path() / "renamed.so";
   std::filesystem::create_symlink(MODULE_FILE, renamed);
   EXPECT_THAT(refusal(renamed),
               HasSubstr("renamed.so is not a MIB module: it has no symbol _Z18unregister_renamedN3Vel6StringE"));
   EXPECT_EQ(leftOver(), "");
}

}  // namespace
