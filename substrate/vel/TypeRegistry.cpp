// SPDX-License-Identifier: MIT
#include "substrate/vel/TypeRegistry.h"

#include <fmt/format.h>

#include "substrate/vel/Exceptions.h"

namespace Vel {

TypeRegistry& TypeRegistry::instance() {
   // Never destroyed: libraries unregister from their static destructors.
   static auto* const registry = new TypeRegistry;
   return *registry;
}

void TypeRegistry::velModuleIs(TypeModuleInfo const& module) { modules_.push_back(&module); }

void TypeRegistry::velModuleDel(TypeModuleInfo const& module) { std::erase(modules_, &module); }

TypeInfo const& TypeRegistry::type(std::string_view name) const {
   for (TypeModuleInfo const* const module : modules_) {
      for (TypeInfo const* const type : module->types) {
         if (type->name == name) return *type;
      }
   }
   throw UnknownTypeException(fmt::format("no type '{}' is registered", name));
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

}  // namespace Vel
