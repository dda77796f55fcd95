// SPDX-License-Identifier: MIT
/// Value types described by one table of their fields: hash, text form and parsing follow from the table.
#pragma once

#include <compare>
#include <string>
#include <string_view>
#include <tuple>

#include "substrate/vel/Hasher.h"
#include "substrate/vel/ValueText.h"

namespace Vel {

/// One field of a value type: its name in the text form and where it is.
template <class Owner, class Member>
struct Field {
   std::string_view name;
   Member Owner::*member;
};

template <class Owner, class Member>
constexpr Field<Owner, Member> field(std::string_view name, Member Owner::*member) {
   return {name, member};
}

/// Base of a value type `T`, which supplies
///   static constexpr std::string_view velTypeName;   e.g. "MplsSnmp::MplsTunnelTableKey"
///   static constexpr auto velFields();               a tuple of Field, in declaration order
/// and defaults its own comparison operators.
template <class T>
class ValueType {
 public:
   bool operator==(ValueType const&) const = default;
   auto operator<=>(ValueType const&) const = default;

   /// Mixes each field in declaration order.
   std::uint32_t hash(std::uint32_t seed = hashSeed32) const {
      Hasher hasher(seed);
      std::apply([&](auto const&... fields) { (mixField(hasher, self().*fields.member), ...); }, T::velFields());
      return hasher.result();
   }

   /// "Value('<type>', ** {'<field>': <value>, ...})"
   std::string valueToStrep() const {
      std::string text = fmt::format("Value('{}', ** {{", T::velTypeName);
      bool first = true;
      auto const append = [&](auto const& field) {
         text += fmt::format("{}'{}': {}", first ? "" : ", ", field.name, toStrep(self().*field.member));
         first = false;
      };
      std::apply([&](auto const&... fields) { (append(fields), ...); }, T::velFields());
      return text + "})";
   }

   String stringValue() const { return String(valueToStrep()); }

   /// Reads one value at `position` and steps behind it. `out` is only written when all of the text is right.
   static void sequenceToValue(TextIterator& position, TextIterator end, T& out) {
      T value;
      needString(position, end, fmt::format("Value('{}', ** {{", T::velTypeName));
      bool first = true;
      auto const read = [&]<class Member>(Field<T, Member> const& field) {
         needString(position, end, fmt::format("{}'{}': ", first ? "" : ", ", field.name));
         value.*field.member = deserializeAttr<Member>(position, end, field.name);
         first = false;
      };
      std::apply([&](auto const&... fields) { (read(fields), ...); }, T::velFields());
      needString(position, end, "})");
      out = value;
   }

 private:
   T const& self() const { return static_cast<T const&>(*this); }
};

}  // namespace Vel
