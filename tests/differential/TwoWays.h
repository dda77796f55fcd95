// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/loop/NetSnmp.h"
#include "mib/MplsTeMib.h"
#include "substrate/vel/EntityDir.h"
#include "tests/differential/Ber.h"
#include "tests/support/TestAgent.h"

namespace Differential {

/// Communities that see all of the three tables or nothing of them.
std::vector<std::string> wholeViews();
/// Communities whose view cuts through the tables (columns, all but columns or rows, rows by a mask), and one that sees
/// all.
std::vector<std::string> cutViews();

/// An agent whose three tables are answered by our own driver or by the chain of net-snmp's handlers, over the same
/// rows. It has objects in front of the tables, between them and, if wanted, behind them.
class TwoWays {
 public:
   enum class Way { own, stock };

   /// `isLast`: nothing is registered behind the tables.
   explicit TwoWays(bool isLast);
   ~TwoWays();
   TwoWays(TwoWays const&) = delete;
   TwoWays& operator=(TwoWays const&) = delete;

   MplsSnmp::MplsTeMib& mib() { return *mib_; }
   /// Sends the message. Returns what comes back: nothing for what the agent drops.
   Octets ask(Octets const& message, Way way);

 private:
   void wayIs(Way way);

   TestSupport::TestAgent agent_;
   Vel::Ptr<Vel::EntityDir> root_;
   Vel::Ptr<MplsSnmp::MplsTeMib> mib_;
   std::vector<netsnmp_handler_registration*> tables_;
   std::vector<netsnmp_mib_handler*> drivers_;
   int socket_;
};

}  // namespace Differential
