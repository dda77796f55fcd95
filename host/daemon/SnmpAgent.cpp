// SPDX-License-Identifier: MIT
#include "host/daemon/SnmpAgent.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <sstream>
#include <system_error>

#include "host/agentx/Subagent.h"
#include "host/daemon/Trial.h"
#include "host/loop/NetSnmp.h"
// Behind the library's headers, which it needs.
#include <net-snmp/agent/agent_callbacks.h>

namespace Daemon {

namespace {

/// What a UDP datagram over IPv4 holds.
constexpr int kLargestMessage = 65507;

/// What addresses of unix sockets begin with.
constexpr std::string_view kUnix = "unix:";

std::string inetText(int family, void const* address, in_port_t port, bool stream) {
   char host[INET6_ADDRSTRLEN] = "";
   inet_ntop(family, address, host, sizeof host);
   std::string const protocol = stream ? "tcp" : "udp";
   return family == AF_INET6 ? fmt::format("{}6:[{}]:{}", protocol, host, ntohs(port))
                             : fmt::format("{}:{}:{}", protocol, host, ntohs(port));
}

/// The address of a socket in net-snmp's notation; `asked` where it has none that could be shown.
std::string boundAddress(int socket, std::string const& asked) {
   union {
      sockaddr_storage any;
      sockaddr_in v4;
      sockaddr_in6 v6;
      sockaddr_un local;
   } address{};
   socklen_t length = sizeof address;
   int type = 0;
   socklen_t typeLength = sizeof type;
   if (getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0 ||
       getsockopt(socket, SOL_SOCKET, SO_TYPE, &type, &typeLength) != 0) {
      return asked;
   }
   bool const stream = type == SOCK_STREAM;
   switch (address.any.ss_family) {
      case AF_INET:
         return inetText(AF_INET, &address.v4.sin_addr, address.v4.sin_port, stream);
      case AF_INET6:
         return inetText(AF_INET6, &address.v6.sin6_addr, address.v6.sin6_port, stream);
      case AF_UNIX:
         return fmt::format("{}{}", kUnix, address.local.sun_path);
      default:
         return asked;
   }
}

std::vector<std::string> configuredAddresses() {
   char const* const text = netsnmp_ds_get_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS);
   std::istringstream list(text ? text : SnmpAgent::kDefaultAddress);
   std::vector<std::string> addresses;
   for (std::string address; std::getline(list, address, ',');) addresses.push_back(address);
   return addresses;
}

/// Takes from everything that is registered what could be written of it (sysContact, sysName and sysLocation): a SET is
/// answered notWritable before it gets to any code of an object.
void makeReadOnly() {
   for (auto* context = get_top_context_cache(); context; context = context->next) {
      for (auto* subtree = context->first_subtree; subtree; subtree = subtree->next) {
         for (auto* part = subtree; part; part = part->children) {
            if (part->reginfo) part->reginfo->modes &= ~HANDLER_CAN_SET;
         }
      }
   }
}

/// SNMPv1 has no GETBULK (RFC 1157). net-snmp answers one all the same, and where it meets a Counter64 on its way it
/// never ends, or loses memory. Such a message is dropped, as one that is nobody's.
int refuseGetBulkOfV1(int /*major*/, int /*minor*/, void* parameters, void* /*data*/) {
   auto& view = *static_cast<view_parameters*>(parameters);
   if (view.pdu->version == SNMP_VERSION_1 && view.pdu->command == SNMP_MSG_GETBULK) view.errorcode = VACM_NOACCESS;
   return SNMPERR_SUCCESS;
}

}  // namespace

SnmpAgent::Library::Library(Configuration& configuration, NetSnmpLog& netSnmpLog, Log& log) {
   // A line in the log for each packet is no use to anybody.
   netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_DONT_LOG_TCPWRAPPERS_CONNECTS, 1);
   // Left to itself net-snmp tries to send answers that no datagram can hold, and the manager hears nothing; now it
   // hears tooBig. A line sendMessageMaxSize in the configuration still says otherwise.
   netsnmp_ds_set_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_MSG_SEND_MAX, kLargestMessage);
   // With it comes all that users and access control need. Their tables (SNMP-USER-BASED-SM-MIB,
   // SNMP-VIEW-BASED-ACM-MIB) are nobody's business here.
   init_agent(kName);
   init_system_mib();
   init_sysORTable();
   AgentX::Subagent::registerConfiguration();
   netSnmpLog.keep();
   init_snmp(kName);
   makeReadOnly();
   // Behind the one that looks into the configuration, whose verdict would be the last otherwise.
   netsnmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_ACM_CHECK_INITIAL, refuseGetBulkOfV1, nullptr,
                             NETSNMP_CALLBACK_LOWEST_PRIORITY);
   try {
      for (std::string const& complaint : configuration.checked(netSnmpLog.kept())) log.warn(complaint);
   } catch (...) {
      snmp_shutdown(kName);
      throw;
   }
}

SnmpAgent::Library::~Library() { snmp_shutdown(kName); }

SnmpAgent::SnmpAgent(Configuration& configuration, Log& log)
      : netSnmpLog_(log), library_(configuration, netSnmpLog_, log) {}

void SnmpAgent::listen(std::vector<std::string> const& addresses) {
   for (std::string const& address : addresses.empty() ? configuredAddresses() : addresses) listen(address);
}

SnmpAgent::~SnmpAgent() {
   // net-snmp leaves the files of its unix sockets behind.
   for (std::string const& address : addresses_) {
      if (address.starts_with(kUnix)) unlink(address.c_str() + kUnix.size());
   }
}

void SnmpAgent::listen(std::string const& address) {
   errno = 0;
   netsnmp_transport* const transport = netsnmp_transport_open_server("snmp", address.c_str());
   if (!transport) {
      // Without a number it was the notation that net-snmp did not understand, or a host name.
      std::string const reason =
            errno != 0 ? std::generic_category().message(errno) : "no such address; one looks like udp:127.0.0.1:11161";
      throw ListenError(fmt::format("cannot listen on {}: {}", address, reason));
   }
   int const socket = transport->sock;
   if (netsnmp_register_agent_nsap(transport) == 0) {
      throw ListenError(fmt::format("cannot listen on {}: net-snmp refuses it", address));
   }
   addresses_.push_back(boundAddress(socket, address));
}

void SnmpAgent::reconfigure(Configuration& configuration, Log& log, std::function<void()> const& check) {
   auto const read = [&] {
      configuration.look();
      netSnmpLog_.keep();
      // Lines of the file add to the addresses that are there.
      netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS, nullptr);
      free_config();
      read_configs();
      return configuration.checked(netSnmpLog_.kept());
   };
   auto const tryIt = [&] {
      read();
      check();
   };
   if (auto const refusal = trial(tryIt)) throw ConfigurationError(*refusal);

   std::vector<std::string> const former = configuredAddresses();
   for (std::string const& complaint : read()) log.warn(complaint);
   if (configuredAddresses() != former) log.warn("agentaddress: the change takes effect at the next start");
   // The engine's count of starts has gone up with its file's being read.
   snmp_store(kName);
}

void SnmpAgent::run() {
   // Kept at once, for the case that the process does not end by its own will.
   snmp_store(kName);
   running_ = true;
   while (running_) agent_check_and_process(1);
   if (error_) throw std::runtime_error(*error_);
}

void SnmpAgent::fail(std::string_view error) {
   if (!error_) error_ = error;
   stop();
}

}  // namespace Daemon
