// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "host/store/Collection.h"

namespace Store {

class StateStore;

/// Writes the state as a document (see StateStore::document), in steps, so that a large one does not hold up the rest
/// of a process. REQUIRES: the state does not change before it is written; ChangeQueue sees to that.
class DocumentWriter {
 public:
   static constexpr std::size_t kAll = ~std::size_t{0};

   /// `store` and `layout` outlive the writer.
   DocumentWriter(StateStore const& store, Layout const& layout) : store_(store), layout_(layout) {}

   /// Goes `steps` steps further, each a few microseconds long, and appends what is written in them. True when all is.
   bool writeSome(std::string& out, std::size_t steps = kAll);

 private:
   void openNext(std::string& out);

   StateStore const& store_;
   Layout const& layout_;
   std::size_t collection_ = 0;
   std::unique_ptr<CollectionWriter> open_;
   bool begun_ = false;
   bool first_ = true;
   bool written_ = false;
};

}  // namespace Store
