// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Publish {

/// Cuts what comes from a connection into lines, each of which ends in "\n". Holds one unfinished line at most, and no
/// more of it than a line may have.
class LineBuffer {
 public:
   /// `longest`: octets of a line, its end not counted.
   explicit LineBuffer(std::size_t longest) : longest_(longest) {}

   void append(std::string_view octets);

   enum class Next {
      none,    ///< no further line is whole
      line,    ///< `line` is the next one, without its end
      tooLong  ///< the next one is too long: told once, and the rest of it up to its end is dropped as it comes
   };
   Next next(std::string& line);

   /// Octets of lines that were not taken. Once `next` has returned `none`: of the line that is not finished.
   std::size_t held() const { return text_.size() - begin_; }

 private:
   void reserveFor(std::size_t size);

   std::size_t longest_;
   std::string text_;
   std::size_t begin_ = 0;     // of the next line
   std::size_t searched_ = 0;  // up to here there is no end of it
   bool dropping_ = false;
};

}  // namespace Publish
