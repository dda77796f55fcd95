// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <functional>
#include <istream>
#include <string>
#include <vector>

namespace SnmpUtil {

/// A line of a configuration in net-snmp's notation (snmp_config(5)), such as mplsted.conf or snmpd.conf.
struct ConfigurationLine {
   std::filesystem::path const& file;
   unsigned number;                 ///< from 1
   std::vector<std::string> words;  ///< at least one; without quotation marks and comment

   /// Whether it begins with `token`, in large or in small letters.
   bool is(char const* token) const;
};

/// Visits the lines of `text`, which comes from `file`, and those of included files where they are included. Lines
/// without a word are passed over, as are included files that cannot be read.
void forEachLine(std::istream& text, std::filesystem::path const& file,
                 std::function<void(ConfigurationLine const&)> const& visit);

}  // namespace SnmpUtil
