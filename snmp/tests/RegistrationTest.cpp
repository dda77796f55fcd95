// SPDX-License-Identifier: MIT
/// How the module announces itself to its host, registers its tables with net-snmp and takes them back.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "host/snmp/HandlerRegistration.h"
#include "host/snmp/SnmpUtil.h"
#include "mib/MplsTeMib.h"
#include "snmp/Registrations.h"
#include "snmp/Tables.h"
#include "snmp/mplsTeStdMIB.h"
#include "substrate/vel/EntityDir.h"
#include "tests/support/TraceCapture.h"

namespace {

/// What net-snmp is made to do, and what it was asked to do.
struct NetSnmpSeam {
   int freedRegistrations = 0;
   int failVariable = -1;  ///< the index component, counted from here, that cannot be added
   bool failInjectionOfSerialize = false;
};
NetSnmpSeam seam;

template <class Function>
Function* real(char const* name) {
   return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// These stand before net-snmp's functions of the same name.
extern "C" void netsnmp_handler_registration_free(netsnmp_handler_registration* registration) {
   ++seam.freedRegistrations;
   real<decltype(netsnmp_handler_registration_free)>("netsnmp_handler_registration_free")(registration);
}
extern "C" netsnmp_variable_list* snmp_varlist_add_variable(netsnmp_variable_list** list, oid const* name,
                                                            size_t nameLength, u_char type, void const* value,
                                                            size_t length) {
   if (seam.failVariable >= 0 && seam.failVariable-- == 0) return nullptr;
   return real<decltype(snmp_varlist_add_variable)>("snmp_varlist_add_variable")(list, name, nameLength, type, value,
                                                                                 length);
}
extern "C" int netsnmp_inject_handler(netsnmp_handler_registration* registration, netsnmp_mib_handler* handler) {
   if (seam.failInjectionOfSerialize && std::strcmp(handler->handler_name, "serialize") == 0) return SNMP_ERR_GENERR;
   return real<decltype(netsnmp_inject_handler)>("netsnmp_inject_handler")(registration, handler);
}

namespace MplsSnmp {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using Line = TestSupport::TraceCapture::Line;
using Numbers = std::vector<unsigned long>;

/// Mounts a MIB where the module looks for it; the numbers of OIDs print as numbers.
class Registration : public testing::Test {
 protected:
   Registration() {
      SnmpUtil::agentRootIs(root_);
      root_->dirIs("snmp/mpls")->entityIs(mib_);
      netsnmp_ds_set_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_OID_OUTPUT_FORMAT, NETSNMP_OID_OUTPUT_NUMERIC);
      seam = {};
   }
   ~Registration() override {
      unregister_mplsTeStdMIB("");
      SnmpUtil::agentRootIs(nullptr);
      seam = {};
   }
   static std::vector<netsnmp_handler_registration*> registrations() { return handlerRegistrations()[""]; }
   static bool isServed(Snmp::MibContext const& context) {
      return std::ranges::count(Snmp::mibContexts(), context) == 1;
   }
   /// The registration whose root is that very object, or null.
   static netsnmp_handler_registration* registeredAt(Numbers const& root, char const* context = "") {
      auto const* const subtree = netsnmp_subtree_find(root.data(), root.size(), nullptr, context);
      auto* const found = subtree ? subtree->reginfo : nullptr;
      return found && Numbers(found->rootoid, found->rootoid + found->rootoid_len) == root ? found : nullptr;
   }
   static netsnmp_iterator_info const& iteratorOf(netsnmp_handler_registration const& registration) {
      for (auto const* handler = registration.handler; handler; handler = handler->next) {
         if (std::string_view(handler->handler_name) == TABLE_ITERATOR_NAME) {
            return *static_cast<netsnmp_iterator_info const*>(handler->myvoid);
         }
      }
      throw std::runtime_error("there is no table iterator");
   }

   Vel::Ptr<Vel::EntityDir> const root_ = Vel::makePtr<Vel::EntityDir>("");
   Vel::Ptr<MplsTeMib> const mib_ = mplsTeMibFactory("mplsTeMib");
   TestSupport::TraceCapture trace_{"mplsTeStdMIB"};
};

TEST_F(Registration, LoadingTheModulePutsItOnTheHostsList) {
   auto const modules = Snmp::AutoRegistree::registrations();
   ASSERT_EQ(modules.size(), 1U);
   modules.front()->initHandler("");
   EXPECT_EQ(registrations().size(), 3U) << "initHandler registers the tables";
}

TEST_F(Registration, RegistersThreeTablesInTheDefaultContext) {
   init_mplsTeStdMIB("");
   ASSERT_EQ(registrations().size(), 3U);
   EXPECT_EQ(columnDescriptions()[""].size(), 3U);
   EXPECT_TRUE(isServed({"", "mplsTeStdMIB"}));
   EXPECT_EQ(seam.freedRegistrations, 0);
}

struct Expected {
   std::string name;
   Numbers root;
   int modes;
   unsigned indexes;
   unsigned firstColumn;
   unsigned lastColumn;
   netsnmp_iterator_info callbacks;
};

template <class Table>
netsnmp_iterator_info callbacks() {
   netsnmp_iterator_info info{};
   info.get_first_data_point = RowWalk<Table>::getFirstDataPoint;
   info.get_next_data_point = RowWalk<Table>::getNextDataPoint;
   info.make_data_context = RowWalk<Table>::makeDataContext;
   info.free_data_context = RowWalk<Table>::freeDataContext;
   info.free_loop_context_at_end = RowWalk<Table>::freeLoopContextAtEnd;
   return info;
}

TEST_F(Registration, RegistersEachTableAsTheMibHasIt) {
   init_mplsTeStdMIB("");
   std::array const expected{
         Expected{"mplsTunnelTable_", {1, 3, 6, 1, 2, 1, 10, 166, 3, 2, 2}, 3, 4, 5, 37, callbacks<TunnelTable>()},
         Expected{"mplsTunnelHopTable_", {1, 3, 6, 1, 2, 1, 10, 166, 3, 2, 4}, 3, 3, 4, 15, callbacks<HopTable>()},
         Expected{"mplsTunnelPerfTable_", {1, 3, 6, 1, 2, 1, 10, 166, 3, 2, 9}, 1, 4, 1, 5, callbacks<PerfTable>()}};
   for (std::size_t n = 0; n < expected.size(); ++n) {
      auto const& want = expected[n];
      auto const& is = *registrations()[n];
      SCOPED_TRACE(want.name);
      EXPECT_EQ(is.handlerName, want.name);
      EXPECT_EQ(Numbers(is.rootoid, is.rootoid + is.rootoid_len), want.root);
      EXPECT_EQ(is.modes & (HANDLER_CAN_RWRITE | HANDLER_CAN_GETBULK), want.modes);
      EXPECT_EQ(is.my_reg_void, mib_.get());
      EXPECT_EQ(is.contextName, nullptr);

      auto const& iterator = iteratorOf(is);
      EXPECT_EQ(iterator.get_first_data_point, want.callbacks.get_first_data_point);
      EXPECT_EQ(iterator.get_next_data_point, want.callbacks.get_next_data_point);
      EXPECT_EQ(iterator.make_data_context, want.callbacks.make_data_context);
      EXPECT_EQ(iterator.free_data_context, want.callbacks.free_data_context);
      EXPECT_EQ(iterator.free_loop_context, nullptr);
      EXPECT_EQ(iterator.free_loop_context_at_end, want.callbacks.free_loop_context_at_end);
      EXPECT_EQ(iterator.myvoid, mib_.get());
      EXPECT_EQ(iterator.flags, NETSNMP_ITERATOR_FLAG_SORTED | NETSNMP_HANDLER_OWNS_IINFO);

      auto const& table = *iterator.table_reginfo;
      EXPECT_EQ(table.number_indexes, want.indexes);
      for (auto const* index = table.indexes; index; index = index->next_variable) EXPECT_EQ(index->type, ASN_UNSIGNED);
      EXPECT_EQ(table.min_column, want.firstColumn);
      EXPECT_EQ(table.max_column, want.lastColumn);
      ASSERT_EQ(table.valid_columns, columnDescriptions()[""][n]);
      auto const& columns = *table.valid_columns;
      EXPECT_EQ(columns.isRange, 0);
      ASSERT_EQ(unsigned(columns.list_count), want.lastColumn - want.firstColumn + 1);
      for (unsigned c = 0; c < unsigned(columns.list_count); ++c) {
         EXPECT_EQ(columns.details.list[c], want.firstColumn + c);
      }
      EXPECT_EQ(columns.next, nullptr);
   }
}

TEST_F(Registration, LetsOneRequestAtATimeThroughToTheIterator) {
   init_mplsTeStdMIB("");
   for (auto const* registration : registrations()) {
      std::vector<std::string> chain;
      for (auto const* handler = registration->handler; handler; handler = handler->next) {
         chain.emplace_back(handler->handler_name);
      }
      EXPECT_THAT(chain,
                  ElementsAre("serialize", "bulk_to_next", "table", "table_iterator", registration->handlerName));
   }
}

TEST_F(Registration, TheTablesAreFoundUnderTheirObjects) {
   init_mplsTeStdMIB("");
   for (auto* registration : registrations()) {
      EXPECT_EQ(registeredAt({registration->rootoid, registration->rootoid + registration->rootoid_len}), registration);
   }
}

TEST_F(Registration, SaysWhatItRegisters) {
   init_mplsTeStdMIB("");
   EXPECT_THAT(trace_.lines(),
               ElementsAre(Line{1,
                                "initialize_table_mplsTunnelTable initializing oid .1.3.6.1.2.1.10.166.3.2.2 in "
                                "context \"\""},
                           Line{8, "Initialized table mplsTunnelTable in context \"\""},
                           Line{1,
                                "initialize_table_mplsTunnelHopTable initializing oid .1.3.6.1.2.1.10.166.3.2.4 in "
                                "context \"\""},
                           Line{8, "Initialized table mplsTunnelHopTable in context \"\""},
                           Line{1,
                                "initialize_table_mplsTunnelPerfTable initializing oid .1.3.6.1.2.1.10.166.3.2.9 "
                                "in context \"\""},
                           Line{8, "Initialized table mplsTunnelPerfTable in context \"\""}));
}

TEST_F(Registration, RegistersNoTableInAnotherContextButTellsTheHost) {
   init_mplsTeStdMIB("vrf-red");
   EXPECT_EQ(seam.freedRegistrations, 3) << "those that were created are freed";
   EXPECT_FALSE(handlerRegistrations().contains("vrf-red"));
   EXPECT_FALSE(columnDescriptions().contains("vrf-red"));
   EXPECT_TRUE(isServed({"vrf-red", "mplsTeStdMIB"}));
   EXPECT_EQ(registeredAt({1, 3, 6, 1, 2, 1, 10, 166, 3, 2, 2}, "vrf-red"), nullptr);
   EXPECT_EQ(registeredAt({1, 3, 6, 1, 2, 1, 10, 166, 3, 2, 2}, ""), nullptr);
   EXPECT_THAT(trace_.lines(),
               ElementsAre(Line{1,
                                "initialize_table_mplsTunnelTable initializing oid .1.3.6.1.2.1.10.166.3.2.2 in "
                                "context \"vrf-red\""},
                           Line{2,
                                "initialize_table_mplsTunnelTable in context \"vrf-red\" hivePathWithContext not "
                                "specified "},
                           Line{1,
                                "initialize_table_mplsTunnelHopTable initializing oid .1.3.6.1.2.1.10.166.3.2.4 in "
                                "context \"vrf-red\""},
                           Line{2,
                                "initialize_table_mplsTunnelHopTable in context \"vrf-red\" hivePathWithContext "
                                "not specified "},
                           Line{1,
                                "initialize_table_mplsTunnelPerfTable initializing oid .1.3.6.1.2.1.10.166.3.2.9 "
                                "in context \"vrf-red\""},
                           Line{2,
                                "initialize_table_mplsTunnelPerfTable in context \"vrf-red\" hivePathWithContext "
                                "not specified "}));
   unregister_mplsTeStdMIB("vrf-red");
   EXPECT_FALSE(isServed({"vrf-red", "mplsTeStdMIB"}));
}

TEST_F(Registration, AnotherContextNeedsNoMib) {
   SnmpUtil::agentRootIs(nullptr);
   init_mplsTeStdMIB("vrf-red");
   EXPECT_TRUE(isServed({"vrf-red", "mplsTeStdMIB"}));
   unregister_mplsTeStdMIB("vrf-red");
}

TEST_F(Registration, UnregisteringLeavesNothingBehind) {
   init_mplsTeStdMIB("");
   std::vector<Numbers> roots;
   for (auto const* registration : registrations()) {
      roots.emplace_back(registration->rootoid, registration->rootoid + registration->rootoid_len);
   }
   trace_.clear();
   unregister_mplsTeStdMIB("");
   EXPECT_THAT(trace_.lines(), ElementsAre(Line{2, "Unregistering mplsTeStdMIB in context \"\""}));
   EXPECT_FALSE(handlerRegistrations().contains(""));
   EXPECT_FALSE(columnDescriptions().contains(""));
   EXPECT_FALSE(isServed({"", "mplsTeStdMIB"}));
   for (auto const& root : roots) {
      EXPECT_EQ(registeredAt(root), nullptr);
   }
}

TEST_F(Registration, UnregisteringAContextThatNeverWasTellsTheHostOnly) {
   init_mplsTeStdMIB("");
   Snmp::registerMibContext("vrf-blue", "mplsTeStdMIB");
   unregister_mplsTeStdMIB("vrf-blue");
   EXPECT_FALSE(isServed({"vrf-blue", "mplsTeStdMIB"}));
   EXPECT_FALSE(handlerRegistrations().contains("vrf-blue"));
   EXPECT_TRUE(isServed({"", "mplsTeStdMIB"}));
   EXPECT_EQ(registrations().size(), 3U);
}

// Whatever were left behind, the leak check at the end of the program would show.
TEST_F(Registration, MayComeAndGoAHundredTimes) {
   for (int n = 0; n < 100; ++n) {
      init_mplsTeStdMIB("");
      init_mplsTeStdMIB("vrf-red");
      ASSERT_EQ(registrations().size(), 3U);
      unregister_mplsTeStdMIB("vrf-red");
      unregister_mplsTeStdMIB("");
   }
   EXPECT_THAT(Snmp::mibContexts(), IsEmpty());
   EXPECT_THAT(handlerRegistrations(), IsEmpty());
}

TEST_F(Registration, EachTableCanBeRegisteredByItself) {
   auto const config = SnmpUtil::getSnmpConfig();
   initialize_table_mplsTunnelPerfTable(config, "");
   initialize_table_mplsTunnelHopTable(nullptr, "");
   ASSERT_EQ(registrations().size(), 2U);
   EXPECT_STREQ(registrations()[0]->handlerName, "mplsTunnelPerfTable_");
   EXPECT_STREQ(registrations()[1]->handlerName, "mplsTunnelHopTable_");
   initialize_table_mplsTunnelTable(config, "");
   EXPECT_STREQ(registrations()[2]->handlerName, "mplsTunnelTable_");
   EXPECT_FALSE(isServed({"", "mplsTeStdMIB"})) << "that is for init_mplsTeStdMIB to do";
}

TEST_F(Registration, AnIndexComponentThatCannotBeSetUpIsReportedAndRegistrationGoesOn) {
   constexpr std::array<std::string_view, 11> components{
         "mplsTunnelIndex",        "mplsTunnelInstance",           "mplsTunnelIngressLSRId", "mplsTunnelEgressLSRId",
         "mplsTunnelHopListIndex", "mplsTunnelHopPathOptionIndex", "mplsTunnelHopIndex",     "mplsTunnelIndex",
         "mplsTunnelInstance",     "mplsTunnelIngressLSRId",       "mplsTunnelEgressLSRId"};
   for (std::size_t n = 0; n < components.size(); ++n) {
      trace_.clear();
      seam.failVariable = static_cast<int>(n);
      init_mplsTeStdMIB("");
      EXPECT_EQ(std::ranges::count(
                      trace_.lines(),
                      Line{0, fmt::format("Failed to set up {} in netsnmp table_info in context \"\"", components[n])}),
                1)
            << n;
      EXPECT_EQ(registrations().size(), 3U);
      unregister_mplsTeStdMIB("");
   }
}

TEST_F(Registration, DebuggingOfNetSnmpShowsTheInitialisation) {
   testing::internal::CaptureStderr();
   snmp_enable_stderrlog();
   debug_register_tokens("trace,mplsTeStdMIB");
   snmp_set_do_debugging(1);
   init_mplsTeStdMIB("vrf-red");
   snmp_set_do_debugging(0);
   snmp_disable_stderrlog();
   std::string const out = testing::internal::GetCapturedStderr();
   unregister_mplsTeStdMIB("vrf-red");
   EXPECT_THAT(out, testing::ContainsRegex("trace: init_mplsTeStdMIB\\(\\): [^\n]*mplsTeStdMIB.cpp, [0-9]+:\n"
                                           "mplsTeStdMIB: Initializing in context \"vrf-red\"\n"));
}

using RegistrationDeathTest = Registration;

TEST_F(RegistrationDeathTest, StopsTheProcessWithoutTheMibEntity) {
   root_->dirIs("snmp/mpls")->entityDel("mplsTeMib");
   struct Step {
      void (*initialize)(Vel::Ptr<Snmp::Config const>, Vel::String);
      char const* table;
   };
   for (auto const& [initialize, table] : {Step{initialize_table_mplsTunnelTable, "mplsTunnelTable"},
                                           Step{initialize_table_mplsTunnelHopTable, "mplsTunnelHopTable"},
                                           Step{initialize_table_mplsTunnelPerfTable, "mplsTunnelPerfTable"}}) {
      EXPECT_DEATH(initialize(SnmpUtil::getSnmpConfig(), ""),
                   testing::StartsWith(fmt::format("Can not getEntityRelative( snmp/mpls/mplsTeMib ) for table {}. Is "
                                                   "this path correct?\n",
                                                   table)));
   }
   EXPECT_DEATH(init_mplsTeStdMIB(""), "Assertion `e' failed");
   SnmpUtil::agentRootIs(nullptr);
   EXPECT_DEATH(init_mplsTeStdMIB(""), "Assertion `e' failed");
}

TEST_F(RegistrationDeathTest, StopsTheProcessWhenTheEntityIsNoMib) {
   root_->dirIs("snmp/mpls")->entityDel("mplsTeMib");
   root_->dirIs("snmp/mpls/mplsTeMib");
   EXPECT_DEATH(init_mplsTeStdMIB(""),
                testing::AllOf(testing::StartsWith("snmp/mpls/mplsTeMib does not appear to be of type "
                                                   "MplsSnmp::MplsTeMib.\n"),
                               testing::HasSubstr("Assertion `ptr' failed")));
}

TEST_F(RegistrationDeathTest, StopsTheProcessWhenNetSnmpRefusesATable) {
   init_mplsTeStdMIB("");
   EXPECT_DEATH(init_mplsTeStdMIB(""), "Assertion `result == 0' failed") << "the tables are registered already";
}

TEST_F(RegistrationDeathTest, StopsTheProcessWhenRequestsCannotBeSerialised) {
   seam.failInjectionOfSerialize = true;
   EXPECT_DEATH(init_mplsTeStdMIB(""), "Assertion `injected == \\(0\\)' failed");
}

}  // namespace
}  // namespace MplsSnmp
