// SPDX-License-Identifier: MIT
/// SNMP messages as octets (RFC 3416, RFC 1901), for requests that net-snmp's own manager would not send.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Differential {

using Octets = std::vector<std::uint8_t>;
using Name = std::vector<std::uint64_t>;

enum class Pdu : std::uint8_t { get = 0xa0, getNext = 0xa1, getBulk = 0xa5 };

/// A request for some variables. `nonRepeaters` and `maxRepetitions` are those of a GETBULK, else 0.
struct Request {
   int version = 1;  ///< 0: SNMPv1, 1: SNMPv2c
   std::string community = "public";
   Pdu pdu = Pdu::get;
   std::uint32_t id = 1;
   std::uint32_t nonRepeaters = 0;
   std::uint32_t maxRepetitions = 0;
   std::vector<Name> names;
};

/// The message in BER.
Octets encode(Request const& request);
/// For people: "GETBULK v2c public 1/20 .1.3.6 .1.3.7".
std::string text(Request const& request);
/// What is read of an answer; nothing for no answer.
struct Answer {
   struct Variable {
      Name name;
      std::uint8_t type;
      Octets value;
      bool operator==(Variable const&) const = default;
   };
   std::uint64_t status = 0;  ///< error-status
   std::uint64_t index = 0;   ///< error-index
   std::vector<Variable> variables;
};
inline constexpr std::uint8_t kEndOfMibView = 0x82;

Answer decode(Octets const& message);
/// The answer for people, a variable a line.
std::string text(Octets const& message);

}  // namespace Differential
