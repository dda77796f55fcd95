// SPDX-License-Identifier: MIT
/// Enumerations with a table that maps each numeric value to its name and back. What value types do they do, too:
/// `toStrep`, `stringValue`, `strepToValue`, `sequenceToValue`, `hash`, streams and fmt; the text form is the name.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "substrate/vel/Hasher.h"
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

template <RegisteredEnum E>
E enumInstance(unsigned number) {
   return static_cast<E>(velEnumType(E{}).byNumber(number).value);
}

template <RegisteredEnum E>
E enumInstance(String const& name) {
   return static_cast<E>(velEnumType(E{}).byName(name.view()).value);
}

/// What value types have as members.
template <RegisteredEnum E>
std::string valueToStrep(E value) {
   return toStrep(value);
}
template <RegisteredEnum E>
std::uint32_t hash(E value, std::uint32_t seed = hashSeed32) {
   return hashOf(value, seed);
}

}  // namespace Vel
