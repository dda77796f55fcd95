// SPDX-License-Identifier: MIT
#include "host/agentx/Subagent.h"

#include <fmt/format.h>
#include <net-snmp/agent/agent_callbacks.h>
#include <net-snmp/agent/sysORTable.h>

#include <algorithm>
#include <cstdint>
#include <system_error>
#include <utility>

#include "host/agentx/Requests.h"

namespace AgentX {

namespace {

constexpr std::chrono::seconds kRetry(1);
constexpr int kPingInterval = 5;  // seconds
/// Ticks in a row without a word from the master: after the first it is asked, after the second it is said not to
/// answer, after the last the connection is given up.
constexpr unsigned kUnresponsive = 2;
constexpr unsigned kGivenUp = 4;

/// Why a session is closed (RFC 2741, 6.2.2).
constexpr long kReasonShutdown = 5;

/// net-snmp must not find a request overdue: that is for us to say.
constexpr long kNoTimeout = 1000L * 1000 * 1000 * 1000;

std::chrono::seconds pingInterval() {
   return std::chrono::seconds(
         std::max(1, netsnmp_ds_get_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_PING_INTERVAL)));
}

/// What a master answers (RFC 2741, 6.2.16), for people.
std::string errorText(long error) {
   switch (error) {
      case kAgentXOpenFailed:
         return "openFailed";
      case kAgentXNotOpen:
         return "notOpen";
      case kAgentXUnsupportedContext:
         return "unsupportedContext";
      case kAgentXDuplicateRegistration:
         return "duplicateRegistration; does another subagent serve the same tables?";
      case kAgentXParseError:
         return "parseError";
      case kAgentXRequestDenied:
         return "requestDenied";
      default:
         return fmt::format("error {}", error);
   }
}

}  // namespace

void Subagent::registerConfiguration() {
   netsnmp_ds_set_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_PING_INTERVAL, kPingInterval);
   netsnmp_ds_register_config(ASN_INTEGER, netsnmp_ds_get_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_APPTYPE),
                              "agentXPingInterval", NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_PING_INTERVAL);
}

MasterAddress Subagent::masterAt(std::string_view master) {
   if (!master.empty()) return MasterAddress(master);
   char const* const configured = netsnmp_ds_get_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET);
   return MasterAddress(configured ? configured : kDefaultMaster);
}

Subagent::Subagent(std::string_view master, Report report, Loop::ErrorHandler failed)
      : report_(std::move(report)),
        failed_(std::move(failed)),
        address_(masterAt(master)),
        status_{.master = address_.text()},
        interval_(pingInterval()),
        timer_([this] { tick(); }, failed_) {
   instance_ = this;
   for (int const change : {SNMPD_CALLBACK_REGISTER_OID, SNMPD_CALLBACK_UNREGISTER_OID}) {
      snmp_register_callback(SNMP_CALLBACK_APPLICATION, change, &Subagent::registrationChanged, nullptr);
   }
   for (int const change : {SNMPD_CALLBACK_REG_SYSOR, SNMPD_CALLBACK_UNREG_SYSOR}) {
      snmp_register_callback(SNMP_CALLBACK_APPLICATION, change, &Subagent::capabilityChanged, nullptr);
   }
   timer_.start({});
}

Subagent::~Subagent() {
   for (int const change : {SNMPD_CALLBACK_REGISTER_OID, SNMPD_CALLBACK_UNREGISTER_OID}) {
      snmp_unregister_callback(SNMP_CALLBACK_APPLICATION, change, &Subagent::registrationChanged, nullptr, 1);
   }
   for (int const change : {SNMPD_CALLBACK_REG_SYSOR, SNMPD_CALLBACK_UNREG_SYSOR}) {
      snmp_unregister_callback(SNMP_CALLBACK_APPLICATION, change, &Subagent::capabilityChanged, nullptr, 1);
   }
   instance_ = nullptr;
   if (session_) {
      netsnmp_pdu* const request = newRequest(kAgentXClose);
      request->errstat = kReasonShutdown;
      send(kAgentXClose, request);
      link_->finish(std::chrono::seconds(1));
      snmp_close(session_);
   }
}

