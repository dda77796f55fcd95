// SPDX-License-Identifier: MIT
#include "host/store/DocumentWriter.h"

#include <fmt/format.h>

#include <utility>

#include "host/store/StateStore.h"

namespace Store {

bool DocumentWriter::writeSome(std::string& out, std::size_t steps) {
   while (!written_ && steps-- > 0) {
      if (!open_) {
         openNext(out);
      } else if (!open_->step(out, layout_)) {
         out += layout_.collectionEnd;
         open_ = nullptr;
      }
   }
   return written_;
}

/// Enters the next collection that is not empty, or ends the document.
void DocumentWriter::openNext(std::string& out) {
   if (!std::exchange(begun_, true)) out += '{';
   auto const& collections = store_.collections();
   while (collection_ < collections.size() && collections[collection_]->size() == 0) ++collection_;
   if (collection_ == collections.size()) {
      out += layout_.end;
      written_ = true;
      return;
   }
   Collection const& collection = *collections[collection_++];
   fmt::format_to(std::back_inserter(out), "{}\"{}\"{}{{",
                  std::exchange(first_, false) ? layout_.firstCollection : layout_.nextCollection, collection.name(),
                  layout_.colon);
   open_ = collection.writer();
}

}  // namespace Store
