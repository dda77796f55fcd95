// SPDX-License-Identifier: MIT
#include "substrate/vel/Exceptions.h"

#include <fmt/format.h>

namespace Vel {

void throwMutatorArgNullPointerException(std::string_view type, std::string_view attribute, std::string_view argument) {
   throw MutatorArgNullPointerException(
         fmt::format("{}::{}Is: argument '{}' must not be null", type, attribute, argument));
}

void throwMutatorReinstantiating(std::string_view type, std::string_view attribute, std::string_view argument) {
   throw MutatorReinstantiatingException(fmt::format(
         "{}::{}Is: the existing member was made with another '{}'; delete it first", type, attribute, argument));
}

void throwNewEntityArgsException(std::string_view type) {
   throw NewEntityArgsException(
         fmt::format("an entity of type '{}' is created in a directory by its name alone, without arguments", type));
}

void throwDenseBoolSetRangeException(std::string_view type, unsigned value, unsigned limit) {
   throw RangeException(fmt::format("{} is out of range for the bit set {} (at most {})", value, type, limit));
}

}  // namespace Vel
