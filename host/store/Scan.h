// SPDX-License-Identifier: MIT
/// Passes over text that may be as long as a whole document, in a form that compilers turn into wide instructions: at
/// one character a step, 16 MiB of blanks would keep everybody waiting.
#pragma once

#include <cstddef>
#include <string_view>

namespace Store {

/// What JSON has for blanks.
constexpr bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

/// Whether an octet of UTF-8 goes on with the character before it.
constexpr bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xc0U) == 0x80; }

/// The position of the first character from `begin` on that is no blank, or the end.
std::size_t behindBlanks(std::string_view text, std::size_t begin = 0);
/// The length of `text` without the blanks at its end.
std::size_t beforeBlanks(std::string_view text);
/// The number of characters of UTF-8 in `text`.
std::size_t characters(std::string_view text);

}  // namespace Store
