// SPDX-License-Identifier: MIT
#include "host/tables/RowSearch.h"

#include <gmock/gmock.h>

#include "host/tables/tests/TestRows.h"

namespace Host {
namespace {

using TestSupport::Index;
using TestSupport::TestRows;

class RowSearchTest : public testing::Test {
 protected:
   /// The index that the search has come to, or nothing.
   Index at(bool isFound) { return isFound ? Index(search_->index().begin(), search_->index().end()) : Index(); }
   Index find(Index const& index) { return at(search_->find(index)); }
   Index behind(Index const& index) { return at(search_->findBehind(index)); }

   TestRows rows_{{{1, 1}, "a"}, {{1, 5}, "b"}, {{2, 0}, "c"}, {{7, 7}, "d"}};
   std::optional<RowSearch> search_{rows_};
};

TEST_F(RowSearchTest, findsARowByItsIndexAndNoOther) {
   EXPECT_EQ(find({1, 5}), (Index{1, 5}));
   EXPECT_EQ(find({1, 4}), Index());
   EXPECT_EQ(find({1}), Index());
   EXPECT_EQ(find({1, 5, 0}), Index());
   EXPECT_EQ(find({}), Index());
}

TEST_F(RowSearchTest, findsTheRowBehindAnyIndex) {
   EXPECT_EQ(behind({}), (Index{1, 1}));
   EXPECT_EQ(behind({1}), (Index{1, 1}));
   EXPECT_EQ(behind({1, 1}), (Index{1, 5})) << "strictly greater";
   EXPECT_EQ(behind({1, 1, 0}), (Index{1, 5})) << "an index that goes on behind a row's is greater";
   EXPECT_EQ(behind({1, 2}), (Index{1, 5}));
   EXPECT_EQ(behind({2}), (Index{2, 0}));
   EXPECT_EQ(behind({3}), (Index{7, 7}));
   EXPECT_EQ(behind({7, 7}), Index());
   EXPECT_EQ(behind({0xffff'ffff'ffff'ffff}), Index());
}

TEST_F(RowSearchTest, skipsAllRowsThatBeginInTheSameWay) {
   ASSERT_TRUE(search_->findFirst());
   EXPECT_EQ(at(search_->skip(Index{1})), (Index{2, 0}));
   EXPECT_EQ(at(search_->skip(Index{2, 0})), (Index{7, 7}));
   EXPECT_EQ(at(search_->skip(Index{7})), Index());
}

TEST_F(RowSearchTest, whatNeighboursInAMessageAskForIsLookedUpOnce) {
   for (int column = 0; column < 23; ++column) EXPECT_EQ(behind({1, 1}), (Index{1, 5}));
   for (int column = 0; column < 23; ++column) EXPECT_EQ(behind({1, 5}), (Index{2, 0}));
   EXPECT_EQ(rows_.seeks, 1U) << "the second row is a step from the first";
   EXPECT_EQ(rows_.steps, 2U);
   for (int column = 0; column < 20; ++column) EXPECT_EQ(find({7, 7}), (Index{7, 7}));
   EXPECT_EQ(rows_.seeks, 2U);
}

TEST_F(RowSearchTest, theEndIsRememberedToo) {
   EXPECT_EQ(behind({7, 7}), Index());
   EXPECT_EQ(behind({7, 7}), Index());
   EXPECT_EQ(rows_.seeks, 1U);
   EXPECT_EQ(behind({2}), (Index{2, 0})) << "and left again";
}

TEST_F(RowSearchTest, aRowFoundByItsIndexIsNoAnswerToAnotherQuestion) {
   EXPECT_EQ(behind({1}), (Index{1, 1}));
   EXPECT_EQ(find({2, 0}), (Index{2, 0}));
   EXPECT_EQ(behind({1}), (Index{1, 1}));
}

TEST_F(RowSearchTest, holdsNoRowWhenItGoes) {
   behind({});
   EXPECT_TRUE(rows_.isAtRow());
   search_.reset();
   EXPECT_FALSE(rows_.isAtRow());
}

}  // namespace
}  // namespace Host
