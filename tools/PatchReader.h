// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Tools {

/// A patch or document as it stands in a file.
struct Patch {
   std::string text;
   std::size_t line;  ///< where it begins, from 1

   /// As one line, each character in its place.
   std::string asLine() const;
   /// "line 3" for the whole; "line 4, column 5" for a column, counted from 1, of `asLine()`.
   std::string place() const;
   std::string place(std::size_t column) const;
};

/// Cuts a file, or what comes from a pipe, into JSON objects, as they come: one on each line, or each on several lines.
/// Does not look what is in them. What is no object is cut into lines.
class PatchReader {
 public:
   /// `fd` is not closed.
   explicit PatchReader(int fd) : fd_(fd) {}

   /// The next one; none at the end. Throws std::system_error.
   std::optional<Patch> next();

 private:
   bool readMore();
   bool endFound();

   int const fd_;
   std::string text_;
   std::size_t at_ = 0;  // as far as looked
   std::size_t line_ = 1;
   std::size_t depth_ = 0;
   bool inText_ = false;
   bool escaped_ = false;
};

}  // namespace Tools
