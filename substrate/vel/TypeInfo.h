// SPDX-License-Identifier: MIT
/// What the framework knows of a type: its name, the attributes and operations of the generic interface, and the text
/// form of values.
#pragma once

#include <any>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Vel {

class PtrInterface;
class Entity;
class String;
template <class T>
class Ptr;
template <class Number>
class EnumType;

/// An argument or result of the generic interface. Pointers travel as Ptr<PtrInterface> or Ptr<PtrInterface const>,
/// numbers as std::uint64_t or double, strings as String, other values as themselves. An empty one is "nothing".
using Any = std::any;
using AnyArgs = std::span<Any const>;

/// One way to call into an object generically. Throws ArgumentException for a wrong number or type of arguments.
using Method = Any (*)(PtrInterface& self, AnyArgs args);
/// The same for what changes nothing, and so serves for objects that are published read-only.
using Getter = Any (*)(PtrInterface const& self, AnyArgs args);

/// An attribute or operation on the generic interface; what it does not offer is null.
struct AttributeInfo {
   std::uint16_t id = 0;
   std::string_view name;
   Getter get = nullptr;     ///< no arguments; or the key, for a member of a collection
   Method set = nullptr;     ///< the arguments of the Is setter
   Method del = nullptr;     ///< none, or the key
   Getter keys = nullptr;    ///< the keys of a collection, as std::vector<Any>
   Method invoke = nullptr;  ///< an operation that is no attribute
   Getter size = nullptr;    ///< how many members a collection has
};

/// The text form of a value type, both ways.
struct ValueInfo {
   bool (*holds)(Any const& value) = nullptr;                ///< whether it is a value of the type
   std::string (*valueToStrep)(Any const& value) = nullptr;  ///< REQUIRES: `holds(value)`
   Any (*strepToValue)(std::string_view text) = nullptr;     ///< throws ParseException and RangeException
};

/// One of the kinds: a class of objects, a value type, or an enumeration.
struct TypeInfo {
   std::string_view name;  ///< e.g. "MplsSnmp::Root"
   std::span<AttributeInfo const> attributes = {};
   /// Whose attributes it has besides its own.
   TypeInfo const* base = nullptr;
   /// Constructs from the arguments of the type's static constructor; returns Any of Ptr<PtrInterface>.
   Any (*construct)(AnyArgs args) = nullptr;
   /// Creates an entity inside a directory, by name alone.
   Ptr<Entity> (*newEntityForDir)(String const& name) = nullptr;
   ValueInfo value = {};                                 ///< of value types and enumerations
   EnumType<unsigned int> const* enumeration = nullptr;  ///< the names and numbers of an enumeration
};

}  // namespace Vel
