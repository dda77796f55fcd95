// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "host/store/DocumentReader.h"

namespace Store {

/// How a document is to be understood.
enum class ChangeKind {
   patch,    ///< a merge patch (RFC 7396): what it does not name stays
   snapshot  ///< the whole state: what it does not name goes, or takes its default
};

/// What one document does to one collection. The document is read twice: `check` reads each entry and changes nothing,
/// then `applyNext` reads it again and applies it. So no entry is held in another form than its text.
///
/// Between the steps of one document another may be checked and applied, entry by entry before or behind it: as if all
/// of it were. REQUIRES, of both: the same collection.
class CollectionChanges {
 public:
   enum class Step { unchanged, changed, finished };

   virtual ~CollectionChanges() = default;

   /// Checks the entry named `id`, of which the value comes next, and remembers where it is. What it is merged with is
   /// the entry as it stands.
   virtual void check(std::string_view id) = 0;
   /// The entries that are not named are removed, too.
   void othersGo() { othersGo_ = true; }
   bool doOthersGo() const { return othersGo_; }
   /// Checks again one entry that another document has changed since; false when there is none.
   virtual bool checkAgain() = 0;
   /// All is checked.
   virtual void checked() = 0;

   /// Applies the next addition or change.
   virtual Step applyNext() = 0;
   /// Carries out the next removal.
   virtual Step removeNext() = 0;
   /// Entries added, changed or removed because another document that comes behind has asked for it.
   std::size_t changedForOthers() const { return changedForOthers_; }
   /// Lets go of some of what it holds; true when nothing is left. It is then of no more use.
   virtual bool destroySome() = 0;

   /// `ahead` is checked and not yet applied: what it does to an entry is done before that entry is checked here.
   virtual void comesBehind(CollectionChanges& ahead) = 0;
   /// `behind` is not yet checked: it checks again what is applied here.
   virtual void comesBefore(CollectionChanges& behind) = 0;

 protected:
   bool othersGo_ = false;
   std::size_t changedForOthers_ = 0;
};

/// How the document is laid out: what stands in front of, between and behind its parts.
struct Layout {
   std::string_view firstCollection, nextCollection, firstEntry, nextEntry, colon, collectionEnd, end;
};
/// One entry to a line.
inline constexpr Layout kLines{"\n  ", ",\n  ", "\n    ", ",\n    ", ": ", "\n  }", "\n}\n"};
/// All of it on one line, which has no end.
inline constexpr Layout kOneLine{"", ",", "", ",", ":", "}", "}"};

/// Writes the entries of a collection in the order of their ids as text. REQUIRES: the collection does not change.
class CollectionWriter {
 public:
   virtual ~CollectionWriter() = default;
   /// Finds one more entry, or, once all are found, appends the next. False when all are written.
   virtual bool step(std::string& out, Layout const& layout) = 0;
};

/// One collection of the document.
class Collection {
 public:
   explicit Collection(std::string_view name) : name_(name) {}
   virtual ~Collection() = default;

   std::string_view name() const { return name_; }
   /// Number of entries.
   virtual std::size_t size() const = 0;
   /// Must not outlive the collection.
   virtual std::unique_ptr<CollectionWriter> writer() const = 0;
   /// What a document does, which is read by `in`. Must outlive neither.
   virtual std::unique_ptr<CollectionChanges> changes(DocumentReader& in, ChangeKind kind) = 0;

 private:
   std::string_view name_;
};

}  // namespace Store
