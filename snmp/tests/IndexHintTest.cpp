// SPDX-License-Identifier: MIT
/// How the row that a request names is read from net-snmp's hint, and what is said about hints that cannot be used.
#include "snmp/IndexHint.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "snmp/tests/Requests.h"
#include "tests/support/TraceCapture.h"

namespace MplsSnmp {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::Hint;
using Line = TestSupport::TraceCapture::Line;

constexpr unsigned long kTooLarge = 0x1'0000'0000UL;

class IndexHintTest : public testing::Test {
 protected:
   TestSupport::TraceCapture trace_{"mplsTeStdMIB"};
};

/// Makes one component of a hint's index of another type.
void retype(Hint& hint, unsigned component, u_char type) {
   auto* varbind = hint.info.indexes;
   while (component-- > 0) varbind = varbind->next_variable;
   varbind->type = type;
}

TEST_F(IndexHintTest, ATunnelHintIsTheKeyOfItsFourComponents) {
   Hint hint({65535, 1, 0xffffffff, 0x0a000009});
   EXPECT_EQ(IndexHint<TunnelTable>::key(&hint.info), (MplsTunnelTableKey{65535, 1, 0xffffffff, 0x0a000009}));
   EXPECT_THAT(trace_.lines(), ElementsAre(Line{2, "hint component mplsTunnelIndex is '65535'"},
                                           Line{2, "hint component mplsTunnelInstance is '1'"},
                                           Line{2, "hint component mplsTunnelIngressLSRId is '4294967295'"},
                                           Line{2, "hint component mplsTunnelEgressLSRId is '167772169'"}));
}

TEST_F(IndexHintTest, ThePerfTableSharesTheComponentTextsOfTheTunnelTable) {
   Hint hint({1, 2, 3, 4});
   EXPECT_EQ(IndexHint<PerfTable>::key(&hint.info), (MplsTunnelTableKey{1, 2, 3, 4}));
   EXPECT_EQ(trace_.lines().front(), (Line{2, "hint component mplsTunnelIndex is '1'"}));
}

TEST_F(IndexHintTest, AHopHintIsTheKeyOfItsThreeComponents) {
   Hint hint({0xffffffff, 1, 70000});
   EXPECT_EQ(IndexHint<HopTable>::key(&hint.info), (MplsTunnelHopTableKey{0xffffffff, 1, 70000}));
   EXPECT_THAT(trace_.lines(), ElementsAre(Line{2, "hint component mplsTunnelHopListIndex is '4294967295'"},
                                           Line{2, "hint component mplsTunnelHopPathOptionIndex is '1'"},
                                           Line{2, "hint component mplsTunnelHopIndex is '70000'"}));
}

TEST_F(IndexHintTest, NoHintOrOneOfAnotherLengthIsPassedOverInSilence) {
   EXPECT_FALSE(IndexHint<TunnelTable>::key(nullptr));
   for (std::vector<unsigned long> const& index : {std::vector<unsigned long>{}, {1}, {1, 1, 1}, {1, 1, 1, 1, 1}}) {
      Hint hint(index);
      EXPECT_FALSE(IndexHint<TunnelTable>::key(&hint.info)) << index.size() << " components";
   }
   Hint four({1, 1, 1, 1});
   EXPECT_FALSE(IndexHint<HopTable>::key(&four.info));
   EXPECT_THAT(trace_.lines(), IsEmpty());
}

TEST_F(IndexHintTest, AComponentOfAnotherTypeIsRefused) {
   Hint hint({1, 2, 3, 4});
   retype(hint, 0, ASN_INTEGER);
   EXPECT_FALSE(IndexHint<TunnelTable>::key(&hint.info));
   EXPECT_THAT(trace_.lines(),
               ElementsAre(Line{0, "hint for mplsTunnelIndex has incorrect type! Expecting 66 but got 2"},
                           Line{2, "hint component mplsTunnelInstance is '2'"},
                           Line{2, "hint component mplsTunnelIngressLSRId is '3'"},
                           Line{2, "hint component mplsTunnelEgressLSRId is '4'"}));
}

TEST_F(IndexHintTest, ALastComponentOfAnotherTypeLeavesTheHintShort) {
   Hint hint({1, 2, 3, 4});
   retype(hint, 3, ASN_OCTET_STR);
   EXPECT_FALSE(IndexHint<PerfTable>::key(&hint.info));
   EXPECT_EQ(trace_.lines()[3], (Line{0, "hint for mplsTunnelEgressLSRId has incorrect type! Expecting 66 but got 4"}));
   EXPECT_EQ(trace_.lines()[4],
             (Line{2, "mplsTunnelPerfTable_get_first_data_point - needed 4 components, found only 3"}));
   EXPECT_EQ(trace_.lines().size(), 5U);

   trace_.clear();
   Hint hop({1, 2, 3});
   retype(hop, 2, ASN_INTEGER);
   EXPECT_FALSE(IndexHint<HopTable>::key(&hop.info));
   EXPECT_TRUE(trace_.has("hint for mplsTunnelHopIndex has incorrect type! Expecting 66 but got 2"));
   EXPECT_TRUE(trace_.has("mplsTunnelHopTable_get_first_data_point - needed 3 components, found only 2"));
}

TEST_F(IndexHintTest, AListThatEndsBeforeItsAnnouncedLengthIsShort) {
   Hint hint({1, 2});
   hint.info.number_indexes = 4;
   EXPECT_FALSE(IndexHint<TunnelTable>::key(&hint.info));
   EXPECT_THAT(trace_.lines(),
               ElementsAre(Line{2, "hint component mplsTunnelIndex is '1'"},
                           Line{2, "hint component mplsTunnelInstance is '2'"},
                           Line{2, "mplsTunnelTable_get_first_data_point - needed 4 components, found only 2"}));

   trace_.clear();
   Hint none({});
   none.info.number_indexes = 3;
   EXPECT_FALSE(IndexHint<HopTable>::key(&none.info));
   EXPECT_THAT(trace_.lines(),
               ElementsAre(Line{2, "mplsTunnelHopTable_get_first_data_point - needed 3 components, found only 0"}));
}

TEST_F(IndexHintTest, AfterAFailedComponentNothingMoreIsSaidOfTheLength) {
   Hint ends({1, 2});
   ends.info.number_indexes = 4;
   retype(ends, 1, ASN_INTEGER);
   EXPECT_FALSE(IndexHint<TunnelTable>::key(&ends.info));
   Hint last({1, 2, 3, 4});
   retype(last, 1, ASN_INTEGER);
   retype(last, 3, ASN_INTEGER);
   EXPECT_FALSE(IndexHint<TunnelTable>::key(&last.info));
   EXPECT_THAT(trace_.texts(), testing::Not(testing::Contains(testing::HasSubstr("found only"))));
}

TEST_F(IndexHintTest, ATunnelIndexBeyond16BitsIsOutOfRange) {
   Hint hint({65536, 1, 1, 1});
   EXPECT_FALSE(IndexHint<TunnelTable>::key(&hint.info));
   EXPECT_EQ(trace_.lines().front(), (Line{0,
                                           "hint for index mplsTunnelIndex of mplsTunnelTable is out of range!"
                                           "65536 is out of range (at most 65535)"}));
   EXPECT_THAT(trace_.texts(), testing::Not(testing::Contains(testing::HasSubstr("found only"))));

   trace_.clear();
   EXPECT_FALSE(IndexHint<PerfTable>::key(&hint.info));
   EXPECT_EQ(trace_.lines().front(), (Line{0,
                                           "hint for index mplsTunnelIndex of mplsTunnelPerfTable is out of range!"
                                           "65536 is out of range (at most 65535)"}));
}

TEST_F(IndexHintTest, EveryComponentBeyond32BitsIsOutOfRange) {
   for (std::size_t n = 0; n < HopTable::components.size(); ++n) {
      trace_.clear();
      Hint hint({1, 1, 1});
      auto* varbind = hint.info.indexes;
      for (std::size_t step = 0; step < n; ++step) varbind = varbind->next_variable;
      *varbind->val.integer = static_cast<long>(kTooLarge);
      EXPECT_FALSE(IndexHint<HopTable>::key(&hint.info));
      EXPECT_EQ(trace_.lines()[n], (Line{0, fmt::format("hint for index {} of mplsTunnelHopTable is out of range!"
                                                        "4294967296 is out of range (at most 4294967295)",
                                                        HopTable::components[n].object)}));
      EXPECT_EQ(trace_.lines().size(), 3U) << "a component out of range does not make the hint short";
   }
}

TEST_F(IndexHintTest, AComponentWithoutAValueIsOutOfRange) {
   Hint hint({1, 1, 1});
   long* const value = std::exchange(hint.info.indexes->val.integer, nullptr);
   EXPECT_FALSE(IndexHint<HopTable>::key(&hint.info));
   hint.info.indexes->val.integer = value;
   EXPECT_EQ(
         trace_.lines().front(),
         (Line{0, "hint for index mplsTunnelHopListIndex of mplsTunnelHopTable is out of range!there is no value"}));
}

/// A table whose key refuses what it is made of.
struct PickyTable {
   struct Key {
      std::uint32_t first = 0;
      std::uint32_t second = 0;
      Key() = default;
      Key(std::uint32_t, std::uint32_t) { throw Vel::RangeException("no such pair"); }
      static constexpr std::string_view velTypeName = "Test::PickyKey";
   };
   static constexpr std::string_view name = "pickyTable";
   static constexpr std::array components{IndexField<&Key::first>::named("pickyFirst", "first"),
                                          IndexField<&Key::second>::named("pickySecond", "second")};
};

TEST_F(IndexHintTest, AKeyThatCannotBeMadeIsReportedAndCostsTheShortcutOnly) {
   Hint hint({1, 2});
   EXPECT_FALSE(IndexHint<PickyTable>::key(&hint.info));
   EXPECT_EQ(trace_.lines().back(),
             (Line{0, "Bad hint for pickyTable: Test::PickyKey ctor threw exception: no such pair"}));
}

}  // namespace
}  // namespace MplsSnmp
