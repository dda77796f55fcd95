// SPDX-License-Identifier: MIT
#include "tools/PatchReader.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace Tools {

namespace {

constexpr std::string_view kSpace = " \t\r\n";

// A character begins with an octet that does not continue another.
bool beginsCharacter(char c) { return (static_cast<unsigned char>(c) & 0xc0U) != 0x80; }

}  // namespace

std::string Patch::asLine() const {
   std::string line = text;
   std::ranges::replace(line, '\n', ' ');
   return line;
}

std::string Patch::place() const { return fmt::format("line {}", line); }

std::string Patch::place(std::size_t column) const {
   std::size_t at = 0;
   for (std::size_t characters = 0; at < text.size(); ++at) {
      if (beginsCharacter(text[at]) && ++characters == column) break;
   }
   std::string_view const before(text.data(), at);
   auto const lines = std::ranges::count(before, '\n');
   auto const inLine = std::ranges::count_if(before.substr(before.rfind('\n') + 1), beginsCharacter);
   return fmt::format("line {}, column {}", line + lines, inLine + 1);
}

std::optional<Patch> PatchReader::next() {
   // Space in front of it.
   while (true) {
      auto const begin = std::min(text_.find_first_not_of(kSpace), text_.size());
      line_ += std::count(text_.begin(), text_.begin() + static_cast<std::ptrdiff_t>(begin), '\n');
      text_.erase(0, begin);
      if (!text_.empty()) break;
      if (!readMore()) return {};
   }
   at_ = depth_ = 0;
   inText_ = escaped_ = false;
   while (!endFound()) {
      if (readMore()) continue;
      // Without its end: whoever gets it will say so.
      at_ = text_.size();
      break;
   }
   std::string rest = text_.substr(at_);
   text_.resize(at_);
   Patch patch{std::exchange(text_, std::move(rest)), line_};
   line_ += std::ranges::count(patch.text, '\n');
   return patch;
}

/// Looks on for the end of an object, or else of a line, and stops behind it.
bool PatchReader::endFound() {
   bool const object = text_.front() == '{';
   for (; at_ < text_.size(); ++at_) {
      char const c = text_[at_];
      if (!object) {
         if (c == '\n') return true;
      } else if (inText_) {
         inText_ = escaped_ || c != '"';
         escaped_ = !escaped_ && c == '\\';
      } else if (c == '"') {
         inText_ = true;
      } else if (c == '{' || c == '[') {
         ++depth_;
      } else if ((c == '}' || c == ']') && --depth_ == 0) {
         ++at_;
         return true;
      }
   }
   return false;
}

bool PatchReader::readMore() {
   std::array<char, 1U << 16U> piece;
   while (true) {
      auto const count = read(fd_, piece.data(), piece.size());
      if (count >= 0) {
         text_.append(piece.data(), static_cast<std::size_t>(count));
         return count > 0;
      }
      if (errno != EINTR) throw std::system_error(errno, std::generic_category());
   }
}

}  // namespace Tools
