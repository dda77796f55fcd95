// SPDX-License-Identifier: MIT
/// The three tables as a manager sees them: a real agent, real requests over UDP, one expected tree.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <charconv>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <sstream>

#include "host/snmp/SnmpUtil.h"
#include "mib/MplsTeMib.h"
#include "snmp/mplsTeStdMIB.h"
#include "snmp/tests/ExpectedTree.h"
#include "snmp/tests/Requests.h"
#include "snmp/tests/Rows.h"
#include "substrate/vel/EntityDir.h"
#include "tests/support/TestAgent.h"
#include "tests/support/TraceCapture.h"

namespace MplsSnmp {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using TestSupport::Answer;
using TestSupport::Oid;
using TestSupport::Setting;
using TestSupport::Varbind;

using Tree = std::map<Oid, std::string>;
using Seed = std::mt19937::result_type;

/// mplsTeObjects; the names of the tree are relative to it.
Oid const kObjects{1, 3, 6, 1, 2, 1, 10, 166, 3, 2};

Oid object(std::initializer_list<oid> rest) {
   Oid name = kObjects;
   name.insert(name.end(), rest);
   return name;
}

bool isBelow(Oid const& name, Oid const& root) {
   return name.size() >= root.size() && std::equal(root.begin(), root.end(), name.begin());
}

/// Whether GETNEXT has left the three tables.
bool isBehind(Varbind const& answer) {
   auto const isIn = [&](oid table) { return isBelow(answer.name, object({table})); };
   return answer.value == "endOfMibView" || !(isIn(2) || isIn(4) || isIn(9));
}

Tree parseTree(char const* text) {
   Tree tree;
   std::istringstream lines(text);
   for (std::string line; std::getline(lines, line);) {
      auto const equals = line.find(" = ");
      if (equals == std::string::npos) continue;
      Oid name = kObjects;
      for (char const* at = line.data(); at < line.data() + equals;) {
         oid number = 0;
         at = std::from_chars(at, line.data() + equals, number).ptr + 1;
         name.push_back(number);
      }
      tree.emplace(name, line.substr(equals + 3));
   }
   return tree;
}

std::string treeText(std::vector<Varbind> const& varbinds) {
   std::string text = "\n";
   for (auto const& [name, value] : varbinds) {
      text += fmt::format("{} = {}\n", fmt::join(name.begin() + kObjects.size(), name.end(), "."), value);
   }
   return text;
}

/// The values of a SET of an INTEGER.
std::vector<std::uint8_t> longValue(long value) {
   auto const* const octets = reinterpret_cast<std::uint8_t const*>(&value);
   return {octets, octets + sizeof value};
}

/// One agent for all, with the tables over three tunnels and their hops; each test puts the rows anew.
class AgentTest : public testing::Test {
 protected:
   static void SetUpTestSuite() {
      agent_ = std::make_unique<TestSupport::TestAgent>();
      mib_ = mplsTeMibFactory("mplsTeMib");
      auto const root = Vel::makePtr<Vel::EntityDir>("");
      root->dirIs("snmp/mpls")->entityIs(mib_);
      SnmpUtil::agentRootIs(root);
      init_mplsTeStdMIB("");
   }
   static void TearDownTestSuite() {
      unregister_mplsTeStdMIB("");
      SnmpUtil::agentRootIs(nullptr);
      mib_ = nullptr;
      agent_.reset();
   }

   AgentTest() {
      agent_->versionIs(SNMP_VERSION_2c);
      putRows();
   }

