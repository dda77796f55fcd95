// SPDX-License-Identifier: MIT
// The layout that docs/counters.md publishes, for writers in other languages: a change of it is a new version.
#include "inputs/tallies/counters_layout.h"

#include <gtest/gtest.h>

namespace Tallies {

namespace {

TEST(CounterLayout, HasItsFieldsWhereTheyAreDocumented) {
   EXPECT_EQ(offsetof(tallies_header, magic), 0U);
   EXPECT_EQ(offsetof(tallies_header, version), 8U);
   EXPECT_EQ(offsetof(tallies_header, header_size), 12U);
   EXPECT_EQ(offsetof(tallies_header, entry_size), 16U);
   EXPECT_EQ(offsetof(tallies_header, capacity), 20U);
   EXPECT_EQ(offsetof(tallies_header, slots), 24U);
   EXPECT_EQ(offsetof(tallies_header, instance), 32U);
   EXPECT_EQ(offsetof(tallies_header, created), 40U);
   EXPECT_EQ(offsetof(tallies_header, check), 56U);
   EXPECT_EQ(sizeof(tallies_header), 64U);
   EXPECT_EQ(offsetof(tallies_entry, key), 0U);
   EXPECT_EQ(offsetof(tallies_entry, sequence), 8U);
   EXPECT_EQ(offsetof(tallies_entry, records), 16U);
   EXPECT_EQ(offsetof(tallies_record, packets), 0U);
   EXPECT_EQ(offsetof(tallies_record, bytes), 8U);
   EXPECT_EQ(offsetof(tallies_record, check), 16U);
   EXPECT_EQ(sizeof(tallies_record), 24U);
   EXPECT_EQ(sizeof(tallies_entry), 64U);
   EXPECT_EQ(tallies_segment_size(16), 64U * 17);
}

TEST(CounterLayout, HasTheDocumentedChecksum) {
   constexpr std::uint64_t tunnel = 0x100000000000000c;
   EXPECT_EQ(tallies_mix(1), 0x5692161d100b05e5U);
   EXPECT_EQ(tallies_mix(tunnel), 0x58b602ba7f8867c0U);
   EXPECT_EQ(tallies_record_check(tunnel, 3, 1, 5, 5000), 0x9e54b9c602269a0eU);
}

TEST(CounterLayout, IsAtMostHalfFull) {
   EXPECT_EQ(tallies_slots(1), 16U);
   EXPECT_EQ(tallies_slots(8), 16U);
   EXPECT_EQ(tallies_slots(9), 32U);
   EXPECT_EQ(tallies_slots(65536), 131072U);
   EXPECT_EQ(tallies_slots(TALLIES_LARGEST_CAPACITY), 1U << 21U);
}

// Whatever one bit of a record or of its surroundings is changed to, the checksum is another.
TEST(CounterLayout, ProvesThatNumbersBelongTogether) {
   constexpr std::uint64_t words[] = {0x100000000000000c, 3, 1, 5, 5000};
   std::uint64_t const check = tallies_check(words, 5);
   for (unsigned word = 0; word < 5; ++word) {
      for (unsigned bit = 0; bit < 64; ++bit) {
         std::uint64_t changed[] = {words[0], words[1], words[2], words[3], words[4]};
         changed[word] ^= std::uint64_t{1} << bit;
         EXPECT_NE(tallies_check(changed, 5), check);
      }
   }
}

}  // namespace

}  // namespace Tallies
