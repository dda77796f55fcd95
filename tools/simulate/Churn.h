// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <vector>

#include "tools/simulate/Document.h"

namespace Tools::Simulation {

/// What goes on in a head end: a sequence of merge patches, the same for the same options, each to be applied to what
/// the ones before have left of the head end's document. Each is about one tunnel and changes something, in its
/// published state, and nothing that stays as it is stands in it.
///
/// - A new LSP is set up beside the active one; a later patch makes it the active one and tears the old one down.
/// - A tunnel switches over to its standby LSP, and back in a later patch.
/// - A path changes under the same LSP: a local repair, and its end.
/// - A path spec is edited.
/// - A tunnel goes down, and comes up in a later patch.
/// - A tunnel is removed, and configured again in a later patch.
///
/// At any time, at most one tunnel in twenty (rounded up) is between two patches of these pairs.
class Churn {
 public:
   explicit Churn(HeadEnd headEnd);

   /// Goes one event on, and returns its patch.
   Json next();

   /// The head end as the patches so far have left it.
   HeadEnd const& headEnd() const { return headEnd_; }

 private:
   // What a tunnel waits for that is in the middle of something.
   enum class Pending { nothing, takeover, reversion, recovery, configuration };

   void begin(std::size_t tunnel);
   void finish(std::size_t tunnel);
   void setUpLsp(Tunnel& tunnel);
   void switchOver(Tunnel& tunnel);
   bool reroute(Tunnel& tunnel);
   void edit(PathSpec& spec);
   void goDown(Tunnel& tunnel);
   void comeUp(Tunnel& tunnel);
   void configure(Tunnel& tunnel);
   Lsp newLsp(Tunnel& tunnel, Group group, std::uint32_t request);

   HeadEnd headEnd_;
   Random random_;
   double now_ = kNow;
   std::vector<Pending> pending_;     // By tunnel.
   std::deque<std::size_t> waiting_;  // Those that wait for something, the longest first.
};

}  // namespace Tools::Simulation
