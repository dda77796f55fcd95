// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "inputs/tallies/CounterTable.h"
#include "inputs/tallies/counters_layout.h"
#include "substrate/trel/Exceptions.h"

namespace Tallies {

/// What can be wrong with a counter segment.
enum class Damage : std::uint8_t {
   magic,      ///< it is no counter segment, or one of a machine with the other byte order
   version,    ///< its layout is another one
   checksum,   ///< a header or an entry whose checksum does not fit
   size,       ///< sizes that no table has, or a segment that was cut or extended
   place,      ///< an entry where no search for its key comes by
   unsettled,  ///< an entry that never keeps still long enough to be copied
   unreadable  ///< the system refuses to read it
};
inline constexpr std::array<std::string_view, 7> kDamageTexts{
      "wrong magic number",
      "wrong layout version",
      "wrong checksum",
      "wrong size",
      "in a slot that is not on the way of its key",
      "changes too often to be copied",
      "cannot be read",
};
constexpr std::string_view text(Damage kind) { return kDamageTexts[static_cast<std::size_t>(kind)]; }

class SegmentDamage : public Trel::CorruptionDetectedException {
 public:
   SegmentDamage(Damage kind, std::string const& text) : CorruptionDetectedException(text), kind_(kind) {}
   Damage kind() const { return kind_; }

 private:
   Damage kind_;
};

/// The name leads to something that must not be read: a symbolic link, no regular file, somebody else's segment.
class SegmentRefused : public std::runtime_error {
   using std::runtime_error::runtime_error;
};

/// A counter segment, opened for reading (docs/counters.md).
///
/// Its memory is copied by the system, never mapped: a segment that is cut short while it is read is an error, where a
/// mapping would end the process with SIGBUS. Nothing is remembered of the content, which may change between any two
/// calls. Messages name the segment.
class Segment {
 public:
   /// `name` as POSIX shared memory is named, with or without its leading slash, up to 200 octets.
   /// Returns it without the slash. Throws std::invalid_argument.
   static std::string checkedName(std::string_view name);

   /// Opens the segment of that name; none when there is none. `owner` is the user whose segment it must be; when not
   /// given, the effective user of this process or root. `name` must be a `checkedName`.
   /// Throws SegmentRefused; std::system_error when the system is at its limits.
   static std::optional<Segment> open(std::string const& name, std::optional<uid_t> owner);

   Segment(Segment&& other) noexcept;
   Segment& operator=(Segment&& other) noexcept;
   ~Segment();

   /// Whether both are one and the same segment, not just of one name.
   bool operator==(Segment const& other) const { return device_ == other.device_ && inode_ == other.inode_; }

   /// Whether it was removed or replaced: nobody can open it any more.
   bool isNameless() const;

   /// The header, found to be sound and to fit the size of the segment. Throws SegmentDamage.
   tallies_header header() const;

   /// A sound copy of slot number `slot` of `slots`, which `header()` has told. Throws SegmentDamage.
   tallies_entry entry(std::uint32_t slot, std::uint32_t slots) const;

   /// Copies slots from `first` on as they are, sound or not. Throws SegmentDamage when they are not there.
   void read(std::uint32_t first, std::span<tallies_entry> entries) const;

   struct Contents {
      struct Line {
         std::uint64_t tunnelValue;
         Counter counter;
      };
      std::vector<Line> lines;             ///< in order of the tunnel value
      std::vector<SegmentDamage> damaged;  ///< one for each slot that is not sound
   };
   /// All counters. Throws SegmentDamage when the header is not sound.
   Contents contents() const;

 private:
   Segment(int fd, std::string name) : fd_(fd), name_(std::move(name)) {}
   void readAt(std::uint64_t offset, void* to, std::size_t octets) const;
   [[noreturn]] void damaged(Damage kind, std::string_view what) const;

   int fd_;
   std::string name_;
   dev_t device_ = 0;
   ino_t inode_ = 0;
};

/// The counter that is current in `entry`, which must be sound.
inline Counter counterOf(tallies_entry const& entry) {
   tallies_record const& record = entry.records[entry.sequence & 1U];
   return {.packets = record.packets, .bytes = record.bytes};
}

}  // namespace Tallies
