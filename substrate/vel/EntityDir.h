// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "substrate/vel/Entity.h"

namespace Vel {

/// A directory of entities. Owns its entries.
class EntityDir : public Entity {
 public:
   using Entity::Entity;
   ~EntityDir() override;

   /// Creates an entity of a registered type under `name`. Throws UnknownTypeException, NewEntityArgsException when
   /// there are arguments beyond the name, ArgumentException when the name is empty or holds a "/", and
   /// MutatorReinstantiatingException when it is taken.
   Ptr<Entity> newEntity(std::string_view type, String const& name, AnyArgs args = {});

   /// Mounts an entity that exists already. Throws MutatorArgNullPointerException, and for its name as newEntity does.
   void entityIs(Ptr<Entity> const& entity);
   /// Takes the entity out; returns it, or null when there was none.
   Ptr<Entity> entityDel(String const& name);

   /// The directory at `path` (names separated by "/") below this one; made, with those on the way, where absent.
   /// Throws as entityIs does, and MutatorReinstantiatingException when something on the way is no directory.
   Ptr<EntityDir> dirIs(std::string_view path);
   /// The entity at `path` below this directory, or null.
   Ptr<Entity> find(std::string_view path) const;

 private:
   Ptr<Entity> entry(std::string_view name) const;
   std::map<String, Ptr<Entity>> entries_;
};

}  // namespace Vel
