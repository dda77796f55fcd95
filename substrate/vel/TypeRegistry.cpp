// SPDX-License-Identifier: MIT
#include "substrate/vel/TypeRegistry.h"

#include <fmt/format.h>

#include "substrate/vel/ValueText.h"

namespace Vel {

TypeRegistry& TypeRegistry::instance() {
   // Never destroyed: libraries unregister from their static destructors.
   static auto* const registry = new TypeRegistry;
   return *registry;
}

void TypeRegistry::velModuleIs(TypeModuleInfo const& module) { modules_.push_back(&module); }

void TypeRegistry::velModuleDel(TypeModuleInfo const& module) { std::erase(modules_, &module); }

template <class Predicate>
TypeInfo const* TypeRegistry::find(Predicate const& wanted) const {
   for (TypeModuleInfo const* const module : modules_) {
      for (TypeInfo const* const type : module->types) {
         if (wanted(*type)) return type;
      }
   }
   return nullptr;
}

TypeInfo const& TypeRegistry::type(std::string_view name) const {
   auto const* const found = find([&](TypeInfo const& type) { return type.name == name; });
   if (!found) throw UnknownTypeException(fmt::format("no type '{}' is registered", name));
   return *found;
}

std::vector<std::string_view> TypeRegistry::moduleNames() const {
   std::vector<std::string_view> names;
   for (TypeModuleInfo const* const module : modules_) names.push_back(module->name);
   return names;
}

Any TypeRegistry::construct(std::string_view name, AnyArgs args) const {
   TypeInfo const& info = type(name);
   if (!info.construct) throw UnknownTypeException(fmt::format("type '{}' has no static constructor", name));
   return info.construct(args);
}

Any TypeRegistry::strepToValue(std::string_view name, std::string_view text) const {
   TypeInfo const& info = type(name);
   if (!info.value.strepToValue) throw UnknownTypeException(fmt::format("type '{}' is no value type", name));
   return info.value.strepToValue(text);
}

std::string TypeRegistry::valueToStrep(Any const& value) const {
   if (!value.has_value()) return toStrep(Optional<bool>());
   if (auto const* const number = std::any_cast<std::uint64_t>(&value)) return toStrep(*number);
   if (auto const* const number = std::any_cast<double>(&value)) return fmt::format("{}", *number);
   if (auto const* const truth = std::any_cast<bool>(&value)) return toStrep(*truth);
   if (auto const* const text = std::any_cast<String>(&value)) return toStrep(*text);
   if (auto const* const octets = std::any_cast<Bytes>(&value)) return octets->hex();
   auto const* const found = find([&](TypeInfo const& type) { return type.value.holds && type.value.holds(value); });
   if (!found) throw UnknownTypeException("the value is of no registered value type");
   return found->value.valueToStrep(value);
}

}  // namespace Vel
