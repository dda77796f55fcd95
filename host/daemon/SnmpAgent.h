// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/daemon/Configuration.h"
#include "host/daemon/NetSnmpLog.h"
#include "host/daemon/Options.h"

namespace Daemon {

/// An address cannot be listened on. The text names it and says why.
class ListenError : public std::runtime_error {
   using std::runtime_error::runtime_error;
};

/// The SNMP agent of this process: net-snmp's library with its configuration, its sockets and its event loop. Nothing
/// that it registers itself can be written. Exists once, and cannot be made again after it has gone.
class SnmpAgent {
 public:
   /// The program's name to net-snmp: its configuration is in mplsted.conf.
   static constexpr char const* kName = "mplsted";
   /// Where it listens when nothing else is said.
   static constexpr char const* kDefaultAddress = "udp:127.0.0.1:11161";

   /// Listens nowhere yet. Throws ConfigurationError.
   SnmpAgent(Configuration& configuration, Log& log);
   ~SnmpAgent();
   SnmpAgent(SnmpAgent const&) = delete;
   SnmpAgent& operator=(SnmpAgent const&) = delete;

   /// Listens on `addresses`, or where the configuration says, or on the default address. Throws ListenError.
   void listen(std::vector<std::string> const& addresses);
   /// The addresses that it listens on, with the ports that it was given.
   std::vector<std::string> const& addresses() const { return addresses_; }

   /// Reads the configuration again, as far as net-snmp can do that while it runs. Tries it before it touches anything:
   /// throws std::runtime_error when the new one cannot be used, and then the old one holds. `check` throws when what
   /// has been read is no use to others than net-snmp.
   void reconfigure(Configuration& configuration, Log& log, std::function<void()> const& check);

   /// Answers requests, watches descriptors and sleeps in between, until `stop`. Throws std::runtime_error after
   /// `fail`.
   void run();
   void stop() { running_ = false; }
   /// Stops with an error; the first one counts.
   void fail(std::string_view error);

 private:
   struct Library {
      explicit Library(Configuration& configuration, NetSnmpLog& netSnmpLog, Log& log);
      ~Library();
   };
   void listen(std::string const& address);

   NetSnmpLog netSnmpLog_;
   Library library_;
   std::vector<std::string> addresses_;
   bool running_ = false;
   std::optional<std::string> error_;
};

}  // namespace Daemon
