// SPDX-License-Identifier: MIT
/// The vector behind large collections: what it holds stays where it is.
#include "substrate/vel/ChunkedVector.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using Numbers = Vel::ChunkedVector<std::unique_ptr<std::size_t>>;  // a type that can only be moved
constexpr std::size_t kChunk = Numbers::kChunk;

Numbers numbersUpTo(std::size_t size) {
   Numbers numbers;
   for (std::size_t i = 0; i < size; ++i) numbers.push_back(std::make_unique<std::size_t>(i));
   return numbers;
}

void expectUpTo(std::size_t size, Numbers const& numbers) {
   ASSERT_EQ(numbers.size(), size);
   EXPECT_EQ(numbers.empty(), size == 0);
   for (std::size_t i = 0; i < size; ++i) ASSERT_EQ(*numbers[i], i);
}

class ChunkedVectorTest : public testing::TestWithParam<std::size_t> {};

INSTANTIATE_TEST_SUITE_P(aroundAChunk, ChunkedVectorTest,
                         testing::Values(0, 1, kChunk - 1, kChunk, kChunk + 1, 2 * kChunk, 2 * kChunk + 1, 5000));

TEST_P(ChunkedVectorTest, holdsWhatIsAdded) { expectUpTo(GetParam(), numbersUpTo(GetParam())); }

TEST_P(ChunkedVectorTest, isCutAnywhereAndGrowsAgain) {
   for (std::size_t const size : {std::size_t{0}, GetParam() / 2, GetParam() - GetParam() % kChunk, GetParam()}) {
      auto numbers = numbersUpTo(GetParam());
      numbers.truncate(size);
      expectUpTo(size, numbers);
      numbers.shrink_to_fit();
      for (std::size_t i = size; i < size + kChunk; ++i) numbers.push_back(std::make_unique<std::size_t>(i));
      expectUpTo(size + kChunk, numbers);
   }
}

TEST_P(ChunkedVectorTest, isMovedAsAWholeAndLeftEmpty) {
   auto numbers = numbersUpTo(GetParam());
   auto const taken = std::exchange(numbers, {});
   expectUpTo(GetParam(), taken);
   expectUpTo(0, numbers);
   numbers.push_back(std::make_unique<std::size_t>(0));
   expectUpTo(1, numbers);
}

TEST(ChunkedVector, beyondTheFirstChunkNothingIsMoved) {
   Vel::ChunkedVector<std::size_t> numbers;
   for (std::size_t i = 0; i <= kChunk; ++i) numbers.push_back(i);
   auto const* const first = &numbers[0];
   auto const* const last = &numbers[kChunk];
   for (std::size_t i = kChunk + 1; i < 100 * kChunk; ++i) numbers.push_back(i);
   EXPECT_EQ(&numbers[0], first);
   EXPECT_EQ(&numbers[kChunk], last);
}

}  // namespace
