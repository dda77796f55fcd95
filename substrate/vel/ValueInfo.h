// SPDX-License-Identifier: MIT
/// How a value type or an enumeration is announced to the type registry: by its name, with its text form.
#pragma once

#include "substrate/vel/EnumType.h"
#include "substrate/vel/TypeInfo.h"

namespace Vel {

template <class T>
EnumType<unsigned int> const* enumeration() {
   if constexpr (RegisteredEnum<T>) {
      return &velEnumType(T{});
   } else {
      return nullptr;
   }
}

template <class T>
std::string_view typeName() {
   if constexpr (RegisteredEnum<T>) {
      return velEnumType(T{}).name();
   } else {
      return T::velTypeName;
   }
}

/// For the list of a type module. `T` has a table of enumerators, or a `velTypeName` as ValueType wants it.
template <class T>
TypeInfo const& valueTypeInfo() {
   static TypeInfo const info{
         .name = typeName<T>(),
         .value = {.holds = [](Any const& value) { return std::any_cast<T>(&value) != nullptr; },
                   .valueToStrep = [](Any const& value) { return toStrep(std::any_cast<T const&>(value)); },
                   .strepToValue = [](std::string_view text) { return Any(Vel::strepToValue<T>(text)); }},
         .enumeration = enumeration<T>()};
   return info;
}

}  // namespace Vel
