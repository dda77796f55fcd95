// SPDX-License-Identifier: MIT
#include "tests/differential/TwoWays.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

#include "host/snmp/SnmpUtil.h"
#include "host/tables/TableDriver.h"
#include "snmp/Registrations.h"
#include "snmp/mplsTeStdMIB.h"

namespace Differential {

namespace {

/// Who may see what.
std::vector<std::string> const kConfiguration{
      "rocommunity public 127.0.0.1",
      "rocommunity names 127.0.0.1 -V names",
      "view names included .1.3.6.1.2.1.10.166.3.2.2.1.5",
      "view names included .1.3.6.1.2.1.10.166.3.2.9.1.2",
      "rocommunity without 127.0.0.1 -V without",
      "view without included .1",
      "view without excluded .1.3.6.1.2.1.10.166.3.2.2.1.6",
      "view without excluded .1.3.6.1.2.1.10.166.3.2.2.1.9",
      "view without excluded .1.3.6.1.2.1.10.166.3.2.4",
      "rocommunity rows 127.0.0.1 -V rows",
      "view rows included .1",
      "view rows excluded .1.3.6.1.2.1.10.166.3.2.2.1.5.12",
      "view rows excluded .1.3.6.1.2.1.10.166.3.2.2.1.5.2.1",
      "view rows excluded .1.3.6.1.2.1.10.166.3.2.4.1.10.2",
      "view rows included .1.3.6.1.2.1.10.166.3.2.4.1.10.2.1.3",
      "rocommunity masked 127.0.0.1 -V masked",
      "view masked included .1.3.6.1.2.1.10.166.3.2.2.1.0.12 ff:f4",
      "view masked included .1.3.6.1.2.1.10.166.3.2.4.1.0.0.2 ff:f2",
      "rocommunity column 127.0.0.1 -V column",
      "view column included .1.3.6.1.2.1.10.166.3.2.9.1.5",
      "rocommunity nothing 127.0.0.1 -V nothing",
      "view nothing included .1.3.6.1.2.1.1",
};

int scalar(netsnmp_mib_handler* /*handler*/, netsnmp_handler_registration* /*registration*/,
           netsnmp_agent_request_info* info, netsnmp_request_info* requests) {
   int const value = 1;
   if (info->mode == MODE_GET) snmp_set_var_typed_integer(requests->requestvb, ASN_INTEGER, value);
   return SNMP_ERR_NOERROR;
}

void registerScalar(oid object) {
   std::array<oid, 12> const name{1, 3, 6, 1, 2, 1, 10, 166, 3, 2, object, 0};
   auto* const registration =
         netsnmp_create_handler_registration("neighbour", &scalar, name.data(), name.size(), HANDLER_CAN_RONLY);
   if (netsnmp_register_instance(registration) != MIB_REGISTERED_OK) throw std::runtime_error("cannot register");
}

int connectTo(TestSupport::TestAgent const& agent) {
   int const descriptor = socket(AF_INET, SOCK_DGRAM, 0);
   auto const address = agent.socketAddress();
   if (connect(descriptor, reinterpret_cast<sockaddr const*>(&address), sizeof address) != 0) {
      throw std::runtime_error("cannot reach the agent");
   }
   return descriptor;
}

}  // namespace

std::vector<std::string> wholeViews() { return {"public", "public", "public", "nothing", "unknown"}; }

std::vector<std::string> cutViews() { return {"public", "names", "without", "rows", "masked", "column"}; }

TwoWays::TwoWays(bool isLast)
      : agent_(kConfiguration),
        root_(Vel::makePtr<Vel::EntityDir>("")),
        mib_(MplsSnmp::mplsTeMibFactory("mplsTeMib")),
        socket_(connectTo(agent_)) {
   root_->dirIs("snmp/mpls")->entityIs(mib_);
   SnmpUtil::agentRootIs(root_);
   init_mplsTeStdMIB("");
   for (oid const object : {1, 3, 5}) registerScalar(object);
   if (!isLast) registerScalar(10);
   tables_ = MplsSnmp::handlerRegistrations()[""];
   for (auto* const table : tables_) {
      if (!Host::TableDriver::drive(*table)) throw std::runtime_error("a table is not driven");
      drivers_.push_back(table->handler);
   }
}

TwoWays::~TwoWays() {
   close(socket_);
   wayIs(Way::own);  // what is in the chain is freed with it
   unregister_mplsTeStdMIB("");
   SnmpUtil::agentRootIs(nullptr);
}

void TwoWays::wayIs(Way way) {
   for (std::size_t n = 0; n < tables_.size(); ++n) {
      auto& table = *tables_[n];
      auto& driver = *drivers_[n];
      table.handler = way == Way::own ? &driver : driver.next;
      driver.next->prev = way == Way::own ? &driver : nullptr;
      table.modes = way == Way::own ? table.modes | HANDLER_CAN_GETBULK : table.modes & ~HANDLER_CAN_GETBULK;
   }
}

Octets TwoWays::ask(Octets const& message, Way way) {
   wayIs(way);
   if (send(socket_, message.data(), message.size(), 0) < 0) throw std::runtime_error("cannot send");
   // Over the loopback interface a message is there when it has been sent, and its answer when it has been handled.
   agent_check_and_process(1);
   Octets answer(65'536);
   auto const size = recv(socket_, answer.data(), answer.size(), MSG_DONTWAIT);
   answer.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
   return answer;
}

}  // namespace Differential
