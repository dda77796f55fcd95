// SPDX-License-Identifier: MIT
#include "tools/doctor/SnmpdConf.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <strings.h>

#include <algorithm>
#include <charconv>
#include <system_error>

#include "host/snmp/ConfigurationLines.h"

namespace Tools::Doctor {

namespace {

constexpr char const* kDefaultSocket = "/run/agentx/master";
/// mplsStdMIB, below which all three tables stand.
constexpr char const* kTables = ".1.3.6.1.2.1.10.166";

/// Like the tokens, these words are the same in large and in small letters.
bool is(std::string const& word, char const* token) { return strcasecmp(word.c_str(), token) == 0; }

template <class Oid>
bool isBelow(Oid const& oid, Oid const& root) {
   return oid.size() >= root.size() && std::equal(root.begin(), root.end(), oid.begin());
}

}  // namespace

SnmpdConf::SnmpdConf(std::istream& text, std::filesystem::path const& file) {
   SnmpUtil::forEachLine(text, file, [this](SnmpUtil::ConfigurationLine const& line) {
      auto const& words = line.words;
      if (words.size() < 2) return;
      if (line.is("master")) master_ = is(words[1], "agentx") || is(words[1], "all") || is(words[1], "yes");
      if (line.is("dlmod")) dlmod_ = dlmod_ || words[1] == "mplsTe";
      if (line.is("agentXSocket")) socket_ = words[1];
      if (line.is("view") && words.size() > 3) rules_.push_back({words[1], is(words[2], "included"), oidOf(words[3])});
      readAccess(words);
   });
}

/// "rocommunity NAME SOURCE [OID | -V VIEW]", "rouser NAME [LEVEL [OID | -V VIEW]]" and their like, and
/// "access GROUP CONTEXT MODEL LEVEL MATCH READ WRITE NOTIFY".
void SnmpdConf::readAccess(std::vector<std::string> const& words) {
   constexpr std::size_t kOid = 3;
   constexpr std::size_t kRead = 6;
   if (is(words[0], "access") && words.size() > kRead && words[kRead] != "none") give(words[kRead]);

   constexpr char const* kTokens[] = {"rocommunity", "rwcommunity", "rocommunity6", "rwcommunity6", "rouser", "rwuser"};
   if (std::ranges::none_of(kTokens, [&](char const* token) { return is(words[0], token); })) return;
   if (auto const option = std::ranges::find(words, "-V"); option != words.end()) {
      if (option + 1 != words.end()) give(option[1]);
   } else if (words.size() > kOid) {
      Oid const seen = oidOf(words[kOid]);
      Oid const tables = oidOf(kTables);
      if (seen.empty() || isBelow(seen, tables) || isBelow(tables, seen)) return;
      narrow_.push_back({fmt::format("{}", fmt::join(words.begin(), words.begin() + kOid, " ")), words[kOid]});
   }
}

void SnmpdConf::give(std::string const& view) {
   if (std::ranges::find(given_, view) == given_.end()) given_.push_back(view);
}

SnmpdConf::Oid SnmpdConf::oidOf(std::string const& text) {
   Oid oid;
   char const* at = text.data();
   char const* const end = at + text.size();
   while (at != end) {
      if (*at == '.') ++at;
      unsigned part = 0;
      auto const [stop, error] = std::from_chars(at, end, part);
      if (error != std::errc()) return {};
      oid.push_back(part);
      at = stop;
   }
   return oid;
}

std::filesystem::path SnmpdConf::socket() const {
   if (socket_.empty()) return kDefaultSocket;
   constexpr std::string_view kUnix = "unix:";
   std::string_view address = socket_;
   if (address.starts_with(kUnix)) address.remove_prefix(kUnix.size());
   return address.starts_with('/') ? std::filesystem::path(address) : std::filesystem::path();
}

/// As RFC 3415 has it: of the rules that the tables are below of, the longest counts. A view that shows a part of the
/// tables shows them.
bool SnmpdConf::shows(std::string const& view) const {
   Oid const tables = oidOf(kTables);
   Rule const* decides = nullptr;
   for (Rule const& rule : rules_) {
      if (rule.view != view || rule.oid.empty()) continue;
      if (rule.included && isBelow(rule.oid, tables)) return true;
      if (isBelow(tables, rule.oid) && (!decides || rule.oid.size() >= decides->oid.size())) decides = &rule;
   }
   return decides && decides->included;
}

std::vector<std::string> SnmpdConf::hidingViews() const {
   std::vector<std::string> hiding;
   std::ranges::copy_if(given_, std::back_inserter(hiding), [&](std::string const& view) { return !shows(view); });
   return hiding;
}

Findings checkSnmpd(std::filesystem::path const& file, SnmpdConf const& conf, bool loaded) {
   Findings findings;
   if (loaded || conf.loadsMplste()) {
      findings.push_back({true, fmt::format("{}: snmpd loads mplste", file.string())});
   } else if (conf.takesSubagents()) {
      findings.push_back({true, fmt::format("{}: snmpd takes subagents", file.string())});
   } else {
      findings.push_back(
            {false,
             fmt::format("{}: snmpd takes no subagents, so mplsted --agentx cannot connect", file.string()),
             {fmt::format("in {}:", file.string()), "  master agentx",
              fmt::format("  agentXSocket unix:{}", kDefaultSocket), "  agentXPerms 0660 0755 Debian-snmp mplste"}});
   }
   for (std::string const& view : conf.hidingViews()) {
      findings.push_back({false,
                          fmt::format("{}: the view {} hides the tables from managers", file.string(), view),
                          {fmt::format("in {}:", file.string()), fmt::format("  view {} included {}", view, kTables)}});
   }
   for (auto const& [line, oid] : conf.narrow()) {
      // A second line for the same community would have no effect.
      findings.push_back(
            {false,
             fmt::format("{}: {} {} hides the tables from managers", file.string(), line, oid),
             {fmt::format("in {}, instead of that line:", file.string()), fmt::format("  view mplste included {}", oid),
              fmt::format("  view mplste included {}", kTables), fmt::format("  {} -V mplste", line)}});
   }
   return findings;
}

}  // namespace Tools::Doctor
