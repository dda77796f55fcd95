// SPDX-License-Identifier: MIT
/// How value types and enumerations are announced to the type registry: by their names, with their text forms.
#pragma once

#include "substrate/vel/EnumType.h"
#include "substrate/vel/TypeInfo.h"

namespace Vel {

/// A value from its text form: the framework's, or one that `T::fromText` reads. In that one the default-made value may
/// have a text of its own, such as "none".
template <class T>
T valueOfText(std::string_view text) {
   if constexpr (requires { T::fromText(text); }) {
      return text == toStrep(T{}) ? T{} : T::fromText(text);
   } else {
      return strepToValue<T>(text);
   }
}

/// For the list of a type module: a value type of this name.
template <class T>
TypeInfo valueTypeNamed(std::string_view name) {
   return {.name = name,
           .attributes = {},
           .value = {.holds = [](Any const& value) { return std::any_cast<T>(&value) != nullptr; },
                     .valueToStrep = [](Any const& value) { return toStrep(std::any_cast<T const&>(value)); },
                     .strepToValue = [](std::string_view text) { return Any(valueOfText<T>(text)); }}};
}

/// The same for an enumeration, or a value type that knows its name (ValueType).
template <class T>
TypeInfo const& valueTypeInfo() {
   static TypeInfo const info = [] {
      if constexpr (RegisteredEnum<T>) {
         TypeInfo made = valueTypeNamed<T>(velEnumType(T{}).name());
         made.enumeration = &velEnumType(T{});
         return made;
      } else {
         return valueTypeNamed<T>(T::velTypeName);
      }
   }();
   return info;
}

}  // namespace Vel