// What net-snmp calls

int Subagent::registrationChanged(int /*major*/, int minor, void* parameters, void* /*argument*/) noexcept {
   auto const& changed = *static_cast<register_parameters const*>(parameters);
   // net-snmp registers the roots of the OID tree with itself in each new context; nobody else is to ask for them.
   if (changed.namelen <= 1) return SNMPERR_SUCCESS;
   try {
      Registration registration{.root = {changed.name, changed.name + changed.namelen},
                                .priority = changed.priority,
                                .rangeSubid = changed.range_subid,
                                .rangeBound = changed.range_ubound,
                                .flags = changed.flags,
                                .context = {}};
      if (changed.contextName && *changed.contextName) registration.context = changed.contextName;
      if (minor == SNMPD_CALLBACK_REGISTER_OID) {
         instance_->registrationAdded(std::move(registration));
      } else {
         instance_->registrationRemoved(registration);
      }
   } catch (std::exception const& error) {
      instance_->failed_(error.what());
   }
   return SNMPERR_SUCCESS;
}

int Subagent::capabilityChanged(int /*major*/, int minor, void* parameters, void* /*argument*/) noexcept {
   auto const& changed = *static_cast<sysORTable const*>(parameters);
   try {
      std::vector<oid> id(changed.OR_oid, changed.OR_oid + changed.OR_oidlen);
      if (minor == SNMPD_CALLBACK_REG_SYSOR) {
         instance_->capabilityAdded({std::move(id), changed.OR_descr});
      } else {
         instance_->capabilityRemoved(id);
      }
   } catch (std::exception const& error) {
      instance_->failed_(error.what());
   }
   return SNMPERR_SUCCESS;
}

int Subagent::received(int operation, netsnmp_session* session, int /*requestId*/, netsnmp_pdu* pdu,
                       void* /*magic*/) noexcept {
   // A session that was given up may have messages left.
   if (!instance_ || session != instance_->session_) return 1;
   try {
      if (operation == NETSNMP_CALLBACK_OP_DISCONNECT) {
         // The link goes in there, and its text with it.
         instance_->lose(std::string(instance_->link_->end()));
      } else if (operation == NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE) {
         instance_->heard();
         instance_->handle(*pdu);
      }
   } catch (std::exception const& error) {
      instance_->failed_(error.what());
   }
   return 1;
}

int Subagent::answered(int operation, netsnmp_session* session, int /*requestId*/, netsnmp_pdu* pdu,
                       void* type) noexcept {
   if (!instance_ || session != instance_->session_) return 1;
   // The end of a connection is told to the session's own callback as well.
   if (operation != NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE) return 1;
   try {
      instance_->heard();
      instance_->answer(static_cast<AgentXType>(reinterpret_cast<std::uintptr_t>(type)), *pdu);
   } catch (std::exception const& error) {
      instance_->failed_(error.what());
   }
   return 1;
}

// A connection's way

void Subagent::connect() {
   phase_ = Phase::connecting;
   silent_ = 0;
   heard_ = false;
   timer_.repeat(interval_);
   try {
      link_.emplace(
            address_, [this](int error) { connected(error); }, failed_);
   } catch (std::system_error const& error) {
      lose(address_.explain(error.code().value()));
   }
}

void Subagent::connected(int error) {
   if (error != 0) return lose(address_.explain(error));
   netsnmp_session wanted;
   snmp_sess_init(&wanted);
   wanted.version = kAgentXVersion;
   wanted.retries = 0;
   wanted.timeout = kNoTimeout;
   wanted.flags |= SNMP_FLAGS_STREAM_SOCKET;
   wanted.callback = &Subagent::received;
   session_ = snmp_add_full(&wanted, link_->newTransport(), nullptr, &parseAgentX, nullptr, nullptr, &buildAgentX,
                            &checkAgentX, nullptr);
   if (!session_) return lose("net-snmp cannot open a session");

   phase_ = Phase::opening;
   netsnmp_pdu* const request = newRequest(kAgentXOpen);
   // Identified by its description alone; and the master's own timeout is right for us.
   constexpr oid null[] = {0, 0};
   constexpr std::string_view description = "mplsted";
   snmp_pdu_add_variable(request, null, std::size(null), ASN_OCTET_STR, description.data(), description.size());
   send(kAgentXOpen, request);
}

