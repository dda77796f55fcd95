// SPDX-License-Identifier: MIT
#include "host/publish/Access.h"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

#include "host/loop/Descriptor.h"

namespace Publish {
namespace {

Peer peer(uid_t user, std::vector<gid_t> groups) { return {1, user, std::move(groups)}; }

Access accessOf(std::vector<std::string> const& entries) { return Access(entries); }

std::string refusedEntry(std::string const& entry) {
   try {
      accessOf({entry});
   } catch (std::invalid_argument const& error) {
      return error.what();
   }
   return "accepted";
}

TEST(Access, RootAndOurOwnUserMayPublishIfNothingElseIsSaid) {
   Access const access;
   EXPECT_TRUE(access.admits(peer(0, {0})));
   EXPECT_TRUE(access.admits(peer(geteuid(), {12345})));
   EXPECT_FALSE(access.admits(peer(geteuid() + 54321, {0})));
}

TEST(Access, AListAdmitsWhomItNamesAndNobodyElse) {
   Access const access = accessOf({"uid:1000", "gid:998", "uid:1002"});
   EXPECT_TRUE(access.admits(peer(1000, {5})));
   EXPECT_TRUE(access.admits(peer(1002, {5})));
   EXPECT_TRUE(access.admits(peer(7, {998})));
   EXPECT_TRUE(access.admits(peer(7, {5, 6, 998}))) << "a supplementary group";
   EXPECT_FALSE(access.admits(peer(998, {1000})));
   EXPECT_FALSE(access.admits(peer(0, {0}))) << "nor root";
   EXPECT_FALSE(access.admits(peer(7, {})));
}

TEST(Access, NamesAreUnderstoodLikeNumbers) {
   Access const access = accessOf({"uid:nobody", "gid:daemon"});
   EXPECT_TRUE(access.admits(peer(userFrom("nobody"), {5})));
   EXPECT_TRUE(access.admits(peer(7, {groupFrom("daemon")})));
   EXPECT_EQ(userFrom("root"), 0U);
   EXPECT_EQ(userFrom("4294967294"), 4294967294U);
}

TEST(Access, AWrongEntryIsRefusedWithTheReason) {
   EXPECT_EQ(refusedEntry("uid:nobody-of-that-name"), "there is no user \"nobody-of-that-name\"");
   EXPECT_EQ(refusedEntry("gid:none such"), "there is no group \"none such\"");
   EXPECT_EQ(refusedEntry("uid:"), "there is no user \"\"");
   EXPECT_EQ(refusedEntry("uid:-1"), "there is no user \"-1\"");
   EXPECT_EQ(refusedEntry("uid:4294967295"), "there is no user \"4294967295\"");
   for (char const* const text : {"1000", "user:root", ""}) {
      EXPECT_EQ(refusedEntry(text), "it must be uid:USER or gid:GROUP, by name or number");
   }
}

TEST(Access, TheKernelTellsWhoThePeerIs) {
   int ends[2];
   ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
   Loop::Descriptor const one(ends[0], "socketpair");
   Loop::Descriptor const other(ends[1], "socketpair");
   Peer const self = Peer::of(one);
   EXPECT_EQ(self.process, getpid());
   EXPECT_EQ(self.user, geteuid());
   ASSERT_FALSE(self.groups.empty());
   EXPECT_EQ(self.groups.front(), getegid());
   EXPECT_EQ(self.groups.size() - 1, static_cast<std::size_t>(getgroups(0, nullptr)));
}

}  // namespace
}  // namespace Publish
