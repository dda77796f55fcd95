// SPDX-License-Identifier: MIT
#include "host/publish/LineBuffer.h"

#include <algorithm>
#include <utility>

namespace Publish {

void LineBuffer::append(std::string_view octets) {
   if (dropping_) {
      auto const end = octets.find('\n');
      if (end == std::string_view::npos) return;
      octets.remove_prefix(end + 1);
      dropping_ = false;
   }
   reserveFor(text_.size() + octets.size());
   text_ += octets;
}

/// Grows by doubling, as a string does, but not beyond what a line can need.
void LineBuffer::reserveFor(std::size_t size) {
   if (size <= text_.capacity()) return;
   constexpr std::size_t kRest = 1U << 16U;
   text_.reserve(std::max(size, std::min(2 * text_.capacity(), longest_ + kRest)));
}

LineBuffer::Next LineBuffer::next(std::string& line) {
   auto const end = text_.find('\n', searched_);
   if (end == std::string::npos) {
      text_.erase(0, std::exchange(begin_, 0));
      searched_ = text_.size();
      if (text_.size() <= longest_) return Next::none;
      dropping_ = true;
      text_ = std::string();
      searched_ = 0;
      return Next::tooLong;
   }
   bool const tooLong = end - begin_ > longest_;
   std::size_t const rest = text_.size() - (end + 1);
   if (begin_ == 0 && end > rest) {
      // A large line is handed over, and what little follows it is copied.
      std::string following = text_.substr(end + 1);
      text_.resize(end);
      line = std::exchange(text_, std::move(following));
      searched_ = 0;
   } else {
      line.assign(text_, begin_, end - begin_);
      begin_ = searched_ = end + 1;
   }
   if (tooLong) line = std::string();
   return tooLong ? Next::tooLong : Next::line;
}

}  // namespace Publish
