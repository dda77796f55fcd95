// SPDX-License-Identifier: MIT
#include "host/publish/SocketFile.h"
#include "tests/support/ScratchDirectory.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>

namespace Publish {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

class SocketFileTest : public ::testing::Test {
 protected:
   std::string refusal(SocketFile::Options options) {
      try {
         SocketFile const file(std::move(options));
      } catch (SocketError const& error) {
         return error.what();
      }
      return "made";
   }
   std::string refusal() { return refusal({path.string()}); }

   /// A socket whose process has ended.
   void leaveBehind() const {
      Loop::Descriptor const socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
      sockaddr_un address{};
      address.sun_family = AF_UNIX;
      std::strcpy(address.sun_path, path.c_str());
      ASSERT_EQ(bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
      ASSERT_EQ(listen(socket, 1), 0);
   }

   TestSupport::ScratchDirectory const scratch;
   fs::path const folder = scratch.path();
   fs::path const path = folder / "publish.sock";
};

TEST_F(SocketFileTest, TheSocketHasItsModeAndGoesWithItsMaker) {
   for (mode_t const mode : {0660U, 0600U, 0666U}) {
      {
         SocketFile const file({.path = path.string(), .mode = mode});
         EXPECT_TRUE(fs::is_socket(path));
         EXPECT_EQ(static_cast<mode_t>(fs::status(path).permissions()), mode);
      }
      EXPECT_FALSE(fs::exists(fs::symlink_status(path)));
   }
}

TEST_F(SocketFileTest, ItsOwnerIsSet) {
   if (geteuid() != 0) GTEST_SKIP() << "only root may give files away";
   SocketFile const file({.path = path.string(), .owner = 12345, .group = 54321});
   struct stat status {};
   ASSERT_EQ(stat(path.c_str(), &status), 0);
   EXPECT_EQ(status.st_uid, 12345U);
   EXPECT_EQ(status.st_gid, 54321U);
}

TEST_F(SocketFileTest, WhatAnEndedProcessLeftBehindIsReplaced) {
   leaveBehind();
   ASSERT_TRUE(fs::is_socket(path));
   EXPECT_EQ(refusal(), "made");
   EXPECT_FALSE(fs::exists(path));
}

TEST_F(SocketFileTest, ASocketThatIsInUseIsLeftAlone) {
   SocketFile const file({.path = path.string()});
   EXPECT_EQ(refusal(),
             "cannot publish at " + path.string() + ": process " + std::to_string(getpid()) + " listens there");
   EXPECT_TRUE(fs::is_socket(path));
}

TEST_F(SocketFileTest, WhatIsNoSocketIsLeftAlone) {
   std::ofstream(path) << "precious";
   EXPECT_EQ(refusal(), "cannot publish at " + path.string() + ": there is something else that is no socket");
   fs::remove(path);
   std::ofstream(folder / "precious") << "precious";
   fs::create_symlink(folder / "precious", path);
   EXPECT_THAT(refusal(), HasSubstr("no socket")) << "a symbolic link is not followed";
   EXPECT_TRUE(fs::exists(folder / "precious"));
   fs::remove(path);
   fs::create_directory(path);
   EXPECT_THAT(refusal(), HasSubstr("no socket"));
}

TEST_F(SocketFileTest, ASocketOfAnotherKindIsLeftAlone) {
   Loop::Descriptor const socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0), "socket");
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   std::strcpy(address.sun_path, path.c_str());
   ASSERT_EQ(bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
   EXPECT_EQ(refusal(), "cannot publish at " + path.string() + ": another process listens there");
   EXPECT_TRUE(fs::is_socket(path));
}

TEST_F(SocketFileTest, AtTheEndOnlyItsOwnSocketIsRemoved) {
   {
      SocketFile const file({.path = path.string()});
      fs::remove(path);
      leaveBehind();
   }
   EXPECT_TRUE(fs::is_socket(path)) << "somebody else's by now";
}

TEST_F(SocketFileTest, WhoStartsAtTheSameTimeWaitsForItsTurn) {
   leaveBehind();
   Loop::Descriptor const directory(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), "open");
   ASSERT_EQ(flock(directory, LOCK_EX), 0);
   pid_t const child = fork();
   if (child == 0) {
      std::string what;
      try {
         SocketFile const file({.path = path.string()});
      } catch (SocketError const&) {
         _exit(1);
      }
      _exit(0);
   }
   // It cannot have taken the place before this one gives its turn away.
   struct stat before {};
   ASSERT_EQ(lstat(path.c_str(), &before), 0);
   int status = 0;
   EXPECT_EQ(waitpid(child, &status, WNOHANG), 0);
   EXPECT_TRUE(fs::is_socket(path));
   flock(directory, LOCK_UN);
   ASSERT_EQ(waitpid(child, &status, 0), child);
   EXPECT_EQ(status, 0);
   EXPECT_FALSE(fs::exists(path));
}

TEST_F(SocketFileTest, APathThatCannotBeUsedIsRefusedWithTheReason) {
   EXPECT_EQ(refusal({(folder / "none" / "x").string()}),
             "cannot publish at " + (folder / "none" / "x").string() + ": No such file or directory");
   std::string const tooLong = "/tmp/" + std::string(120, 'x');
   EXPECT_EQ(refusal({tooLong}), "cannot publish at " + tooLong + ": the path of a socket has at most 107 octets");
}

}  // namespace
}  // namespace Publish
