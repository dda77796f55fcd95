// SPDX-License-Identifier: MIT
#pragma once

#include <compare>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "substrate/vel/Ptr.h"
#include "substrate/vel/RefCount.h"

namespace Vel {

/// The counted, immutable octets behind String and Bytes. Made once, shared by every copy.
class Octets {
 public:
   static Ptr<Octets const> make(std::string_view octets);

   std::string_view view() const { return {reinterpret_cast<char const*>(this + 1), size_}; }
   void newRef() const { refs_.increment(); }
   void deleteRef() const;

 private:
   explicit Octets(std::uint32_t size) : size_(size) {}
   mutable RefCount refs_;
   std::uint32_t size_;
};

/// An immutable counted string. Copies share the text; the empty string owns nothing. May hold NUL octets.
class String {
 public:
   String() = default;
   String(std::string_view text) : octets_(Octets::make(text)) {}
   String(char const* text) : String(std::string_view(text)) {}
   String(std::string const& text) : String(std::string_view(text)) {}

   std::string_view view() const { return octets_ ? octets_->view() : std::string_view(); }
   std::string stdString() const { return std::string(view()); }
   std::size_t size() const { return view().size(); }
   bool empty() const { return !octets_; }

   bool operator==(String const& other) const { return octets_ == other.octets_ || view() == other.view(); }
   /// Byte order.
   std::strong_ordering operator<=>(String const& other) const { return view() <=> other.view(); }

   friend String operator+(String const& left, char const* right) { return left.stdString() + right; }
   friend String operator+(char const* left, String const& right) { return left + right.stdString(); }
   friend std::ostream& operator<<(std::ostream& out, String const& text);

 private:
   Ptr<Octets const> octets_;
};

/// A counted octet buffer, such as an address as it goes into an SNMP octet string.
class Bytes {
 public:
   Bytes() = default;
   explicit Bytes(std::string_view octets) : octets_(Octets::make(octets)) {}
   Bytes(void const* data, std::size_t size) : Bytes(std::string_view(static_cast<char const*>(data), size)) {}

   std::string_view view() const { return octets_ ? octets_->view() : std::string_view(); }
   std::size_t size() const { return view().size(); }
   bool operator==(Bytes const& other) const { return view() == other.view(); }

   /// The octets in hexadecimal, separated by colons, for trace lines.
   std::string hex() const;

 private:
   Ptr<Octets const> octets_;
};

}  // namespace Vel
