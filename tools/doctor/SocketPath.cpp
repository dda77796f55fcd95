// SPDX-License-Identifier: MIT
#include "tools/doctor/SocketPath.h"

#include <fmt/format.h>
#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>

#include "tools/Commands.h"

namespace Tools::Doctor {

namespace {

constexpr char const* kServiceUser = "mplste";
constexpr mode_t kPermissions = 07777;

std::string groupName(gid_t number) {
   group const* const entry = getgrgid(number);
   return entry ? entry->gr_name : fmt::format("{}", number);
}

User userOf(passwd const& entry) {
   User user{entry.pw_name, entry.pw_uid, groupName(entry.pw_gid), std::vector<gid_t>(16)};
   int count = static_cast<int>(user.groups.size());
   if (getgrouplist(entry.pw_name, entry.pw_gid, user.groups.data(), &count) < 0) {
      user.groups.resize(count);
      getgrouplist(entry.pw_name, entry.pw_gid, user.groups.data(), &count);
   }
   user.groups.resize(count);
   return user;
}

/// `wanted`: S_IWOTH, S_IXOTH.
bool permits(struct stat const& status, User const& user, mode_t wanted) {
   constexpr int kOwnerShift = 6;
   constexpr int kGroupShift = 3;
   if (user.uid == 0) return true;
   if (status.st_uid == user.uid) return status.st_mode & (wanted << kOwnerShift);
   bool const member = std::ranges::find(user.groups, status.st_gid) != user.groups.end();
   return status.st_mode & (member ? wanted << kGroupShift : wanted);
}

}  // namespace

User User::named(std::string const& name) {
   passwd const* const entry = getpwnam(name.c_str());
   if (!entry) throw NotFound(fmt::format("there is no user {}", name));
   return userOf(*entry);
}

User User::ofService() {
   if (passwd const* const service = getpwnam(kServiceUser)) return userOf(*service);
   if (passwd const* const own = getpwuid(geteuid())) return userOf(*own);
   return {fmt::format("with the number {}", geteuid()), geteuid(), groupName(getegid()), {getegid()}};
}

std::optional<Barrier> barrierOn(std::filesystem::path const& path, User const& user) {
   using Kind = Barrier::Kind;
   std::filesystem::path at;
   struct stat status {};
   for (auto const& part : std::filesystem::absolute(path).lexically_normal()) {
      if (!at.empty() && !permits(status, user, S_IXOTH)) {
         return Barrier{Kind::closedDirectory, at, status.st_mode & kPermissions};
      }
      at /= part;
      if (stat(at.c_str(), &status) != 0) return Barrier{Kind::missing, at};
   }
   if (!S_ISSOCK(status.st_mode)) return Barrier{Kind::noSocket, at};
   if (!permits(status, user, S_IWOTH)) return Barrier{Kind::closedSocket, at, status.st_mode & kPermissions};
   return std::nullopt;
}

std::string toText(Barrier const& barrier, User const& user) {
   switch (barrier.kind) {
      case Barrier::Kind::missing:
         return fmt::format("{} is not there", barrier.path.string());
      case Barrier::Kind::noSocket:
         return fmt::format("{} is no socket", barrier.path.string());
      case Barrier::Kind::closedDirectory:
      case Barrier::Kind::closedSocket:
         break;
   }
   return fmt::format("{} (mode {:04o}) is closed to the user {}", barrier.path.string(), barrier.mode, user.name);
}

}  // namespace Tools::Doctor
