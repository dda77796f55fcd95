// SPDX-License-Identifier: MIT
/// The walk that net-snmp's table iterator does over a table: where it starts, what it meets while rows come and go,
/// and what it says.
#include "snmp/RowWalk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "snmp/tests/Requests.h"
#include "snmp/tests/Rows.h"
#include "tests/support/TraceCapture.h"

namespace MplsSnmp {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::Hint;
using TestSupport::hopRow;
using TestSupport::tunnelKey;
using TestSupport::tunnelRow;
using TestSupport::Walk;
using Line = TestSupport::TraceCapture::Line;
using Index = std::vector<unsigned long>;

constexpr unsigned long kIngress = 0x0a000001;
constexpr unsigned long kEgress = 0x0a000009;

Index index(unsigned long tunnel) { return {tunnel, 1, kIngress, kEgress}; }

class RowWalkTest : public testing::Test {
 protected:
   void putTunnels(std::initializer_list<std::uint16_t> indices) {
      for (auto const n : indices) mib_->mplsTunnelTableIs(tunnelRow(tunnelKey(n)));
   }
   Vel::Ptr<MplsTeMib> const mib_ = mplsTeMibFactory("mib");
   TestSupport::TraceCapture trace_{"mplsTeStdMIB"};
};

/// What holds for each of the three tables, with three rows in it.
template <class Table>
class EveryTable : public RowWalkTest {
 protected:
   EveryTable() {
      putTunnels({1, 2, 65535});
      for (std::uint32_t n : {1U, 2U, 0xffffffffU}) mib_->mplsTunnelHopTableIs(hopRow({n, 1, 1}));
   }
   static bool isHopTable() { return Table::components.size() == 3; }
   static Index indexOf(unsigned long row) {
      unsigned long const n = row == 3 ? (isHopTable() ? 0xffffffff : 65535) : row;
      return isHopTable() ? Index{n, 1, 1} : index(n);
   }
   static std::string text(std::string_view tail) { return std::string(Table::name) + std::string(tail); }
};
using Tables = testing::Types<TunnelTable, PerfTable, HopTable>;
TYPED_TEST_SUITE(EveryTable, Tables);

TYPED_TEST(EveryTable, IsWalkedInKeyOrder) {
   Walk<TypeParam> walk(*this->mib_);
   EXPECT_EQ(walk.first(), this->indexOf(1));
   EXPECT_EQ(walk.next(), this->indexOf(2));
   EXPECT_EQ(walk.next(), this->indexOf(3));
   EXPECT_THAT(walk.next(), IsEmpty());
   EXPECT_THAT(walk.next(), IsEmpty()) << "the end stays the end";
}

TYPED_TEST(EveryTable, StartsAtTheVeryRowThatTheHintNames) {
   Walk<TypeParam> walk(*this->mib_);
   Hint hint(this->indexOf(2));
   EXPECT_EQ(walk.first(hint), this->indexOf(2));
   EXPECT_EQ(this->trace_.count(this->text(fmt::format(
                   "_get_first_data_point - allocated new loop context {}, hintMatched=true", fmt::ptr(&walk.loop())))),
             1);
   EXPECT_EQ(walk.next(), this->indexOf(3));
}

TYPED_TEST(EveryTable, StartsAtTheFirstRowWhenTheHintNamesNoRow) {
   auto wanted = this->indexOf(2);
   ++wanted.back();
   Walk<TypeParam> walk(*this->mib_);
   Hint hint(wanted);
   EXPECT_EQ(walk.first(hint), this->indexOf(1)) << "neither the row before nor the row behind is meant";
   auto const key = *IndexHint<TypeParam>::key(&hint.info);
   EXPECT_EQ(
         this->trace_.count(this->text("_get_first_data_point - key '" + key.valueToStrep() + "' not found in table")),
         1);
   EXPECT_EQ(
         this->trace_.count(this->text(fmt::format(
               "_get_first_data_point - allocated new loop context {}, hintMatched=false", fmt::ptr(&walk.loop())))),
         1);
}

TYPED_TEST(EveryTable, SaysEachOfItsStepsByItsOwnName) {
   Walk<TypeParam> walk(*this->mib_);
   walk.first();
   void* const loop = walk.loopContext;
   auto const texts = this->trace_.texts();
   EXPECT_EQ(texts.front(), this->text("_get_first_data_point - *hint = 0x0"));
   EXPECT_EQ(texts[1],
             this->text(fmt::format("_get_first_data_point - allocated new loop context {}, hintMatched=false",
                                    fmt::ptr(loop))));

   this->trace_.clear();
   void* const data = walk.makeDataContext();
   EXPECT_THAT(this->trace_.lines(),
               ElementsAre(Line{
                     2, this->text(fmt::format("_make_data_context - allocated data context {}", fmt::ptr(data)))}));

   this->trace_.clear();
   walk.next();
   EXPECT_EQ(this->trace_.lines().front(),
             (Line{2, this->text(fmt::format("_get_next_data_point - advancing loop context {} ; data context {}",
                                             fmt::ptr(loop), fmt::ptr(data)))}));
   walk.next();
   this->trace_.clear();
   walk.next();
   EXPECT_EQ(this->trace_.lines().back(), (Line{2, this->text("IterationHelper - iterator is at end")}));
   this->trace_.clear();
   walk.next();
   EXPECT_THAT(this->trace_.lines(),
               ElementsAre(Line{
                     2, this->text(fmt::format("_get_next_data_point - at end of loop context {}", fmt::ptr(loop)))}));

   this->trace_.clear();
   walk.end();
   EXPECT_THAT(this->trace_.lines(),
               ElementsAre(Line{2, this->text(fmt::format("_free_data_context {}", fmt::ptr(data)))},
                           Line{2, this->text(fmt::format("_free_loop_context_at_end {}", fmt::ptr(loop)))}));
}

TYPED_TEST(EveryTable, WithoutRowsHasAnEmptyLoopContextAndNoDataPoint) {
   auto const empty = mplsTeMibFactory("empty");
   Walk<TypeParam> walk(*empty);
   Hint hint(this->indexOf(1));
   EXPECT_THAT(walk.first(hint), IsEmpty());
   ASSERT_NE(walk.loopContext, nullptr);
   EXPECT_NE(walk.loopContext, &hint.info) << "net-snmp's own record must not stay in the slot";
   EXPECT_FALSE(walk.loop().current);
   EXPECT_THAT(walk.next(), IsEmpty());
}

TYPED_TEST(EveryTable, FreesNothingWhenThereIsNothing) {
   RowWalk<TypeParam>::freeDataContext(nullptr, nullptr);
   RowWalk<TypeParam>::freeLoopContextAtEnd(nullptr, nullptr);
   EXPECT_THAT(this->trace_.texts(),
               ElementsAre(this->text("_free_data_context 0x0"), this->text("_free_loop_context_at_end 0x0")));
   void* loop = nullptr;
   void* data = nullptr;
   EXPECT_EQ(RowWalk<TypeParam>::getNextDataPoint(&loop, &data, nullptr, nullptr), nullptr);
   EXPECT_TRUE(this->trace_.has(this->text("_get_next_data_point - at end of loop context 0x0")));
}

TEST_F(RowWalkTest, TheHintIsReportedWithItsNumberOfComponents) {
   putTunnels({1});
   Walk<TunnelTable> walk(*mib_);
   Hint hint({1, 1});
   walk.first(hint);
   EXPECT_EQ(trace_.lines().front(), (Line{2, fmt::format("mplsTunnelTable_get_first_data_point - *hint = {}, "
                                                          "number_indexes = 2",
                                                          fmt::ptr(&hint.info))}));
}

TEST_F(RowWalkTest, AHintOfAnotherLengthStartsAtTheFirstRowWithoutAWordOnItsComponents) {
   putTunnels({1, 2});
   Walk<TunnelTable> walk(*mib_);
   Hint hint({2, 1, kIngress});
   EXPECT_EQ(walk.first(hint), index(1));
   EXPECT_THAT(trace_.texts(), testing::Not(testing::Contains(testing::HasSubstr("component"))));
}

TEST_F(RowWalkTest, AHintOfTypeIntegerStartsAtTheFirstRow) {
   putTunnels({1, 2});
   Walk<TunnelTable> walk(*mib_);
   Hint hint(index(2), ASN_INTEGER);
   EXPECT_EQ(walk.first(hint), index(1));
   EXPECT_TRUE(trace_.has("hint for mplsTunnelIndex has incorrect type! Expecting 66 but got 2"));
}

TEST_F(RowWalkTest, ThePerfTableHasExactlyTheRowsOfTheTunnelTable) {
   mib_->mplsTunnelHopTableIs(hopRow({5, 1, 1}));
   putTunnels({3, 4});
   Walk<PerfTable> walk(*mib_);
   EXPECT_EQ(walk.first(), index(3));
   EXPECT_EQ(walk.next(), index(4));
   EXPECT_THAT(walk.next(), IsEmpty());
}

TEST_F(RowWalkTest, EachIndexComponentIsSaidAsItIsFilledIn) {
   mib_->mplsTunnelTableIs(tunnelRow({7, 4294967295, 1, 2}));
   Walk<TunnelTable> walk(*mib_);
   EXPECT_EQ(walk.first(), (Index{7, 4294967295, 1, 2}));
   auto const texts = trace_.texts();
   EXPECT_THAT(std::vector(texts.end() - 4, texts.end()),
               ElementsAre("mplsTunnelTableIterationHelper - iterator has another value: index=7",
                           "mplsTunnelTableIterationHelper - iterator has another value: instance=4294967295",
                           "mplsTunnelTableIterationHelper - iterator has another value: ingressLsrId=1",
                           "mplsTunnelTableIterationHelper - iterator has another value: egressLsrId=2"));

   trace_.clear();
   mib_->mplsTunnelHopTableIs(hopRow({12, 1, 3}));
   Walk<HopTable> hops(*mib_);
   hops.first();
   auto const hopTexts = trace_.texts();
   EXPECT_THAT(std::vector(hopTexts.end() - 3, hopTexts.end()),
               ElementsAre("mplsTunnelHopTableIterationHelper - iterator has another value: hopListIndex=12",
                           "mplsTunnelHopTableIterationHelper - iterator has another value: hopPathOptionIndex=1",
                           "mplsTunnelHopTableIterationHelper - iterator has another value: hopIndex=3"));
}

TEST_F(RowWalkTest, TheFilledIndexIsUnsigned32) {
   putTunnels({9});
   netsnmp_iterator_info info{};
   info.myvoid = mib_.get();
   void* loop = nullptr;
   void* data = nullptr;
   auto const varbinds = TestSupport::indexVarbinds({0, 0, 0, 0}, ASN_INTEGER);
   EXPECT_EQ(mplsTunnelTable_get_first_data_point(&loop, &data, varbinds.get(), &info), varbinds.get())
         << "net-snmp's data point is the list that it gave";
   for (auto const* v = varbinds.get(); v; v = v->next_variable) EXPECT_EQ(v->type, ASN_UNSIGNED);
   EXPECT_EQ(data, nullptr) << "data contexts are only made on demand";
   mplsTunnelTable_free_loop_context_at_end(loop, &info);
}

TEST_F(RowWalkTest, RemovingTheCurrentRowGoesOnWithTheNextLargerKey) {
   putTunnels({1, 2, 3});
   Walk<TunnelTable> walk(*mib_);
   walk.first();
   EXPECT_EQ(walk.next(), index(2));
   mib_->mplsTunnelTableDel(tunnelKey(2));
   EXPECT_EQ(walk.next(), index(3));
   EXPECT_THAT(walk.next(), IsEmpty());
}

TEST_F(RowWalkTest, ARowThatComesOnTheWayIsMetOnceIfItIsAhead) {
   putTunnels({10, 30});
   Walk<TunnelTable> walk(*mib_);
   EXPECT_EQ(walk.first(), index(10));
   putTunnels({5, 20});
   EXPECT_EQ(walk.next(), index(20));
   EXPECT_EQ(walk.next(), index(30));
   EXPECT_THAT(walk.next(), IsEmpty());
}

TEST_F(RowWalkTest, RemovingAllRowsEndsTheWalk) {
   putTunnels({1, 2, 3});
   Walk<TunnelTable> walk(*mib_);
   walk.first();
   mib_->mplsTunnelTableDelAll();
   EXPECT_THAT(walk.next(), IsEmpty());
   EXPECT_FALSE(walk.loop().current);
}

TEST_F(RowWalkTest, AWalkSurvivesAnyChangesBetweenItsSteps) {
   putTunnels({2, 4, 6, 8});
   Walk<TunnelTable> walk(*mib_);
   EXPECT_EQ(walk.first(), index(2));
   mib_->mplsTunnelTableDel(tunnelKey(4));  // the row ahead goes
   EXPECT_EQ(walk.next(), index(6));
   mib_->mplsTunnelTableDel(tunnelKey(6));  // the current row goes and comes back
   putTunnels({6});
   EXPECT_EQ(walk.next(), index(8));
   mib_->mplsTunnelTableIs(tunnelRow(tunnelKey(8)));  // the current row is replaced
   EXPECT_THAT(walk.next(), IsEmpty());
}

TEST_F(RowWalkTest, ARowStaysReadableForTheContextsThatHoldIt) {
   putTunnels({1, 2});
   Walk<TunnelTable> walk(*mib_);
   walk.first();
   walk.makeDataContext();
   EXPECT_EQ(walk.data().current, walk.loop().current);
   EXPECT_EQ(walk.data().table, walk.loop().table);
   EXPECT_EQ(walk.data().version, walk.loop().version);
   mib_->mplsTunnelTableDelAll();
   EXPECT_EQ(walk.data().current->value()->key(), tunnelKey(1));
   RowWalk<TunnelTable>::freeLoopContextAtEnd(std::exchange(walk.loopContext, nullptr), nullptr);
   EXPECT_EQ(walk.data().current->value()->name().view(), "to-paris") << "held by the data context alone";
}

TEST_F(RowWalkTest, ADataContextThatIsThereFollowsTheWalk) {
   putTunnels({1, 2});
   Walk<TunnelTable> walk(*mib_);
   walk.first();
   walk.makeDataContext();
   putTunnels({3});
   walk.next();
   EXPECT_EQ(walk.data().current->key(), tunnelKey(2));
   EXPECT_EQ(walk.data().version, mib_->mplsTunnelTable().modificationCount());
   EXPECT_EQ(walk.data().current, walk.loop().current);
}

TEST_F(RowWalkTest, TheVersionIsThatOfTheTableWhenTheWalkWasPositioned) {
   putTunnels({1, 2});
   Walk<TunnelTable> walk(*mib_);
   walk.first();
   auto const before = mib_->mplsTunnelTable().modificationCount();
   EXPECT_EQ(walk.loop().version, before);
   putTunnels({3});
   EXPECT_EQ(walk.loop().version, before);
   walk.next();
   EXPECT_EQ(walk.loop().version, mib_->mplsTunnelTable().modificationCount());
}

}  // namespace
}  // namespace MplsSnmp
