// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace Vel {

/// A vector for few elements or very many. A few cost what they cost in a vector. Beyond a thousand it grows by a chunk
/// at a time: nothing that it holds is moved, so that no element takes noticeably longer to add than another, and at
/// most one chunk stands empty.
template <class T>
class ChunkedVector {
 public:
   static constexpr std::size_t kChunk = 1024;

   ChunkedVector() = default;
   ChunkedVector(ChunkedVector&&) noexcept = default;
   ChunkedVector& operator=(ChunkedVector&&) noexcept = default;

   std::size_t size() const { return more_ ? kChunk * more_->size() + more_->back().size() : first_.size(); }
   bool empty() const { return first_.empty(); }

   /// REQUIRES: position < size().
   T const& operator[](std::size_t position) const {
      if (position < kChunk) return first_[position];
      return (*more_)[position / kChunk - 1][position % kChunk];
   }
   T& operator[](std::size_t position) { return const_cast<T&>(std::as_const(*this)[position]); }

   void push_back(T element) { chunkWithRoom().push_back(std::move(element)); }

   /// Drops the elements from `size` on. REQUIRES: size <= size().
   void truncate(std::size_t size) {
      while (more_ && kChunk * more_->size() >= size) {
         more_->pop_back();
         if (more_->empty()) more_.reset();
      }
      Chunk& last = more_ ? more_->back() : first_;
      last.erase(last.begin() + static_cast<std::ptrdiff_t>(more_ ? size - kChunk * more_->size() : size), last.end());
   }

   /// Gives back what the first chunk has taken in advance.
   void shrink_to_fit() { first_.shrink_to_fit(); }

 private:
   using Chunk = std::vector<T>;

   Chunk& chunkWithRoom() {
      if (first_.size() < kChunk) return first_;
      if (!more_) more_ = std::make_unique<std::vector<Chunk>>();
      if (more_->empty() || more_->back().size() == kChunk) more_->emplace_back().reserve(kChunk);
      return more_->back();
   }

   Chunk first_;
   std::unique_ptr<std::vector<Chunk>> more_;  // none is empty; all but the last are full
};

}  // namespace Vel
