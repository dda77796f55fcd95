// SPDX-License-Identifier: MIT
#include "substrate/vel/String.h"

#include <fmt/format.h>

#include <cstring>
#include <new>
#include <ostream>

namespace Vel {

bool threadSafePointers_ = false;

Ptr<Octets const> Octets::make(std::string_view octets) {
   if (octets.empty()) return nullptr;
   // One allocation: the header with the octets right behind it.
   void* const memory = ::operator new(sizeof(Octets) + octets.size());
   auto* const made = new (memory) Octets(static_cast<std::uint32_t>(octets.size()));
   std::memcpy(made + 1, octets.data(), octets.size());
   return Ptr<Octets const>(made);
}

void Octets::deleteRef() const {
   if (refs_.decrement()) {
      this->~Octets();
      ::operator delete(const_cast<Octets*>(this));
   }
}

std::ostream& operator<<(std::ostream& out, String const& text) { return out << text.view(); }

std::string Bytes::hex() const {
   std::string text;
   for (unsigned char const octet : view()) {
      fmt::format_to(std::back_inserter(text), "{}{:02x}", text.empty() ? "" : ":", octet);
   }
   return text;
}

}  // namespace Vel
