// SPDX-License-Identifier: MIT
#include "inputs/tallies/Segment.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

namespace Tallies {

namespace {

// An unsound copy that comes out the same so many times running is no copy of a change in progress.
constexpr unsigned kSameCopies = 8;
// How many copies to make of an entry that changes all the time.
constexpr unsigned kMostCopies = 1000;

// How many entries to read at once where all are wanted.
constexpr std::uint32_t kBlock = 1024;

Damage damageOf(tallies_fault fault) {
   switch (fault) {
      case TALLIES_WRONG_MAGIC:
         return Damage::magic;
      case TALLIES_WRONG_VERSION:
         return Damage::version;
      case TALLIES_WRONG_SIZE:
         return Damage::size;
      case TALLIES_WRONG_PLACE:
         return Damage::place;
      case TALLIES_WRONG_CHECK:
      case TALLIES_SOUND:
         break;
   }
   return Damage::checksum;
}

[[noreturn]] void refuse(std::string_view name, std::string_view why) {
   throw SegmentRefused(fmt::format("counter segment {}: {}", name, why));
}

// Throws SegmentRefused unless `file` is a segment that may be read.
void checkFile(std::string_view name, struct stat const& file, std::optional<uid_t> owner) {
   if (!S_ISREG(file.st_mode)) refuse(name, "not a shared memory segment");
   if (owner ? file.st_uid == *owner : file.st_uid == geteuid() || file.st_uid == 0) return;
   refuse(name, fmt::format("belongs to user {}, not to user {}", file.st_uid,
                            owner            ? fmt::to_string(*owner)
                            : geteuid() == 0 ? std::string("0")
                                             : fmt::format("{} or 0", geteuid())));
}

}  // namespace

std::string Segment::checkedName(std::string_view name) {
   std::string_view const bare = name.substr(name.starts_with('/') ? 1 : 0);
   if (bare.empty() || bare.size() > TALLIES_LONGEST_NAME || bare == "." || bare == ".." ||
       bare.find_first_of(std::string_view("/\0", 2)) != std::string_view::npos) {
      throw std::invalid_argument(fmt::format("'{}' is not a name of shared memory: 1 to {} octets without '/'", name,
                                              static_cast<int>(TALLIES_LONGEST_NAME)));
   }
   return std::string(bare);
}

std::optional<Segment> Segment::open(std::string const& name, std::optional<uid_t> owner) {
   // O_NONBLOCK: a FIFO in place of the segment must not keep us waiting.
   int const fd = ::open((TALLIES_FOLDER + name).c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
   if (fd < 0) {
      int const reason = errno;
      if (reason == ENOENT) return {};
      if (reason == ELOOP) refuse(name, "a symbolic link");
      if (reason == EACCES || reason == EPERM || reason == ENXIO) refuse(name, std::strerror(reason));
      throw std::system_error(reason, std::generic_category(), "counter segment " + name);
   }
   Segment segment(fd, name);
   struct stat file {};
   if (fstat(fd, &file) != 0) throw std::system_error(errno, std::generic_category(), "counter segment " + name);
   checkFile(name, file, owner);
   segment.device_ = file.st_dev;
   segment.inode_ = file.st_ino;
   return segment;
}

Segment::Segment(Segment&& other) noexcept
      : fd_(std::exchange(other.fd_, -1)),
        name_(std::move(other.name_)),
        device_(other.device_),
        inode_(other.inode_) {}

Segment& Segment::operator=(Segment&& other) noexcept {
   std::swap(fd_, other.fd_);
   std::swap(name_, other.name_);
   std::swap(device_, other.device_);
   std::swap(inode_, other.inode_);
   return *this;
}

Segment::~Segment() {
   if (fd_ >= 0) close(fd_);
}

void Segment::damaged(Damage kind, std::string_view what) const {
   throw SegmentDamage(kind, fmt::format("counter segment {}: {}", name_, what));
}

void Segment::readAt(std::uint64_t offset, void* to, std::size_t octets) const {
   ssize_t got = 0;
   do {
      got = pread(fd_, to, octets, static_cast<off_t>(offset));
   } while (got < 0 && errno == EINTR);
   if (got < 0) damaged(Damage::unreadable, std::strerror(errno));
   if (static_cast<std::size_t>(got) < octets) {
      damaged(Damage::size, fmt::format("ends at octet {}", offset + static_cast<std::uint64_t>(got)));
   }
}

bool Segment::isNameless() const {
   struct stat file {};
   return fstat(fd_, &file) != 0 || file.st_nlink == 0;
}

tallies_header Segment::header() const {
   struct stat file {};
   if (fstat(fd_, &file) != 0) damaged(Damage::unreadable, std::strerror(errno));
   tallies_header header{};
   readAt(0, &header, sizeof header);
   tallies_fault const fault = tallies_header_fault(&header, static_cast<std::uint64_t>(file.st_size));
   if (fault != TALLIES_SOUND) damaged(damageOf(fault), fmt::format("header: {}", text(damageOf(fault))));
   return header;
}

void Segment::read(std::uint32_t first, std::span<tallies_entry> entries) const {
   readAt(tallies_segment_size(first), entries.data(), entries.size_bytes());
}

tallies_entry Segment::entry(std::uint32_t slot, std::uint32_t slots) const {
   tallies_entry entry{};
   tallies_entry before{};
   unsigned same = 0;
   Damage kind = Damage::unsettled;
   for (unsigned copies = 0; copies < kMostCopies && same < kSameCopies; ++copies, before = entry) {
      read(slot, {&entry, 1});
      tallies_fault const fault = tallies_entry_fault(&entry, slot, slots);
      if (fault == TALLIES_SOUND) return entry;
      same = std::memcmp(&entry, &before, sizeof entry) == 0 ? same + 1 : 1;
      kind = same < kSameCopies ? Damage::unsettled : damageOf(fault);
   }
   damaged(kind, fmt::format("entry {}: {}", slot, text(kind)));
}

Segment::Contents Segment::contents() const {
   Contents all;
   std::uint32_t const slots = header().slots;
   std::vector<tallies_entry> block(std::min(slots, kBlock));
   for (std::uint32_t first = 0; first < slots; first += static_cast<std::uint32_t>(block.size())) {
      read(first, block);
      for (std::uint32_t i = 0; i < block.size(); ++i) {
         try {
            tallies_entry sound = block[i];
            if (tallies_entry_fault(&sound, first + i, slots) != TALLIES_SOUND) sound = entry(first + i, slots);
            if (tallies_is_tunnel(sound.key)) all.lines.push_back({sound.key, counterOf(sound)});
         } catch (SegmentDamage const& damage) {
            all.damaged.push_back(damage);
         }
      }
   }
   std::ranges::sort(all.lines, {}, &Contents::Line::tunnelValue);
   return all;
}

}  // namespace Tallies
