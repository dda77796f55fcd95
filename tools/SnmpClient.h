// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace Tools {

/// The sub-identifiers of an object identifier, each of 32 bits (RFC 2578, section 3.5). Compares in SNMP's order.
using Oid = std::vector<std::uint32_t>;

/// The OID in dotted decimal, without a leading dot.
std::string dotted(Oid const& oid);

/// What an SNMPv2 agent answers instead of a value (RFC 3416, section 4.2).
enum class Absent { noSuchObject, noSuchInstance, endOfMibView };

/// A value as it came: INTEGER is signed, every other number (Unsigned32, Counter32, Counter64, TimeTicks) unsigned;
/// an IpAddress is its four octets.
using Value = std::variant<Absent, std::int64_t, std::uint64_t, std::string>;

inline bool present(Value const& value) { return !std::holds_alternative<Absent>(value); }

struct VarBind {
   Oid name;
   Value value;
};

/// An agent's response. With an `errorStatus` other than 0 (noError) the variables mean nothing.
struct Response {
   long errorStatus = 0;
   std::vector<VarBind> varBinds;
};

/// The agent does not answer, refuses, or answers what no agent may. The text is one line that says what to do.
class AgentError : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
};

/// The two requests that reading tables takes.
class SnmpClient {
 public:
   virtual ~SnmpClient() = default;

   /// The agent's address, for messages.
   virtual std::string const& agent() const = 0;

   /// GET. Throws `AgentError` when no response comes.
   virtual Response get(std::vector<Oid> const& names) = 0;

   /// GETBULK with `repetitions` (at least 1) for each of `names`. Throws `AgentError` when no response comes.
   virtual Response getBulk(std::vector<Oid> const& names, int repetitions) = 0;
};

}  // namespace Tools
