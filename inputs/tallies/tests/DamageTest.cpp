// SPDX-License-Identifier: MIT
// A damaged segment is reported once and reads as no traffic; it never harms the agent.
#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "inputs/tallies/tests/TestSegment.h"
#include "tests/support/TraceCapture.h"

namespace Tallies {

namespace {

using testing::AnyOf;
using TestSupport::TraceCapture;
using Lines = std::vector<std::string>;

constexpr std::uint32_t kTunnels = 12;

Counter expected(std::uint32_t index) { return {index, index * 1000UL}; }

// A segment with some counters, each of which was updated a few times, that no writer holds any more.
class DamagedCounters : public testing::Test {
 protected:
   void SetUp() override { fill(64); }

   void fill(std::uint32_t capacity) {
      Writer writer(name, capacity, true);
      for (int update = 0; update < 4; ++update) {
         for (std::uint32_t index = 1; index <= kTunnels; ++index) {
            writer.set(index, expected(index).packets, expected(index).bytes);
         }
      }
      slots = tallies_slots(capacity);
   }

   // Where the entry of a tunnel begins.
   std::size_t entryOf(std::uint32_t index) const {
      auto const segment = Segment::open(name.text(), {});
      for (std::uint32_t slot = 0; slot < slots; ++slot) {
         if (segment->entry(slot, slots).key == tunnelValue(index)) return tallies_segment_size(slot);
      }
      ADD_FAILURE() << "no entry of tunnel " << index;
      return 0;
   }

   Lines texts(std::string const& what) const { return {"counter segment " + name.text() + ": " + what}; }

