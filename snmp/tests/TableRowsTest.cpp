// SPDX-License-Identifier: MIT
#include "snmp/TableRows.h"

#include <gmock/gmock.h>

#include <random>
#include <set>

#include "snmp/Tables.h"
#include "snmp/tests/Rows.h"

namespace MplsSnmp {
namespace {

using Index = std::vector<unsigned long>;
constexpr unsigned long kLargest = 0xffff'ffff;

class TableRowsTest : public testing::Test {
 protected:
   void put(MplsTunnelTableKey const& key) { mib_->mplsTunnelTableIs(TestSupport::tunnelRow(key)); }
   Index seek(Index const& index) { return tunnels_.seek(index) ? here() : Index(); }
   Index here() { return {tunnels_.index().begin(), tunnels_.index().end()}; }

   Vel::Ptr<MplsTeMib> mib_ = mplsTeMibFactory("mplsTeMib");
   TableRows<TunnelTable> tunnels_{*mib_};
};

TEST_F(TableRowsTest, theColumnsThatAreServedAreOfferedWithTheirTypes) {
   auto const numbers = [](auto const& rows) {
      std::vector<unsigned> found;
      for (auto const& column : rows.columns()) found.push_back(column.number);
      return found;
   };
   EXPECT_THAT(numbers(tunnels_), testing::ElementsAre(5, 6, 7, 8, 9, 10, 12, 13, 14, 15, 16, 20, 21, 24, 25, 26, 28,
                                                       30, 33, 34, 35, 36, 37));
   EXPECT_THAT(numbers(TableRows<PerfTable>(*mib_)), testing::ElementsAre(1, 2, 4, 5));
   EXPECT_THAT(numbers(TableRows<HopTable>(*mib_)), testing::ElementsAre(4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
   EXPECT_EQ(TableRows<PerfTable>(*mib_).columns()[1].type, ASN_COUNTER64);
   EXPECT_EQ(tunnels_.columns()[0].type, ASN_OCTET_STR);
}

TEST_F(TableRowsTest, aComponentOutOfRangeStandsBehindAllRowsThatBeginLikeIt) {
   put({12, 1, 5, 9});
   put({65'535, kLargest, kLargest, kLargest});
   EXPECT_EQ(seek({12, 1, 5, 9}), (Index{12, 1, 5, 9}));
   EXPECT_EQ(seek({12, 1, 0x1'0000'0000, 0}), (Index{65'535, kLargest, kLargest, kLargest}));
   EXPECT_EQ(seek({12, 1, 5, 0x1'0000'0000}), (Index{65'535, kLargest, kLargest, kLargest}));
   EXPECT_EQ(seek({65'536}), Index());
   EXPECT_EQ(seek({65'536, 0, 0, 0}), Index());
   EXPECT_EQ(seek({kLargest}), Index());
   EXPECT_EQ(seek({65'535, kLargest, kLargest, kLargest, 0}), Index()) << "what goes on behind a row's is greater";
}

TEST_F(TableRowsTest, aWalkGoesOnWhenItsRowHasGone) {
   put({1, 0, 0, 0});
   put({2, 0, 0, 0});
   put({3, 0, 0, 0});
   ASSERT_EQ(seek({1}), (Index{1, 0, 0, 0}));
   mib_->mplsTunnelTableDel({1, 0, 0, 0});
   mib_->mplsTunnelTableDel({2, 0, 0, 0});
   ASSERT_TRUE(tunnels_.next());
   EXPECT_EQ(here(), (Index{3, 0, 0, 0}));
   EXPECT_FALSE(tunnels_.next());
}

/// A long walk has its next rows fetched: those may go, and others come, while it is on its way to them.
TEST_F(TableRowsTest, aWalkThroughALargeTableMeetsTheRowsThatAreThereWhenItArrives) {
   std::mt19937 random(11);
   std::set<std::uint16_t> rows;
   auto const key = [](std::uint16_t index) { return MplsTunnelTableKey(index, 0, 0, 0); };
   for (std::uint16_t index = 1; index <= 12'000; index += 2) {
      rows.insert(index);
      put(key(index));
   }
   unsigned visited = 0;
   unsigned changed = 0;
   for (bool isThere = tunnels_.seek({}); isThere; ++visited) {
      auto const at = static_cast<std::uint16_t>(tunnels_.index()[0]);
      if (random() % 20 == 0) {
         auto const near = static_cast<std::uint16_t>(at + random() % 20);
         ++changed;
         if (rows.erase(near) != 0) {
            mib_->mplsTunnelTableDel(key(near));
         } else {
            rows.insert(near);
            put(key(near));
         }
      }
      auto const expected = rows.upper_bound(at);
      isThere = tunnels_.next();
      ASSERT_EQ(isThere ? here() : Index(), expected == rows.end() ? Index() : (Index{*expected, 0, 0, 0}));
   }
   EXPECT_GT(visited, 5'000U);
   EXPECT_GT(changed, 200U);
}

TEST_F(TableRowsTest, anyIndexLeadsToTheRowThatTheOrderOfNamesSays) {
   std::mt19937 random(7);
   std::vector<unsigned long> const values{0, 1, 2, 12, 65'534, 65'535, 65'536, kLargest - 1, kLargest, 0x1'0000'0000};
   auto const value = [&] { return values[random() % values.size()]; };
   std::set<Index> rows;
   unsigned found = 0;
   for (int n = 0; n < 20'000; ++n) {
      if (n % 10 == 0) {
         Index const row{value() & 0xffff, value() & kLargest, value() & kLargest, value() & kLargest};
         MplsTunnelTableKey const key(static_cast<std::uint16_t>(row[0]), static_cast<std::uint32_t>(row[1]),
                                      static_cast<std::uint32_t>(row[2]), static_cast<std::uint32_t>(row[3]));
         if (rows.size() > 100 || !rows.insert(row).second) {
            rows.erase(row);
            mib_->mplsTunnelTableDel(key);
         } else {
            put(key);
         }
      }
      Index index(random() % 7);
      for (auto& component : index) component = value();
      auto const expected = rows.lower_bound(index);
      ASSERT_EQ(seek(index), expected == rows.end() ? Index() : *expected) << testing::PrintToString(index);
      found += expected == rows.end() ? 0 : 1;
   }
   EXPECT_GT(found, 10'000U) << "half of the indices lead to a row";
}

}  // namespace
}  // namespace MplsSnmp