   static void putRows() {
      mib_->mplsTunnelTableDelAll();
      mib_->mplsTunnelHopTableDelAll();
      mib_->mplsTunnelTableIs(TestSupport::tunnelRow({1, 1, 0x0a000001, 0x0a000009},
                                                     {.name = "to-paris",
                                                      .setupPrio = 7,
                                                      .holdingPrio = 0,
                                                      .sessionAttributes = 0x15,
                                                      .localProtectInUse = true,
                                                      .includeAnyAffinity = 1,
                                                      .includeAllAffinity = 2,
                                                      .excludeAnyAffinity = 0xffffffff,
                                                      .instanceUpTime = 86400.5,
                                                      .pathChanges = 3,
                                                      .stateTransitions = 5,
                                                      .perfPackets = 17,
                                                      .perfBytes = 4711},
                                                     1));
      mib_->mplsTunnelTableIs(TestSupport::tunnelRow({1, 1, 0x0a000001, 0xc8000009},
                                                     {.name = "to-rome",
                                                      .descr = "backup",
                                                      .operStatus = OperStatus::operDown,
                                                      .perfPackets = (1ULL << 32U) + 1,
                                                      .perfBytes = std::numeric_limits<std::uint64_t>::max()},
                                                     4294967295));
      mib_->mplsTunnelTableIs(
            TestSupport::tunnelRow({65535, 4294967295, 0xc0000201, 0}, {.name = "", .ifIndex = 9}, 2));
      mib_->mplsTunnelHopTableIs(TestSupport::hopRow({1, 1, 1}));
      mib_->mplsTunnelHopTableIs(
            TestSupport::hopRow({1, 1, 2}, {.ipAddr = {10, 0, 23, 3}, .lspId = "abcdef", .type = HopType::loose}));
      mib_->mplsTunnelHopTableIs(TestSupport::hopRow({4294967295, 1, 1}, {.addrType = HopAddrType::ipv6,
                                                                          .ipAddr = std::string(16, '\1'),
                                                                          .prefixLen = 128,
                                                                          .include = false,
                                                                          .pathOptionName = "dynamic-6",
                                                                          .pathComp = HopEntryPathComp::compDynamic}));
   }

   /// All of the three tables, GETNEXT by GETNEXT.
   static std::vector<Varbind> walk() {
      std::vector<Varbind> all;
      for (Oid name = object({2});;) {
         Answer const answer = agent_->getNext({name});
         if (answer.status != SNMP_ERR_NOERROR || answer.varbinds.size() != 1) {
            throw std::runtime_error(fmt::format("GETNEXT fails with {}", answer.status));
         }
         Varbind const& found = answer.varbinds.front();
         if (isBehind(found)) return all;
         all.push_back(found);
         name = found.name;
      }
   }

   /// Where a GETNEXT must lead: the next line of the tree, or anywhere outside the tables.
   static void expectNext(Oid const& name, Varbind const& answer) {
      auto const next = tree_.upper_bound(name);
      if (next != tree_.end()) {
         EXPECT_EQ(treeText({answer}), treeText({{next->first, next->second}})) << "behind " << treeText({{name, ""}});
      } else {
         EXPECT_TRUE(isBehind(answer)) << treeText({answer});
      }
   }

   /// What a GET must answer.
   static std::string expectedValue(Oid const& name) {
      if (auto const found = tree_.find(name); found != tree_.end()) return found->second;
      std::size_t const depth = kObjects.size();
      if (name.size() < depth + 3 || name[depth + 1] != 1) return "noSuchObject";
      oid const table = name[depth];
      oid const column = name[depth + 2];
      bool const isColumn = (table == 2 && column >= 5 && column <= 37) ||
                            (table == 4 && column >= 4 && column <= 15) || (table == 9 && column >= 1 && column <= 5);
      if (!isColumn) return "noSuchObject";
      // A column that is not served is no object where its row exists.
      Oid served = name;
      served[depth + 2] = table == 9 ? 1 : 5;
      return tree_.contains(served) ? "noSuchObject" : "noSuchInstance";
   }

