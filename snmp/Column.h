// SPDX-License-Identifier: MIT
/// What the request handlers know of a column. The tables of columns are in TunnelColumns.h, PerfColumns.h and
/// HopColumns.h; registration, request handling and tests read the same ones.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>

#include "host/snmp/Conversions.h"
#include "snmp/EncodeBuffer.h"
#include "snmp/NetSnmp.h"
#include "snmp/SnmpConversions.h"

namespace MplsSnmp {

/// One column of a table over rows of type `Row`. A column that has no `encode` is registered, but not served.
template <class Row>
struct Column {
   unsigned number;
   std::string_view object;  ///< its name in the MIB
   bool settable = false;    ///< read-create in the MIB; a SET is refused all the same

   std::uint8_t type = ASN_NULL;      ///< the ASN type that is sent
   std::string_view value = {};       ///< the value's name in messages
   std::string_view conversion = {};  ///< the conversion's name in messages
   /// Reads the value from the row and writes at most `limit` octets. Returns their number, negative when it failed.
   int (*encode)(Row const& row, std::uint8_t* buffer, std::size_t limit) = nullptr;
   std::size_t limit = kEncodeBufferSize;
   bool (*lengthIsRight)(int length) = nullptr;  ///< null: any length is
};

/// A conversion with its name.
template <class Conversion>
struct NamedConversion {
   Conversion convert;
   std::string_view name;
};

namespace To {
inline constexpr NamedConversion<Snmp::TruncatableStringToAsnOctetString> TruncatableString{
      {}, "TruncatableStringToAsnOctetString"};
inline constexpr NamedConversion<Snmp::StringToAsnOctetString> String{{}, "StringToAsnOctetString"};
inline constexpr NamedConversion<Snmp::BytesToAsnOctetString> Bytes{{}, "BytesToAsnOctetString"};
inline constexpr NamedConversion<Snmp::BoolToAsnInteger> TruthValue{{}, "BoolToAsnInteger"};
inline constexpr NamedConversion<Snmp::S32ToAsnInteger> Integer{{}, "S32ToAsnInteger"};
inline constexpr NamedConversion<Snmp::U32ToAsnUnsigned> Unsigned{{}, "U32ToAsnUnsigned"};
inline constexpr NamedConversion<Snmp::U64ToCounter32> Counter32{{}, "U64ToCounter32"};
inline constexpr NamedConversion<Snmp::U64ToCounter64> Counter64{{}, "U64ToCounter64"};
inline constexpr NamedConversion<Snmp::NowSecondsToUptimeTimeTicks> TimeTicks{{}, "NowSecondsToUptimeTimeTicks"};
inline constexpr NamedConversion<decltype(&SessionAttributesToAsnBits)> SessionAttributes{&SessionAttributesToAsnBits,
                                                                                          "SessionAttributesToAsnBits"};
}  // namespace To

/// The value and limit types of a conversion.
template <class Conversion>
struct ConversionTypes : ConversionTypes<decltype(&Conversion::operator())> {};
template <class C, class V, class L>
struct ConversionTypes<int (C::*)(V, std::uint8_t*, L) const> {
   using Value = std::remove_cvref_t<V>;
   using Limit = L;
};
template <class V, class L>
struct ConversionTypes<int (*)(V, std::uint8_t*, L)> {
   using Value = std::remove_cvref_t<V>;
   using Limit = L;
};

/// Encodes what the row's const member function `Accessor` returns.
template <class Row, auto Accessor, auto const& Conversion>
int encodeValue(Row const& row, std::uint8_t* buffer, std::size_t limit) {
   using Types = ConversionTypes<std::remove_const_t<decltype(Conversion.convert)>>;
   auto const value = static_cast<typename Types::Value>((row.*Accessor)());
   return Conversion.convert(value, buffer, static_cast<typename Types::Limit>(limit));
}

/// How the tables of columns are written: read-only and read-create columns, and those that are not served.
template <class Row>
struct Columns {
   template <auto Accessor, auto const& Conversion>
   static constexpr Column<Row> readOnly(unsigned number, std::string_view object, std::uint8_t type,
                                         std::string_view value, std::size_t limit = kEncodeBufferSize,
                                         bool (*lengthIsRight)(int) = nullptr) {
      return {.number = number,
              .object = object,
              .type = type,
              .value = value,
              .conversion = Conversion.name,
              .encode = &encodeValue<Row, Accessor, Conversion>,
              .limit = limit,
              .lengthIsRight = lengthIsRight};
   }
   template <auto Accessor, auto const& Conversion>
   static constexpr Column<Row> readCreate(unsigned number, std::string_view object, std::uint8_t type,
                                           std::string_view value, std::size_t limit = kEncodeBufferSize,
                                           bool (*lengthIsRight)(int) = nullptr) {
      auto column = readOnly<Accessor, Conversion>(number, object, type, value, limit, lengthIsRight);
      column.settable = true;
      return column;
   }
   static constexpr Column<Row> readOnlyNotServed(unsigned number, std::string_view object) {
      return {.number = number, .object = object};
   }
   static constexpr Column<Row> readCreateNotServed(unsigned number, std::string_view object) {
      return {.number = number, .object = object, .settable = true};
   }
};

/// Length rules: at most so many octets, or exactly one of these numbers.
template <int Most>
constexpr bool atMost(int length) {
   return length <= Most;
}
template <int... Exact>
constexpr bool exactly(int length) {
   return ((length == Exact) || ...);
}

/// The column of that number, or null. The numbers of a table's columns follow each other without a gap.
template <class Row>
Column<Row> const* findColumn(std::span<Column<Row> const> columns, unsigned number) {
   unsigned const first = columns.front().number;
   return number >= first && number - first < columns.size() ? &columns[number - first] : nullptr;
}

/// Whether the columns stand in order and without a gap.
template <class Row>
constexpr bool areContiguous(std::span<Column<Row> const> columns) {
   for (std::size_t n = 0; n < columns.size(); ++n) {
      if (columns[n].number != columns.front().number + n) return false;
   }
   return !columns.empty();
}

}  // namespace MplsSnmp
