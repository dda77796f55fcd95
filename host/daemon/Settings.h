// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/daemon/Options.h"

namespace Daemon {

/// An option that may also stand in mplsted.conf, as a line "token value". The command line wins.
struct Setting {
   /// What is to be done for a change of it while the agent runs.
   enum class Change { reload, restart };
   /// Whose configuration may hold it: that of mplsted, or also that of a stock snmpd which mplste is loaded into.
   enum class Host { mplsted, any };

   char const* option;
   char const* token;
   Change change;
   Host host;
   /// Puts the value of one line into the options. Throws std::invalid_argument, which says what is wrong with it.
   void (*set)(Options& options, std::string const& value);
};

/// All of them.
std::span<Setting const> settings();

/// The lines of mplsted.conf (or snmpd.conf) that are ours, read by net-snmp along with its own: what is wrong in one
/// is complained of like anything else there, with file and line. Exists once, from before net-snmp reads its
/// configuration.
class FileSettings {
 public:
   /// Those of mplsted.
   FileSettings();
   /// `application`: whose configuration it is, to net-snmp.
   FileSettings(char const* application, Setting::Host host);
   ~FileSettings();
   FileSettings(FileSettings const&) = delete;
   FileSettings& operator=(FileSettings const&) = delete;

   /// `commandLine`, and for what it does not say the file.
   Options merged(Options commandLine) const;

   /// The tokens whose lines are others than when `keep` was called last, and which wait for a restart.
   std::vector<std::string_view> waiting() const;
   void keep() { kept_ = lines_; }

 private:
   struct Line {
      Setting const* setting;
      std::string value;
      bool operator==(Line const&) const = default;
   };
   static void read(char const* token, char* text) noexcept;
   static void forget() noexcept { instance_->lines_.clear(); }
   void add(Setting const& setting, std::string value);

   char const* const application_;
   std::vector<Setting const*> known_;

   // net-snmp passes nothing to its handlers by which we could know ourselves.
   static inline FileSettings* instance_ = nullptr;

   std::vector<Line> lines_;
   std::vector<Line> kept_;
};

}  // namespace Daemon
