// SPDX-License-Identifier: MIT
#include "host/store/Closest.h"

#include <algorithm>
#include <cctype>

namespace Store {

namespace {

bool sameLetter(char a, char b) {
   return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
}

bool sameLetters(std::string_view a, std::string_view b) { return std::ranges::equal(a, b, sameLetter); }

bool isAlmost(std::string_view a, std::string_view b) {
   auto const [ea, eb] = std::ranges::mismatch(a, b, sameLetter);
   a.remove_prefix(ea - a.begin());
   b.remove_prefix(eb - b.begin());
   if (a.empty() || b.empty()) return a.size() + b.size() <= 1;
   bool const swapped = a.size() > 1 && b.size() > 1 && sameLetter(a[0], b[1]) && sameLetter(a[1], b[0]) &&
                        sameLetters(a.substr(2), b.substr(2));
   return swapped || sameLetters(a.substr(1), b.substr(1)) || sameLetters(a, b.substr(1)) ||
          sameLetters(a.substr(1), b);
}

}  // namespace

std::string_view closest(std::string_view name, std::span<std::string_view const> names) {
   auto const found = std::ranges::find_if(names, [&](std::string_view other) { return isAlmost(name, other); });
   return found == names.end() ? std::string_view() : *found;
}

}  // namespace Store
