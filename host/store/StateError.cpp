// SPDX-License-Identifier: MIT
#include "host/store/StateError.h"

#include <fmt/format.h>

#include <iterator>

#include "host/store/Scan.h"

namespace Store {

namespace {

/// U+0080 to U+009F are control characters too; in UTF-8 they are 0xc2 and one octet up to 0x9f.
bool isC1Control(std::string_view text, std::size_t at) {
   return text[at] == '\xc2' && at + 1 < text.size() && isContinuation(text[at + 1]) &&
          static_cast<unsigned char>(text[at + 1]) < 0xa0;
}

}  // namespace

std::string printable(std::string_view text, std::size_t limit) {
   bool const cut = text.size() > limit;
   if (cut) {
      while (limit > 0 && isContinuation(text[limit])) --limit;
      text = text.substr(0, limit);
   }
   std::string shown;
   auto const escape = [&](char c) {
      fmt::format_to(std::back_inserter(shown), "\\x{:02x}", static_cast<unsigned char>(c));
   };
   for (std::size_t at = 0; at < text.size(); ++at) {
      auto const c = static_cast<unsigned char>(text[at]);
      if (isC1Control(text, at)) {
         escape(text[at]);
         escape(text[++at]);
      } else if (c < 0x20 || c == 0x7f) {
         escape(text[at]);
      } else {
         shown += text[at];
      }
   }
   return cut ? shown + "..." : shown;
}

}  // namespace Store
