// SPDX-License-Identifier: MIT
#include "tools/TableReader.h"

#include <gmock/gmock.h>

#include <array>

#include "tools/tests/FakeAgent.h"

namespace Tools {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StrEq;
using testing::ThrowsMessage;

constexpr std::array columns{TunnelColumn::name, TunnelColumn::setupPrio, TunnelColumn::operStatus};

class TableReaderTest : public testing::Test {
 protected:
   static Oid index(std::uint32_t tunnel) { return {tunnel, 1, 0xc0000201, 0x0a000009}; }

   static Oid instance(Table const& table, std::uint32_t column, Oid const& index) {
      auto name = table.columnOid(column);
      name.insert(name.end(), index.begin(), index.end());
      return name;
   }

   void addTunnel(std::uint32_t tunnel) {
      agent.variables[instance(tunnelTable, TunnelColumn::name, index(tunnel))] = "t" + std::to_string(tunnel);
      agent.variables[instance(tunnelTable, TunnelColumn::setupPrio, index(tunnel))] = std::int64_t{7};
      agent.variables[instance(tunnelTable, TunnelColumn::operStatus, index(tunnel))] = std::int64_t{1};
   }

   void removeTunnel(std::uint32_t tunnel) {
      for (auto const column : columns) agent.variables.erase(instance(tunnelTable, column, index(tunnel)));
   }

   Rows walkTunnels() { return walk(agent, tunnelTable, columns); }

