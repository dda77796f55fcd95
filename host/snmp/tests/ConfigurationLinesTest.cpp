// SPDX-License-Identifier: MIT
// The lines of a configuration in net-snmp's notation.
#include "host/snmp/ConfigurationLines.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

#include "tests/support/ScratchDirectory.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

class ConfigurationLinesTest : public testing::Test {
 protected:
   void write(std::string const& name, std::string const& text) const { std::ofstream(folder / name) << text; }

   /// Of each line: file, number, words.
   std::vector<std::string> linesOf(std::string const& text) const {
      std::istringstream in(text);
      std::vector<std::string> lines;
      SnmpUtil::forEachLine(in, folder / "top.conf", [&](SnmpUtil::ConfigurationLine const& line) {
         lines.push_back(
               fmt::format("{}:{}: {}", line.file.filename().string(), line.number, fmt::join(line.words, "|")));
      });
      return lines;
   }

   TestSupport::ScratchDirectory const scratch;
   fs::path const folder = scratch.path();
};

TEST_F(ConfigurationLinesTest, wordsAreDividedByBlanksOutsideQuotationMarks) {
   EXPECT_THAT(
         linesOf("rocommunity  public\t127.0.0.1\n\n   createUser operator SHA-256 \"a b\" AES \"\"\n"),
         ElementsAre("top.conf:1: rocommunity|public|127.0.0.1", "top.conf:3: createUser|operator|SHA-256|a b|AES|"));
}

TEST_F(ConfigurationLinesTest, aCommentBeginsWhereAWordWould) {
   EXPECT_THAT(linesOf("# all\n  #all\nsysName a#1 # rest\nsysName \"#1\"\n"),
               ElementsAre("top.conf:3: sysName|a#1", "top.conf:4: sysName|#1"));
}

TEST_F(ConfigurationLinesTest, tokensAreTheSameInLargeAndInSmallLetters) {
   std::istringstream in("ROcommunity public");
   SnmpUtil::forEachLine(in, "top.conf", [](SnmpUtil::ConfigurationLine const& line) {
      EXPECT_TRUE(line.is("rocommunity"));
      EXPECT_TRUE(line.is("roCommunity"));
      EXPECT_FALSE(line.is("rocommunity6"));
   });
}

TEST_F(ConfigurationLinesTest, includedFilesAreReadWhereTheyAreIncluded) {
   write("one.inc", "sysName one\n");
   fs::create_directory(folder / "conf.d");
   write("conf.d/b.conf", "sysName b\n");
   write("conf.d/a.conf", "sysName a\n");
   write("conf.d/.hidden.conf", "sysName hidden\n");
   write("conf.d/other.txt", "sysName other\n");
   EXPECT_THAT(linesOf("includeFile one.inc\nsysName top\nINCLUDEDIR " + (folder / "conf.d").string() +
                       "\nincludeFile none.inc\nincludeFile\n"),
               ElementsAre("top.conf:1: includeFile|one.inc", "one.inc:1: sysName|one", "top.conf:2: sysName|top",
                           "top.conf:3: INCLUDEDIR|" + (folder / "conf.d").string(), "a.conf:1: sysName|a",
                           "b.conf:1: sysName|b", "top.conf:4: includeFile|none.inc", "top.conf:5: includeFile"));
}

TEST_F(ConfigurationLinesTest, filesThatIncludeEachOtherComeToAnEnd) {
   write("again.conf", "includeFile again.conf\n");
   EXPECT_LT(linesOf("includeFile again.conf\n").size(), 100U);
   EXPECT_THAT(linesOf(""), IsEmpty());
}

}  // namespace
