// SPDX-License-Identifier: MIT
#pragma once

#include <compare>
#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

namespace Vel {

/// A strong pointer to a counted object: one that has `newRef() const` and `deleteRef() const`.
/// `Ptr<T const>` is the read-only form that every published input is handed around in.
template <class T>
class Ptr {
 public:
   using element_type = T;

   constexpr Ptr() = default;
   constexpr Ptr(std::nullptr_t) {}
   Ptr(T* object) : object_(object) { acquire(); }
   Ptr(Ptr const& other) : object_(other.object_) { acquire(); }
   Ptr(Ptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
   template <class U>
   requires std::is_convertible_v<U*, T*> Ptr(Ptr<U> const& other) : object_(other.get()) { acquire(); }
   ~Ptr() { release(object_); }

   Ptr& operator=(Ptr other) noexcept {
      std::swap(object_, other.object_);
      return *this;
   }

   T* get() const { return object_; }
   T& operator*() const { return *object_; }
   T* operator->() const { return object_; }
   explicit operator bool() const { return object_ != nullptr; }

   /// Pointer identity.
   template <class U>
   bool operator==(Ptr<U> const& other) const {
      return object_ == other.get();
   }
   bool operator==(std::nullptr_t) const { return object_ == nullptr; }

 private:
   void acquire() const {
      if (object_) object_->newRef();
   }
   static void release(T* object) {
      if (object) object->deleteRef();
   }

   T* object_ = nullptr;
};

/// Makes a counted object.
template <class T, class... Args>
Ptr<T> makePtr(Args&&... args) {
   return Ptr<T>(new T(std::forward<Args>(args)...));
}

/// Checked down-cast: null when the object is of another type.
template <class To, class From>
Ptr<To> ptrCast(Ptr<From> const& from) {
   return Ptr<To>(dynamic_cast<To*>(from.get()));
}

}  // namespace Vel

template <class T>
struct std::hash<Vel::Ptr<T>> {
   std::size_t operator()(Vel::Ptr<T> const& ptr) const noexcept { return std::hash<T*>()(ptr.get()); }
};