/// What the master says of its own accord.
void Subagent::handle(netsnmp_pdu& message) {
   bool const ours = phase_ >= Phase::registering && message.sessid == session_->sessid;
   if (message.command == kAgentXClose) {
      if (ours) lose("it has closed the session");
   } else if (Requests::is(message)) {
      if (ours) {
         Requests::carryOut(*session_, message);
      } else if (message.command != kAgentXCleanupSet) {
         Requests::refuse(*session_, message, kAgentXNotOpen);
      }
   }
}

void Subagent::answer(AgentXType type, netsnmp_pdu const& response) {
   bool const refused = response.errstat != SNMP_ERR_NOERROR;
   switch (type) {
      case kAgentXOpen:
         if (refused) return refuse("a session", response.errstat);
         session_->sessid = response.sessid;
         opened();
         break;
      case kAgentXRegister:
         if (refused) return refuse("a registration", response.errstat);
         --unanswered_;
         serveWhenRegistered();
         break;
      case kAgentXNotify:
         --notificationsUnanswered_;
         break;
      case kAgentXPing:
         if (refused) lose(fmt::format("it has ended the session: {}", errorText(response.errstat)));
         break;
      default:  // what has been taken back or closed is over, whatever the master says
         break;
   }
}

void Subagent::opened() {
   phase_ = Phase::registering;
   unanswered_ = 0;
   notificationsUnanswered_ = 0;
   for (Registration const& registration : registrations_) {
      ++unanswered_;
      send(kAgentXRegister, newRequest(kAgentXRegister, registration));
   }
   for (Capability const& capability : capabilities_) sendCapability(capability);
   serveWhenRegistered();
}

void Subagent::serveWhenRegistered() {
   if (phase_ != Phase::registering || unanswered_ != 0) return;
   phase_ = Phase::serving;
   stateIs(MasterStatus::State::connected);
}

void Subagent::heard() {
   heard_ = true;
   if (status_.state == MasterStatus::State::unresponsive) stateIs(MasterStatus::State::connected);
}

void Subagent::registrationAdded(Registration registration) {
   if (phase_ >= Phase::registering) {
      ++unanswered_;
      send(kAgentXRegister, newRequest(kAgentXRegister, registration));
   }
   registrations_.push_back(std::move(registration));
}

void Subagent::registrationRemoved(Registration const& registration) {
   std::erase_if(registrations_, [&](Registration const& other) {
      return other.root == registration.root && other.priority == registration.priority &&
             other.context == registration.context && other.rangeSubid == registration.rangeSubid;
   });
   if (phase_ >= Phase::registering) send(kAgentXUnregister, newRequest(kAgentXUnregister, registration));
}

void Subagent::capabilityAdded(Capability capability) {
   if (phase_ >= Phase::registering) sendCapability(capability);
   capabilities_.push_back(std::move(capability));
}

void Subagent::capabilityRemoved(std::vector<oid> const& id) {
   if (std::erase_if(capabilities_, [&](Capability const& other) { return other.id == id; }) == 0) return;
   if (phase_ < Phase::registering) return;
   netsnmp_pdu* const request = newRequest(kAgentXRemoveAgentCaps);
   snmp_add_null_var(request, id.data(), id.size());
   send(kAgentXRemoveAgentCaps, request);
}

void Subagent::notify(netsnmp_variable_list const& variables) {
   netsnmp_pdu* const request = newRequest(kAgentXNotify);
   // Without sysUpTime.0: the master puts its own in front.
   request->variables = snmp_clone_varbind(const_cast<netsnmp_variable_list*>(&variables));
   ++notificationsUnanswered_;
   send(kAgentXNotify, request);
}