   /// A name in or near the tables, on which the answers of agents have gone wrong before.
   static Oid randomName(std::mt19937& random) {
      auto const pick = [&](std::size_t n) { return std::uniform_int_distribution<std::size_t>(0, n - 1)(random); };
      auto const number = [&]() -> oid {
         constexpr std::array<oid, 8> special{0, 1, 2, 0x7fffffff, 0x80000000, 0xfffffffe, 0xffffffff, 65535};
         return pick(2) == 0 ? special[pick(special.size())] : pick(40);
      };
      Oid name = std::next(tree_.begin(), static_cast<long>(pick(tree_.size())))->first;
      switch (pick(6)) {
         case 0:
            return name;
         case 1:  // an incomplete index, column or table
            name.resize(kObjects.size() + 1 + pick(name.size() - kObjects.size()));
            return name;
         case 2:  // more sub-identifiers than the index has
            for (auto more = pick(128 - name.size() + 1); more > 0; --more) name.push_back(number());
            return name;
         case 3:  // another row or column
            name[kObjects.size() + 2 + pick(name.size() - kObjects.size() - 2)] = number();
            return name;
         case 4:
            name.back() += pick(2) == 0 && name.back() > 0 ? -1 : name.back() < 0xffffffff ? 1 : 0;
            return name;
         default:
            return {object({2, 1, 5 + pick(33), number(), number(), number(), number()})};
      }
   }
   static std::vector<Oid> randomNames(std::mt19937& random) {
      std::vector<Oid> names(1 + std::uniform_int_distribution<std::size_t>(0, 9)(random));
      for (Oid& name : names) name = randomName(random);
      return names;
   }

