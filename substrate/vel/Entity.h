// SPDX-License-Identifier: MIT
#pragma once

#include "substrate/vel/PtrInterface.h"
#include "substrate/vel/String.h"

namespace Vel {

/// A counted object with a name and a place in the state store's directory.
class Entity : public PtrInterface {
 public:
   TypeInfo const& fwkType() const override;

   explicit Entity(String name) : name_(std::move(name)) {}

   String const& name() const { return name_; }
   /// The directory that holds the entity, or null. Not owned: the parent owns its children.
   Entity const* parent() const { return parent_; }
   void parentIs(Entity const* parent) { parent_ = parent; }

 private:
   String name_;
   Entity const* parent_ = nullptr;
};

}  // namespace Vel
