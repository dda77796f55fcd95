// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <span>
#include <string>
#include <vector>

#include "inputs/tallies/ShmCounterTable.h"
#include "inputs/tallies/writer/tallies_writer.h"
#include "inputs/tunnel/TunnelId.h"

namespace Tallies {

inline std::uint64_t tunnelValue(std::uint32_t index) {
   using Tunnel::TunnelTable::TunnelId;
   return TunnelId::convertToTunnelValue(TunnelId::Type::rsvpTunnel, index);
}

/// A name of shared memory for one test; whatever has it at the end is removed.
class SegmentName {
 public:
   explicit SegmentName(std::string_view what = "a") : name_(fmt::format("mplste-test-{}-{}", getpid(), what)) {
      remove();
   }
   ~SegmentName() { remove(); }
   SegmentName(SegmentName const&) = delete;
   SegmentName& operator=(SegmentName const&) = delete;

   std::string const& text() const { return name_; }
   char const* c_str() const { return name_.c_str(); }
   std::string path() const { return TALLIES_FOLDER + name_; }
   void remove() const { unlink(path().c_str()); }

 private:
   std::string name_;
};

/// The octets of a segment's file, to be read and spoilt behind everybody's back.
class RawFile {
 public:
   explicit RawFile(SegmentName const& name) : fd_(open(name.path().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644)) {
      EXPECT_GE(fd_, 0);
   }
   ~RawFile() { close(fd_); }
   RawFile(RawFile const&) = delete;
   RawFile& operator=(RawFile const&) = delete;

   std::vector<std::uint8_t> all() const {
      struct stat file {};
      EXPECT_EQ(fstat(fd_, &file), 0);
      std::vector<std::uint8_t> octets(static_cast<std::size_t>(file.st_size));
      EXPECT_EQ(pread(fd_, octets.data(), octets.size(), 0), file.st_size);
      return octets;
   }
   void write(std::size_t offset, std::span<std::uint8_t const> octets) const {
      EXPECT_EQ(pwrite(fd_, octets.data(), octets.size(), static_cast<off_t>(offset)),
                static_cast<ssize_t>(octets.size()));
   }
   template <class T>
   void put(std::size_t offset, T const& value) const {
      write(offset, {reinterpret_cast<std::uint8_t const*>(&value), sizeof value});
   }
   template <class T>
   T get(std::size_t offset) const {
      T value{};
      EXPECT_EQ(pread(fd_, &value, sizeof value, static_cast<off_t>(offset)), static_cast<ssize_t>(sizeof value));
      return value;
   }
   void resize(std::size_t size) const { EXPECT_EQ(ftruncate(fd_, static_cast<off_t>(size)), 0); }

 private:
   int fd_;
};

/// The writer of a segment, closed at the end.
class Writer {
 public:
   explicit Writer(SegmentName const& name, std::uint32_t capacity = 0, bool replace = false) {
      tallies_options const options{.capacity = capacity, .mode = 0, .replace = replace};
      EXPECT_EQ(tallies_writer_open(name.c_str(), &options, &writer_), TALLIES_OK);
   }
   ~Writer() { tallies_writer_close(writer_); }
   Writer(Writer const&) = delete;
   Writer& operator=(Writer const&) = delete;

   operator tallies_writer*() const { return writer_; }
   void set(std::uint32_t index, std::uint64_t packets, std::uint64_t bytes) {
      EXPECT_EQ(tallies_writer_set(writer_, tunnelValue(index), packets, bytes), TALLIES_OK);
   }
   void add(std::uint32_t index, std::uint64_t packets, std::uint64_t bytes) {
      EXPECT_EQ(tallies_writer_add(writer_, tunnelValue(index), packets, bytes), TALLIES_OK);
   }

 private:
   tallies_writer* writer_ = nullptr;
};

inline Counter readCounter(CounterTable const& table, std::uint64_t tunnelValue) {
   CounterMap const* const map = table.counterMap();
   if (!map) return {};
   try {
      auto const* const entry = map->find(tunnelValue);
      if (!entry) return {};
      Counter copy = entry->copy();
      for (Counter again = entry->copy(); !(again == copy); again = entry->copy()) copy = again;
      return copy;
   } catch (Trel::CorruptionDetectedException const& corruption) {
      map->corruptionHandler(corruption.what());
      return {};
   }
}

/// The agent's counters as a row of mplsTunnelPerfTable reads them.
class Agent {
 public:
   using Options = ShmCounterTable::Options;

   /// By default the name of the segment is looked up at each reading.
   explicit Agent(SegmentName const& name) : Agent(Options{.name = name.text(), .lookAgain = std::chrono::hours(0)}) {}
   explicit Agent(Options options) : table_(Vel::makePtr<ShmCounterTable>("counters", std::move(options))) {}

   /// Two copies in a row that are equal; 0 when there is damage, which the map is told.
   Counter read(std::uint32_t index) const { return readCounter(*table_, tunnelValue(index)); }

   ShmCounterTable const& table() const { return *table_; }
   std::uint64_t damage(Damage kind) const { return table_->status().damage[static_cast<std::size_t>(kind)]; }
   std::uint64_t damage() const {
      std::uint64_t all = 0;
      for (auto const count : table_->status().damage) all += count;
      return all;
   }

 private:
   Vel::Ptr<ShmCounterTable> table_;
};

inline void PrintTo(Counter const& counter, std::ostream* out) {
   *out << counter.packets << " packets, " << counter.bytes << " bytes";
}

}  // namespace Tallies
