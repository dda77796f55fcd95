// SPDX-License-Identifier: MIT
#include "inputs/tallies/ShmCounterTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <system_error>
#include <utility>

#include "substrate/vel/TraceHandle.h"

namespace Tallies {

namespace {

constexpr int kError = 0;
constexpr int kEvent = 1;

Vel::TraceHandle const& traceHandle() {
   static Vel::TraceHandle const handle("Tallies");
   return handle;
}

// How many slots to read at once on the way to a key: more than nearly every search has to pass.
constexpr std::uint32_t kSlotsAtOnce = 8;

// How many damaged slots a search passes before it gives up: enough to survive some damage, without taking long where
// all is damaged.
constexpr std::size_t kMostDamaged = 4;

// A caller wants two equal copies to be sure that it has a whole one. Each one is whole here, but a busy writer may
// make all of them differ: after so many, the last one is given again.
constexpr unsigned kFreshCopies = 4;

ShmCounterTable::Options checked(ShmCounterTable::Options options) {
   options.name = Segment::checkedName(options.name);
   return options;
}

}  // namespace

ShmCounterTable::ShmCounterTable(Vel::String entityName, Options options)
      : CounterTable(std::move(entityName)), options_(checked(std::move(options))) {}

Vel::TypeInfo const& ShmCounterTable::fwkType() const {
   static constexpr Vel::TypeInfo type{.name = "Tallies::ShmCounterTable"};
   return type;
}

CounterMap const* ShmCounterTable::counterMap() const {
   if (Clock::now() >= nextLook_ || (segment_ && segment_->isNameless())) look();
   return segment_ ? this : nullptr;
}

void ShmCounterTable::look() const {
   nextLook_ = Clock::now() + options_.lookAgain;
   try {
      auto there = Segment::open(options_.name, options_.owner);
      problem_.clear();
      if (!there) {
         detach();
      } else if (!segment_ || !(*segment_ == *there)) {
         segment_ = std::move(there);
         instance_.reset();
         logged_.reset();
         ++attachments_;
         traceHandle().trace(kEvent, "counter segment ", options_.name, ": attached");
      }
   } catch (SegmentRefused const& refusal) {
      detach();
      report(refusal.what());
   } catch (std::system_error const& error) {
      // That says nothing about the segment: the one in use, if any, is still good.
      report(error.what());
   }
}

void ShmCounterTable::detach() const {
   if (segment_) traceHandle().trace(kEvent, "counter segment ", options_.name, ": detached");
   segment_.reset();
}

void ShmCounterTable::report(std::string_view problem) const {
   if (problem == problem_) return;
   problem_ = problem;
   traceHandle().trace(kError, problem);
}

CounterMap::Entry const* ShmCounterTable::find(std::uint64_t tunnelValue) const {
   if (!segment_ || !tallies_is_tunnel(tunnelValue)) return nullptr;
   try {
      tallies_header const header = segment_->header();
      auto const before = std::exchange(instance_, header.instance);
      if (before && before != instance_) logged_.reset();  // made anew in place
      auto const slot = slotOf(tunnelValue, header.slots);
      if (!slot) return nullptr;
      found_.is(tunnelValue, *slot, header.slots);
      return &found_;
   } catch (SegmentDamage const& damage) {
      met_ = damage.kind();
      throw;
   }
}

std::optional<std::uint32_t> ShmCounterTable::slotOf(std::uint64_t tunnelValue, std::uint32_t slots) const {
   std::array<tallies_entry, kSlotsAtOnce> block{};
   std::uint32_t const chain = tallies_chain_length(slots);
   std::uint32_t slot = tallies_home(tunnelValue, slots);
   std::vector<SegmentDamage> damaged;
   for (std::uint32_t passed = 0; passed < chain;) {
      auto const some = std::span(block).first(std::min({kSlotsAtOnce, slots - slot, chain - passed}));
      segment_->read(slot, some);
      for (tallies_entry& entry : some) {
         try {
            if (tallies_entry_fault(&entry, slot, slots) != TALLIES_SOUND) entry = segment_->entry(slot, slots);
            if (entry.key == tunnelValue) return slot;
            if (entry.key == TALLIES_EMPTY) passed = chain;
         } catch (SegmentDamage const& damage) {
            // It may have been the one that is looked for. If that is found after all, never mind.
            damaged.push_back(damage);
            if (damaged.size() == kMostDamaged) passed = chain;
         }
         if (passed == chain) break;
         ++passed;
         slot = (slot + 1) & (slots - 1);
      }
   }
   if (!damaged.empty()) throw damaged.front();
   return {};
}

void ShmCounterTable::Found::is(std::uint64_t tunnelValue, std::uint32_t slot, std::uint32_t slots) {
   tunnelValue_ = tunnelValue;
   slot_ = slot;
   slots_ = slots;
   copies_ = 0;
}

Counter ShmCounterTable::Found::copy() const {
   if (copies_ == kFreshCopies || !table_.segment_) return last_;
   try {
      tallies_entry const entry = table_.segment_->entry(slot_, slots_);
      // The tunnel may have been removed, or another be in its place.
      last_ = entry.key == tunnelValue_ ? counterOf(entry) : Counter{};
      ++copies_;
      return last_;
   } catch (SegmentDamage const& damage) {
      table_.met_ = damage.kind();
      throw;
   }
}

void ShmCounterTable::corruptionHandler(std::string_view message) const {
   auto const kind = static_cast<std::size_t>(met_);
   ++damage_[kind];
   if (logged_[kind]) return;
   logged_.set(kind);
   traceHandle().trace(kError, message);
}

ShmCounterTable::Status ShmCounterTable::status() const {
   look();
   Status status{.attached = segment_.has_value(), .attachments = attachments_, .damage = damage_, .problem = problem_};
   if (!segment_) return status;
   try {
      tallies_header const header = segment_->header();
      status.instance = header.instance;
      status.capacity = header.capacity;
      status.tunnels = static_cast<std::uint32_t>(segment_->contents().lines.size());
   } catch (SegmentDamage const& damage) {
      status.problem = damage.what();
   }
   return status;
}

}  // namespace Tallies
