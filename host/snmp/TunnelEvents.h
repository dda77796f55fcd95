// SPDX-License-Identifier: MIT
/// How a MIB module tells its host of what managers are to be notified of.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "substrate/vel/PtrInterface.h"

namespace Snmp {

/// A notification of MPLS-TE-STD-MIB (RFC 3812).
struct TunnelEvent {
   /// The last sub-identifier of the notification: mplsTunnelUp, mplsTunnelDown, mplsTunnelRerouted,
   /// mplsTunnelReoptimized.
   enum class Kind : std::uint8_t { up = 1, down = 2, rerouted = 3, reoptimized = 4 };

   /// What the tunnel was like, or is like from now on.
   struct State {
      /// Of its row in mplsTunnelTable; of the last one when there is none.
      std::array<std::uint32_t, 4> index{};
      int adminStatus = 0;  ///< mplsTunnelAdminStatus
      int operStatus = 0;   ///< mplsTunnelOperStatus
      /// The LSP that carries it, as the published state names it.
      std::string lsp;
      /// The hops of its path, in order.
      std::vector<std::string> path;
   };

   Kind kind = Kind::up;
   std::string tunnel;  ///< its id in the published state
   std::string name;    ///< mplsTunnelName
   State from;
   State to;
};

/// Takes the events of a module, in their order. Made by the host.
class TunnelEventSink : public Vel::PtrInterface {
 public:
   /// Whether there is room for another event. A sink that had none says when there is: the module is to be asked to
   /// proceed then.
   virtual bool hasRoom() = 0;
   virtual void take(TunnelEvent const& event) = 0;
   /// The module is to be asked to proceed when so much time has passed; a later call counts instead of an earlier one.
   virtual void proceedAfter(std::chrono::nanoseconds time) = 0;
};

}  // namespace Snmp
