// SPDX-License-Identifier: MIT
#include "inputs/rsvp/NameText.h"

#include <fmt/format.h>

#include <charconv>

namespace Rsvp {

namespace {

bool mustBeEncoded(unsigned char c) { return c == '%' || c == '#' || c == '@' || c < 0x20 || c == 0x7f; }

/// Octets that follow the first octet of a UTF-8 sequence, or -1 for an octet that begins none.
int continuationOctets(unsigned char first) {
   if (first < 0x80) return 0;
   if (first >= 0xc2 && first < 0xe0) return 1;
   if (first >= 0xe0 && first < 0xf0) return 2;
   if (first >= 0xf0 && first < 0xf5) return 3;
   return -1;
}

bool isUtf8(std::string_view text) {
   for (std::size_t at = 0; at < text.size();) {
      auto const first = static_cast<unsigned char>(text[at]);
      int const following = continuationOctets(first);
      if (following < 0 || at + following >= text.size()) return false;
      for (int i = 1; i <= following; ++i) {
         if ((static_cast<unsigned char>(text[at + i]) & 0xc0U) != 0x80) return false;
      }
      if (following > 1) {
         auto const second = static_cast<unsigned char>(text[at + 1]);
         bool const overlong = (first == 0xe0 && second < 0xa0) || (first == 0xf0 && second < 0x90);
         bool const surrogate = first == 0xed && second >= 0xa0;
         bool const beyond = first == 0xf4 && second >= 0x90;
         if (overlong || surrogate || beyond) return false;
      }
      at += following + 1;
   }
   return true;
}

}  // namespace

std::string encodeName(std::string_view name) {
   std::string encoded;
   for (unsigned char const c : name) {
      if (mustBeEncoded(c)) {
         fmt::format_to(std::back_inserter(encoded), "%{:02X}", c);
      } else {
         encoded += static_cast<char>(c);
      }
   }
   return encoded;
}

std::string decodeName(std::string_view encoded, std::string& name) {
   name.clear();
   for (std::size_t at = 0; at < encoded.size(); ++at) {
      auto c = static_cast<unsigned char>(encoded[at]);
      if (c == '%') {
         std::string_view const digits = encoded.substr(at + 1, 2);
         auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), c, 16);
         if (digits.size() != 2 || error != std::errc{} || end != digits.data() + 2) {
            return "\"%\" is not followed by two hexadecimal digits";
         }
         at += 2;
      } else if (mustBeEncoded(c)) {
         return fmt::format("the character {:#04x} in the name must be written as %{:02X}", c, c);
      }
      name += static_cast<char>(c);
   }
   if (name.empty()) return "the name is empty";
   if (name.size() > kMaxNameLength) return fmt::format("the name is longer than {} octets", kMaxNameLength);
   if (name.find('\0') != std::string::npos) return "the name holds a NUL character";
   if (!isUtf8(name)) return "the name is not valid UTF-8";
   return {};
}

}  // namespace Rsvp
