// SPDX-License-Identifier: MIT
#include "host/publish/LineBuffer.h"

#include <gmock/gmock.h>

namespace Publish {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The lines that are whole, "too long" for one that is.
std::vector<std::string> takeLines(LineBuffer& buffer) {
   std::vector<std::string> lines;
   std::string line;
   for (auto next = buffer.next(line); next != LineBuffer::Next::none; next = buffer.next(line)) {
      lines.push_back(next == LineBuffer::Next::line ? line : "too long");
   }
   return lines;
}

TEST(LineBuffer, LinesAreCutHoweverTheyCome) {
   std::string const text = "one\n\ntwo two\r\n3\nunfinished";
   for (std::size_t piece = 1; piece <= text.size(); ++piece) {
      LineBuffer buffer(100);
      std::vector<std::string> lines;
      for (std::size_t at = 0; at < text.size(); at += piece) {
         buffer.append(text.substr(at, piece));
         for (auto& line : takeLines(buffer)) lines.push_back(std::move(line));
      }
      EXPECT_THAT(lines, ElementsAre("one", "", "two two\r", "3")) << "in pieces of " << piece;
      EXPECT_EQ(buffer.held(), 10U);
   }
}

TEST(LineBuffer, ALineOfTheGreatestLengthIsTakenAndOneMoreIsTooMuch) {
   for (std::size_t piece : {1U, 7U, 8U, 9U, 10U, 100U}) {
      std::string const text = "12345678\n123456789\n1234567\n123456789012345678901234567890\nend\n";
      LineBuffer buffer(8);
      std::vector<std::string> lines;
      for (std::size_t at = 0; at < text.size(); at += piece) {
         buffer.append(text.substr(at, piece));
         for (auto& line : takeLines(buffer)) lines.push_back(std::move(line));
         EXPECT_LE(buffer.held(), 8U);
      }
      EXPECT_THAT(lines, ElementsAre("12345678", "too long", "1234567", "too long", "end")) << "in pieces of " << piece;
   }
}

TEST(LineBuffer, WhatIsTooLongIsToldAtOnceAndDroppedAsItComes) {
   LineBuffer buffer(8);
   buffer.append("123456789");
   EXPECT_THAT(takeLines(buffer), ElementsAre("too long"));
   buffer.append("more and more");
   EXPECT_THAT(takeLines(buffer), IsEmpty());
   EXPECT_EQ(buffer.held(), 0U);
   buffer.append("of it\nnext\n");
   EXPECT_THAT(takeLines(buffer), ElementsAre("next"));
}

TEST(LineBuffer, ALargeLineIsHandedOverWithWhatFollowsIt) {
   LineBuffer buffer(1U << 20U);
   std::string const large(1U << 20U, 'x');
   buffer.append(large.substr(0, 1000));
   EXPECT_THAT(takeLines(buffer), IsEmpty());
   buffer.append(large.substr(1000) + "\nsmall\nrest");
   EXPECT_THAT(takeLines(buffer), ElementsAre(large, "small"));
   EXPECT_EQ(buffer.held(), 4U);
}

}  // namespace
}  // namespace Publish
