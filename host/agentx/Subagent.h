// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "host/agentx/MasterAddress.h"
#include "host/agentx/MasterLink.h"
#include "host/agentx/MasterStatus.h"
#include "host/agentx/Messages.h"
#include "host/loop/NetSnmp.h"
#include "host/loop/Timer.h"
#include "host/loop/Watch.h"

namespace AgentX {

/// Serves what is registered with this process's SnmpAgent through another agent, the master (AgentX, RFC 2741). It
/// connects whenever there is a master, and says so in the log; nothing ever waits for the master.
///
/// net-snmp brings a subagent along, which opens, pings and registers by waiting for the answer; here its messages are
/// read and written by the same code, but sent and answered in the event loop.
class Subagent {
 public:
   /// Where a master is looked for when nothing else is said.
   static constexpr char const* kDefaultMaster = "unix:/run/agentx/master";

   /// Makes the configuration's agentXPingInterval known: seconds after which a master that has not been heard is
   /// asked whether it is there. To be called before the configuration is read.
   static void registerConfiguration();

   /// Where `master` is; empty: agentXSocket of the configuration, or kDefaultMaster. Throws AddressError.
   static MasterAddress masterAt(std::string_view master);

   /// Who takes lines for the log.
   struct Report {
      std::function<void(std::string_view line)> info;
      std::function<void(std::string_view line)> warn;
      std::function<void(std::string_view line)> error;
   };

   /// `master`: as for masterAt. To be made when the agent has been made, and before what is to be served is
   /// registered. Exists once. Throws AddressError.
   Subagent(std::string_view master, Report report, Loop::ErrorHandler failed);
   /// Closes the session and waits for the master to have taken note, for a second at most.
   ~Subagent();
   Subagent(Subagent const&) = delete;
   Subagent& operator=(Subagent const&) = delete;

   MasterStatus const& status() const { return status_; }

   /// Whether a notification may be sent now: there is a session, and the master has taken note of most of those
   /// before.
   bool hasRoom() const { return phase_ == Phase::serving && notificationsUnanswered_ < kMostNotifications; }
   /// Has the master notify its receivers. `variables`: snmpTrapOID.0 and what follows it. Waits for nobody.
   /// REQUIRES: `hasRoom`.
   void notify(netsnmp_variable_list const& variables);

   /// Notifications that the master has not taken note of, at most.
   static constexpr std::size_t kMostNotifications = 100;

 private:
   enum class Phase { waiting, connecting, opening, registering, serving };

   /// A region of the OID tree, as register_parameters has it.
   struct Registration {
      std::vector<oid> root;
      int priority;
      int rangeSubid;  // from 1; 0: none
      oid rangeBound;
      u_char flags;
      std::optional<std::string> context;
      bool operator==(Registration const&) const = default;
   };

   /// What sysORTable says of a MIB that is served here.
   struct Capability {
      std::vector<oid> id;
      std::string description;
   };

   // Called by net-snmp.
   static int capabilityChanged(int major, int minor, void* parameters, void* argument) noexcept;
   static int registrationChanged(int major, int minor, void* parameters, void* argument) noexcept;
   static int received(int operation, netsnmp_session* session, int requestId, netsnmp_pdu* pdu, void* magic) noexcept;
   static int answered(int operation, netsnmp_session* session, int requestId, netsnmp_pdu* pdu, void* type) noexcept;

   void connect();
   void connected(int error);
   void opened();
   void serveWhenRegistered();
   void heard();
   void handle(netsnmp_pdu& message);
   void answer(AgentXType type, netsnmp_pdu const& response);
   void registrationAdded(Registration registration);
   void registrationRemoved(Registration const& registration);
   void capabilityAdded(Capability capability);
   void capabilityRemoved(std::vector<oid> const& id);
   void tick();
   void refuse(std::string_view what, long error);
   void lose(std::string const& why);
   void stateIs(MasterStatus::State state);

   netsnmp_pdu* newRequest(AgentXType type) const;
   netsnmp_pdu* newRequest(AgentXType type, Registration const& registration) const;
   void send(AgentXType type, netsnmp_pdu* request);
   void sendCapability(Capability const& capability);

   // net-snmp frees what a callback is given as its own argument when it shuts down.
   static inline Subagent* instance_ = nullptr;

   Report const report_;
   Loop::ErrorHandler const failed_;
   MasterAddress const address_;
   MasterStatus status_;
   std::chrono::seconds const interval_;
   Loop::Timer timer_;
   std::vector<Registration> registrations_;
   std::vector<Capability> capabilities_;

   Phase phase_ = Phase::waiting;
   std::optional<MasterLink> link_;
   netsnmp_session* session_ = nullptr;
   std::size_t unanswered_ = 0;  // registrations
   std::size_t notificationsUnanswered_ = 0;
   bool heard_ = false;   // the master, since the last tick
   unsigned silent_ = 0;  // ticks in a row without having heard it
   bool everConnected_ = false;
   std::set<std::string> said_;  // why there is no connection, since there was one
};

}  // namespace AgentX
