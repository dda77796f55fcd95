// SPDX-License-Identifier: MIT
#include "inputs/lanu/IpGenAddr.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstring>

namespace Lanu {

namespace {

int addressFamily(IpGenAddr::Family family) { return family == IpGenAddr::Family::ipv6 ? AF_INET6 : AF_INET; }

}  // namespace

IpGenAddr IpGenAddr::ipv4(std::array<std::uint8_t, 4> const& octets) {
   IpGenAddr address;
   address.family_ = Family::ipv4;
   std::ranges::copy(octets, address.octets_.begin());
   return address;
}

IpGenAddr IpGenAddr::ipv6(std::array<std::uint8_t, 16> const& octets) {
   IpGenAddr address;
   address.family_ = Family::ipv6;
   address.octets_ = octets;
   return address;
}

IpGenAddr IpGenAddr::fromHostOrder(std::uint32_t address) {
   std::array<std::uint8_t, 4> octets{};
   std::uint32_t const inNetworkOrder = htonl(address);
   std::memcpy(octets.data(), &inNetworkOrder, sizeof inNetworkOrder);
   return ipv4(octets);
}

IpGenAddr IpGenAddr::fromText(std::string_view text) {
   std::string const terminated(text);
   for (Family const family : {Family::ipv4, Family::ipv6}) {
      IpGenAddr address;
      address.family_ = family;
      // A text with a NUL inside is no address, whatever stands before it.
      if (terminated.find('\0') == std::string::npos &&
          inet_pton(addressFamily(family), terminated.c_str(), address.octets_.data()) == 1) {
         return address;
      }
   }
   throw Vel::ParseException(fmt::format("\"{}\" is not an IP address", text));
}

std::string_view IpGenAddr::octets() const {
   std::size_t const size = family_ == Family::none ? 0 : family_ == Family::ipv4 ? 4 : 16;
   return {reinterpret_cast<char const*>(octets_.data()), size};
}

std::uint32_t IpGenAddr::ip4NetworkOrder() const {
   std::uint32_t address = 0;
   if (family_ == Family::ipv4) std::memcpy(&address, octets_.data(), sizeof address);
   return address;
}

std::uint32_t IpGenAddr::hash(std::uint32_t seed) const {
   Vel::Hasher hasher(seed);
   hasher.mix1(static_cast<std::uint8_t>(family_));
   hasher.mixText(octets());
   return hasher.result();
}

std::string IpGenAddr::valueToStrep() const {
   if (family_ == Family::none) return "none";
   std::array<char, INET6_ADDRSTRLEN> text{};
   inet_ntop(addressFamily(family_), octets_.data(), text.data(), text.size());
   return text.data();
}

}  // namespace Lanu
