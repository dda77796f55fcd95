// SPDX-License-Identifier: MIT
/// The text form of values: writing (`toStrep`) and reading (`needString`, `deserializeAttr`).
#pragma once

#include <fmt/format.h>

#include <charconv>
#include <concepts>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "substrate/vel/Exceptions.h"
#include "substrate/vel/Optional.h"
#include "substrate/vel/Ptr.h"
#include "substrate/vel/String.h"

namespace Vel {

/// A position in a text that is being read.
using TextIterator = char const*;

template <class Number>
class EnumType;

/// An enumeration with a table of its names (EnumType.h), which `EnumType<unsigned int> const& velEnumType(E)` gives.
/// The function is found by argument-dependent look-up.
template <class E>
concept RegisteredEnum = std::is_enum_v<E> && requires(E value) {
   { velEnumType(value) } -> std::same_as<EnumType<unsigned int> const&>;
};

/// Steps over `literal`; throws ParseException when the text at `position` is another.
void needString(TextIterator& position, TextIterator end, std::string_view literal);

/// Reads a decimal number of at most `limit`. Throws ParseException when there is none and RangeException,
/// naming the attribute, when it is too large.
std::uint64_t readNumber(TextIterator& position, TextIterator end, std::string_view attribute, std::uint64_t limit);

/// Reads "True" or "False".
bool readBool(TextIterator& position, TextIterator end, std::string_view attribute);

/// Reads one value at `position` and steps behind it. `out` is only written when all of the text is right.
template <class T>
void sequenceToValue(TextIterator& position, TextIterator end, T& out) {
   if constexpr (RegisteredEnum<T>) {
      out = static_cast<T>(velEnumType(T{}).read(position, end).value);
   } else {
      T::sequenceToValue(position, end, out);
   }
}

/// Reads the value of one attribute; the error names the attribute.
template <class T>
T deserializeAttr(TextIterator& position, TextIterator end, std::string_view attribute) {
   if constexpr (std::is_same_v<T, bool>) {
      return readBool(position, end, attribute);
   } else if constexpr (std::is_integral_v<T>) {
      static_assert(std::is_unsigned_v<T>, "attributes of value types are unsigned");
      return static_cast<T>(readNumber(position, end, attribute, std::numeric_limits<T>::max()));
   } else {
      T value{};
      Vel::sequenceToValue(position, end, value);
      return value;
   }
}

template <class T>
concept HasMemberStrep = requires(T const& value) {
   { value.valueToStrep() } -> std::convertible_to<std::string>;
};
template <class T>
concept HasFreeStrep = requires(T const& value) {
   { valueToStrep(value) } -> std::convertible_to<std::string>;
};

/// The text form of any value that the framework knows.
template <class T>
std::string toStrep(T const& value) {
   if constexpr (std::is_same_v<T, bool>) {
      return value ? "True" : "False";
   } else if constexpr (std::is_integral_v<T>) {
      return fmt::format("{}", value);
   } else if constexpr (std::is_same_v<T, String>) {
      return value.stdString();
   } else if constexpr (HasMemberStrep<T>) {
      return value.valueToStrep();
   } else if constexpr (RegisteredEnum<T>) {
      return velEnumType(value).text(static_cast<unsigned>(value));
   } else {
      return valueToStrep(value);
   }
}

/// The text form as a String.
template <class T>
String stringValue(T const& value) {
   return String(toStrep(value));
}

/// Reads a value from the whole of `text`. Throws ParseException when text is left over.
template <class T>
T strepToValue(std::string_view text) {
   TextIterator position = text.data();
   TextIterator const end = position + text.size();
   T value{};
   Vel::sequenceToValue(position, end, value);
   if (position != end) {
      throw ParseException(fmt::format("\"{}\" is followed by \"{}\"", text.substr(0, text.size() - (end - position)),
                                       std::string_view(position, end - position)));
   }
   return value;
}

template <class T>
std::string valueToStrep(Optional<T> const& optional) {
   return optional ? fmt::format("Optional({})", toStrep(*optional)) : std::string("None");
}

template <class T>
std::string valueToStrep(Ptr<T> const& ptr) {
   return ptr ? fmt::format("Ptr({})", fmt::ptr(ptr.get())) : std::string("null");
}

/// Types whose text form is the framework's: they print the same through streams, fmt and trace lines.
template <class T>
concept TextValue = HasMemberStrep<T> || HasFreeStrep<T> || RegisteredEnum<T> || std::is_same_v<T, String>;

template <class T>
requires(HasMemberStrep<T> || RegisteredEnum<T>) std::ostream& operator<<(std::ostream& out, T const& value) {
   return out << toStrep(value);
}

}  // namespace Vel

template <Vel::TextValue T>
struct fmt::formatter<T> : fmt::formatter<std::string_view> {
   template <class Context>
   auto format(T const& value, Context& context) const {
      return fmt::formatter<std::string_view>::format(Vel::toStrep(value), context);
   }
};
