// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <bitset>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "inputs/tallies/CounterTable.h"
#include "inputs/tallies/Segment.h"

namespace Tallies {

/// The counters in a segment of shared memory that a forwarding process writes (docs/counters.md).
///
/// The segment may come, go, be cut short or be replaced at any time. It is looked for when a counter is asked for: at
/// once when the one in use was removed or replaced, and otherwise at most once in `Options::lookAgain`. What cannot be
/// read reads as no counter, and is logged with the trace handle "Tallies".
class ShmCounterTable final : public CounterTable, private CounterMap {
 public:
   struct Options {
      std::string name = "mplste-counters";      ///< POSIX shared memory name, with or without its leading slash
      std::optional<uid_t> owner = {};           ///< whose segment it must be; else the effective user's or root's
      std::chrono::milliseconds lookAgain{100};  ///< how long a name may lead elsewhere before it is noticed
   };

   /// Throws std::invalid_argument for a name that no shared memory can have. The segment need not exist.
   ShmCounterTable(Vel::String entityName, Options options);

   Vel::TypeInfo const& fwkType() const override;

   /// Null while there is no segment that may be read.
   CounterMap const* counterMap() const override;

   struct Status {
      bool attached = false;          ///< there is a segment that may be read
      std::uint64_t attachments = 0;  ///< how often one was found: appeared or replaced another
      std::uint64_t instance = 0;     ///< tells the segment from its predecessors; 0 if its header is damaged
      std::uint32_t capacity = 0;     ///< tunnels that its table takes
      std::uint32_t tunnels = 0;      ///< tunnels in its table
      std::array<std::uint64_t, kDamageTexts.size()> damage{};  ///< how often each kind of damage was met, in all
      std::string problem;  ///< why a segment that is there is not read; empty when there is no reason
   };
   /// Looks for the segment and reads all of it, which takes some milliseconds for a large one.
   Status status() const;

 private:
   // A tunnel's slot. What it copies is sound; it may be a new value each time.
   class Found final : public Entry {
    public:
      explicit Found(ShmCounterTable const& table) : table_(table) {}
      Counter copy() const override;

      // The next copies are of `slot`, while it holds `tunnelValue`.
      void is(std::uint64_t tunnelValue, std::uint32_t slot, std::uint32_t slots);

    private:
      ShmCounterTable const& table_;
      std::uint64_t tunnelValue_ = 0;
      std::uint32_t slot_ = 0;
      std::uint32_t slots_ = 0;
      mutable unsigned copies_ = 0;
      mutable Counter last_;
   };

   Entry const* find(std::uint64_t tunnelValue) const override;
   void corruptionHandler(std::string_view message) const override;

   void look() const;
   void detach() const;
   void report(std::string_view problem) const;
   // The slot that holds `tunnelValue`, if there is one.
   std::optional<std::uint32_t> slotOf(std::uint64_t tunnelValue, std::uint32_t slots) const;

   using Clock = std::chrono::steady_clock;
   Options const options_;
   // All of this only mirrors what the system and the segment say: a row that reads its counter changes no state.
   mutable std::optional<Segment> segment_;
   mutable Clock::time_point nextLook_;
   mutable std::uint64_t attachments_ = 0;
   mutable std::optional<std::uint64_t> instance_;  // of the segment; none until its header was sound once
   mutable std::string problem_;
   mutable Damage met_ = Damage::unreadable;  // the kind that was thrown last
   mutable std::array<std::uint64_t, kDamageTexts.size()> damage_{};
   mutable std::bitset<kDamageTexts.size()> logged_;
   mutable Found found_{*this};
};

}  // namespace Tallies