void Subagent::tick() {
   if (phase_ == Phase::waiting) return connect();
   if (std::exchange(heard_, false)) {
      silent_ = 0;
      return;
   }
   ++silent_;
   if (silent_ >= kGivenUp) {
      lose("it does not answer");
   } else if (phase_ == Phase::serving && silent_ == 1) {
      send(kAgentXPing, newRequest(kAgentXPing));
   } else if (phase_ == Phase::serving && silent_ == kUnresponsive) {
      stateIs(MasterStatus::State::unresponsive);
   }
}

/// At first it may be our own former session that is in the way, and goes. A master that has said the same before will
/// not change its mind within a second, and logs each attempt.
void Subagent::refuse(std::string_view what, long error) {
   std::string const why = fmt::format("it refuses {}: {}", what, errorText(error));
   bool const again = said_.contains(why);
   lose(why);
   if (again) timer_.start(interval_);
}

void Subagent::lose(std::string const& why) {
   bool const served = phase_ == Phase::serving;
   phase_ = Phase::waiting;
   session_ = nullptr;
   link_.reset();
   timer_.start(kRetry);
   status_.lastError = why;
   if (served) {
      report_.warn(fmt::format("AgentX, lost the master at {}: {}; trying to connect again", address_.text(), why));
      stateIs(MasterStatus::State::disconnected);
   } else if (said_.insert(why).second) {
      report_.error(fmt::format("AgentX, cannot connect to the master at {}: {}", address_.text(), why));
   }
}

void Subagent::stateIs(MasterStatus::State state) {
   using enum MasterStatus::State;
   auto const former = std::exchange(status_.state, state);
   status_.since = std::chrono::system_clock::now();
   if (state == unresponsive) {
      report_.warn(fmt::format("AgentX, the master at {} does not answer", address_.text()));
   } else if (state == connected && former == unresponsive) {
      report_.info(fmt::format("AgentX, the master at {} answers again", address_.text()));
   } else if (state == connected) {
      said_.clear();
      report_.info(fmt::format("AgentX, {}connected to the master at {}",
                               std::exchange(everConnected_, true) ? "again " : "", address_.text()));
   }
}

// Messages

netsnmp_pdu* Subagent::newRequest(AgentXType type) const {
   netsnmp_pdu* const request = snmp_pdu_create(type);
   if (!request) throw std::bad_alloc();
   request->sessid = session_->sessid;
   return request;
}

netsnmp_pdu* Subagent::newRequest(AgentXType type, Registration const& registration) const {
   netsnmp_pdu* const request = newRequest(type);
   request->priority = registration.priority;
   request->range_subid = registration.rangeSubid;
   if ((registration.flags & FULLY_QUALIFIED_INSTANCE) != 0) request->flags |= kAgentXInstance;
   if (registration.context) {
      request->flags |= kAgentXNonDefaultContext;
      request->community = reinterpret_cast<u_char*>(strdup(registration.context->c_str()));
      request->community_len = registration.context->size();
   }
   std::vector<oid> const& root = registration.root;
   if (registration.rangeSubid != 0) {
      std::vector<oid> end = root;
      end[registration.rangeSubid - 1] = registration.rangeBound;
      snmp_pdu_add_variable(request, root.data(), root.size(), ASN_OBJECT_ID, end.data(), end.size() * sizeof(oid));
   } else {
      snmp_add_null_var(request, root.data(), root.size());
   }
   return request;
}

void Subagent::sendCapability(Capability const& capability) {
   netsnmp_pdu* const request = newRequest(kAgentXAddAgentCaps);
   snmp_pdu_add_variable(request, capability.id.data(), capability.id.size(), ASN_OCTET_STR,
                         capability.description.data(), capability.description.size());
   send(kAgentXAddAgentCaps, request);
}

void Subagent::send(AgentXType type, netsnmp_pdu* request) {
   // NOLINTNEXTLINE(performance-no-int-to-ptr): a number for `answered`, and no address
   auto* const magic = reinterpret_cast<void*>(static_cast<std::uintptr_t>(type));
   // What cannot be sent has an end of the connection that will be read.
   if (snmp_async_send(session_, request, &Subagent::answered, magic) == 0) snmp_free_pdu(request);
}

}  // namespace AgentX
