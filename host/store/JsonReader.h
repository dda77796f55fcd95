// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "host/store/StateError.h"

namespace Store {

/// Reads a JSON text (RFC 8259) one value after the other, as its user asks for them.
///
/// There is no tree of the document. Its user knows what may stand where, so a value of another type is refused at its
/// first character, however deeply it is nested. A reader can stop between any two values, and go on later or again
/// at a position that it has been at.
///
/// No text and no number takes long to read: what is longer than Limits.h says is refused. Blanks may be as many as one
/// likes.
///
/// Whatever is wrong throws StateError, which names the place: the names that `Inside` has entered, or line and column.
class JsonReader {
 public:
   enum class Kind { object, array, text, number, boolean, null };

   /// Reads `text`, which must stay where it is. A byte order mark in front is skipped.
   explicit JsonReader(std::string_view text);
   JsonReader(JsonReader const&) = delete;
   JsonReader& operator=(JsonReader const&) = delete;

   /// While it lives, the place of what is read is inside the member or element `name`, which must outlive it.
   class Inside {
    public:
      Inside(JsonReader& reader, std::string_view name) : reader_(reader), outer_(reader.place_), name_(name) {
         reader.place_ = this;
      }
      ~Inside() { reader_.place_ = outer_; }
      Inside(Inside const&) = delete;
      Inside& operator=(Inside const&) = delete;

    private:
      friend class JsonReader;
      JsonReader& reader_;
      Inside const* outer_;
      std::string_view name_;
   };

   /// Octets that are read.
   std::size_t position() const { return at_; }
   void positionIs(std::size_t position) { at_ = position; }

   /// What comes next, judged by its first character.
   Kind kind();
   /// Steps over a null if one comes next; true then.
   bool takeNull();

   // Each of these takes one value. `expected` says what is wanted, for the message: "an LSP request id".
   std::string text(std::string_view expected = "a text");
   bool boolean();
   /// An integer from 0 to `limit`, without fraction and exponent.
   std::uint64_t integer(std::uint64_t limit);
   /// A finite number that is 0 or more.
   double number();

   /// Enters an object; then `nextMember` gives the name of each member, until there is none. Between two calls its
   /// value is taken. `first` begins as true and is kept by the caller.
   void beginObject(std::string_view expected = "an object");
   std::optional<std::string> nextMember(bool& first);
   /// All of an object: `member(name)` takes the value.
   template <class F>
   void object(std::string_view expected, F&& member) {
      beginObject(expected);
      bool first = true;
      while (auto const name = nextMember(first)) {
         Inside const inside(*this, *name);
         member(*name);
      }
   }
   /// All of an array: `element()` takes the value.
   template <class F>
   void array(std::string_view expected, F&& element) {
      beginArray(expected);
      bool first = true;
      for (std::size_t index = 0; nextElement(first); ++index) {
         std::string const name = std::to_string(index);
         Inside const inside(*this, name);
         element();
      }
   }
   /// REQUIRES the outermost value to have been taken. Nothing but space may follow it.
   void end();

   /// Refuses what stands at the place that the reader is in.
   [[noreturn]] void refuse(std::string_view why) const;
   /// Refuses the value that comes next.
   [[noreturn]] void refuseKind(std::string_view expected);

 private:
   [[noreturn]] void syntaxError(std::size_t position, std::string_view why) const;
   [[noreturn]] void unexpected(std::string_view expected);
   void skipSpace();
   bool take(char c);
   std::string_view literal();
   std::string_view numberToken();
   std::string textToken();
   std::string escapedText(std::size_t begin, std::size_t end) const;
   std::string found();
   bool next(bool& first, char close, std::string_view expected);
   void beginArray(std::string_view expected);
   bool nextElement(bool& first);

   std::string_view text_;
   std::size_t at_ = 0;
   Inside const* place_ = nullptr;
};

}  // namespace Store
