// SPDX-License-Identifier: MIT
#pragma once

#include <net-snmp/net-snmp-config.h>
// The configuration comes first.
#include <net-snmp/net-snmp-includes.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <string>
#include <string_view>

namespace TestSupport {

/// Octets as text: names in quotes, other strings as decimal octets such as "10.0.12.2".
inline std::string octetsText(std::string_view octets) {
   auto const isNameLike = [](unsigned char c) { return std::isalnum(c) || c == '-'; };
   bool const isName = octets.empty() || (octets.size() > 2 && std::ranges::all_of(octets, isNameLike));
   if (isName) return '"' + std::string(octets) + '"';
   std::string text;
   for (unsigned char c : octets) text += (text.empty() ? "" : ".") + std::to_string(unsigned{c});
   return text;
}

/// What a varbind holds, such as "INTEGER 7", "OCTETS 10.0.12.2" or "noSuchObject".
inline std::string valueText(netsnmp_variable_list const& varbind) {
   auto const number = [&] { return std::to_string(*varbind.val.integer); };
   switch (varbind.type) {
      case ASN_INTEGER:
         return "INTEGER " + number();
      case ASN_UNSIGNED:
         return "Unsigned32 " + number();
      case ASN_COUNTER:
         return "Counter32 " + number();
      case ASN_TIMETICKS:
         return "TimeTicks " + number();
      case ASN_COUNTER64:
         return "Counter64 " +
                std::to_string((std::uint64_t{varbind.val.counter64->high} << 32U) | varbind.val.counter64->low);
      case ASN_OCTET_STR:
         return "OCTETS " + octetsText({reinterpret_cast<char const*>(varbind.val.string), varbind.val_len});
      case ASN_NULL:
         return "NULL";
      case SNMP_NOSUCHOBJECT:
         return "noSuchObject";
      case SNMP_NOSUCHINSTANCE:
         return "noSuchInstance";
      case SNMP_ENDOFMIBVIEW:
         return "endOfMibView";
      default:
         return "type " + std::to_string(varbind.type);
   }
}

}  // namespace TestSupport
