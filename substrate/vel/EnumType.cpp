// SPDX-License-Identifier: MIT
#include "substrate/vel/EnumType.h"

#include <algorithm>
#include <cctype>

namespace Vel {

Enumerator const& EnumType<unsigned int>::byNumber(unsigned number) const {
   auto const found = std::ranges::find(enumerators_, number, &Enumerator::value);
   if (found == enumerators_.end()) {
      throw RangeException(fmt::format("{} is not a value of the enumeration {}", number, name_));
   }
   return *found;
}

Enumerator const& EnumType<unsigned int>::byName(std::string_view name) const {
   auto const found = std::ranges::find(enumerators_, name, &Enumerator::name);
   if (found == enumerators_.end()) {
      throw ParseException(fmt::format("\"{}\" is not an enumerator of {}", name, name_));
   }
   return *found;
}

Enumerator const& EnumType<unsigned int>::read(TextIterator& position, TextIterator end) const {
   TextIterator const stop =
         std::find_if_not(position, end, [](unsigned char c) { return std::isalnum(c) != 0 || c == '_'; });
   Enumerator const& found = byName(std::string_view(position, stop - position));
   position = stop;
   return found;
}

std::string EnumType<unsigned int>::text(unsigned number) const {
   auto const found = std::ranges::find(enumerators_, number, &Enumerator::value);
   return found == enumerators_.end() ? fmt::format("{}", number) : std::string(found->name);
}

}  // namespace Vel
