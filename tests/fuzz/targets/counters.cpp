// SPDX-License-Identifier: MIT
// Counter segments of any content. So that more than the first check is reached, an input can ask for its checksums to
// be made right.
#include <fcntl.h>
#include <fmt/format.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "inputs/tallies/ShmCounterTable.h"
#include "substrate/trel/Trace.h"
#include "tests/fuzz/targets/Fuzz.h"

namespace {

using Fuzz::check;
using namespace Tallies;

/// The segment that all inputs are written to, one after the other.
class SegmentFile {
 public:
   SegmentFile() : name_(fmt::format("mplste-fuzz-{}", getpid())) {
      fd_ = open(path().c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
      check(fd_ >= 0, "shared memory can be made");
   }
   ~SegmentFile() {
      close(fd_);
      unlink(path().c_str());
   }
   SegmentFile(SegmentFile const&) = delete;
   SegmentFile& operator=(SegmentFile const&) = delete;

   std::string const& name() const { return name_; }
   void contentIs(std::string_view octets) const {
      check(ftruncate(fd_, static_cast<off_t>(octets.size())) == 0 &&
                  pwrite(fd_, octets.data(), octets.size(), 0) == static_cast<ssize_t>(octets.size()),
            "shared memory can be written");
   }

 private:
   std::string path() const { return TALLIES_FOLDER + name_; }
   std::string name_;
   int fd_;
};

/// How much of an input is made right.
enum Repair : std::uint8_t { kHeader = 1, kRecords = 2, kPlaces = 4 };

tallies_header soundHeader(std::uint32_t capacity) {
   tallies_header header{};
   header.magic = TALLIES_MAGIC;
   header.version = TALLIES_LAYOUT_VERSION;
   header.header_size = TALLIES_HEADER_SIZE;
   header.entry_size = TALLIES_ENTRY_SIZE;
   header.capacity = capacity;
   header.slots = tallies_slots(capacity);
   header.instance = capacity;
   header.check = tallies_header_check(&header);
   return header;
}

tallies_entry entryAt(std::string const& octets, std::uint32_t slot) {
   tallies_entry entry{};
   std::memcpy(&entry, octets.data() + TALLIES_HEADER_SIZE + std::size_t{slot} * TALLIES_ENTRY_SIZE, sizeof entry);
   return entry;
}

/// Makes `octets` the segment of a table that holds them, as far as `repair` says.
void mend(std::string& octets, std::uint8_t repair, std::uint32_t capacity) {
   if ((repair & kHeader) == 0) return;
   tallies_header const header = soundHeader(capacity);
   octets.resize(tallies_segment_size(header.slots));
   std::memcpy(octets.data(), &header, sizeof header);
   if ((repair & kRecords) == 0) return;
   for (std::uint32_t slot = 0; slot < header.slots; ++slot) {
      tallies_entry entry = entryAt(octets, slot);
      if (!tallies_is_tunnel(entry.key)) continue;
      // Small keys until one has its home here.
      if ((repair & kPlaces) != 0) {
         while (tallies_home(entry.key, header.slots) != slot || !tallies_is_tunnel(entry.key)) ++entry.key;
      }
      tallies_record& record = entry.records[entry.sequence & 1U];
      record.check = tallies_record_check(entry.key, slot, entry.sequence, record.packets, record.bytes);
      std::memcpy(octets.data() + TALLIES_HEADER_SIZE + std::size_t{slot} * TALLIES_ENTRY_SIZE, &entry, sizeof entry);
   }
}

/// The counter of `key`, as a row asks for it.
std::optional<Counter> counterOf(ShmCounterTable const& table, std::uint64_t key) {
   CounterMap const* const map = table.counterMap();
   if (!map) return {};
   try {
      CounterMap::Entry const* const entry = map->find(key);
      if (!entry) return {};
      return entry->copy();
   } catch (Trel::CorruptionDetectedException const& damage) {
      map->corruptionHandler(damage.what());
      return {};
   }
}

Segment::Contents contentsOf(SegmentFile const& file) {
   auto const segment = Segment::open(file.name(), {});
   check(segment.has_value(), "the segment is there");
   try {
      return segment->contents();
   } catch (SegmentDamage const&) {
      return {};
   }
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   static SegmentFile const file;
   static bool const quiet = (Trel::traceSinkIs([](Trel::TraceRecord const&) {}), true);
   static ShmCounterTable const table("counters", {.name = file.name()});
   (void)quiet;
   FuzzedDataProvider input(data, size);
   auto const repair = input.ConsumeIntegral<std::uint8_t>();
   std::uint32_t const capacity = input.ConsumeIntegralInRange<std::uint32_t>(1, 32);
   std::string octets = input.ConsumeRemainingBytesAsString();
   mend(octets, repair, capacity);
   file.contentIs(octets);

   auto const contents = contentsOf(file);
   std::vector<std::uint64_t> keys{0, 1, TALLIES_REMOVED};
   for (std::size_t at = TALLIES_HEADER_SIZE; at + sizeof(tallies_entry) <= octets.size();
        at += sizeof(tallies_entry)) {
      std::uint64_t key = 0;
      std::memcpy(&key, octets.data() + at, sizeof key);
      keys.push_back(key);
   }
   for (std::uint64_t const key : keys) {
      auto const counter = counterOf(table, key);
      if (!counter) continue;
      check(std::ranges::any_of(contents.lines,
                                [&](auto const& line) { return line.tunnelValue == key && line.counter == *counter; }),
            "what is found for a tunnel is in the table");
   }
   if ((repair & kHeader) != 0) {
      check(table.status().tunnels == contents.lines.size(), "the status counts what is in the table");
   }
   return 0;
}
