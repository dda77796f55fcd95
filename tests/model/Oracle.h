// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/model/World.h"

namespace Model {

/// Recomputes all tables from the published ids and objects, the naive way, and compares.
class Oracle {
 public:
   /// What the worlds held, summed over the checks.
   struct Held {
      std::uint64_t checks = 0;
      std::uint64_t spIds = 0;  ///< that a request maps to
      std::uint64_t rows = 0;
      std::uint64_t ambiguous = 0;
      std::uint64_t hopRows = 0;
   };

   /// What is wrong, one line each; empty when all holds. REQUIRES: no task is left.
   std::vector<std::string> check(World const& world);
   Held const& held() const { return held_; }

 private:
   using Key = MplsSnmp::MplsTunnelTableKey;
   using Requests = std::set<Rsvp::RsvpLerLspRequestConfigId>;

   void checkRetracted(World const& world);
   void checkSilenced(World const& world);
   void checkTunnelRows(World const& world);
   void checkAmbiguous(World const& world, Rsvp::RsvpSpId const& spId, Requests const& requests);
   void checkReverseIndex(World const& world);
   void checkIndices(World const& world);
   void checkHopRows(World const& world);
   template <class... Args>
   void wrong(fmt::format_string<Args...> format, Args&&... args) {
      wrong_.push_back(fmt::format(format, std::forward<Args>(args)...));
   }

   std::vector<std::string> wrong_;
   std::map<Rsvp::RsvpSpId, Requests> requests_;  // now
   std::map<Rsvp::RsvpSpId, Requests> before_;    // at the last check
   std::map<Key, World::Row> rows_;               // at the last check
   bool wasSilenced_ = false;                     // at the last check
   Held held_;
};

}  // namespace Model
