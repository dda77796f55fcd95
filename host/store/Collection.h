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
class CollectionChanges {
 public:
   enum class Step { unchanged, changed, finished };

   virtual ~CollectionChanges() = default;

   /// Checks the entry named `id`, of which the value comes next, and remembers where it is. What it is merged with is
   /// the entry as it stands: the state does not change before all is applied.
   virtual void check(DocumentReader& in, std::string_view id, ChangeKind kind) = 0;
   /// The entries that are not named are removed, too.
   void othersGo() { othersGo_ = true; }

   /// Applies the next addition or change.
   virtual Step applyNext(DocumentReader& in, ChangeKind kind) = 0;
   /// Carries out the next removal.
   virtual Step removeNext() = 0;
   /// Lets go of some of what it holds; true when nothing is left. It is then of no more use.
   virtual bool destroySome() = 0;

 protected:
   bool othersGo_ = false;
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
   virtual std::unique_ptr<CollectionChanges> changes() = 0;

 private:
   std::string_view name_;
};

}  // namespace Store