   SegmentName const name;
   std::uint32_t slots = 0;
   Agent const agent{name};
   TraceCapture errors{"Tallies", Trel::kErrorLevel};
};

TEST_F(DamagedCounters, ReadAsZeroOrAsTheyAreWhicheverByteIsOverwritten) {
   RawFile const file(name);
   auto const octets = file.all();
   std::uint64_t reported = 0;
   for (std::size_t at = 0; at < octets.size(); ++at) {
      std::uint8_t const was = octets[at];
      for (std::uint8_t const put : {std::uint8_t{0}, std::uint8_t{0xff}, static_cast<std::uint8_t>(~was)}) {
         if (put == was) continue;
         file.put(at, put);
         for (std::uint32_t index = 1; index <= kTunnels; ++index) {
            Counter const counter = agent.read(index);
            if (counter == expected(index)) continue;
            ASSERT_EQ(counter, Counter{}) << "tunnel " << index << ", octet " << at << " set to " << int{put};
            ++reported;
         }
         // What belongs to the header, the rows see all of them.
         if (at < TALLIES_HEADER_SIZE) {
            ASSERT_EQ(agent.read(1), Counter{}) << "octet " << at << " set to " << int{put};
            ++reported;
         }
      }
      file.put(at, was);
   }
   EXPECT_EQ(agent.damage(), reported) << "a row read 0 and nobody was told";
   EXPECT_LE(errors.lines().size(), kDamageTexts.size()) << "the log was flooded";
   for (std::uint32_t index = 1; index <= kTunnels; ++index) EXPECT_EQ(agent.read(index), expected(index));
}

TEST_F(DamagedCounters, ReadAsZeroWhereverTheSegmentIsCut) {
   fill(1024);
   RawFile const file(name);
   auto const octets = file.all();
   std::vector<std::size_t> sizes{0, 1, 7, 8, 63, 64, 65, 127, 128, 4095, 4097, 5000, 65537};
   for (std::size_t size = 4096; size < octets.size(); size += 4096) sizes.push_back(size);
   for (std::size_t const size : {octets.size() - 1, octets.size() + 1, octets.size() * 2}) sizes.push_back(size);
   for (std::size_t const size : sizes) {
      file.resize(size);
      for (std::uint32_t index = 1; index <= kTunnels; ++index) ASSERT_EQ(agent.read(index), Counter{}) << size;
      file.resize(octets.size());
      file.write(0, octets);
      ASSERT_EQ(agent.read(1), expected(1)) << "whole again, after " << size << " octets";
   }
   EXPECT_EQ(agent.damage(Damage::size), kTunnels * sizes.size());
   EXPECT_EQ(agent.damage(), kTunnels * sizes.size());
   EXPECT_EQ(errors.texts(), texts("ends at octet 0"));
}

TEST_F(DamagedCounters, AreNoDangerWhileTheSegmentIsCutAgainAndAgain) {
   RawFile const file(name);
   auto const octets = file.all();
   std::atomic<bool> done = false;
   std::thread vandal([&] {
      for (int i = 0; i < 3000; ++i) {
         file.resize(static_cast<std::size_t>(i * 61) % octets.size());
         file.resize(octets.size());
         file.write(0, octets);
      }
      done = true;
   });
   while (!done) {
      for (std::uint32_t index = 1; index <= kTunnels; ++index) {
         Counter const counter = agent.read(index);
         EXPECT_THAT(counter, AnyOf(Counter{}, expected(index)));
      }
   }
   vandal.join();
   EXPECT_EQ(agent.read(1), expected(1));
}

TEST_F(DamagedCounters, DoNotKeepTheAgentWhileAnEntryNeverStandsStill) {
   RawFile const file(name);
   auto const at = entryOf(1);
   std::atomic<bool> done = false;
   std::thread vandal([&] {
      for (std::uint64_t i = 0; !done; ++i) file.put(at + offsetof(tallies_entry, sequence), i);
   });
   for (int i = 0; i < 50; ++i) {
      Counter const counter = agent.read(1);
      EXPECT_THAT(counter, AnyOf(Counter{}, expected(1)));
      EXPECT_EQ(agent.read(2), expected(2));
   }
   done = true;
   vandal.join();
}

TEST_F(DamagedCounters, DoNotKeepTheAgentWhereAllIsNoise) {
   RawFile const file(name);
   auto octets = file.all();
   for (std::size_t i = TALLIES_HEADER_SIZE; i < octets.size(); ++i) octets[i] = static_cast<std::uint8_t>(i * 37);
   file.write(0, octets);
   for (std::uint32_t index = 1; index <= kTunnels; ++index) EXPECT_EQ(agent.read(index), Counter{});
   EXPECT_EQ(agent.damage(), kTunnels);
}

TEST_F(DamagedCounters, AreReportedOncePerKindUntilTheSegmentIsReplaced) {
   auto const spoil = [&] { RawFile(name).put<std::uint64_t>(0, 0); };
   spoil();
   for (int i = 0; i < 3; ++i) EXPECT_EQ(agent.read(1), Counter{});
   EXPECT_EQ(errors.texts(), texts("header: wrong magic number"));
   EXPECT_EQ(agent.damage(Damage::magic), 3U) << "each one is counted";

   fill(64);
   EXPECT_EQ(agent.read(1), expected(1));
   spoil();
   EXPECT_EQ(agent.read(1), Counter{});
   EXPECT_EQ(errors.count(texts("header: wrong magic number")[0]), 2) << "a new segment, a new line";
   EXPECT_EQ(agent.damage(Damage::magic), 4U);
}

TEST_F(DamagedCounters, SayWhatIsWrongWithTheHeader) {
   RawFile const file(name);
   auto const header = file.get<tallies_header>(0);
   auto const readWith = [&](tallies_header changed, bool withItsChecksum) {
      if (withItsChecksum) changed.check = tallies_header_check(&changed);
      file.put(0, changed);
      EXPECT_EQ(agent.read(1), Counter{});
      EXPECT_EQ(agent.read(1), Counter{});
      file.put(0, header);
      EXPECT_EQ(agent.read(1), expected(1));
      auto const lines = errors.texts();
      errors.clear();
      return lines;
   };
   auto changed = header;
   changed.magic = __builtin_bswap64(TALLIES_MAGIC);
   EXPECT_EQ(readWith(changed, true), texts("header: wrong magic number")) << "the other byte order";
   changed = header;
   changed.version = 2;
   EXPECT_EQ(readWith(changed, true), texts("header: wrong layout version"));
   changed = header;
   changed.capacity -= 1;
   EXPECT_EQ(readWith(changed, false), texts("header: wrong checksum"));
   changed = header;
   changed.slots = 3;
   EXPECT_EQ(readWith(changed, true), texts("header: wrong size"));
   changed = header;
   changed.capacity = TALLIES_LARGEST_CAPACITY + 1;
   EXPECT_EQ(readWith(changed, true), Lines{}) << "the second of its kind is only counted";
   changed = header;
   changed.entry_size = 0;
   EXPECT_EQ(readWith(changed, true), Lines{});
   EXPECT_EQ(agent.damage(Damage::size), 6U);
}

TEST_F(DamagedCounters, SayWhatIsWrongWithAnEntry) {
   RawFile const file(name);
   auto const at = entryOf(1);
   auto const slot = static_cast<std::uint32_t>(at / TALLIES_ENTRY_SIZE - 1);
   auto const entry = file.get<tallies_entry>(at);

   auto changed = entry;
   changed.records[entry.sequence & 1U].packets ^= 1;
   file.put(at, changed);
   EXPECT_EQ(agent.read(1), Counter{});
   EXPECT_EQ(errors.texts(), texts(fmt::format("entry {}: wrong checksum", slot)));
   EXPECT_EQ(agent.read(2), expected(2)) << "the others are as they were";

   file.put(at, entry);
   EXPECT_EQ(agent.read(1), expected(1));
}

// The tunnel's entry, whole, in a slot that no search for it comes by.
TEST_F(DamagedCounters, AreNotReadFromAnImpossiblePlace) {
   constexpr std::uint32_t many = 4096;
   fill(many / 2);
   RawFile const file(name);
   auto const home = tallies_home(tunnelValue(1), many);
   auto const wrong = (home + TALLIES_LONGEST_CHAIN) & (many - 1);
   tallies_entry entry{.key = tunnelValue(1), .sequence = 0, .records = {{.packets = 9, .bytes = 9, .check = 0}, {}}};
   entry.records[0].check = tallies_record_check(entry.key, wrong, 0, 9, 9);
   EXPECT_EQ(tallies_entry_fault(&entry, wrong, many), TALLIES_WRONG_PLACE);
   EXPECT_EQ(tallies_entry_fault(&entry, wrong - 1, many), TALLIES_WRONG_CHECK) << "possible, but moved";

   file.put(tallies_segment_size(wrong), entry);
   std::uint32_t passing = 1;
   while (tallies_home(tunnelValue(passing), many) != wrong) ++passing;
   EXPECT_EQ(agent.read(passing), Counter{});
   EXPECT_EQ(errors.texts(), texts(fmt::format("entry {}: in a slot that is not on the way of its key", wrong)));
   EXPECT_EQ(agent.damage(Damage::place), 1U);
}

// Half an update: what a writer leaves behind that is killed between any two stores.
TEST_F(DamagedCounters, AreNotThoseOfAWriterThatWasKilledAtWork) {
   RawFile const file(name);
   auto const at = entryOf(1);
   auto entry = file.get<tallies_entry>(at);
   entry.records[(entry.sequence + 1) & 1U] = {.packets = 99, .bytes = 0, .check = 0};
   file.put(at, entry);
   EXPECT_EQ(agent.read(1), expected(1)) << "the last whole counter";

   auto slot = tallies_home(tunnelValue(500), slots);
   auto const placeOf = [](std::uint32_t number) { return tallies_segment_size(number); };
   while (file.get<tallies_entry>(placeOf(slot)).key != TALLIES_EMPTY) slot = (slot + 1) % slots;
   auto empty = file.get<tallies_entry>(placeOf(slot));
   empty.records[0] = {.packets = 1, .bytes = 1, .check = tallies_record_check(tunnelValue(500), slot, 0, 1, 1)};
   file.put(placeOf(slot), empty);
   EXPECT_EQ(agent.read(500), Counter{}) << "not in the table yet";
   EXPECT_EQ(agent.damage(), 0U);

   Writer writer(name);
   writer.set(500, 5, 5);
   writer.add(1, 1, 1000);
   EXPECT_EQ(agent.read(500), (Counter{5, 5}));
   EXPECT_EQ(agent.read(1), (Counter{2, 2000}));
}

}  // namespace

}  // namespace Tallies
