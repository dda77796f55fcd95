// SPDX-License-Identifier: MIT
#include "substrate/vel/ValueText.h"

namespace Vel {

namespace {

bool startsWith(TextIterator position, TextIterator end, std::string_view literal) {
   return std::string_view(position, end - position).starts_with(literal);
}

constexpr int kShownLength = 40;

std::string_view shown(TextIterator position, TextIterator end) {
   return std::string_view(position, end - position).substr(0, kShownLength);
}

}  // namespace

void needString(TextIterator& position, TextIterator end, std::string_view literal) {
   if (!startsWith(position, end, literal)) {
      throw ParseException(fmt::format("expected \"{}\" but found \"{}\"", literal, shown(position, end)));
   }
   position += literal.size();
}

std::uint64_t readNumber(TextIterator& position, TextIterator end, std::string_view attribute, std::uint64_t limit) {
   std::uint64_t number = 0;
   auto const [stop, error] = std::from_chars(position, end, number);
   if (error == std::errc::invalid_argument) {
      throw ParseException(
            fmt::format("attribute '{}': expected a number but found \"{}\"", attribute, shown(position, end)));
   }
   if (error != std::errc{} || number > limit) {
      throw RangeException(fmt::format("attribute '{}': {} is out of range (at most {})", attribute,
                                       std::string_view(position, stop - position), limit));
   }
   position = stop;
   return number;
}

bool readBool(TextIterator& position, TextIterator end, std::string_view attribute) {
   for (bool const value : {true, false}) {
      std::string const text = toStrep(value);
      if (startsWith(position, end, text)) {
         position += text.size();
         return value;
      }
   }
   throw ParseException(
         fmt::format("attribute '{}': expected True or False but found \"{}\"", attribute, shown(position, end)));
}

}  // namespace Vel
