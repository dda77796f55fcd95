// SPDX-License-Identifier: MIT
// What a forwarding process can rely on when it counts.
#include <sys/resource.h>
#include <sys/wait.h>

#include <csignal>
#include <limits>
#include <map>
#include <random>

#include "inputs/tallies/tests/TestSegment.h"

namespace Tallies {

namespace {

constexpr std::uint64_t kMax64 = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint64_t kMax32 = std::numeric_limits<std::uint32_t>::max();

using Counters = std::map<std::uint64_t, std::pair<std::uint64_t, std::uint64_t>>;

Counters countersOf(tallies_writer* writer) {
   Counters all;
   std::uint32_t cursor = 0;
   for (tallies_counter counter{}; tallies_writer_next(writer, &cursor, &counter) == TALLIES_OK;) {
      EXPECT_TRUE(all.try_emplace(counter.tunnel, counter.packets, counter.bytes).second);
   }
   return all;
}

// What readers find.
Counters publishedIn(SegmentName const& name) {
   Counters all;
   auto const contents = Segment::open(name.text(), {})->contents();
   EXPECT_TRUE(contents.damaged.empty());
   for (auto const& line : contents.lines) all[line.tunnelValue] = {line.counter.packets, line.counter.bytes};
   return all;
}

tallies_status open(SegmentName const& name, tallies_options options = {}) {
   tallies_writer* writer = nullptr;
   tallies_status const status = tallies_writer_open(name.c_str(), &options, &writer);
   EXPECT_EQ(writer != nullptr, status == TALLIES_OK);
   tallies_writer_close(writer);
   return status;
}

tallies_options withCapacity(std::uint32_t capacity) { return {.capacity = capacity, .mode = 0, .replace = 0}; }

constexpr tallies_options kReplace{.capacity = 0, .mode = 0, .replace = 1};

struct stat fileOf(SegmentName const& name) {
   struct stat file {};
   EXPECT_EQ(lstat(name.path().c_str(), &file), 0);
   return file;
}

TEST(CounterWriter, KeysTunnelsAsTheForwardingPlaneDoes) {
   using Tunnel::TunnelTable::TunnelId;
   EXPECT_EQ(tallies_tunnel_value(TALLIES_TUNNEL, 12), TunnelId::convertToTunnelValue(TunnelId::Type::rsvpTunnel, 12));
   EXPECT_EQ(tallies_tunnel_value(TALLIES_SUBTUNNEL, kMax32),
             TunnelId::convertToTunnelValue(TunnelId::Type::rsvpSubTunnel, kMax32));
}

TEST(CounterWriter, SetsAddsAndRemoves) {
   SegmentName const name;
   Writer writer(name, 4);
   writer.set(1, 10, 10'000);
   writer.add(1, 5, 5'000);
   writer.add(2, 7, 7'000);
   std::uint64_t packets = 0;
   std::uint64_t bytes = 0;
   EXPECT_EQ(tallies_writer_find(writer, tunnelValue(1), &packets, &bytes), TALLIES_OK);
   EXPECT_EQ(std::pair(packets, bytes), std::pair(15UL, 15'000UL));
   EXPECT_EQ(countersOf(writer), (Counters{{tunnelValue(1), {15, 15'000}}, {tunnelValue(2), {7, 7'000}}}));
   EXPECT_EQ(publishedIn(name), countersOf(writer));
   EXPECT_EQ(tallies_writer_size(writer), 2U);

   EXPECT_EQ(tallies_writer_remove(writer, tunnelValue(1)), TALLIES_OK);
   EXPECT_EQ(tallies_writer_remove(writer, tunnelValue(1)), TALLIES_ABSENT);
   EXPECT_EQ(tallies_writer_find(writer, tunnelValue(1), nullptr, nullptr), TALLIES_ABSENT);
   EXPECT_EQ(publishedIn(name), (Counters{{tunnelValue(2), {7, 7'000}}}));
}

TEST(CounterWriter, CountsAcrossTheLimitsOfCounter32AndCounter64) {
   SegmentName const name;
   Agent const agent(name);
   Writer writer(name, 1);
   writer.set(1, kMax32, kMax32 - 1);
   EXPECT_EQ(agent.read(1), (Counter{kMax32, kMax32 - 1}));
   writer.add(1, 1, 3);
   EXPECT_EQ(agent.read(1), (Counter{kMax32 + 1, kMax32 + 2}));
   writer.set(1, kMax64, kMax64 - 1);
   EXPECT_EQ(agent.read(1), (Counter{kMax64, kMax64 - 1}));
   writer.add(1, 1, 3);
   EXPECT_EQ(agent.read(1), (Counter{0, 1})) << "a Counter64 wraps";
}

TEST(CounterWriter, TakesAsManyTunnelsAsItsCapacityAndRefusesTheNext) {
   for (std::uint32_t const capacity : {1U, 8U, 100U}) {
      SegmentName const name;
      Writer writer(name, capacity);
      EXPECT_EQ(tallies_writer_capacity(writer), capacity);
      for (std::uint32_t index = 1; index <= capacity; ++index) writer.set(index, index, 1);
      auto const before = countersOf(writer);

      EXPECT_EQ(tallies_writer_set(writer, tunnelValue(capacity + 1), 1, 1), TALLIES_FULL);
      EXPECT_EQ(tallies_writer_add(writer, tunnelValue(capacity + 1), 1, 1), TALLIES_FULL);
      EXPECT_STREQ(tallies_status_text(TALLIES_FULL), "the table is full");
      EXPECT_EQ(countersOf(writer), before);
      EXPECT_EQ(publishedIn(name), before);

      writer.add(1, 1, 1);
      EXPECT_EQ(tallies_writer_remove(writer, tunnelValue(1)), TALLIES_OK);
      writer.set(capacity + 1, 1, 1);
      EXPECT_EQ(tallies_writer_size(writer), capacity);
   }
}

TEST(CounterWriter, KeepsItsTableThroughEndlessComingAndGoing) {
   SegmentName const name;
   Writer writer(name, 40);
   Agent const agent(name);
   Counters expected;
   std::mt19937 random(1);
   for (int step = 0; step < 100'000; ++step) {
      std::uint32_t const index = 1 + random() % 60;
      std::uint64_t const tunnel = tunnelValue(index);
      if (random() % 2) {
         auto const status = tallies_writer_remove(writer, tunnel);
         ASSERT_EQ(status, expected.erase(tunnel) ? TALLIES_OK : TALLIES_ABSENT);
      } else {
         auto const status = tallies_writer_add(writer, tunnel, 1, 1000);
         bool const room = expected.contains(tunnel) || expected.size() < 40;
         ASSERT_EQ(status, room ? TALLIES_OK : TALLIES_FULL);
         if (room) {
            expected[tunnel].first += 1;
            expected[tunnel].second += 1000;
         }
      }
      ASSERT_EQ(tallies_writer_size(writer), expected.size());
      if (step % 10 == 0) {
         auto const at = expected.find(tunnel);
         ASSERT_EQ(agent.read(index),
                   at == expected.end() ? Counter{} : (Counter{at->second.first, at->second.second}));
      }
   }
   EXPECT_EQ(countersOf(writer), expected);
   EXPECT_EQ(publishedIn(name), expected);
}

TEST(CounterWriter, ResumesWithTheCountersOfItsPredecessor) {
   SegmentName const name;
   {
      Writer writer(name, 8);
      for (std::uint32_t index = 1; index <= 8; ++index) writer.set(index, index, index * 1000);
      tallies_writer_remove(writer, tunnelValue(3));
   }
   Agent const agent(name);
   EXPECT_EQ(agent.read(2), (Counter{2, 2000})) << "the counters outlive their writer";
   {
      Writer writer(name, 8);
      EXPECT_EQ(tallies_writer_size(writer), 7U);
      writer.add(2, 1, 1000);
      EXPECT_EQ(agent.read(2), (Counter{3, 3000}));
   }
   Writer const writer(name);
   EXPECT_EQ(tallies_writer_capacity(writer), 8U) << "without a wish, the segment's own capacity";
   EXPECT_EQ(agent.table().status().attachments, 1U);
}

TEST(CounterWriter, ReplacesWhenItIsToldTo) {
   SegmentName const name;
   Agent const agent(name);
   { Writer(name, 8).set(1, 1, 1000); }
   EXPECT_EQ(open(name, withCapacity(9)), TALLIES_MISMATCH);
   EXPECT_EQ(agent.read(1), (Counter{1, 1000})) << "a refused writer changes nothing";
   Writer writer(name, 9, true);
   EXPECT_EQ(agent.read(1), Counter{});
   writer.set(1, 2, 2000);
   EXPECT_EQ(agent.read(1), (Counter{2, 2000}));
}

TEST(CounterWriter, DoesNotResumeADamagedSegment) {
   SegmentName const name;
   { Writer(name, 8).set(1, 1, 1000); }
   std::vector<std::uint8_t> const whole = RawFile(name).all();
   auto const refused = [&](auto const& spoil) {
      {
         RawFile const file(name);
         file.resize(whole.size());
         file.write(0, whole);
         EXPECT_EQ(open(name), TALLIES_OK);
         spoil(file);
      }
      return open(name) == TALLIES_DAMAGED;
   };
   EXPECT_TRUE(refused([](RawFile const& file) { file.resize(0); }));
   EXPECT_TRUE(refused([](RawFile const& file) { file.resize(100); }));
   EXPECT_TRUE(refused([](RawFile const& file) { file.resize(1 << 20); }));
   EXPECT_TRUE(refused([](RawFile const& file) { file.put<std::uint8_t>(0, 0); }));
   EXPECT_TRUE(refused([](RawFile const& file) { file.put<std::uint32_t>(offsetof(tallies_header, capacity), 7); }));
   auto const slot = tallies_home(tunnelValue(1), 16);
   auto const at = tallies_segment_size(slot);
   EXPECT_TRUE(refused([&](RawFile const& file) { file.put<std::uint64_t>(at, tunnelValue(2)); }));
   EXPECT_TRUE(refused([&](RawFile const& file) { file.put<std::uint8_t>(at + 16, 0xff); }));
   EXPECT_TRUE(refused([&](RawFile const& file) {  // The same tunnel twice.
      auto copy = file.get<tallies_entry>(at);
      auto const next = (slot + 1) % 16;
      copy.records[0].check = tallies_record_check(copy.key, next, 0, 1, 1000);
      file.put(tallies_segment_size(next), copy);
   }));
   EXPECT_EQ(open(name, kReplace), TALLIES_OK);
   EXPECT_TRUE(publishedIn(name).empty());
}

TEST(CounterWriter, IsTheOnlyOne) {
   SegmentName const name;
   {
      Writer const writer(name, 1);
      EXPECT_EQ(open(name), TALLIES_BUSY);
      EXPECT_EQ(open(name, kReplace), TALLIES_BUSY);
      EXPECT_EQ(tallies_unlink(name.c_str()), TALLIES_BUSY);
   }
   EXPECT_EQ(open(name), TALLIES_OK);
}

TEST(CounterWriter, StaysTheOnlyOneWhenAChildClosesItsCopy) {
   SegmentName const name;
   Writer const writer(name, 1);
   pid_t const child = fork();
   if (child == 0) {
      tallies_writer_close(writer);
      _exit(0);
   }
   ASSERT_GT(child, 0);
   int result = -1;
   ASSERT_EQ(waitpid(child, &result, 0), child);
   EXPECT_EQ(result, 0);
   EXPECT_EQ(open(name), TALLIES_BUSY);
}

TEST(CounterWriter, KnowsWhenNobodyCanReachItAnyMore) {
   SegmentName const name;
   Writer const writer(name, 1);
   EXPECT_EQ(tallies_writer_check(writer), TALLIES_OK);
   name.remove();
   EXPECT_EQ(tallies_writer_check(writer), TALLIES_ABSENT);
   Writer const next(name, 1);
   EXPECT_EQ(tallies_writer_check(writer), TALLIES_ABSENT);
   EXPECT_EQ(tallies_writer_check(next), TALLIES_OK);
}

TEST(CounterWriter, RefusesWhatIsNoSegmentOfItsUser) {
   SegmentName const name;
   SegmentName const target("target");
   RawFile const file(target);
   ASSERT_EQ(symlink(target.path().c_str(), name.path().c_str()), 0);
   EXPECT_EQ(open(name), TALLIES_REFUSED);
   EXPECT_EQ(open(name, kReplace), TALLIES_REFUSED);
   EXPECT_EQ(tallies_unlink(name.c_str()), TALLIES_REFUSED);
   EXPECT_TRUE(S_ISLNK(fileOf(name).st_mode));
   EXPECT_TRUE(file.all().empty()) << "something was written through the link";

   name.remove();
   ASSERT_EQ(mkfifo(name.path().c_str(), 0644), 0);
   EXPECT_EQ(open(name), TALLIES_REFUSED);

   if (geteuid() == 0) {
      name.remove();
      { Writer const writer(name, 1); }
      ASSERT_EQ(chown(name.path().c_str(), 12345, 12345), 0);
      EXPECT_EQ(open(name), TALLIES_REFUSED);
      EXPECT_EQ(open(name, kReplace), TALLIES_REFUSED);
   }
}

TEST(CounterWriter, RefusesImpossibleArguments) {
   SegmentName const name;
   for (char const* const wrong : {"", "/", "//a", "a/b", "../a", ".", "..", "/."}) {
      tallies_writer* writer = nullptr;
      EXPECT_EQ(tallies_writer_open(wrong, nullptr, &writer), TALLIES_INVALID) << wrong;
      EXPECT_EQ(writer, nullptr);
   }
   tallies_writer* none = nullptr;
   EXPECT_EQ(tallies_writer_open(nullptr, nullptr, &none), TALLIES_INVALID);
   EXPECT_EQ(tallies_writer_open(std::string(201, 'a').c_str(), nullptr, &none), TALLIES_INVALID);
   EXPECT_EQ(tallies_writer_open(name.c_str(), nullptr, nullptr), TALLIES_INVALID);
   EXPECT_EQ(open(name, withCapacity(TALLIES_LARGEST_CAPACITY + 1)), TALLIES_INVALID);
   EXPECT_EQ(open(name, {.capacity = 1, .mode = 04755, .replace = 0}), TALLIES_INVALID);
   EXPECT_EQ(access(name.path().c_str(), F_OK), -1);

   Writer const writer(name, 1);
   EXPECT_EQ(tallies_writer_set(writer, 0, 1, 1), TALLIES_INVALID);
   EXPECT_EQ(tallies_writer_add(writer, kMax64, 1, 1), TALLIES_INVALID);
   EXPECT_EQ(tallies_writer_remove(writer, kMax64), TALLIES_ABSENT);
   EXPECT_EQ(tallies_writer_find(writer, 0, nullptr, nullptr), TALLIES_ABSENT);
}

TEST(CounterWriter, MakesSegmentsForEverybodyToReadAndItselfToWrite) {
   SegmentName const name;
   mode_t const before = umask(077);
   { Writer const writer(name); }
   EXPECT_EQ(fileOf(name).st_mode & 07777U, 0644U);
   EXPECT_EQ(fileOf(name).st_size, static_cast<off_t>(tallies_segment_size(131072)));
   EXPECT_EQ(open(name, {.capacity = 1, .mode = 0640, .replace = 1}), TALLIES_OK);
   EXPECT_EQ(fileOf(name).st_mode & 07777U, 0640U);
   umask(before);
}

TEST(CounterWriter, SaysWhenThereIsNoRoomForTheSegment) {
   SegmentName const name;
   rlimit before{};
   ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
   rlimit const small{.rlim_cur = 4096, .rlim_max = before.rlim_max};
   auto* const handler = std::signal(SIGXFSZ, SIG_IGN);
   ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
   errno = 0;
   auto const status = open(name, withCapacity(1000));
   int const reason = errno;
   ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
   std::signal(SIGXFSZ, handler);
   EXPECT_EQ(status, TALLIES_SYSTEM);
   EXPECT_EQ(reason, EFBIG);
   EXPECT_EQ(access(name.path().c_str(), F_OK), -1) << "half a segment was left";
}

TEST(CounterWriter, RemovesTheSegment) {
   SegmentName const name;
   EXPECT_EQ(tallies_unlink(name.c_str()), TALLIES_ABSENT);
   EXPECT_EQ(tallies_unlink("a/b"), TALLIES_INVALID);
   { Writer const writer(name, 1); }
   EXPECT_EQ(tallies_unlink(("/" + name.text()).c_str()), TALLIES_OK);
   EXPECT_EQ(access(name.path().c_str(), F_OK), -1);
}

}  // namespace

}  // namespace Tallies
