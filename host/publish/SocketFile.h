// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "host/loop/Descriptor.h"

namespace Publish {

/// The socket cannot be made. The text names it and says why.
class SocketError : public std::runtime_error {
   using std::runtime_error::runtime_error;
};

/// A listening unix stream socket with its place in the file system.
///
/// What a process that has ended left behind is replaced. A socket that somebody listens at, and whatever is no socket,
/// is left alone and refused. Processes that start at the same time take turns, by a lock (flock) of the directory, so
/// that none takes the place of another. When it goes, the file goes, unless it is somebody else's by now.
class SocketFile {
 public:
   struct Options {
      std::string path;
      /// Permissions; only who may write may connect.
      mode_t mode = 0660;
      /// Whose it is, if not this process's.
      std::optional<uid_t> owner{};
      std::optional<gid_t> group{};
   };

   /// Whether a socket can have this path at all. Throws SocketError when it cannot.
   static void check(std::string const& path);

   /// Listens. Throws SocketError.
   explicit SocketFile(Options options);
   ~SocketFile();
   SocketFile(SocketFile const&) = delete;
   SocketFile& operator=(SocketFile const&) = delete;

   /// Non-blocking.
   int descriptor() const { return *socket_; }
   std::string const& path() const { return options_.path; }

 private:
   void makeRoom() const;
   void listenAt();
   [[noreturn]] void giveUp(std::string_view what, int error) const;

   Options const options_;
   std::optional<Loop::Descriptor> socket_;
   std::optional<Loop::Descriptor> file_;  // its inode cannot become another's meanwhile
};

}  // namespace Publish
