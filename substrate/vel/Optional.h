// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "substrate/vel/Exceptions.h"

namespace Vel {

inline constexpr std::nullopt_t None = std::nullopt;

/// A value or nothing. Reading an empty one throws BadOptionalAccessException.
template <class T>
class Optional {
 public:
   Optional() = default;
   Optional(std::nullopt_t) {}
   Optional(T value) : value_(std::move(value)) {}

   bool hasValue() const { return value_.has_value(); }
   explicit operator bool() const { return hasValue(); }

   T const& value() const {
      if (!value_) throw BadOptionalAccessException("an empty optional value was read");
      return *value_;
   }
   T const& operator*() const { return value(); }
   T const* operator->() const { return &value(); }

   bool operator==(Optional const&) const = default;

 private:
   std::optional<T> value_;
};

}  // namespace Vel
