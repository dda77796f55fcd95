// SPDX-License-Identifier: MIT
#include "host/store/Scan.h"

namespace Store {

namespace {

/// Looked at at once.
constexpr std::size_t kBlock = 64;

bool allBlank(char const* block) {
   unsigned others = 0;
   for (std::size_t i = 0; i < kBlock; ++i) others |= static_cast<unsigned>(!isBlank(block[i]));
   return others == 0;
}

}  // namespace

std::size_t behindBlanks(std::string_view text, std::size_t begin) {
   std::size_t at = begin;
   // Mostly there are none, or few.
   while (at < text.size() && at < begin + kBlock && isBlank(text[at])) ++at;
   if (at < begin + kBlock) return at;
   while (at + kBlock <= text.size() && allBlank(text.data() + at)) at += kBlock;
   while (at < text.size() && isBlank(text[at])) ++at;
   return at;
}

std::size_t beforeBlanks(std::string_view text) {
   std::size_t end = text.size();
   while (end >= kBlock && allBlank(text.data() + end - kBlock)) end -= kBlock;
   while (end > 0 && isBlank(text[end - 1])) --end;
   return end;
}

std::size_t characters(std::string_view text) {
   std::size_t count = 0;
   std::size_t at = 0;
   for (; at + kBlock <= text.size(); at += kBlock) {
      unsigned char begins = 0;
      for (std::size_t i = 0; i < kBlock; ++i) begins += static_cast<unsigned char>(!isContinuation(text[at + i]));
      count += begins;
   }
   for (; at < text.size(); ++at) count += static_cast<std::size_t>(!isContinuation(text[at]));
   return count;
}

}  // namespace Store
