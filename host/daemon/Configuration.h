// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Daemon {

/// The configuration file cannot be used. The text names the file and, where it can, the line.
class ConfigurationError : public std::runtime_error {
   using std::runtime_error::runtime_error;
};

/// A directory of this process alone, removed with all that is in it when it goes.
class PrivateDirectory {
 public:
   PrivateDirectory();
   ~PrivateDirectory();
   PrivateDirectory(PrivateDirectory const&) = delete;
   PrivateDirectory& operator=(PrivateDirectory const&) = delete;

   std::filesystem::path const& path() const { return path_; }

 private:
   std::filesystem::path path_;
};

/// Where net-snmp finds its configuration, and where it keeps what must outlive the process (the count of starts of
/// its SNMPv3 engine). To be made before net-snmp is initialised.
class Configuration {
 public:
   /// `file`: the only file to read; empty: mplsted.conf in net-snmp's search path (SNMPCONFPATH, or a list that ends
   /// in ~/.snmp). Without any, the community "public" may read from this machine. What net-snmp keeps goes where
   /// SNMP_PERSISTENT_DIR or the configuration say, or into net-snmp's own directory, or, where that cannot be written
   /// to, into a private one that lasts as long as this object. Throws ConfigurationError.
   ///
   /// `access`: whose affair it is who may read what, as far as is known when it is asked; the master's: nothing need
   /// be said of it, and nothing is.
   enum class Access { ours, masters };
   explicit Configuration(
         std::filesystem::path const& file, std::function<Access()> access = [] { return Access::ours; });

   /// Looks for the file again, and prepares net-snmp to read it. Throws ConfigurationError.
   void look();

   /// Looks through what net-snmp has complained of while it read the configuration. Throws ConfigurationError for what
   /// is wrong in a file, and for a configuration that lets nobody in; returns the rest.
   std::vector<std::string> checked(std::vector<std::string> const& complaints) const;

   /// Who may read what, for people: "community public, read-only" or "access as in FILE".
   std::string access() const;

 private:
   std::function<Access()> const access_;
   std::filesystem::path file_;
   std::vector<std::filesystem::path> searched_;  // empty: the file was given
   std::optional<PrivateDirectory> persistent_;
};

}  // namespace Daemon
