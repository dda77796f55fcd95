// SPDX-License-Identifier: MIT
#include "substrate/vel/Generic.h"

#include <algorithm>

namespace Vel {

namespace {

/// The attribute of the type or of one that it is based on, or null.
AttributeInfo const* attributeOf(TypeInfo const& type, std::string_view name) {
   for (TypeInfo const* at = &type; at; at = at->base) {
      auto const found = std::ranges::find(at->attributes, name, &AttributeInfo::name);
      if (found != at->attributes.end()) return &*found;
   }
   return nullptr;
}

template <class Object, class Kind>
GenericResult call(Object& object, std::string_view name, Kind AttributeInfo::*kind, AnyArgs args) {
   auto const* const attribute = attributeOf(object.fwkType(), name);
   if (!attribute || !(attribute->*kind)) return {GenericResult::Status::unknownAttribute, {}};
   return {GenericResult::Status::ok, (attribute->*kind)(object, args)};
}

}  // namespace

GenericResult attributeGet(PtrInterface const& object, std::string_view attribute, AnyArgs args) {
   return call(object, attribute, &AttributeInfo::get, args);
}
GenericResult attributeSet(PtrInterface& object, std::string_view attribute, AnyArgs args) {
   return call(object, attribute, &AttributeInfo::set, args);
}
GenericResult attributeDel(PtrInterface& object, std::string_view attribute, AnyArgs args) {
   return call(object, attribute, &AttributeInfo::del, args);
}
GenericResult attributeKeys(PtrInterface const& object, std::string_view attribute) {
   return call(object, attribute, &AttributeInfo::keys, {});
}
GenericResult attributeSize(PtrInterface const& object, std::string_view attribute) {
   return call(object, attribute, &AttributeInfo::size, {});
}
GenericResult operationInvoke(PtrInterface& object, std::string_view operation, AnyArgs args) {
   return call(object, operation, &AttributeInfo::invoke, args);
}

namespace Generic {

void throwWrongType(std::size_t position) {
   throw ArgumentException(fmt::format("argument {} is of the wrong type", position + 1));
}

void needCount(AnyArgs args, std::size_t wanted) {
   if (args.size() != wanted) {
      throw ArgumentException(fmt::format("{} arguments are needed but {} were given", wanted, args.size()));
   }
}

Ptr<PtrInterface> mutablePointerOf(Any const& any, std::size_t position) {
   if (!any.has_value()) return nullptr;
   auto const* const pointer = std::any_cast<Ptr<PtrInterface>>(&any);
   if (!pointer) throwWrongType(position);
   return *pointer;
}

Ptr<PtrInterface const> pointerOf(Any const& any, std::size_t position) {
   if (auto const* const readOnly = std::any_cast<Ptr<PtrInterface const>>(&any)) return *readOnly;
   return mutablePointerOf(any, position);
}

String stringOf(Any const& any, std::size_t position) {
   auto const* const text = std::any_cast<String>(&any);
   if (!text) throwWrongType(position);
   return *text;
}

std::uint64_t numberOf(Any const& any, std::size_t position, std::uint64_t limit) {
   auto const* const number = std::any_cast<std::uint64_t>(&any);
   if (!number) throwWrongType(position);
   if (*number > limit) {
      throw RangeException(fmt::format("argument {}: {} is out of range (at most {})", position + 1, *number, limit));
   }
   return *number;
}

}  // namespace Generic

}  // namespace Vel
