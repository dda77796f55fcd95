// SPDX-License-Identifier: MIT
// Configurations in net-snmp's notation. The included files are those of a scratch directory.
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "host/snmp/ConfigurationLines.h"
#include "tests/fuzz/targets/Fuzz.h"
#include "tests/support/ScratchDirectory.h"

namespace {

using Fuzz::check;
namespace fs = std::filesystem;

/// Makes a directory with files to include the current one.
void enterScratchDirectory() {
   static TestSupport::ScratchDirectory const scratch;
   fs::path const inner = scratch.path() / "inner";
   fs::create_directories(inner / "more.d");
   std::ofstream(inner / "itself.conf") << "includeFile itself.conf\nsysName one\n";
   std::ofstream(inner / "more.d" / "two.conf") << "sysName \"two words\" # and a comment\n";
   check(chdir(inner.c_str()) == 0, "the scratch directory can be entered");
}

/// The words of a line that uses neither quotation marks nor comments.
std::vector<std::string> plainWords(std::string const& line) {
   std::istringstream text(line);
   std::vector<std::string> words;
   for (std::string word; text >> word;) words.push_back(word);
   return words;
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   static bool const entered = (enterScratchDirectory(), true);
   check(entered, "the scratch directory is there");
   std::string const text(Fuzz::textOf(data, size));
   if (text.find('/') != std::string::npos) return 0;  // out of the scratch directory

   fs::path const file("mplsted.conf");
   std::vector<std::string> lines;
   std::istringstream split(text);
   for (std::string line; std::getline(split, line);) lines.push_back(line);

   std::istringstream in(text);
   unsigned last = 0;
   SnmpUtil::forEachLine(in, file, [&](SnmpUtil::ConfigurationLine const& line) {
      check(!line.words.empty(), "a line has a word");
      check(line.is(line.words.front().c_str()) || line.words.front().find('\0') != std::string::npos,
            "a line begins with its token");
      if (line.file != file) return;
      check(line.number > last && line.number <= lines.size(), "lines come in order, each once");
      last = line.number;
      std::string const& content = lines[last - 1];
      if (content.find_first_of("\"\\#") == std::string::npos) {
         check(line.words == plainWords(content), "words are what stands between blanks", content);
      }
   });
   return 0;
}
