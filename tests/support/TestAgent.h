// SPDX-License-Identifier: MIT
/// An SNMP agent of net-snmp and a manager that talks to it over UDP on the loopback interface, in one process and
/// without any configuration, port number or file.
#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <string>
#include <vector>

#include "host/loop/NetSnmp.h"
#include "tests/support/ScratchDirectory.h"

namespace TestSupport {

using Oid = std::vector<oid>;

struct Varbind {
   Oid name;
   std::string value;  ///< as valueText has it
   bool operator==(Varbind const&) const = default;
};

struct Answer {
   long status = 0;  ///< error-status
   long index = 0;   ///< error-index
   std::vector<Varbind> varbinds;
};

/// What a SET asks for.
struct Setting {
   Oid name;
   u_char type;
   std::vector<std::uint8_t> value;
};

class TestAgent {
 public:
   /// `configuration`: lines in net-snmp's notation, in place of a community "public" that may do everything.
   explicit TestAgent(std::vector<std::string> const& configuration = {"rwcommunity public 127.0.0.1"});
   ~TestAgent();
   TestAgent(TestAgent const&) = delete;
   TestAgent& operator=(TestAgent const&) = delete;

   Answer get(std::vector<Oid> const& names) { return ask(SNMP_MSG_GET, names); }
   Answer getNext(std::vector<Oid> const& names) { return ask(SNMP_MSG_GETNEXT, names); }
   Answer getBulk(std::vector<Oid> const& names, long nonRepeaters, long maxRepetitions) {
      return ask(SNMP_MSG_GETBULK, names, nonRepeaters, maxRepetitions);
   }
   Answer set(std::vector<Setting> const& settings);
   /// The version of what is asked from now on: SNMP_VERSION_2c, as at first, or SNMP_VERSION_1.
   void versionIs(long version);

   /// Where the agent answers over UDP.
   sockaddr_in socketAddress() const;
   /// The packet of a GET of that object, as the manager would send it.
   std::vector<std::uint8_t> packet(Oid const& name);
   /// Hands the agent a packet as it stands, and no answer back.
   void send(std::vector<std::uint8_t> const& packet);

   /// Sent requests whose answer did not come: throws std::runtime_error. In seconds.
   static constexpr long kPatience = 30;

 private:
   Answer ask(int command, std::vector<Oid> const& names, long nonRepeaters = 0, long maxRepetitions = 0);
   Answer await(netsnmp_pdu* request);

   ScratchDirectory directory_;  ///< where net-snmp may keep what it keeps
   std::string address_;
   netsnmp_session* session_ = nullptr;
};

}  // namespace TestSupport
