// SPDX-License-Identifier: MIT
#include "tests/support/TestAgent.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#include "tests/support/ValueText.h"

namespace TestSupport {

namespace {

constexpr char const* kName = "mplste-test";
constexpr int kLargestDatagram = 65507;  // octets of UDP over IPv4

std::uint16_t portOf(int socket) {
   sockaddr_in address{};
   socklen_t size = sizeof address;
   if (getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
      throw std::runtime_error("the agent's socket has no address");
   }
   return ntohs(address.sin_port);
}

netsnmp_session* openSession(std::string address, long version) {
   char community[] = "public";
   netsnmp_session settings;
   snmp_sess_init(&settings);
   settings.version = version;
   settings.peername = address.data();
   settings.community = reinterpret_cast<u_char*>(community);
   settings.community_len = sizeof community - 1;
   settings.retries = 0;
   settings.timeout = TestAgent::kPatience * 1'000'000;
   auto* const session = snmp_open(&settings);
   if (!session) throw std::runtime_error("cannot open a session to " + address);
   return session;
}

/// An answer that is waited for.
struct Pending {
   bool done = false;
   bool failed = false;
   Answer answer;
};

int receive(int operation, netsnmp_session* /*session*/, int /*id*/, netsnmp_pdu* pdu, void* magic) {
   auto& pending = *static_cast<Pending*>(magic);
   pending.done = true;
   pending.failed = operation != NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE;
   if (pending.failed) return 1;
   pending.answer.status = pdu->errstat;
   pending.answer.index = pdu->errindex;
   for (auto const* v = pdu->variables; v; v = v->next_variable) {
      pending.answer.varbinds.push_back({Oid(v->name, v->name + v->name_length), valueText(*v)});
   }
   return 1;
}

}  // namespace

TestAgent::TestAgent(std::vector<std::string> const& configuration) {
   setenv("MIBS", "", 1);  // names are numbers
   setenv("SNMP_PERSISTENT_DIR", directory_.path().c_str(), 1);
   for (int const flag : {NETSNMP_DS_LIB_DONT_READ_CONFIGS, NETSNMP_DS_LIB_DONT_PERSIST_STATE,
                          NETSNMP_DS_LIB_DISABLE_PERSISTENT_LOAD, NETSNMP_DS_LIB_DISABLE_PERSISTENT_SAVE}) {
      netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, flag, 1);
   }
   netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, 0);  // a master
   netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_DONT_LOG_TCPWRAPPERS_CONNECTS, 1);
   // Without a limit the agent tries to send more than a datagram holds, and answers nothing.
   netsnmp_ds_set_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_MSG_SEND_MAX, kLargestDatagram);
   netsnmp_register_loghandler(NETSNMP_LOGHANDLER_NONE, LOG_DEBUG);
   init_agent(kName);
   for (std::string line : configuration) netsnmp_config_remember(line.data());
   init_snmp(kName);

   auto* const transport = netsnmp_transport_open_server("snmp", "udp:127.0.0.1:0");
   if (!transport) throw std::runtime_error("cannot listen on the loopback interface");
   std::uint16_t const port = portOf(transport->sock);
   netsnmp_register_agent_nsap(transport);
   address_ = fmt::format("udp:127.0.0.1:{}", port);
   versionIs(SNMP_VERSION_2c);
}

TestAgent::~TestAgent() {
   snmp_close(session_);
   snmp_shutdown(kName);
   shutdown_master_agent();
   shutdown_agent();
}

void TestAgent::versionIs(long version) {
   if (session_ && session_->version == version) return;
   if (session_) snmp_close(session_);
   session_ = openSession(address_, version);
}

Answer TestAgent::ask(int command, std::vector<Oid> const& names, long nonRepeaters, long maxRepetitions) {
   auto* const request = snmp_pdu_create(command);
   if (command == SNMP_MSG_GETBULK) {
      request->errstat = nonRepeaters;
      request->errindex = maxRepetitions;
   }
   for (Oid const& name : names) snmp_add_null_var(request, name.data(), name.size());
   return await(request);
}

Answer TestAgent::set(std::vector<Setting> const& settings) {
   auto* const request = snmp_pdu_create(SNMP_MSG_SET);
   for (auto const& [name, type, value] : settings) {
      snmp_pdu_add_variable(request, name.data(), name.size(), type, value.data(), value.size());
   }
   return await(request);
}

Answer TestAgent::await(netsnmp_pdu* request) {
   Pending pending;
   if (!snmp_async_send(session_, request, receive, &pending)) {
      snmp_free_pdu(request);
      throw std::runtime_error("cannot send the request");
   }
   while (!pending.done) agent_check_and_process(1);
   if (pending.failed) throw std::runtime_error("the agent does not answer");
   return pending.answer;
}

namespace {

/// A UDP socket on the loopback interface.
class Socket {
 public:
   Socket() : descriptor_(socket(AF_INET, SOCK_DGRAM, 0)) {
      sockaddr_in address{};
      address.sin_family = AF_INET;
      address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
      if (bind(descriptor_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
         throw std::runtime_error("cannot bind to the loopback interface");
      }
   }
   ~Socket() { close(descriptor_); }
   Socket(Socket const&) = delete;
   Socket& operator=(Socket const&) = delete;
   int descriptor() const { return descriptor_; }

 private:
   int descriptor_;
};

}  // namespace

std::vector<std::uint8_t> TestAgent::packet(Oid const& name) {
   Socket const listener;
   auto* const session = openSession(fmt::format("udp:127.0.0.1:{}", portOf(listener.descriptor())), SNMP_VERSION_2c);
   auto* const request = snmp_pdu_create(SNMP_MSG_GET);
   snmp_add_null_var(request, name.data(), name.size());
   Pending pending;
   if (!snmp_async_send(session, request, receive, &pending)) throw std::runtime_error("cannot send the request");
   std::vector<std::uint8_t> buffer(65536);
   auto const size = recv(listener.descriptor(), buffer.data(), buffer.size(), 0);
   snmp_close(session);
   if (size <= 0) throw std::runtime_error("the request did not arrive");
   buffer.resize(static_cast<std::size_t>(size));
   return buffer;
}

sockaddr_in TestAgent::socketAddress() const {
   sockaddr_in address{};
   address.sin_family = AF_INET;
   address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
   address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(address_.substr(address_.rfind(':') + 1))));
   return address;
}

void TestAgent::send(std::vector<std::uint8_t> const& packet) {
   Socket const sender;
   auto const address = socketAddress();
   sendto(sender.descriptor(), packet.data(), packet.size(), 0, reinterpret_cast<sockaddr const*>(&address),
          sizeof address);
   while (agent_check_and_process(0) > 0) {
   }
}

}  // namespace TestSupport
