// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/SnmpClient.h"

// The columns of MPLS-TE-STD-MIB (RFC 3812) that this command line reads, as data: a new column is a new line here.

namespace Tools {

/// What a column's value means, and so how it is written.
enum class Kind {
   text,         ///< Octets that hold a name or a description.
   truth,        ///< TruthValue: true(1), false(2).
   enumeration,  ///< INTEGER with `labels`.
   bits,         ///< BITS; a label's value is the bit's number.
   number,       ///< Any plain number or counter.
   ticks,        ///< TimeTicks, hundredths of a second.
   lsrId,        ///< MplsLsrIdentifier as Unsigned32, written as a dotted quad.
   address,      ///< TeHopAddress: 4 octets IPv4, 16 octets IPv6.
   octets        ///< Any other octets, written in hexadecimal.
};

struct Label {
   std::uint32_t value;
   std::string_view name;
};

struct Column {
   std::uint32_t number;
   std::string_view object;   ///< The object's name in the MIB: the key in JSON.
   std::string_view heading;  ///< What an operator calls it.
   Kind kind;
   std::span<Label const> labels = {};
};

struct Table {
   std::string_view object;
   std::uint32_t number;  ///< Below mplsTeObjects, 1.3.6.1.2.1.10.166.3.2.
   std::span<Column const> index;
   std::span<Column const> columns;

   /// The column with that number. REQUIRES: there is one.
   Column const& column(std::uint32_t columnNumber) const;
   std::vector<std::uint32_t> columnNumbers() const;
   Oid columnOid(std::uint32_t columnNumber) const;
};

extern Table const tunnelTable;
extern Table const hopTable;
extern Table const perfTable;

namespace TunnelColumn {
inline constexpr std::uint32_t name = 5;
inline constexpr std::uint32_t setupPrio = 13;
inline constexpr std::uint32_t holdingPrio = 14;
inline constexpr std::uint32_t sessionAttributes = 15;
inline constexpr std::uint32_t localProtectInUse = 16;
inline constexpr std::uint32_t hopTableIndex = 20;
inline constexpr std::uint32_t instanceUpTime = 28;
inline constexpr std::uint32_t adminStatus = 34;
inline constexpr std::uint32_t operStatus = 35;
}  // namespace TunnelColumn
namespace HopColumn {
inline constexpr std::uint32_t ipAddr = 5;
inline constexpr std::uint32_t ipPrefixLen = 6;
inline constexpr std::uint32_t type = 10;
inline constexpr std::uint32_t include = 11;
inline constexpr std::uint32_t pathOptionName = 12;
inline constexpr std::uint32_t entryPathComp = 13;
}  // namespace HopColumn
namespace PerfColumn {
inline constexpr std::uint32_t packets = 1;
inline constexpr std::uint32_t hcPackets = 2;
inline constexpr std::uint32_t bytes = 4;
inline constexpr std::uint32_t hcBytes = 5;
}  // namespace PerfColumn

/// The value for people: one line, fit for a terminal, "-" when it is absent. A value of another type than the column's
/// is written as it came.
std::string toText(Column const& column, Value const& value);

/// The value for programs: null when it is absent; names of enumerations and bits, true and false, hundredths of a
/// second for TimeTicks, texts for addresses. A number without a name stays a number.
nlohmann::ordered_json toJson(Column const& column, Value const& value);

/// The value as a number that is not negative, if it is one.
std::optional<std::uint64_t> toNumber(Value const& value);

/// The names of the bits that are set, in the order of the column's labels.
std::vector<std::string> toBits(Column const& column, Value const& value);

/// Whether a TruthValue is true(1).
bool isTrue(Value const& value);

/// A 32-bit LSR id as a dotted quad.
std::string dottedQuad(std::uint32_t address);

}  // namespace Tools