   static inline std::unique_ptr<TestSupport::TestAgent> agent_;
   static inline Vel::Ptr<MplsTeMib> mib_;
   static inline Tree const tree_ = parseTree(kExpectedTree);
   TestSupport::TraceCapture trace_{"mplsTeStdMIB"};
};

TEST_F(AgentTest, AWalkShowsTheWholeTreeInOrder) { EXPECT_EQ(treeText(walk()), kExpectedTree); }

TEST_F(AgentTest, TheExpectedTreeIsInOrderItself) {
   std::vector<Varbind> sorted;
   for (auto const& [name, value] : tree_) sorted.push_back({name, value});
   EXPECT_EQ(treeText(sorted), kExpectedTree);
}

TEST_F(AgentTest, GetOfEachVariableAnswersItsValue) {
   for (auto const& [name, value] : tree_) {
      EXPECT_THAT(agent_->get({name}).varbinds, ElementsAre(Varbind{name, value}));
   }
}

TEST_F(AgentTest, GetNextOfEachVariableLeadsToTheNext) {
   for (auto const& [name, value] : tree_) expectNext(name, agent_->getNext({name}).varbinds.at(0));
}

TEST_F(AgentTest, GetBulkShowsTheWholeTreeInOrder) {
   for (long const repetitions : {1L, 7L, 50L}) {
      std::vector<Varbind> all;
      for (bool atEnd = false; !atEnd;) {
         auto const& from = all.empty() ? object({2}) : all.back().name;
         for (auto const& varbind : agent_->getBulk({from}, 0, repetitions).varbinds) {
            atEnd = atEnd || isBehind(varbind);
            if (!atEnd) all.push_back(varbind);
         }
      }
      EXPECT_EQ(treeText(all), kExpectedTree) << repetitions << " repetitions";
   }
}

TEST_F(AgentTest, SnmpV1SeesTheTreeWithoutTheCountersOf64Bits) {
   std::vector<Varbind> wanted;
   for (auto const& [name, value] : tree_) {
      if (!value.starts_with("Counter64")) wanted.push_back({name, value});
   }
   std::vector<Varbind> all;
   agent_->versionIs(SNMP_VERSION_1);
   Oid name = object({2});
   while (true) {
      Answer const answer = agent_->getNext({name});
      if (answer.status == SNMP_ERR_NOSUCHNAME || isBehind(answer.varbinds.at(0))) break;
      ASSERT_EQ(answer.status, SNMP_ERR_NOERROR);
      all.push_back(answer.varbinds.front());
      name = all.back().name;
   }
   EXPECT_EQ(treeText(all), treeText(wanted));
}

TEST_F(AgentTest, SnmpV1HasNoSuchNameForWhatIsNotThere) {
   agent_->versionIs(SNMP_VERSION_1);
   Answer const answer = agent_->get(
         {object({2, 1, 13, 1, 1, 0x0a000001, 0x0a000009}), object({2, 1, 11, 1, 1, 0x0a000001, 0x0a000009})});
   EXPECT_EQ(answer.status, SNMP_ERR_NOSUCHNAME);
   EXPECT_EQ(answer.index, 2);
}

TEST_F(AgentTest, ManyVariablesOfOneGetAreAnsweredEachForItself) {
   std::mt19937 random(Seed{20250517});
   for (int n = 0; n < 1500; ++n) {
      auto const names = randomNames(random);
      Answer const answer = agent_->get(names);
      ASSERT_EQ(answer.status, SNMP_ERR_NOERROR);
      ASSERT_EQ(answer.varbinds.size(), names.size());
      for (std::size_t v = 0; v < names.size(); ++v) {
         EXPECT_EQ(treeText({answer.varbinds[v]}), treeText({{names[v], expectedValue(names[v])}}));
      }
   }
}

TEST_F(AgentTest, ManyVariablesOfOneGetNextAreAnsweredEachForItself) {
   std::mt19937 random(Seed{20250518});
   for (int n = 0; n < 1500; ++n) {
      auto const names = randomNames(random);
      Answer const answer = agent_->getNext(names);
      ASSERT_EQ(answer.status, SNMP_ERR_NOERROR);
      ASSERT_EQ(answer.varbinds.size(), names.size());
      for (std::size_t v = 0; v < names.size(); ++v) expectNext(names[v], answer.varbinds[v]);
   }
}

TEST_F(AgentTest, ManyVariablesOfOneGetBulkAreAnsweredEachForItself) {
   std::mt19937 random(Seed{20250519});
   for (int n = 0; n < 500; ++n) {
      auto names = randomNames(random);
      std::size_t const nonRepeaters = std::uniform_int_distribution<std::size_t>(0, names.size())(random);
      long const repetitions = std::uniform_int_distribution<long>(1, 5)(random);
      Answer const answer = agent_->getBulk(names, static_cast<long>(nonRepeaters), repetitions);
      ASSERT_EQ(answer.status, SNMP_ERR_NOERROR);
      for (std::size_t v = 0; v < answer.varbinds.size(); ++v) {
         std::size_t const repeaters = names.size() - nonRepeaters;
         std::size_t const which = v < nonRepeaters ? v : nonRepeaters + (v - nonRepeaters) % repeaters;
         expectNext(names[which], answer.varbinds[v]);
         // At its end the agent may name a variable like its neighbour.
         if (answer.varbinds[v].value != "endOfMibView") names[which] = answer.varbinds[v].name;
      }
   }
}

TEST_F(AgentTest, EveryLengthOfIndexIsAnswered) {
   for (oid const number : {oid{0}, oid{1}, oid{0x80000000}, oid{0xffffffff}}) {
      for (std::size_t length = kObjects.size() + 1; length <= 128; ++length) {
         Oid name = object({2, 1, 5});
         name.resize(std::max(length, name.size()), number);
         name.resize(length);
         Answer const got = agent_->get({name});
         ASSERT_EQ(got.status, SNMP_ERR_NOERROR);
         EXPECT_EQ(got.varbinds.at(0).value, expectedValue(name)) << length;
         expectNext(name, agent_->getNext({name}).varbinds.at(0));
      }
   }
}

TEST_F(AgentTest, AnExistingRowIsFoundWithoutAWalk) {
   trace_.clear();
   agent_->get({object({2, 1, 5, 65535, 4294967295, 0xc0000201, 0})});
   EXPECT_THAT(trace_.texts(), Contains(AllOf(StartsWith("mplsTunnelTable_get_first_data_point - allocated new loop"),
                                              HasSubstr("hintMatched=true"))));
   EXPECT_THAT(trace_.texts(), Not(Contains(HasSubstr("get_next_data_point"))));
}

TEST_F(AgentTest, GetNextOfAnExistingRowNeedsOneStep) {
   for (Oid const& name : {object({2, 1, 5, 1, 1, 0x0a000001, 0xc8000009}), object({4, 1, 5, 1, 1, 2}),
                           object({9, 1, 1, 1, 1, 0x0a000001, 0xc8000009})}) {
      trace_.clear();
      expectNext(name, agent_->getNext({name}).varbinds.at(0));
      auto const isStep = [](std::string const& text) { return text.find("advancing") != std::string::npos; };
      EXPECT_EQ(std::ranges::count_if(trace_.texts(), isStep), 1);
   }
}

TEST_F(AgentTest, EveryContextOfARequestIsFreed) {
   trace_.clear();
   agent_->getBulk({object({2}), object({4, 1, 5}), object({9, 1, 3})}, 1, 20);
   agent_->get({object({2, 1, 5, 7, 7, 7, 7}), object({4, 1, 5, 1, 1, 1})});
   auto const count = [&](std::string_view part) {
      return std::ranges::count_if(trace_.texts(), [&](auto const& text) { return text.find(part) != text.npos; });
   };
   EXPECT_GT(count("allocated data context"), 20);
   EXPECT_EQ(count("allocated data context"), count("_free_data_context 0x"));
   EXPECT_EQ(count("allocated new loop context"), count("_free_loop_context_at_end 0x"));
}

TEST_F(AgentTest, AVariableThatIsNotServedDoesNotSpoilItsNeighbour) {
   Answer const answer = agent_->get({object({2, 1, 11, 1, 1, 0x0a000001, 0x0a000009}),
                                      object({2, 1, 13, 1, 1, 0x0a000001, 0x0a000009}),
                                      object({9, 1, 3, 1, 1, 0x0a000001, 0x0a000009})});
   EXPECT_EQ(answer.status, SNMP_ERR_NOERROR);
   EXPECT_EQ(answer.varbinds.at(0).value, "noSuchObject");
   EXPECT_EQ(answer.varbinds.at(1).value, "INTEGER 7");
   EXPECT_EQ(answer.varbinds.at(2).value, "noSuchObject");
   EXPECT_TRUE(trace_.has("mplsTunnelTable invalid column 11"));
   EXPECT_TRUE(trace_.has("mplsTunnelPerfTable invalid column 3"));
}

TEST_F(AgentTest, AWalkPassesOverAColumnThatIsNotServedAtItsFirstRow) {
   trace_.clear();
   expectNext(object({2, 1, 10, 65535, 4294967295, 0xc0000201, 0}),
              agent_->getNext({object({2, 1, 10, 65535, 4294967295, 0xc0000201, 0})}).varbinds.at(0));
   EXPECT_EQ(trace_.count("mplsTunnelTable invalid column 11"), 1) << "not once per row";
}

TEST_F(AgentTest, AValueThatDoesNotFitFailsTheGet) {
   mib_->mplsTunnelHopTableIs(TestSupport::hopRow({1, 1, 1}, {.asNumber = "", .lspId = "four"}));
   mib_->mplsTunnelTableIs(TestSupport::tunnelRow({1, 1, 0x0a000001, 0x0a000009}, {.descr = std::string(256, 'd')}));
   for (Oid const& name :
        {object({4, 1, 7, 1, 1, 1}), object({4, 1, 9, 1, 1, 1}), object({2, 1, 6, 1, 1, 0x0a000001, 0x0a000009})}) {
      Answer const answer = agent_->get({object({4, 1, 4, 1, 1, 1}), name});
      EXPECT_EQ(answer.status, SNMP_ERR_GENERR);
      EXPECT_EQ(answer.index, 2);
   }
}

TEST_F(AgentTest, ALongNameIsCutOnItsWay) {
   mib_->mplsTunnelTableIs(TestSupport::tunnelRow({2, 1, 1, 1}, {.name = std::string(300, 'n')}));
   EXPECT_EQ(agent_->get({object({2, 1, 5, 2, 1, 1, 1})}).varbinds.at(0).value,
             TestSupport::octets(std::string(255, 'n')));
}

TEST_F(AgentTest, EmptyTablesHaveNoVariables) {
   mib_->mplsTunnelTableDelAll();
   mib_->mplsTunnelHopTableDelAll();
   EXPECT_THAT(walk(), testing::IsEmpty());
   EXPECT_EQ(agent_->get({object({2, 1, 5, 1, 1, 0x0a000001, 0x0a000009})}).varbinds.at(0).value, "noSuchInstance");
   EXPECT_EQ(agent_->get({object({2, 1, 11, 1, 1, 0x0a000001, 0x0a000009})}).varbinds.at(0).value, "noSuchInstance");
}

TEST_F(AgentTest, RowsMayComeAndGoDuringAWalk) {
   std::mt19937 random(Seed{7});
   auto const key = [](unsigned n) { return MplsTunnelTableKey(static_cast<std::uint16_t>(n), 1, 1, 1); };
   mib_->mplsTunnelTableDelAll();
   std::vector<bool> isThere(64);
   for (int round = 0; round < 20; ++round) {
      std::size_t last = 0;
      Oid name = object({2, 1, 13});
      while (true) {
         std::size_t const which = std::uniform_int_distribution<std::size_t>(1, isThere.size() - 1)(random);
         isThere[which] = !isThere[which];
         if (isThere[which]) {
            mib_->mplsTunnelTableIs(TestSupport::tunnelRow(key(static_cast<unsigned>(which))));
         } else {
            mib_->mplsTunnelTableDel(key(static_cast<unsigned>(which)));
         }
         auto const next = std::find(isThere.begin() + static_cast<long>(last) + 1, isThere.end(), true);
         Varbind const found = agent_->getNext({name}).varbinds.at(0);
         if (next == isThere.end()) {
            EXPECT_FALSE(isBelow(found.name, object({2, 1, 13})));
            break;
         }
         last = static_cast<std::size_t>(next - isThere.begin());
         ASSERT_EQ(found.name, object({2, 1, 13, last, 1, 1, 1}));
         name = found.name;
      }
   }
}

TEST_F(AgentTest, ATooLargeGetBulkIsCutAndATooLargeGetIsRefused) {
   Answer const bulk = agent_->getBulk(std::vector<Oid>(20, object({2})), 0, std::numeric_limits<std::int32_t>::max());
   EXPECT_EQ(bulk.status, SNMP_ERR_NOERROR);
   EXPECT_GE(bulk.varbinds.size(), 20U);
   EXPECT_LE(bulk.varbinds.size(), 200U);
   for (std::size_t n = 0; n < 20; ++n) expectNext(object({2}), bulk.varbinds.at(n));

   mib_->mplsTunnelTableIs(TestSupport::tunnelRow({2, 1, 1, 1}, {.name = std::string(255, 'n')}));
   EXPECT_EQ(agent_->get(std::vector<Oid>(500, object({2, 1, 5, 2, 1, 1, 1}))).status, SNMP_ERR_TOOBIG);
}

TEST_F(AgentTest, EveryColumnRefusesToBeSet) {
   for (auto const& [name, value] : tree_) {
      trace_.clear();
      Answer const answer = agent_->set({{name, ASN_INTEGER, longValue(1)}});
      EXPECT_EQ(answer.status, SNMP_ERR_NOTWRITABLE) << treeText({{name, value}});
      EXPECT_EQ(answer.index, 1);
      bool const hasReachedTheModule = std::ranges::any_of(
            trace_.texts(), [](auto const& text) { return text.find("_handler: request mode") != text.npos; });
      EXPECT_EQ(hasReachedTheModule, name[kObjects.size()] != 9) << "counts refuse it before the module";
   }
   EXPECT_EQ(treeText(walk()), kExpectedTree);
}

TEST_F(AgentTest, ARefusalNamesTheColumn) {
   auto const textOf = [&](std::initializer_list<oid> name) {
      trace_.clear();
      EXPECT_EQ(agent_->set({{object(name), ASN_INTEGER, longValue(2)}}).status, SNMP_ERR_NOTWRITABLE);
      for (std::string const& text : trace_.texts()) {
         if (text.find("SET is not") != text.npos || text.find("invalid column") != text.npos) return text;
      }
      return std::string();
   };
   EXPECT_EQ(textOf({2, 1, 34, 1, 1, 0x0a000001, 0x0a000009}),
             "mplsTunnelTable_handler: SET is not configured for column mplsTunnelAdminStatus");
   EXPECT_EQ(textOf({2, 1, 35, 1, 1, 0x0a000001, 0x0a000009}), "mplsTunnelTable invalid column 35");
   EXPECT_EQ(textOf({4, 1, 14, 1, 1, 1}),
             "mplsTunnelHopTable_handler: SET is not configured for column mplsTunnelHopRowStatus");
   EXPECT_EQ(textOf({2, 1, 36, 9, 9, 9, 9}),
             "mplsTunnelTable_handler: SET is not configured for column mplsTunnelRowStatus")
         << "nor can a row be created";
   EXPECT_EQ(textOf({9, 1, 1, 1, 1, 0x0a000001, 0x0a000009}), "");
}

TEST_F(AgentTest, NoSetOfAnyFormChangesAnything) {
   std::vector<Oid> const names{object({2}),
                                object({2, 1}),
                                object({2, 1, 5}),
                                object({2, 1, 5, 1}),
                                object({2, 1, 5, 1, 1, 0x0a000001, 0x0a000009, 4}),
                                object({2, 1, 11, 1, 1, 0x0a000001, 0x0a000009}),
                                object({2, 1, 38, 1, 1, 0x0a000001, 0x0a000009}),
                                object({2, 2, 5, 1, 1, 0x0a000001, 0x0a000009}),
                                object({4, 1, 5, 1, 1, 1}),
                                object({4, 1, 16, 1, 1, 1}),
                                object({9, 1, 3, 1, 1, 0x0a000001, 0x0a000009}),
                                object({9, 1, 1})};
   for (Oid const& name : names) {
      for (Setting const& setting : {Setting{name, ASN_NULL, {}}, Setting{name, ASN_INTEGER, longValue(-1)},
                                     Setting{name, ASN_OCTET_STR, {}}, Setting{name, ASN_OCTET_STR, {1, 2, 3}}}) {
         EXPECT_NE(agent_->set({setting}).status, SNMP_ERR_NOERROR) << treeText({{name, ""}});
         EXPECT_NE(agent_->set({setting, setting, {object({4, 1, 5, 1, 1, 1}), ASN_NULL, {}}}).status,
                   SNMP_ERR_NOERROR);
      }
   }
   EXPECT_EQ(treeText(walk()), kExpectedTree);
}

TEST_F(AgentTest, APacketCutAnywhereIsSurvived) {
   Oid const name = object({2, 1, 13, 1, 1, 0x0a000001, 0x0a000009});
   auto const whole = agent_->packet(name);
   ASSERT_GT(whole.size(), 40U);
   for (std::size_t size = 0; size < whole.size(); ++size) {
      agent_->send({whole.begin(), whole.begin() + static_cast<long>(size)});
   }
   EXPECT_EQ(agent_->get({name}).varbinds.at(0).value, "INTEGER 7");
}

/// A row whose name cannot be read.
struct BrokenRow : TestSupport::TunnelRow {
   BrokenRow() : TunnelRow({1, 1, 0x0a000001, 0x0a000009}, 1, {}) {}
   Vel::String name() const override { throw std::runtime_error("the state is gone"); }
};

TEST_F(AgentTest, ARowThatCannotBeReadDoesNotEndTheAgent) {
   mib_->mplsTunnelTableIs(Vel::makePtr<BrokenRow>());
   EXPECT_EQ(agent_->get({object({2, 1, 5, 1, 1, 0x0a000001, 0x0a000009})}).status, SNMP_ERR_GENERR);
   EXPECT_TRUE(trace_.has("handle_mplsTunnelTable - reading name failed: the state is gone"));
   EXPECT_EQ(agent_->get({object({2, 1, 13, 1, 1, 0x0a000001, 0x0a000009})}).varbinds.at(0).value, "INTEGER 7");
}

}  // namespace
}  // namespace MplsSnmp
