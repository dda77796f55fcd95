// SPDX-License-Identifier: MIT
#pragma once

#include <sys/socket.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace AgentX {

/// An address does not say where a master is. The text names it and says why.
class AddressError : public std::runtime_error {
   using std::runtime_error::runtime_error;
};

/// Where an AgentX master listens: a unix socket, or TCP.
class MasterAddress {
 public:
   /// `text` is in net-snmp's notation: "unix:PATH", "tcp:HOST:PORT", "tcp6:[ADDRESS]:PORT", or a path or HOST:PORT
   /// alone. The port may be left out; the registered one is 705. Of a list, separated by commas, the first counts.
   /// Looks up host names. Throws AddressError.
   explicit MasterAddress(std::string_view text);

   /// With its kind in front.
   std::string const& text() const { return text_; }

   sockaddr const* address() const { return reinterpret_cast<sockaddr const*>(&address_); }
   socklen_t length() const { return length_; }

   /// Why a connection cannot be made, and what helps. `error` is an errno.
   std::string explain(int error) const;

 private:
   void unixAddressIs(std::string const& path);
   void tcpAddressIs(std::string const& hostAndPort, int family);
   std::string remedy(int error) const;

   std::string text_;
   std::string path_;  // of a unix socket
   sockaddr_storage address_{};
   socklen_t length_ = 0;
};

}  // namespace AgentX
