// SPDX-License-Identifier: MIT
#include "host/snmp/ConfigurationLines.h"

#include <strings.h>

#include <algorithm>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <system_error>

namespace SnmpUtil {

namespace {

namespace fs = std::filesystem;
using Visit = std::function<void(ConfigurationLine const&)>;

/// Files may include each other.
constexpr unsigned kDeepest = 16;

std::vector<std::string> wordsOf(std::string const& line) {
   std::istringstream text(line);
   std::vector<std::string> words;
   // A comment begins where a word would.
   for (std::string word; (text >> std::ws).peek() != '#' && text >> std::quoted(word);) words.push_back(word);
   return words;
}

/// The files that `line` includes, in the order in which net-snmp reads them.
std::vector<fs::path> includedBy(ConfigurationLine const& line) {
   if (line.words.size() < 2) return {};
   fs::path const named = line.words[1];
   if (line.is("includeFile")) return {line.file.parent_path() / named};
   std::vector<fs::path> files;
   if (line.is("includeDir")) {
      std::error_code ignored;
      for (auto const& entry : fs::directory_iterator(named, ignored)) {
         auto const name = entry.path().filename().string();
         if (name.ends_with(".conf") && !name.starts_with('.')) files.push_back(entry.path());
      }
      std::ranges::sort(files);
   }
   return files;
}

void visitLines(std::istream& text, fs::path const& file, Visit const& visit, unsigned depth) {
   std::string content;
   for (unsigned number = 1; std::getline(text, content); ++number) {
      ConfigurationLine const line{file, number, wordsOf(content)};
      if (line.words.empty()) continue;
      visit(line);
      for (fs::path const& included : includedBy(line)) {
         if (std::ifstream more(included); more && depth < kDeepest) visitLines(more, included, visit, depth + 1);
      }
   }
}

}  // namespace

bool ConfigurationLine::is(char const* token) const { return strcasecmp(words.front().c_str(), token) == 0; }

void forEachLine(std::istream& text, fs::path const& file, Visit const& visit) { visitLines(text, file, visit, 0); }

}  // namespace SnmpUtil
