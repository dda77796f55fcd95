// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "host/store/Collection.h"

namespace Store {

class StateStore;

/// A document on its way into the store: checked first and then applied, both in steps, so that a large one does not
/// hold up the rest of a process. Nothing is applied before all is checked; once checked, it cannot fail.
///
/// One change set at a time is checked and applied to a store, but that a small one may go between the steps of another
/// (`goesBetween`). An entry is checked or applied in a few microseconds, and in less than a millisecond when it holds
/// all that it may (Limits.h), not counting what the reactors do.
class ChangeSet {
 public:
   static constexpr std::size_t kAll = ~std::size_t{0};

   /// `store` outlives the change set.
   ChangeSet(StateStore& store, ChangeKind kind, std::string document);

   /// Is to be checked and applied as a whole now, between two steps of `other`: before it when that is not checked
   /// yet, which then checks again what has changed; else behind it, by applying of it first what concerns the same
   /// entries. So the state comes out as if one had been applied after the other. REQUIRES: nothing of this is checked;
   /// it removes no whole collection (`removesWhole`).
   void goesBetween(ChangeSet& other);

   /// Checks up to `entries` further entries; true when all are checked. Throws StateError, and is then of no more use.
   bool checkSome(std::size_t entries = kAll);
   bool checked() const { return checked_; }
   /// Whether entries go that it does not name. REQUIRES: `checked`.
   bool removesWhole() const;
   /// Takes its document back. It is then of no more use.
   std::string document() && { return std::move(document_); }

   /// Applies up to `entries` further entries, kept ones and removals counted: first what comes or changes, in the
   /// order of the store's collections, then what goes, in the reverse order. True when all are applied. REQUIRES:
   /// `checkSome` has returned true.
   bool applySome(std::size_t entries = kAll);

   /// Lets go of some of what it holds; true when nothing is left. It is then of no more use. To destroy a large one at
   /// once would take long.
   bool destroySome();

   /// Entries added, removed or changed so far.
   std::size_t changed() const;

 private:
   /// The changes of one collection, with its name in the document.
   struct Part {
      std::string_view name;
      bool present;
      std::unique_ptr<CollectionChanges> changes;
   };

   bool checkNext();
   bool checkAgain();
   void openCollection(std::string_view name);
   void nextPart();

   ChangeKind const kind_;
   std::string document_;
   DocumentReader in_;
   std::vector<Part> parts_;
   std::size_t changed_ = 0;

   // Checking: inside the document, and inside one of its collections.
   bool begun_ = false;
   bool firstCollection_ = true;
   bool firstEntry_ = true;
   Part* open_ = nullptr;
   bool checked_ = false;

   // Applying: the collection that is under way, upwards and then back.
   std::size_t part_ = 0;
   bool removing_ = false;
};

}  // namespace Store
