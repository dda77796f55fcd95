// SPDX-License-Identifier: MIT
/// What the framework knows of a type: its name, and the attributes and operations of the generic interface.
#pragma once

#include <any>
#include <cstdint>
#include <span>
#include <string_view>

namespace Vel {

class PtrInterface;
class Entity;
class String;
template <class T>
class Ptr;

/// An argument or result of the generic interface. Pointers travel as Ptr<PtrInterface> or Ptr<PtrInterface const>,
/// numbers as std::uint64_t or double, strings as String, other values as themselves. An empty one is "nothing".
using Any = std::any;
using AnyArgs = std::span<Any const>;

/// One way to call into an object generically. Throws ArgumentException for a wrong number or type of arguments.
using Method = Any (*)(PtrInterface& self, AnyArgs args);

/// An attribute or operation on the generic interface; what it does not offer is null.
struct AttributeInfo {
   std::uint16_t id = 0;
   std::string_view name;
   Method get = nullptr;     ///< no arguments; or the key, for a member of a collection
   Method set = nullptr;     ///< the arguments of the Is setter
   Method del = nullptr;     ///< none, or the key
   Method keys = nullptr;    ///< the keys of a collection, as std::vector<Any>
   Method invoke = nullptr;  ///< an operation that is no attribute
   Method size = nullptr;    ///< how many members a collection has
};

struct TypeInfo {
   std::string_view name;  ///< e.g. "MplsSnmp::Root"
   std::span<AttributeInfo const> attributes = {};
   /// Constructs from the arguments of the type's static constructor; returns Any of Ptr<PtrInterface>.
   Any (*construct)(AnyArgs args) = nullptr;
   /// Creates an entity inside a directory, by name alone.
   Ptr<Entity> (*newEntityForDir)(String const& name) = nullptr;
};

}  // namespace Vel
