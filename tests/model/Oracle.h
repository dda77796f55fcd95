// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tests/model/World.h"

namespace Model {

/// Recomputes all tables from the inputs, the naive way, and compares.
class Oracle {
 public:
   /// What is wrong, one line each; empty when all holds. REQUIRES: the derivation is idle.
   std::vector<std::string> check(World const& world, bool afterRestart);

 private:
   using Rows = std::map<MplsSnmp::MplsTunnelTableKey, Vel::Ptr<MplsSnmp::MplsTunnelTableEntry const>>;

   void checkTunnelRows(World const& world, bool afterRestart);
   void checkIndices(World const& world);
   void checkHopRows(World const& world);

   std::vector<std::string> wrong_;
   // The last check: its rows, and how many requests each sp id had.
   Rows rows_;
   std::map<Rsvp::RsvpSpId, std::size_t> requests_;
};

}  // namespace Model
