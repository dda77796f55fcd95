// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <istream>
#include <string>
#include <vector>

#include "tools/doctor/Finding.h"

namespace Tools::Doctor {

/// What snmpd.conf says about subagents and about who may see what, with what it includes (includeFile, includeDir).
/// Lines that it does not know are passed over, as are OIDs that are not numeric, and included files that cannot be
/// read.
class SnmpdConf {
 public:
   /// `file`: where the text comes from.
   SnmpdConf(std::istream& text, std::filesystem::path const& file);

   bool takesSubagents() const { return master_; }
   bool loadsMplste() const { return dlmod_; }
   /// The path of the unix socket for subagents; empty for another kind of address.
   std::filesystem::path socket() const;
   /// The views that managers are given and that hide the tables.
   std::vector<std::string> hidingViews() const;
   /// A line that lets somebody see what is below an OID, and no more.
   struct Narrow {
      std::string line;  ///< up to the OID
      std::string oid;
   };
   /// Those that leave the tables out.
   std::vector<Narrow> const& narrow() const { return narrow_; }

 private:
   using Oid = std::vector<unsigned>;
   struct Rule {
      std::string view;
      bool included;
      Oid oid;
   };
   void readAccess(std::vector<std::string> const& words);
   void give(std::string const& view);
   bool shows(std::string const& view) const;
   static Oid oidOf(std::string const& text);

   bool master_ = false;
   bool dlmod_ = false;
   std::string socket_;
   std::vector<Rule> rules_;
   std::vector<std::string> given_;  // views that a community, user or group is given
   std::vector<Narrow> narrow_;
};

/// Whether a snmpd that is configured so is fit for serving the tables. `loaded`: mplste runs inside it.
Findings checkSnmpd(std::filesystem::path const& file, SnmpdConf const& conf, bool loaded);

}  // namespace Tools::Doctor
