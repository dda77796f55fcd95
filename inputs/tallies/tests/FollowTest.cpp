// SPDX-License-Identifier: MIT
// The agent follows a segment that comes, goes and is replaced, and refuses one that it must not read.
#include <sys/stat.h>

#include <thread>

#include "inputs/tallies/tests/TestSegment.h"
#include "tests/support/TraceCapture.h"

namespace Tallies {

namespace {

using namespace std::chrono_literals;
using TestSupport::TraceCapture;
using Lines = std::vector<std::string>;

// The error lines of the counters.
class Errors : public TraceCapture {
 public:
   Errors() : TraceCapture("Tallies", Trel::kErrorLevel) {}
};

TEST(CountersInSharedMemory, AreAbsentWithoutASegment) {
   SegmentName const name;
   Errors const errors;
   Agent const agent(name);
   EXPECT_EQ(agent.table().counterMap(), nullptr);
   EXPECT_EQ(agent.read(1), Counter{});
   EXPECT_FALSE(agent.table().status().attached);
   EXPECT_EQ(errors.texts(), Lines{}) << "a forwarding process that is not up yet is no error";
}

TEST(CountersInSharedMemory, AreFoundUnderTheNameWithAndWithoutSlash) {
   SegmentName const name;
   Writer writer(name, 1);
   writer.set(1, 5, 500);
   EXPECT_EQ(Agent(Agent::Options{.name = name.text()}).read(1), (Counter{5, 500}));
   EXPECT_EQ(Agent(Agent::Options{.name = "/" + name.text()}).read(1), (Counter{5, 500}));
}

TEST(CountersInSharedMemory, HaveANameThatSharedMemoryCanHave) {
   for (std::string const& wrong : Lines{"", "/", "a/b", "//a", "..", ".", std::string(201, 'a'), {"a\0b", 3}}) {
      EXPECT_THROW(Agent(Agent::Options{.name = wrong}), std::invalid_argument) << wrong;
   }
   try {
      Agent const agent(Agent::Options{.name = "/dev/shm/x"});
      ADD_FAILURE() << "a path was taken for a name";
   } catch (std::invalid_argument const& error) {
      EXPECT_STREQ(error.what(), "'/dev/shm/x' is not a name of shared memory: 1 to 200 octets without '/'");
   }
}

TEST(CountersInSharedMemory, AreZeroForATunnelThatIsNotCounted) {
   SegmentName const name;
   Writer writer(name, 4);
   writer.set(1, 5, 500);
   Agent const agent(name);
   EXPECT_EQ(agent.read(2), Counter{});
   EXPECT_EQ(readCounter(agent.table(), 0), Counter{});
   EXPECT_EQ(readCounter(agent.table(), TALLIES_REMOVED), Counter{});
   tallies_writer_remove(writer, tunnelValue(1));
   EXPECT_EQ(agent.read(1), Counter{});
   EXPECT_EQ(agent.damage(), 0U);
}

TEST(CountersInSharedMemory, AreFoundWhenTheyAppearAndGoneWhenTheyVanish) {
   SegmentName const name;
   Errors const errors;
   Agent const agent(name);
   for (std::uint64_t round = 1; round <= 3; ++round) {
      EXPECT_EQ(agent.read(1), Counter{});
      {
         Writer writer(name, 1);
         writer.set(1, round, round);
         EXPECT_EQ(agent.read(1), (Counter{round, round}));
      }
      EXPECT_EQ(tallies_unlink(name.c_str()), TALLIES_OK);
      EXPECT_EQ(agent.read(1), Counter{});
      EXPECT_EQ(agent.table().counterMap(), nullptr);
   }
   EXPECT_EQ(agent.table().status().attachments, 3U);
   EXPECT_EQ(errors.texts(), Lines{});
}

TEST(CountersInSharedMemory, AppearWithinTheTimeToLookAgain) {
   SegmentName const name;
   Agent const agent(Agent::Options{.name = name.text()});
   EXPECT_EQ(agent.read(1), Counter{});
   Writer writer(name, 1);
   writer.set(1, 5, 500);
   auto const deadline = std::chrono::steady_clock::now() + 20s;
   while (agent.read(1).packets == 0 && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
   EXPECT_EQ(agent.read(1), (Counter{5, 500}));
}

TEST(CountersInSharedMemory, OfARestartedWriterAreFollowedAtOnce) {
   SegmentName const name;
   Agent const agent(Agent::Options{.name = name.text(), .lookAgain = 24h});
   { Writer(name, 1).set(1, 1, 1); }
   EXPECT_EQ(agent.read(1), (Counter{1, 1}));
   { Writer(name, 100, true).set(1, 2, 2); }
   EXPECT_EQ(agent.read(1), (Counter{2, 2})) << "replaced by another";
   name.remove();
   { Writer(name, 1).set(1, 3, 3); }
   EXPECT_EQ(agent.read(1), (Counter{3, 3})) << "removed and made anew";
   EXPECT_EQ(agent.table().status().attachments, 3U);
}

TEST(CountersInSharedMemory, AreThoseOfTheNameWhenTheOldSegmentWasRenamed) {
   SegmentName const name;
   SegmentName const aside("aside");
   Agent const agent(name);
   { Writer(name, 1).set(1, 1, 1); }
   EXPECT_EQ(agent.read(1), (Counter{1, 1}));
   ASSERT_EQ(rename(name.path().c_str(), aside.path().c_str()), 0);
   EXPECT_EQ(agent.read(1), Counter{});
   { Writer(name, 1).set(1, 2, 2); }
   EXPECT_EQ(agent.read(1), (Counter{2, 2}));
}

TEST(CountersInSharedMemory, AreRefusedBehindASymbolicLink) {
   SegmentName const name;
   SegmentName const target("target");
   { Writer(target, 1).set(1, 1, 1); }
   ASSERT_EQ(symlink(target.path().c_str(), name.path().c_str()), 0);
   Errors const errors;
   Agent const agent(name);
   EXPECT_EQ(agent.read(1), Counter{});
   EXPECT_EQ(agent.read(1), Counter{});
   std::string const text = "counter segment " + name.text() + ": a symbolic link";
   EXPECT_EQ(errors.texts(), Lines{text}) << "once, not at every reading";
   EXPECT_EQ(agent.table().status().problem, text);

   name.remove();
   { Writer(name, 1).set(1, 2, 2); }
   EXPECT_EQ(agent.read(1), (Counter{2, 2}));
   EXPECT_EQ(agent.table().status().problem, "");

   name.remove();
   ASSERT_EQ(symlink(target.path().c_str(), name.path().c_str()), 0);
   EXPECT_EQ(agent.read(1), Counter{}) << "the link took the segment's place";
   EXPECT_EQ(errors.texts(), (Lines{text, text}));
}

TEST(CountersInSharedMemory, AreRefusedWhenTheyBelongToAnotherUser) {
   SegmentName const name;
   { Writer(name, 1).set(1, 1, 1); }
   uid_t const us = geteuid();
   Errors const errors;
   Agent const agent(Agent::Options{.name = name.text(), .owner = us + 1});
   EXPECT_EQ(agent.read(1), Counter{});
   EXPECT_EQ(errors.texts(),
             Lines{fmt::format("counter segment {}: belongs to user {}, not to user {}", name.text(), us, us + 1)});
   EXPECT_EQ(Agent(Agent::Options{.name = name.text(), .owner = us}).read(1), (Counter{1, 1}));
   EXPECT_EQ(Agent(name).read(1), (Counter{1, 1}));
}

TEST(CountersInSharedMemory, AreRefusedWhenTheyBecomeAnotherUsers) {
   if (geteuid() != 0) GTEST_SKIP() << "only root gives files away";
   SegmentName const name;
   { Writer(name, 1).set(1, 1, 1); }
   Errors const errors;
   Agent const agent(name);
   EXPECT_EQ(agent.read(1), (Counter{1, 1}));
   ASSERT_EQ(chown(name.path().c_str(), 12345, 12345), 0);
   EXPECT_EQ(agent.read(1), Counter{});
   EXPECT_EQ(errors.texts(), Lines{"counter segment " + name.text() + ": belongs to user 12345, not to user 0"});
   EXPECT_EQ(Agent(Agent::Options{.name = name.text(), .owner = 12345}).read(1), (Counter{1, 1}));
}

TEST(CountersInSharedMemory, AreRefusedWhereThereIsNoMemory) {
   SegmentName const name;
   Errors const errors;
   Agent const agent(name);
   ASSERT_EQ(mkfifo(name.path().c_str(), 0644), 0);
   EXPECT_EQ(agent.read(1), Counter{}) << "nobody ever writes to this pipe";
   ASSERT_EQ(unlink(name.path().c_str()), 0);
   EXPECT_EQ(agent.read(1), Counter{});
   ASSERT_EQ(mkdir(name.path().c_str(), 0755), 0);
   EXPECT_EQ(agent.read(1), Counter{});
   ASSERT_EQ(rmdir(name.path().c_str()), 0);
   std::string const text = "counter segment " + name.text() + ": not a shared memory segment";
   EXPECT_EQ(errors.texts(), (Lines{text, text}));
}

TEST(CountersInSharedMemory, TellTheirStatus) {
   SegmentName const name;
   Agent const agent(name);
   auto const none = agent.table().status();
   EXPECT_FALSE(none.attached);
   EXPECT_EQ(none.attachments, 0U);

   Writer writer(name, 10);
   writer.set(1, 1, 1);
   writer.set(2, 1, 1);
   auto const status = agent.table().status();
   EXPECT_TRUE(status.attached);
   EXPECT_EQ(status.instance, RawFile(name).get<std::uint64_t>(offsetof(tallies_header, instance)));
   EXPECT_EQ(status.capacity, 10U);
   EXPECT_EQ(status.tunnels, 2U);
   EXPECT_EQ(status.problem, "");
   EXPECT_EQ(agent.damage(), 0U);
}

}  // namespace

}  // namespace Tallies
