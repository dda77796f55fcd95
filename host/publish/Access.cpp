// SPDX-License-Identifier: MIT
#include "host/publish/Access.h"

#include <fmt/format.h>
#include <grp.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <limits>
#include <stdexcept>
#include <system_error>

namespace Publish {

namespace {

/// A user or group id in digits. The highest number stands for none.
std::optional<std::uint32_t> number(std::string_view text) {
   std::uint32_t value = 0;
   auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
   if (error != std::errc{} || end != text.data() + text.size()) return {};
   if (value == std::numeric_limits<std::uint32_t>::max()) return {};
   return value;
}

/// Appends the supplementary groups. A kernel that does not tell them leaves it at the effective one.
void addSupplementaryGroups(int socket, std::vector<gid_t>& groups) {
   gid_t nowhere = 0;
   socklen_t length = 0;
   if (getsockopt(socket, SOL_SOCKET, SO_PEERGROUPS, &nowhere, &length) == 0 || errno != ERANGE) return;
   std::vector<gid_t> supplementary(length / sizeof(gid_t));
   if (getsockopt(socket, SOL_SOCKET, SO_PEERGROUPS, supplementary.data(), &length) != 0) return;
   groups.insert(groups.end(), supplementary.begin(), supplementary.end());
}

}  // namespace

Peer Peer::of(int socket) {
   ucred credentials{};
   socklen_t length = sizeof credentials;
   if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0) {
      throw std::system_error(errno, std::generic_category(), "SO_PEERCRED");
   }
   Peer peer{credentials.pid, credentials.uid, {credentials.gid}};
   addSupplementaryGroups(socket, peer.groups);
   return peer;
}

std::string toText(Peer const& peer) {
   return fmt::format("uid {} (gid {})", peer.user, peer.groups.empty() ? gid_t{0} : peer.groups.front());
}

uid_t userFrom(std::string const& text) {
   if (passwd const* const user = getpwnam(text.c_str())) return user->pw_uid;
   if (auto const id = number(text)) return *id;
   throw std::invalid_argument(fmt::format("there is no user \"{}\"", text));
}

gid_t groupFrom(std::string const& text) {
   if (group const* const found = getgrnam(text.c_str())) return found->gr_gid;
   if (auto const id = number(text)) return *id;
   throw std::invalid_argument(fmt::format("there is no group \"{}\"", text));
}

Access::Access() : users_{0, geteuid()} {}

Access::Access(std::span<std::string const> entries) {
   for (std::string const& entry : entries) {
      std::string const kind = entry.substr(0, entry.find(':') + 1);
      std::string const who = entry.substr(kind.size());
      if (kind == "uid:") {
         users_.insert(userFrom(who));
      } else if (kind == "gid:") {
         groups_.insert(groupFrom(who));
      } else {
         throw std::invalid_argument("it must be uid:USER or gid:GROUP, by name or number");
      }
   }
}

bool Access::admits(Peer const& peer) const {
   return users_.contains(peer.user) ||
          std::ranges::any_of(peer.groups, [this](gid_t group) { return groups_.contains(group); });
}

}  // namespace Publish
