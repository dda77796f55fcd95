// SPDX-License-Identifier: MIT
#include "substrate/vel/EntityDir.h"

#include "substrate/vel/Exceptions.h"
#include "substrate/vel/TypeRegistry.h"

namespace Vel {

namespace {

/// Takes the first name off `path`.
std::string_view popName(std::string_view& path) {
   auto const slash = path.find('/');
   std::string_view const name = path.substr(0, slash);
   path = slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
   return name;
}

/// An entity of another name could not be found by a path.
void needEntityName(std::string_view name) {
   if (name.empty() || name.find('/') != std::string_view::npos) {
      throw ArgumentException(fmt::format("\"{}\" is not the name of an entity in a directory", name));
   }
}

}  // namespace

TypeInfo const& Entity::fwkType() const {
   static constexpr TypeInfo type{.name = "Vel::Entity"};
   return type;
}

EntityDir::~EntityDir() {
   for (auto const& [name, entity] : entries_) entity->parentIs(nullptr);
}

Ptr<Entity> EntityDir::entry(std::string_view name) const {
   auto const found = entries_.find(String(name));
   return found == entries_.end() ? nullptr : found->second;
}

Ptr<Entity> EntityDir::newEntity(std::string_view type, String const& name, AnyArgs args) {
   TypeInfo const& info = TypeRegistry::instance().type(type);
   if (!info.newEntityForDir) throw UnknownTypeException(fmt::format("type '{}' is not an entity type", type));
   if (!args.empty()) throwNewEntityArgsException(type);
   needEntityName(name.view());
   if (entry(name.view())) throwMutatorReinstantiating("Vel::EntityDir", "entity", name.view());
   Ptr<Entity> const made = info.newEntityForDir(name);
   entityIs(made);
   return made;
}

void EntityDir::entityIs(Ptr<Entity> const& entity) {
   if (!entity) throwMutatorArgNullPointerException("Vel::EntityDir", "entity", "entity");
   needEntityName(entity->name().view());
   if (!entries_.emplace(entity->name(), entity).second) {
      throwMutatorReinstantiating("Vel::EntityDir", "entity", entity->name().view());
   }
   entity->parentIs(this);
}

Ptr<Entity> EntityDir::entityDel(String const& name) {
   auto const found = entries_.find(name);
   if (found == entries_.end()) return nullptr;
   Ptr<Entity> const taken = found->second;
   entries_.erase(found);
   taken->parentIs(nullptr);
   return taken;
}

Ptr<EntityDir> EntityDir::dirIs(std::string_view path) {
   Ptr<EntityDir> dir(this);
   while (!path.empty()) {
      std::string_view const name = popName(path);
      Ptr<Entity> const existing = dir->entry(name);
      auto next = ptrCast<EntityDir>(existing);
      if (existing && !next) throwMutatorReinstantiating("Vel::EntityDir", "dir", name);
      if (!next) {
         next = makePtr<EntityDir>(String(name));
         dir->entityIs(next);
      }
      dir = next;
   }
   return dir;
}

Ptr<Entity> EntityDir::find(std::string_view path) const {
   Ptr<Entity> entity = entry(popName(path));
   while (entity && !path.empty()) {
      auto const dir = ptrCast<EntityDir>(entity);
      if (!dir) return nullptr;
      entity = dir->entry(popName(path));
   }
   return entity;
}

}  // namespace Vel
