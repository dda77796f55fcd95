// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "substrate/vel/TypeInfo.h"

namespace Vel {

/// The types of a unit, announced together at load.
struct TypeModuleInfo {
   std::string_view name;
   std::span<TypeInfo const* const> types;
};

/// The process's registered types, by type module, in order of registration.
class TypeRegistry {
 public:
   static TypeRegistry& instance();

   void velModuleIs(TypeModuleInfo const& module);
   void velModuleDel(TypeModuleInfo const& module);

   /// Throws UnknownTypeException.
   TypeInfo const& type(std::string_view name) const;
   std::vector<std::string_view> moduleNames() const;

   /// Creates an object of a registered type from the arguments of its static constructor.
   /// Throws UnknownTypeException and ArgumentException.
   Any construct(std::string_view type, AnyArgs args) const;

   /// A value of a registered value type or enumeration, made from its text form. Throws UnknownTypeException,
   /// ParseException and RangeException.
   Any strepToValue(std::string_view type, std::string_view text) const;
   /// The text form of what the generic interface carries: numbers, truth values, strings, octets in hexadecimal, and
   /// values of registered types; "None" for nothing. Throws UnknownTypeException for all else.
   std::string valueToStrep(Any const& value) const;

 private:
   /// The first registered type that `wanted` is true for, or null.
   template <class Predicate>
   TypeInfo const* find(Predicate const& wanted) const;

   std::vector<TypeModuleInfo const*> modules_;
};

/// Registers a type module for as long as it lives: one static object per unit of a loadable library.
class TypeModule {
 public:
   TypeModule(std::string_view name, std::span<TypeInfo const* const> types) : info_{name, types} {
      TypeRegistry::instance().velModuleIs(info_);
   }
   ~TypeModule() { TypeRegistry::instance().velModuleDel(info_); }
   TypeModule(TypeModule const&) = delete;
   TypeModule& operator=(TypeModule const&) = delete;

 private:
   TypeModuleInfo info_;
};

}  // namespace Vel
