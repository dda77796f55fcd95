// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <random>
#include <string>
#include <string_view>

namespace TestSupport {

/// A name of up to `longest` characters, with all that ids use as punctuation, control characters and UTF-8.
inline std::string randomName(std::mt19937& random, std::size_t longest = 12) {
   static constexpr std::array<std::string_view, 25> kPieces{"%",
                                                             "#",
                                                             "@",
                                                             ".",
                                                             ":",
                                                             "/",
                                                             "\x01",
                                                             "\n",
                                                             "\x1f",
                                                             "\x7f",
                                                             " ",
                                                             "\"",
                                                             "\\",
                                                             "%25",
                                                             "@primary",
                                                             "a",
                                                             "Z",
                                                             "0",
                                                             "\xc3\xa9",
                                                             "\xe2\x82\xac",
                                                             "\xf0\x9f\x9a\x80",
                                                             "none",
                                                             "cli:",
                                                             "~",
                                                             "_"};
   std::string name;
   for (std::size_t left = 1 + random() % longest; left > 0; --left) name += kPieces[random() % kPieces.size()];
   return name;
}

}  // namespace TestSupport
