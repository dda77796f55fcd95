// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>

namespace Vel {

/// Process-wide switch of the host: reference counts change atomically while it is on.
/// To be set before a second thread touches counted objects; off by default.
extern bool threadSafePointers_;

/// The intrusive reference count of a counted object.
class RefCount {
 public:
   std::uint32_t value() const { return count_; }

   void increment() {
      if (threadSafePointers_) [[unlikely]] {
         std::atomic_ref(count_).fetch_add(1, std::memory_order_relaxed);
      } else {
         ++count_;
      }
   }

   /// True when the last reference has gone.
   bool decrement() {
      if (threadSafePointers_) [[unlikely]] {
         return std::atomic_ref(count_).fetch_sub(1, std::memory_order_acq_rel) == 1;
      }
      return --count_ == 0;
   }

   /// Marks the object as being destroyed: references taken and dropped from now on never reach zero again.
   void dyingIs() { count_ = kDying; }
   bool dying() const { return count_ >= kDying / 2; }

 private:
   static constexpr std::uint32_t kDying = 0x8000'0000U;
   std::uint32_t count_ = 0;
};

}  // namespace Vel
