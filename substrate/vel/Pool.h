// SPDX-License-Identifier: MIT
#pragma once

#include <boost/pool/pool.hpp>

#include <cstddef>
#include <mutex>
#include <typeinfo>

namespace Vel {

/// Memory for the objects of one type, which stand one behind the other in the order in which they were made. Who
/// walks over thousands of them waits less for memory than if each stood wherever the heap had room for it. A place
/// that is given back is the next to be taken; when all are back, the memory goes back to the heap.
///
/// May be used by any thread.
class Pool {
 public:
   /// `size`: octets of an object.
   explicit Pool(std::size_t size);
   Pool(Pool const&) = delete;
   Pool& operator=(Pool const&) = delete;

   /// The one pool of the process for a type: what one library makes, another may let go.
   static Pool& of(std::type_info const& type, std::size_t size);

   /// Aligned for any object. Throws std::bad_alloc.
   void* take();
   /// REQUIRES: `place` was taken from this pool.
   void giveBack(void* place) noexcept;

   /// How many places are taken.
   std::size_t taken() const;

 private:
   mutable std::mutex mutex_;
   boost::pool<> places_;
   std::size_t taken_ = 0;
};

/// Base of a type whose objects come from a pool of their own: `class Row : public Pooled<Row>`. Those of classes that
/// are derived from it come from the heap, as ever.
template <class T>
class Pooled {
 public:
#ifdef __SANITIZE_ADDRESS__
   // The sanitizer tells who uses an object that has gone only where each is a piece of the heap.
#else
   static void* operator new(std::size_t size) { return size == sizeof(T) ? pool().take() : ::operator new(size); }
   static void operator delete(void* object, std::size_t size) noexcept {
      if (size == sizeof(T)) {
         pool().giveBack(object);
      } else {
         ::operator delete(object, size);
      }
   }

 private:
   static Pool& pool() {
      static Pool& found = Pool::of(typeid(T), sizeof(T));
      return found;
   }
#endif
};

}  // namespace Vel
