// SPDX-License-Identifier: MIT
#include "host/agentx/MasterAddress.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <netdb.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

namespace AgentX {

namespace fs = std::filesystem;

namespace {

/// The port that is registered for AgentX.
constexpr char const* kDefaultPort = "705";

/// The rest of `text` behind `prefix`, when it begins with it.
bool behind(std::string_view text, std::string_view prefix, std::string& rest) {
   if (!text.starts_with(prefix)) return false;
   rest = text.substr(prefix.size());
   return true;
}

constexpr unsigned kHighestPort = 65535;

bool isNumber(std::string_view text) {
   return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

/// getaddrinfo would take any number, and cut it.
bool isPort(std::string_view text) {
   unsigned port = 0;
   auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
   return error == std::errc() && end == text.data() + text.size() && port > 0 && port <= kHighestPort;
}

/// With numbers: a name may have to be asked for in the network, and nothing here is to wait.
std::string modeAndOwner(fs::path const& path) {
   struct stat status {};
   if (stat(path.c_str(), &status) != 0) return "unknown mode";
   return fmt::format("mode {:04o}, uid {}, gid {}", status.st_mode & 07777U, status.st_uid, status.st_gid);
}

/// The first directory on the way to `path` that we may not pass, or nothing.
fs::path closedDirectory(fs::path const& path) {
   fs::path way;
   for (fs::path const& part : fs::absolute(path).parent_path()) {
      way /= part;
      if (faccessat(AT_FDCWD, way.c_str(), X_OK, AT_EACCESS) != 0 && errno == EACCES) return way;
   }
   return {};
}

}  // namespace

MasterAddress::MasterAddress(std::string_view text) {
   std::string const first(text.substr(0, text.find(',')));
   std::string rest;
   if (first.starts_with('/')) {
      unixAddressIs(first);
   } else if (behind(first, "unix:", rest) && !rest.empty()) {
      unixAddressIs(rest);
   } else if (behind(first, "tcp6:", rest)) {
      tcpAddressIs(rest, AF_INET6);
   } else if (behind(first, "tcp:", rest)) {
      tcpAddressIs(rest, AF_INET);
   } else if (first.find(':') == first.rfind(':') && !first.empty() && isNumber(first.substr(first.find(':') + 1))) {
      tcpAddressIs(first, AF_INET);
   } else {
      throw AddressError(fmt::format(
            "{}: this is no address of an AgentX master; one looks like unix:/run/agentx/master or tcp:127.0.0.1:705",
            text));
   }
}

void MasterAddress::unixAddressIs(std::string const& path) {
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   if (path.size() >= sizeof address.sun_path) {
      throw AddressError(
            fmt::format("unix:{}: the path of a socket has at most {} characters", path, sizeof address.sun_path - 1));
   }
   path.copy(address.sun_path, path.size());
   std::memcpy(&address_, &address, sizeof address);
   length_ = sizeof address;
   path_ = path;
   text_ = "unix:" + path;
}

void MasterAddress::tcpAddressIs(std::string const& hostAndPort, int family) {
   std::string host = hostAndPort;
   std::string port = kDefaultPort;
   // An IPv6 address has colons of its own, and stands in brackets when a port follows.
   auto const bracket = host.rfind(']');
   if (isNumber(host)) {
      port = std::exchange(host, family == AF_INET6 ? "::1" : "127.0.0.1");
   } else if (auto const colon = host.rfind(':');
              colon != std::string::npos && (family == AF_INET || (bracket != std::string::npos && colon > bracket))) {
      port = host.substr(colon + 1);
      host.erase(colon);
   }
   if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);

   text_ = family == AF_INET6 ? fmt::format("tcp6:[{}]:{}", host, port) : fmt::format("tcp:{}:{}", host, port);
   addrinfo hints{};
   hints.ai_family = family;
   hints.ai_socktype = SOCK_STREAM;
   addrinfo* found = nullptr;
   int const result = isPort(port) ? getaddrinfo(host.c_str(), port.c_str(), &hints, &found) : EAI_SERVICE;
   std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> const guard(found, &freeaddrinfo);
   if (result != 0) throw AddressError(fmt::format("{}: {}", text_, gai_strerror(result)));
   std::memcpy(&address_, found->ai_addr, found->ai_addrlen);
   length_ = found->ai_addrlen;
}

std::string MasterAddress::explain(int error) const {
   std::string const help = remedy(error);
   return std::generic_category().message(error) + (help.empty() ? "" : "; " + help);
}

std::string MasterAddress::remedy(int error) const {
   switch (error) {
      case ENOENT:
      case ENOTDIR:
         return fmt::format(
               "is snmpd running, with the lines \"master agentx\" and \"agentXSocket {}\" in its snmpd.conf?", text_);
      case ECONNREFUSED:
         if (struct stat status{}; !path_.empty() && stat(path_.c_str(), &status) == 0 && !S_ISSOCK(status.st_mode)) {
            return "this is no socket";
         }
         return fmt::format(
               "nobody listens there: is snmpd running, with the lines \"master agentx\" and "
               "\"agentXSocket {}\" in its snmpd.conf?",
               text_);
      case EACCES:
         if (path_.empty()) return {};
         if (fs::path const directory = closedDirectory(path_); !directory.empty()) {
            return fmt::format(
                  "the directory {0} ({1}) is closed to us; \"chmod o+x {0}\" opens it, and where snmpd makes it a "
                  "second mode in snmpd.conf, as in \"agentXPerms 0660 0755\"",
                  directory.string(), modeAndOwner(directory));
         }
         return fmt::format(
               "we may not write to the socket ({}); snmpd gives it to others with modes, a user and a "
               "group in snmpd.conf, as in \"agentXPerms 0660 0755 {}\"",
               modeAndOwner(path_), geteuid());
      case EAGAIN:
         return "too many wait there for a connection: snmpd has been stopped, or is overloaded";
      default:
         return {};
   }
}

}  // namespace AgentX
