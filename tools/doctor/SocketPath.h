// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Tools::Doctor {

/// Somebody who is to reach a socket.
struct User {
   std::string name;
   uid_t uid;
   std::string group;  ///< the first of them, by name; its number when it has none
   std::vector<gid_t> groups;

   /// The user of that name. Throws NotFound.
   static User named(std::string const& name);
   /// The user that mplsted runs as when it was installed as a service, else who runs this program.
   static User ofService();
};

/// What keeps `user` from connecting to the unix socket at `path`.
struct Barrier {
   enum class Kind { missing, closedDirectory, noSocket, closedSocket };
   Kind kind;
   std::filesystem::path path;  ///< which part of the path it is
   mode_t mode = 0;             ///< of a directory or socket that is closed
};

/// The first barrier on the way, by the modes; nothing when there is none.
std::optional<Barrier> barrierOn(std::filesystem::path const& path, User const& user);

/// "/run/agentx (mode 0700) is closed to the user mplste".
std::string toText(Barrier const& barrier, User const& user);

}  // namespace Tools::Doctor
