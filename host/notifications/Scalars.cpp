// SPDX-License-Identifier: MIT
#include "host/notifications/Scalars.h"

#include <fmt/format.h>

#include <exception>
#include <stdexcept>
#include <utility>

#include "host/notifications/Oids.h"
// Behind the library's headers, which it needs.
#include <net-snmp/agent/agent_sysORTable.h>

namespace Notifications {

namespace {

constexpr char const* kDescription = "MPLS-TE-STD-MIB: the tunnels that this router is the head end of";

void setUnsigned(netsnmp_variable_list& variable, std::uint32_t value) {
   snmp_set_var_typed_integer(&variable, ASN_UNSIGNED, static_cast<long>(value));
}

}  // namespace

/// What the MIB has, and how a value is put into a variable.
struct Scalars::Scalar {
   char const* name;
   std::initializer_list<oid> place;  // below the MIB
   void (*put)(Values const& values, netsnmp_variable_list& variable);
};

Scalars::Scalar const Scalars::kScalars[] = {
      {"mplsTunnelConfigured",
       {1, 1},
       [](Values const& values, netsnmp_variable_list& variable) { setUnsigned(variable, values.configured()); }},
      {"mplsTunnelActive",
       {1, 2},
       [](Values const& values, netsnmp_variable_list& variable) { setUnsigned(variable, values.active()); }},
      {"mplsTunnelTEDistProto",
       {1, 3},
       [](Values const& values, netsnmp_variable_list& variable) {
          std::uint8_t bits = 0;
          for (auto const protocol : values.teDistProto()) bits |= 0x80U >> static_cast<unsigned>(protocol);
          snmp_set_var_typed_value(&variable, ASN_OCTET_STR, &bits, sizeof bits);
       }},
      {"mplsTunnelMaxHops",
       {1, 4},
       [](Values const&, netsnmp_variable_list& variable) { setUnsigned(variable, kMaxHops); }},
      {"mplsTunnelNotificationMaxRate",
       {1, 5},
       [](Values const& values, netsnmp_variable_list& variable) { setUnsigned(variable, values.maxRate()); }},
      {"mplsTunnelNotificationEnable", {2, 11}, [](Values const& values, netsnmp_variable_list& variable) {
          snmp_set_var_typed_integer(&variable, ASN_INTEGER, values.enabled() ? 1 : 2);
       }}};

Scalars::Scalars(Values values) : values_(std::move(values)) {
   for (Scalar const& scalar : kScalars) {
      auto const place = belowMib(scalar.place);
      auto* const registration = netsnmp_create_handler_registration(scalar.name, &Scalars::handle, place.data(),
                                                                     place.size(), HANDLER_CAN_RONLY);
      registration->my_reg_void = this;
      registration->handler->myvoid = const_cast<Scalar*>(&scalar);
      // A registration that fails has been freed.
      if (netsnmp_register_read_only_scalar(registration) != MIB_REGISTERED_OK) {
         unregister();
         throw std::runtime_error(fmt::format("{} is served by somebody else", scalar.name));
      }
      registrations_.push_back(registration);
   }
   oid mib[std::size(kMplsTeStdMib)];
   std::copy(std::begin(kMplsTeStdMib), std::end(kMplsTeStdMib), mib);
   register_sysORTable(mib, std::size(mib), kDescription);
}

Scalars::~Scalars() {
   oid mib[std::size(kMplsTeStdMib)];
   std::copy(std::begin(kMplsTeStdMib), std::end(kMplsTeStdMib), mib);
   unregister_sysORTable(mib, std::size(mib));
   unregister();
}

void Scalars::unregister() {
   for (auto* const registration : std::exchange(registrations_, {})) netsnmp_unregister_handler(registration);
}

int Scalars::handle(netsnmp_mib_handler* handler, netsnmp_handler_registration* registration,
                    netsnmp_agent_request_info* info, netsnmp_request_info* requests) noexcept {
   auto const& scalar = *static_cast<Scalar const*>(handler->myvoid);
   auto const& values = static_cast<Scalars const*>(registration->my_reg_void)->values_;
   if (info->mode != MODE_GET) return SNMP_ERR_NOERROR;
   for (auto* request = requests; request; request = request->next) {
      if (request->processed) continue;
      try {
         scalar.put(values, *request->requestvb);
      } catch (std::exception const&) {
         netsnmp_request_set_error(request, SNMP_ERR_GENERR);
      }
   }
   return SNMP_ERR_NOERROR;
}

}  // namespace Notifications
