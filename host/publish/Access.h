// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Publish {

/// Who is at the other end of a connection, as the kernel saw it when it was made.
struct Peer {
   pid_t process = 0;
   uid_t user = 0;
   /// The effective group, then the supplementary ones.
   std::vector<gid_t> groups;

   /// Of a connected unix socket. Throws std::system_error.
   static Peer of(int socket);
};

/// For people: "uid 1000 (gid 998)".
std::string toText(Peer const& peer);

/// Who may connect, beside what the mode of the socket says.
class Access {
 public:
   /// Root and the effective user of this process.
   Access();
   /// Those of `entries` alone: "uid:1000", "uid:alice", "gid:998", "gid:mplste". A group admits its supplementary
   /// members too. Throws std::invalid_argument.
   explicit Access(std::span<std::string const> entries);

   bool admits(Peer const& peer) const;

 private:
   std::set<uid_t> users_;
   std::set<gid_t> groups_;
};

/// A user or group by name or number; throws std::invalid_argument for one that there is not.
uid_t userFrom(std::string const& text);
gid_t groupFrom(std::string const& text);

}  // namespace Publish
