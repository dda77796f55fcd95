// SPDX-License-Identifier: MIT
#include "host/publish/SocketFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <thread>

#include "host/publish/Access.h"

namespace Publish {

namespace {

using Loop::Descriptor;

// Of connections that are made and not yet accepted.
constexpr int kBacklog = 1024;
constexpr std::chrono::seconds kLockPatience(5);
constexpr std::chrono::milliseconds kLockRetry(10);

[[noreturn]] void refuse(std::string const& path, std::string_view why) {
   throw SocketError(fmt::format("cannot publish at {}: {}", path, why));
}

[[noreturn]] void refuse(std::string const& path, std::string_view what, int error) {
   refuse(path, fmt::format("{}{}", what, std::generic_category().message(error)));
}

sockaddr_un addressOf(std::string const& path) {
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   if (path.size() >= sizeof address.sun_path) {
      refuse(path, fmt::format("the path of a socket has at most {} octets", sizeof address.sun_path - 1));
   }
   std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
   return address;
}

int newSocket() { return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0); }

/// Holds the lock of the directory that `path` lies in, while it lives.
class DirectoryLock {
 public:
   explicit DirectoryLock(std::filesystem::path const& path)
         : directory_(
                 open(path.has_parent_path() ? path.parent_path().c_str() : ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC),
                 "open") {
      auto const end = std::chrono::steady_clock::now() + kLockPatience;
      while (flock(directory_, LOCK_EX | LOCK_NB) != 0) {
         if (errno != EWOULDBLOCK || std::chrono::steady_clock::now() >= end) {
            throw std::system_error(errno, std::generic_category(), "flock");
         }
         std::this_thread::sleep_for(kLockRetry);
      }
   }

 private:
   Descriptor const directory_;
};

}  // namespace

void SocketFile::check(std::string const& path) { addressOf(path); }

SocketFile::SocketFile(Options options) : options_(std::move(options)) {
   check(options_.path);
   try {
      DirectoryLock const lock(options_.path);
      makeRoom();
      socket_.emplace(newSocket(), "socket");
      listenAt();
   } catch (std::system_error const& error) {
      refuse(options_.path, "", error.code().value());
   }
}

/// Removes the socket of a process that has ended.
void SocketFile::makeRoom() const {
   std::string const& path = options_.path;
   struct stat status {};
   if (lstat(path.c_str(), &status) != 0) {
      if (errno == ENOENT) return;
      refuse(path, "", errno);
   }
   if (!S_ISSOCK(status.st_mode)) refuse(path, "there is something else that is no socket");
   Descriptor const probe(newSocket(), "socket");
   auto const address = addressOf(path);
   if (connect(probe, reinterpret_cast<sockaddr const*>(&address), sizeof address) == 0) {
      refuse(path, fmt::format("process {} listens there", Peer::of(probe).process));
   }
   if (errno == EAGAIN || errno == EPROTOTYPE) refuse(path, "another process listens there");
   if (errno != ECONNREFUSED) refuse(path, "there is a socket, and it cannot be told whether it is in use: ", errno);
   if (unlink(path.c_str()) != 0) refuse(path, "the socket of an earlier process cannot be removed: ", errno);
}

/// Nobody can connect before the socket listens, and by then its mode and owner are right.
void SocketFile::listenAt() {
   std::string const& path = options_.path;
   auto const address = addressOf(path);
   mode_t const before = umask(~options_.mode & 0777U);
   int const bound = bind(*socket_, reinterpret_cast<sockaddr const*>(&address), sizeof address);
   int const error = errno;
   umask(before);
   if (bound != 0) refuse(path, "", error);
   file_.emplace(open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC), "open");
   if (options_.owner || options_.group) {
      constexpr std::uint32_t kSame = ~std::uint32_t{0};
      if (lchown(path.c_str(), options_.owner.value_or(kSame), options_.group.value_or(kSame)) != 0) {
         giveUp("its owner cannot be changed: ", errno);
      }
   }
   if (listen(*socket_, kBacklog) != 0) giveUp("", errno);
}

void SocketFile::giveUp(std::string_view what, int error) const {
   unlink(options_.path.c_str());
   refuse(options_.path, what, error);
}

SocketFile::~SocketFile() {
   try {
      DirectoryLock const lock(options_.path);
      struct stat ours {};
      struct stat there {};
      if (fstat(*file_, &ours) == 0 && lstat(options_.path.c_str(), &there) == 0 && ours.st_dev == there.st_dev &&
          ours.st_ino == there.st_ino) {
         unlink(options_.path.c_str());
      }
   } catch (std::system_error const&) {
      // Whoever starts next finds a socket that nobody listens at.
   }
}

}  // namespace Publish