   FakeAgent agent;
};

TEST_F(TableReaderTest, readsAllRowsInTheAgentsOrder) {
   for (std::uint32_t tunnel : {65535U, 2U, 300U, 1U}) addTunnel(tunnel);
   auto const rows = walkTunnels();
   std::vector<Oid> indices;
   for (auto const& [key, row] : rows) indices.push_back(key);
   EXPECT_EQ(indices, (std::vector{index(1), index(2), index(300), index(65535)}));
   EXPECT_EQ(rows.at(index(300))[TunnelColumn::name], Value{"t300"});
   EXPECT_EQ(rows.at(index(300))[TunnelColumn::setupPrio], Value{std::int64_t{7}});
}

TEST_F(TableReaderTest, takesManyRowsWithEachRequest) {
   for (std::uint32_t tunnel = 1; tunnel <= 330; ++tunnel) addTunnel(tunnel);
   EXPECT_EQ(walkTunnels().size(), 330U);
   EXPECT_LE(agent.requests, 11) << "33 rows of 3 columns with each request, and one for the end";
}

TEST_F(TableReaderTest, stopsAtTheEndOfEachColumn) {
   addTunnel(1);
   agent.variables[{1, 3, 6, 1, 2, 1, 10, 166, 3, 2, 4, 1, 4, 1, 1, 1}] = std::int64_t{1};
   EXPECT_EQ(walkTunnels().size(), 1U);
}

TEST_F(TableReaderTest, readsOnlyTheRowsBelowAPrefix) {
   for (std::uint32_t list : {2U, 3U, 30U}) {
      agent.variables[instance(hopTable, HopColumn::type, {list, 1, 1})] = std::int64_t{1};
      agent.variables[instance(hopTable, HopColumn::type, {list, 1, 2})] = std::int64_t{1};
   }
   auto const rows = walk(agent, hopTable, std::array{HopColumn::type}, {3});
   ASSERT_EQ(rows.size(), 2U);
   EXPECT_EQ(rows.begin()->first, (Oid{3, 1, 1}));
   EXPECT_TRUE(walk(agent, hopTable, std::array{HopColumn::type}, {4}).empty());
}

TEST_F(TableReaderTest, leavesOutTheColumnsThatARowDoesNotHave) {
   addTunnel(1);
   addTunnel(2);
   agent.variables.erase(instance(tunnelTable, TunnelColumn::setupPrio, index(1)));
   auto const rows = walkTunnels();
   EXPECT_FALSE(present(rows.at(index(1))[TunnelColumn::setupPrio]));
   EXPECT_TRUE(present(rows.at(index(1))[TunnelColumn::operStatus]));
   EXPECT_TRUE(present(rows.at(index(2))[TunnelColumn::setupPrio])) << "the columns must not slip against each other";
}

TEST_F(TableReaderTest, survivesRowsThatComeAndGoDuringTheWalk) {
   for (std::uint32_t tunnel = 10; tunnel <= 200; tunnel += 2) addTunnel(tunnel);
   agent.onRequest = [this](int request) {
      removeTunnel(static_cast<std::uint32_t>(10 + 40 * request));
      addTunnel(static_cast<std::uint32_t>(11 + 30 * request));
      addTunnel(static_cast<std::uint32_t>(request));
   };
   auto const rows = walkTunnels();
   for (std::uint32_t tunnel : {10U, 48U, 52U, 200U}) {
      ASSERT_TRUE(rows.contains(index(tunnel))) << tunnel;
      EXPECT_EQ(rows.at(index(tunnel))[TunnelColumn::name], Value{"t" + std::to_string(tunnel)});
   }
}

TEST_F(TableReaderTest, keepsTheCellsOfARowThatGoesHalfWay) {
   addTunnel(1);
   agent.limit = 1;  // One variable with each request: column after column.
   agent.onRequest = [this](int) {
      if (agent.variables.contains(instance(tunnelTable, TunnelColumn::name, index(1))) && agent.requests > 9) {
         removeTunnel(1);
      }
   };
   auto const rows = walkTunnels();
   ASSERT_EQ(rows.size(), 1U);
   EXPECT_EQ(rows.at(index(1))[TunnelColumn::name], Value{"t1"});
   EXPECT_FALSE(present(rows.at(index(1))[TunnelColumn::operStatus]));
}

TEST_F(TableReaderTest, asksForLessWhenTheResponseIsTooBig) {
   for (std::uint32_t tunnel = 1; tunnel <= 20; ++tunnel) addTunnel(tunnel);
   for (std::size_t limit : {50U, 4U, 1U}) {
      agent.limit = limit;
      EXPECT_EQ(walkTunnels().size(), 20U);
   }
   agent.limit = 0;
   EXPECT_THAT([this] { walkTunnels(); },
               ThrowsMessage<AgentError>(HasSubstr("the agent answers tooBig to mplsTunnelName")));
}

TEST_F(TableReaderTest, namesTheObjectThatTheAgentFailsAt) {
   addTunnel(1);
   addTunnel(2);
   agent.broken = instance(tunnelTable, TunnelColumn::setupPrio, index(2));
   EXPECT_THAT([this] { walkTunnels(); },
               ThrowsMessage<AgentError>(StrEq("the agent answers genErr to mplsTunnelSetupPrio after " +
                                               dotted(instance(tunnelTable, TunnelColumn::setupPrio, index(1))) +
                                               " in mplsTunnelTable: see the agent's log")));
}

// An agent that answers each request with the same name.
class StuckAgent : public FakeAgent {
 public:
   Oid name;
   Response getBulk(std::vector<Oid> const&, int) override { return {0, {{name, std::uint64_t{1}}}}; }
};

TEST_F(TableReaderTest, endsWithAnErrorWhenAnOidDoesNotIncrease) {
   StuckAgent stuck;
   stuck.name = instance(tunnelTable, TunnelColumn::name, index(1));
   EXPECT_THAT([&] { walk(stuck, tunnelTable, columns); },
               ThrowsMessage<AgentError>(AllOf(HasSubstr("an OID that does not increase"),
                                               HasSubstr(dotted(stuck.name) + " after " + dotted(stuck.name)))));
}

TEST_F(TableReaderTest, refusesAMalformedIndex) {
   agent.variables[instance(tunnelTable, TunnelColumn::name, {1, 2, 3})] = "short";
   EXPECT_THAT([this] { walkTunnels(); }, ThrowsMessage<AgentError>(HasSubstr("malformed index")));
}

TEST_F(TableReaderTest, refusesAnEmptyResponse) {
   class : public FakeAgent {
      Response getBulk(std::vector<Oid> const&, int) override { return {}; }
   } silent;
   EXPECT_THAT([&] { walk(silent, tunnelTable, columns); }, ThrowsMessage<AgentError>(HasSubstr("an empty response")));
}

TEST_F(TableReaderTest, tellsAnEmptyTableFromOneThatIsNotServed) {
   EXPECT_TRUE(walkTunnels().empty());
   agent.servesTables = false;
   EXPECT_THAT([this] { walkTunnels(); },
               ThrowsMessage<AgentError>(StrEq("the agent does not serve mplsTunnelTable: is the module loaded there, "
                                               "and does the community's view include 1.3.6.1.2.1.10.166?")));
}

TEST_F(TableReaderTest, readsOneRow) {
   addTunnel(1);
   addTunnel(2);
   auto const row = readRow(agent, tunnelTable, index(2));
   EXPECT_EQ(row[TunnelColumn::name], Value{"t2"});
   EXPECT_FALSE(present(row[TunnelColumn::adminStatus]));
   EXPECT_TRUE(readRow(agent, tunnelTable, index(3)).empty());
}

TEST_F(TableReaderTest, writesARowForProgramsWithEveryObjectByItsName) {
   Row row;
   row.set(PerfColumn::hcPackets, std::uint64_t{1} << 40);
   EXPECT_EQ(toJson(perfTable, index(12), row).dump(),
             R"({"mplsTunnelIndex":12,"mplsTunnelInstance":1,"mplsTunnelIngressLSRId":"192.0.2.1",)"
             R"("mplsTunnelEgressLSRId":"10.0.0.9","mplsTunnelPerfPackets":null,)"
             R"("mplsTunnelPerfHCPackets":1099511627776,"mplsTunnelPerfBytes":null,"mplsTunnelPerfHCBytes":null})");
}

}  // namespace
}  // namespace Tools
