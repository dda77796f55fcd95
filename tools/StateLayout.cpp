// SPDX-License-Identifier: MIT
#include "tools/StateLayout.h"

#include <string>

#include "host/store/Collection.h"

namespace Tools {

namespace {

// Behind the text that begins at `begin`.
std::size_t endOfText(std::string_view document, std::size_t begin) {
   auto at = begin + 1;
   while (at < document.size() && document[at] != '"') at += document[at] == '\\' ? 2 : 1;
   return std::min(at + 1, document.size());
}

}  // namespace

void layOutState(std::string_view document, std::function<void(std::string_view)> const& write) {
   constexpr Store::Layout const& layout = Store::kLines;
   constexpr std::size_t kPiece = 1U << 16U;
   std::string out;
   std::size_t depth = 0;  // 1 among the collections, 2 among the entries of one, 3 and more inside of one
   bool first = true;      // of its kind
   bool atName = false;
   for (std::size_t at = 0; at < document.size();) {
      char const c = document[at];
      if (c == '"') {
         auto const end = endOfText(document, at);
         if (atName && depth == 1) out += first ? layout.firstCollection : layout.nextCollection;
         if (atName && depth == 2) out += first ? layout.firstEntry : layout.nextEntry;
         atName = false;
         out += document.substr(at, end - at);
         at = end;
         continue;
      }
      ++at;
      bool const outside = depth <= 2;
      if (c == '{' || c == '[') {
         ++depth;
         out += c;
         first = atName = true;
      } else if (c == '}' || c == ']') {
         if (depth == 1) {
            out += layout.end;
         } else if (depth == 2) {
            out += layout.collectionEnd;
         } else {
            out += c;
         }
         --depth;
         first = false;
      } else if (c == ',' && outside) {
         first = false;
         atName = true;
      } else if (c == ':' && outside) {
         out += layout.colon;
      } else {
         out += c;
      }
      if (out.size() >= kPiece) {
         write(out);
         out.clear();
      }
   }
   write(out);
}

}  // namespace Tools
