// SPDX-License-Identifier: MIT
#include "host/daemon/Configuration.h"

#include <fmt/format.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "host/loop/NetSnmp.h"
#include "host/snmp/ConfigurationLines.h"

namespace Daemon {

namespace fs = std::filesystem;

namespace {

/// Who may read when nobody has said who: on IPv4, IPv6 and unix sockets, from this machine, and not the agent's own
/// tables of users and rights.
constexpr std::array kDefaultAccess{"com2sec mplsted 127.0.0.1 public",
                                    "com2sec6 mplsted ::1 public",
                                    "com2secunix mplsted default public",
                                    "group mplsted v1 mplsted",
                                    "group mplsted v2c mplsted",
                                    "view mplsted included .1.3.6.1.2.1.1",
                                    "view mplsted included .1.3.6.1.2.1.10.166",
                                    "access mplsted \"\" any noauth exact mplsted none none"};

/// A path that holds no file, whatever its name.
constexpr char const* kNowhere = "/dev/null";

/// Where net-snmp is to look for its configuration, without the directory in which it keeps things for itself, under
/// the same names: that it reads anyway, and what is read twice it keeps no more.
std::vector<fs::path> searchPath() {
   char const* const chosen = std::getenv("SNMPCONFPATH");
   std::istringstream path(chosen ? chosen : get_configuration_directory());
   std::vector<fs::path> directories;
   for (std::string directory; std::getline(path, directory, ':');) {
      if (directory != get_persistent_directory()) directories.emplace_back(directory);
   }
   return directories;
}

/// The first mplsted.conf, or nothing. Directories that we may not look into are passed over.
fs::path findFile(std::vector<fs::path> const& directories) {
   std::error_code ignored;
   for (fs::path const& directory : directories) {
      for (char const* const name : {"mplsted.conf", "mplsted.local.conf"}) {
         if (fs::is_regular_file(directory / name, ignored)) return directory / name;
      }
   }
   return {};
}

void setSearchPath(std::vector<fs::path> const& directories) {
   std::string path;
   for (fs::path const& directory : directories) path += (path.empty() ? "" : ":") + directory.string();
   set_configuration_directory(path.empty() ? kNowhere : path.c_str());
   // This would take precedence, and then net-snmp would not read what it has kept.
   unsetenv("SNMPCONFPATH");
}

/// net-snmp 5.9 crashes on a createUser line that names an authentication protocol and no passphrase.
bool lacksPassphrase(SnmpUtil::ConfigurationLine const& line) {
   if (!line.is("createUser")) return false;
   std::size_t const user = line.words.size() > 1 && line.words[1] == "-e" ? 3 : 1;
   return line.words.size() == user + 2;
}

/// The word behind the option, be it a word of its own or not; null when there is no such option.
std::optional<std::string_view> optionOf(SnmpUtil::ConfigurationLine const& line, std::string_view option) {
   for (auto word = line.words.begin() + 1; word != line.words.end(); ++word) {
      if (!word->starts_with(option)) continue;
      if (word->size() > option.size()) return std::string_view(*word).substr(option.size());
      return word + 1 != line.words.end() ? *(word + 1) : std::string_view();
   }
   return {};
}

/// net-snmp asks the receiver of informs of SNMPv3 for its engine while it reads the line, and waits for the answer: a
/// receiver that is away would keep managers waiting, and the agent from starting.
bool lacksEngine(SnmpUtil::ConfigurationLine const& line) {
   if (!line.is("trapsess") || optionOf(line, "-e")) return false;
   auto const version = optionOf(line, "-v");
   bool const isV3 = version ? *version == "3" : optionOf(line, "-u").has_value();
   return isV3 && optionOf(line, "-C").value_or("").find('i') != std::string_view::npos;
}

struct LineCheck {
   bool (*isWrong)(SnmpUtil::ConfigurationLine const&);
   std::string_view complaint;
};

/// What net-snmp itself does not refuse in good time.
constexpr LineCheck kLineChecks[] = {
      {&lacksPassphrase, "createUser wants a passphrase behind the authentication protocol"},
      {&lacksEngine, "trapsess wants the engine of a receiver of SNMPv3 informs, as -e 0x..."},
};

void check(fs::path const& file) {
   std::ifstream text(file);
   if (!text) {
      throw ConfigurationError(
            fmt::format("cannot read the configuration {}: {}", file.string(), std::generic_category().message(errno)));
   }
   SnmpUtil::forEachLine(text, file, [](SnmpUtil::ConfigurationLine const& line) {
      for (auto const& [isWrong, complaint] : kLineChecks) {
         if (!isWrong(line)) continue;
         throw ConfigurationError(fmt::format("{}: line {}: Error: {}", line.file.string(), line.number, complaint));
      }
   });
   if (text.bad()) throw ConfigurationError(fmt::format("cannot read the configuration {}", file.string()));
}

}  // namespace

PrivateDirectory::PrivateDirectory() {
   std::string name = (fs::temp_directory_path() / "mplsted.XXXXXX").string();
   if (!mkdtemp(name.data())) throw std::system_error(errno, std::generic_category(), "cannot make " + name);
   path_ = name;
}

PrivateDirectory::~PrivateDirectory() {
   std::error_code ignored;
   fs::remove_all(path_, ignored);
}

Configuration::Configuration(fs::path const& file, std::function<Access()> access)
      : access_(std::move(access)), file_(file) {
   // Numeric OIDs only: reading the MIBs would cost more time and memory than all tunnels.
   setenv("MIBS", "", 0);
   if (!std::getenv("SNMP_PERSISTENT_DIR") && ::access(get_persistent_directory(), W_OK) != 0) {
      persistent_.emplace();
      set_persistent_directory(persistent_->path().c_str());
   }

   if (file_.empty()) {
      searched_ = searchPath();
   } else {
      netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_OPTIONALCONFIG, file_.c_str());
   }
   setSearchPath(searched_);
   look();
}

void Configuration::look() {
   if (!searched_.empty()) file_ = findFile(searched_);
   if (file_.empty()) {
      if (access_() == Access::masters) return;
      for (char const* const line : kDefaultAccess) netsnmp_config_remember(std::string(line).data());
   } else {
      check(file_);
   }
}

std::vector<std::string> Configuration::checked(std::vector<std::string> const& complaints) const {
   auto const inFile = [](std::string const& complaint) { return complaint.find(": line ") != std::string::npos; };
   std::vector<std::string> others;
   for (std::string const& complaint : complaints) {
      if (complaint.starts_with("Warning: no access control information configured")) {
         if (access_() == Access::masters) continue;
         throw ConfigurationError(
               fmt::format("{}: it lets nobody in; add a line such as: rocommunity public 127.0.0.1", file_.string()));
      }
      // What net-snmp itself has written is no reason to stay away.
      bool const ours = !complaint.starts_with(get_persistent_directory());
      if (ours && inFile(complaint)) throw ConfigurationError(complaint);
      others.push_back(complaint);
   }
   return others;
}

std::string Configuration::access() const {
   return file_.empty() ? "community public, read-only" : fmt::format("access as in {}", file_.string());
}

}  // namespace Daemon
