// SPDX-License-Identifier: MIT
#include "substrate/vel/Generic.h"

#include <algorithm>

namespace Vel {

namespace {

GenericResult call(PtrInterface& object, std::string_view name, Method AttributeInfo::*kind, AnyArgs args) {
   auto const attributes = object.fwkType().attributes;
   auto const found = std::ranges::find(attributes, name, &AttributeInfo::name);
   if (found == attributes.end() || !((*found).*kind)) {
      return {GenericResult::Status::unknownAttribute, {}};
   }
   return {GenericResult::Status::ok, ((*found).*kind)(object, args)};
}

}  // namespace

GenericResult attributeGet(PtrInterface& object, std::string_view attribute, AnyArgs args) {
   return call(object, attribute, &AttributeInfo::get, args);
}
GenericResult attributeSet(PtrInterface& object, std::string_view attribute, AnyArgs args) {
   return call(object, attribute, &AttributeInfo::set, args);
}
GenericResult attributeDel(PtrInterface& object, std::string_view attribute, AnyArgs args) {
   return call(object, attribute, &AttributeInfo::del, args);
}
GenericResult attributeKeys(PtrInterface& object, std::string_view attribute) {
   return call(object, attribute, &AttributeInfo::keys, {});
}
GenericResult attributeSize(PtrInterface& object, std::string_view attribute) {
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
