// SPDX-License-Identifier: MIT
#include "host/store/Scan.h"

#include <gtest/gtest.h>

#include <string>

namespace Store {
namespace {

// Longer than what is looked at in one go, and not a multiple of it.
constexpr std::size_t kLong = 333;

TEST(Scan, BlanksArePassedOverUpToWhatIsNone) {
   for (char const blank : {' ', '\t', '\n', '\r'}) {
      for (std::size_t count = 0; count < kLong; ++count) {
         std::string const blanks(count, blank);
         EXPECT_EQ(behindBlanks(blanks), count);
         EXPECT_EQ(beforeBlanks(blanks), 0U);
         for (char const other : {'x', '\0', '\f', '\v', '\xa0'}) {
            EXPECT_EQ(behindBlanks(blanks + other + "  "), count);
            EXPECT_EQ(behindBlanks("ab" + blanks + other + blanks, 2), 2 + count);
            EXPECT_EQ(beforeBlanks(blanks + other + blanks), count + 1);
         }
      }
   }
}

TEST(Scan, CharactersAreCountedAsUtf8) {
   EXPECT_EQ(characters(""), 0U);
   EXPECT_EQ(characters("a\xc3\xa4\xe2\x82\xac\xf0\x9f\x99\x82"), 4U);
   std::string text;
   for (std::size_t count = 1; count < kLong; ++count) {
      text += count % 3 == 0 ? "\xe2\x82\xac" : "x";
      EXPECT_EQ(characters(text), count);
   }
}

}  // namespace
}  // namespace Store
