// SPDX-License-Identifier: MIT
/// Enumerations with a table that maps each numeric value to its name and back.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "substrate/vel/ValueText.h"

namespace Vel {

struct Enumerator {
   unsigned value;
   std::string_view name;
};

/// The registered description of an enumeration type.
template <class Number>
class EnumType;

template <>
class EnumType<unsigned int> {
 public:
   constexpr EnumType(std::string_view name, std::span<Enumerator const> enumerators)
         : name_(name), enumerators_(enumerators) {}

   constexpr std::string_view name() const { return name_; }
   constexpr std::span<Enumerator const> enumerators() const { return enumerators_; }

   /// Throws RangeException for a number that no enumerator has.
   Enumerator const& byNumber(unsigned number) const;
   /// Throws ParseException for a name that no enumerator has.
   Enumerator const& byName(std::string_view name) const;
   /// Reads the longest run of identifier characters as a name.
   Enumerator const& read(TextIterator& position, TextIterator end) const;

   /// The name, or the number in decimal for a value outside the table.
   std::string text(unsigned number) const;

 private:
   std::string_view name_;
   std::span<Enumerator const> enumerators_;
};

/// Found by argument-dependent look-up: `EnumType<unsigned int> const& velEnumType(E)` names the table of E.
template <class E>
concept RegisteredEnum = std::is_enum_v<E> && requires(E value) {
   { velEnumType(value) } -> std::convertible_to<EnumType<unsigned int> const&>;
};

template <RegisteredEnum E>
E enumInstance(unsigned number) {
   return static_cast<E>(velEnumType(E{}).byNumber(number).value);
}

template <RegisteredEnum E>
E enumInstance(String const& name) {
   return static_cast<E>(velEnumType(E{}).byName(name.view()).value);
}

template <RegisteredEnum E>
std::string enumText(E value) {
   return velEnumType(value).text(static_cast<unsigned>(value));
}

template <RegisteredEnum E>
void enumFromSequence(TextIterator& position, TextIterator end, E& out) {
   out = static_cast<E>(velEnumType(E{}).read(position, end).value);
}

template <RegisteredEnum E>
std::ostream& operator<<(std::ostream& out, E value) {
   return out << enumText(value);
}

}  // namespace Vel

template <Vel::RegisteredEnum E>
struct fmt::formatter<E> : fmt::formatter<std::string_view> {
   template <class Context>
   auto format(E value, Context& context) const {
      return fmt::formatter<std::string_view>::format(Vel::enumText(value), context);
   }
};
