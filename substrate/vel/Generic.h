// SPDX-License-Identifier: MIT
/// The generic attribute interface: how a host that knows no header of a type reads, sets and calls it by name. What is
/// read may be read-only: rows are, and the inputs that an object was made with.
#pragma once

#include <array>
#include <string_view>
#include <type_traits>
#include <vector>

#include "substrate/trel/Assert.h"
#include "substrate/vel/Exceptions.h"
#include "substrate/vel/PtrInterface.h"
#include "substrate/vel/String.h"
#include "substrate/vel/TypeInfo.h"

namespace Vel {

/// The outcome of a generic request.
struct GenericResult {
   enum class Status { ok, unknownAttribute };
   Status status = Status::ok;
   Any value;

   bool known() const { return status == Status::ok; }
};

GenericResult attributeGet(PtrInterface const& object, std::string_view attribute, AnyArgs args = {});
GenericResult attributeSet(PtrInterface& object, std::string_view attribute, AnyArgs args);
GenericResult attributeDel(PtrInterface& object, std::string_view attribute, AnyArgs args = {});
GenericResult attributeKeys(PtrInterface const& object, std::string_view attribute);
GenericResult attributeSize(PtrInterface const& object, std::string_view attribute);
GenericResult operationInvoke(PtrInterface& object, std::string_view operation, AnyArgs args = {});

namespace Generic {

/// A pointer as the generic interface carries it; null when `any` is empty. Throws ArgumentException otherwise.
Ptr<PtrInterface const> pointerOf(Any const& any, std::size_t position);
Ptr<PtrInterface> mutablePointerOf(Any const& any, std::size_t position);
String stringOf(Any const& any, std::size_t position);
std::uint64_t numberOf(Any const& any, std::size_t position, std::uint64_t limit);
[[noreturn]] void throwWrongType(std::size_t position);
void needCount(AnyArgs args, std::size_t wanted);

template <class T>
struct Unpack {
   static T from(Any const& any, std::size_t position) {
      if constexpr (std::is_same_v<T, String>) {
         return stringOf(any, position);
      } else if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool>) {
         return static_cast<T>(numberOf(any, position, std::numeric_limits<T>::max()));
      } else {
         auto const* const value = std::any_cast<T>(&any);
         if (!value) throwWrongType(position);
         return *value;
      }
   }
};

template <class T>
struct Unpack<Ptr<T>> {
   static Ptr<T> from(Any const& any, std::size_t position) {
      auto const object = [&] {
         if constexpr (std::is_const_v<T>) {
            return pointerOf(any, position);
         } else {
            return mutablePointerOf(any, position);
         }
      }();
      auto typed = ptrCast<T>(object);
      if (object && !typed) throwWrongType(position);
      return typed;
   }
};

template <class T>
Any pack(T value) {
   if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool>) {
      return static_cast<std::uint64_t>(value);
   } else {
      return Any(std::move(value));
   }
}
template <class T>
Any pack(Ptr<T> value) {
   if constexpr (!std::is_base_of_v<PtrInterface, std::remove_const_t<T>>) {
      return Any(std::move(value));
   } else if constexpr (std::is_const_v<T>) {
      return Any(Ptr<PtrInterface const>(value));
   } else {
      return Any(Ptr<PtrInterface>(value));
   }
}

template <class Result, class... Args, class Call>
Any apply(AnyArgs args, Call&& call) {
   needCount(args, sizeof...(Args));
   return [&]<std::size_t... I>(std::index_sequence<I...>)->Any {
      if constexpr (std::is_void_v<Result>) {
         call(Unpack<std::remove_cvref_t<Args>>::from(args[I], I)...);
         return Any();
      } else {
         return pack(std::remove_cvref_t<Result>(call(Unpack<std::remove_cvref_t<Args>>::from(args[I], I)...)));
      }
   }
   (std::index_sequence_for<Args...>());
}

/// The object as the class that its type's attributes are members of.
template <class C, class Self>
C& objectOf(Self& self) {
   auto* const object = dynamic_cast<C*>(&self);
   Trel::fmassert(object != nullptr, "the attributes of a type are members of its class");
   return *object;
}

template <auto Member>
struct Bind;
template <class C, class R, class... Args, R (C::*Member)(Args...)>
struct Bind<Member> {
   static Any call(PtrInterface& self, AnyArgs args) {
      auto& object = objectOf<C>(self);
      return apply<R, Args...>(args, [&](auto&&... a) -> R { return (object.*Member)(a...); });
   }
};
template <class C, class R, class... Args, R (C::*Member)(Args...) const>
struct Bind<Member> {
   static Any read(PtrInterface const& self, AnyArgs args) {
      auto const& object = objectOf<C const>(self);
      return apply<R, Args...>(args, [&](auto&&... a) -> R { return (object.*Member)(a...); });
   }
   static Any call(PtrInterface& self, AnyArgs args) { return read(self, args); }
};

template <auto Member>
struct MemberMethod {
   constexpr operator Method() const { return &Bind<Member>::call; }
   constexpr operator Getter() const requires requires { &Bind<Member>::read; }
   { return &Bind<Member>::read; }
};

/// The generic form of a member function: unpacks the arguments, checks their number and types, packs the result. One
/// that is const reads attributes.
template <auto Member>
inline constexpr MemberMethod<Member> method{};

/// An attribute that is only read.
struct ReadOnly {
   std::string_view name;
   Getter get;
};
/// The attributes in this order, numbered from `first` on.
template <std::size_t N>
constexpr std::array<AttributeInfo, N> readOnly(ReadOnly const (&attributes)[N], std::uint16_t first = 1) {
   std::array<AttributeInfo, N> made;
   for (std::size_t n = 0; n < N; ++n) {
      made[n] = {.id = static_cast<std::uint16_t>(first + n), .name = attributes[n].name, .get = attributes[n].get};
   }
   return made;
}

/// The generic form of a static constructor.
template <auto Function>
struct Construct;
template <class R, class... Args, R (*Function)(Args...)>
struct Construct<Function> {
   static Any call(AnyArgs args) {
      return apply<R, Args...>(args, [](auto&&... a) -> R { return Function(a...); });
   }
};
template <auto Function>
inline constexpr auto constructor = &Construct<Function>::call;

/// The keys of the collection that the const member function `Collection` returns.
template <class C, auto Collection>
Any keys(PtrInterface const& self, AnyArgs args) {
   needCount(args, 0);
   std::vector<Any> all;
   for (auto const& entry : (objectOf<C const>(self).*Collection)()) {
      if constexpr (requires { entry.key(); }) {
         all.push_back(pack(std::remove_cvref_t<decltype(entry.key())>(entry.key())));
      } else {
         all.push_back(pack(std::remove_cvref_t<decltype(entry.key)>(entry.key)));
      }
   }
   return all;
}

/// The size of that collection.
template <class C, auto Collection>
Any size(PtrInterface const& self, AnyArgs args) {
   needCount(args, 0);
   return pack((objectOf<C const>(self).*Collection)().size());
}

}  // namespace Generic

}  // namespace Vel
