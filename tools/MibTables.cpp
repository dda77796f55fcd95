// SPDX-License-Identifier: MIT
#include "tools/MibTables.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cassert>

#include "tools/Text.h"

namespace Tools {

namespace {

constexpr Label adminStatus[] = {{1, "up"}, {2, "down"}, {3, "testing"}};
constexpr Label operStatus[] = {{1, "up"},      {2, "down"},       {3, "testing"},       {4, "unknown"},
                                {5, "dormant"}, {6, "notPresent"}, {7, "lowerLayerDown"}};
constexpr Label role[] = {{1, "head"}, {2, "transit"}, {3, "tail"}, {4, "headTail"}};
constexpr Label signallingProto[] = {{1, "none"}, {2, "rsvp"}, {3, "crldp"}, {4, "other"}};
constexpr Label owner[] = {{1, "unknown"}, {2, "other"},  {3, "snmp"},       {4, "ldp"},
                           {5, "crldp"},   {6, "rsvpTe"}, {7, "policyAgent"}};
constexpr Label sessionAttributes[] = {
      {0, "fastReroute"}, {1, "mergingPermitted"}, {2, "isPersistent"}, {3, "isPinned"}, {4, "recordRoute"}};
constexpr Label hopAddrType[] = {{0, "unknown"}, {1, "ipv4"}, {2, "ipv6"}, {3, "asnumber"}, {4, "unnum"}, {5, "lspid"}};
constexpr Label hopType[] = {{1, "strict"}, {2, "loose"}};
constexpr Label entryPathComp[] = {{1, "dynamic"}, {2, "explicit"}};
constexpr Label rowStatus[] = {{1, "active"},      {2, "notInService"},  {3, "notReady"},
                               {4, "createAndGo"}, {5, "createAndWait"}, {6, "destroy"}};
constexpr Label storageType[] = {{1, "other"}, {2, "volatile"}, {3, "nonVolatile"}, {4, "permanent"}, {5, "readOnly"}};

constexpr Column tunnelIndex[] = {{1, "mplsTunnelIndex", "index", Kind::number},
                                  {2, "mplsTunnelInstance", "instance", Kind::number},
                                  {3, "mplsTunnelIngressLSRId", "ingress", Kind::lsrId},
                                  {4, "mplsTunnelEgressLSRId", "egress", Kind::lsrId}};

constexpr Column tunnelColumns[] = {
      {TunnelColumn::name, "mplsTunnelName", "name", Kind::text},
      {6, "mplsTunnelDescr", "description", Kind::text},
      {7, "mplsTunnelIsIf", "is interface", Kind::truth},
      {8, "mplsTunnelIfIndex", "interface index", Kind::number},
      {9, "mplsTunnelOwner", "owner", Kind::enumeration, owner},
      {10, "mplsTunnelRole", "role", Kind::enumeration, role},
      {12, "mplsTunnelSignallingProto", "signalling", Kind::enumeration, signallingProto},
      {TunnelColumn::setupPrio, "mplsTunnelSetupPrio", "setup priority", Kind::number},
      {TunnelColumn::holdingPrio, "mplsTunnelHoldingPrio", "holding priority", Kind::number},
      {TunnelColumn::sessionAttributes, "mplsTunnelSessionAttributes", "session attributes", Kind::bits,
       sessionAttributes},
      {TunnelColumn::localProtectInUse, "mplsTunnelLocalProtectInUse", "protection in use", Kind::truth},
      {TunnelColumn::hopTableIndex, "mplsTunnelHopTableIndex", "hop list", Kind::number},
      {21, "mplsTunnelPathInUse", "path option in use", Kind::number},
      {24, "mplsTunnelIncludeAnyAffinity", "include any", Kind::number},
      {25, "mplsTunnelIncludeAllAffinity", "include all", Kind::number},
      {26, "mplsTunnelExcludeAnyAffinity", "exclude any", Kind::number},
      {TunnelColumn::instanceUpTime, "mplsTunnelInstanceUpTime", "up time", Kind::ticks},
      {30, "mplsTunnelPathChanges", "path changes", Kind::number},
      {33, "mplsTunnelStateTransitions", "state transitions", Kind::number},
      {TunnelColumn::adminStatus, "mplsTunnelAdminStatus", "admin status", Kind::enumeration, adminStatus},
      {TunnelColumn::operStatus, "mplsTunnelOperStatus", "state", Kind::enumeration, operStatus},
      {36, "mplsTunnelRowStatus", "row status", Kind::enumeration, rowStatus},
      {37, "mplsTunnelStorageType", "storage type", Kind::enumeration, storageType}};

constexpr Column hopIndex[] = {{1, "mplsTunnelHopListIndex", "list", Kind::number},
                               {2, "mplsTunnelHopPathOptionIndex", "option", Kind::number},
                               {3, "mplsTunnelHopIndex", "hop", Kind::number}};

constexpr Column hopColumns[] = {
      {4, "mplsTunnelHopAddrType", "address type", Kind::enumeration, hopAddrType},
      {HopColumn::ipAddr, "mplsTunnelHopIpAddr", "address", Kind::address},
      {HopColumn::ipPrefixLen, "mplsTunnelHopIpPrefixLen", "prefix length", Kind::number},
      {7, "mplsTunnelHopAsNumber", "AS number", Kind::octets},
      {8, "mplsTunnelHopAddrUnnum", "unnumbered interface", Kind::octets},
      {9, "mplsTunnelHopLspId", "LSP id", Kind::octets},
      {HopColumn::type, "mplsTunnelHopType", "type", Kind::enumeration, hopType},
      {HopColumn::include, "mplsTunnelHopInclude", "include", Kind::truth},
      {HopColumn::pathOptionName, "mplsTunnelHopPathOptionName", "path", Kind::text},
      {HopColumn::entryPathComp, "mplsTunnelHopEntryPathComp", "computed", Kind::enumeration, entryPathComp},
      {14, "mplsTunnelHopRowStatus", "row status", Kind::enumeration, rowStatus},
      {15, "mplsTunnelHopStorageType", "storage type", Kind::enumeration, storageType}};

constexpr Column perfColumns[] = {{PerfColumn::packets, "mplsTunnelPerfPackets", "packets (32 bit)", Kind::number},
                                  {PerfColumn::hcPackets, "mplsTunnelPerfHCPackets", "packets", Kind::number},
                                  {PerfColumn::bytes, "mplsTunnelPerfBytes", "bytes (32 bit)", Kind::number},
                                  {PerfColumn::hcBytes, "mplsTunnelPerfHCBytes", "bytes", Kind::number}};

std::string const* octetsOf(Value const& value) { return std::get_if<std::string>(&value); }

std::string hexadecimal(std::string const& octets) {
   return fmt::format("{:02x}", fmt::join(reinterpret_cast<unsigned char const*>(octets.data()),
                                          reinterpret_cast<unsigned char const*>(octets.data()) + octets.size(), ":"));
}

std::string internetAddress(std::string const& octets) {
   char text[INET6_ADDRSTRLEN];
   int const family = octets.size() == 4 ? AF_INET : octets.size() == 16 ? AF_INET6 : AF_UNSPEC;
   if (family != AF_UNSPEC && inet_ntop(family, octets.data(), text, sizeof text)) return text;
   return hexadecimal(octets);
}

Label const* labelOf(Column const& column, std::uint64_t number) {
   auto const at = std::find_if(column.labels.begin(), column.labels.end(),
                                [number](Label const& label) { return label.value == number; });
   return at == column.labels.end() ? nullptr : &*at;
}

}  // namespace

constinit Table const tunnelTable{"mplsTunnelTable", 2, tunnelIndex, tunnelColumns};
constinit Table const hopTable{"mplsTunnelHopTable", 4, hopIndex, hopColumns};
constinit Table const perfTable{"mplsTunnelPerfTable", 9, tunnelIndex, perfColumns};

Column const& Table::column(std::uint32_t columnNumber) const {
   auto const at = std::find_if(columns.begin(), columns.end(),
                                [columnNumber](Column const& column) { return column.number == columnNumber; });
   assert(at != columns.end());
   return *at;
}

std::vector<std::uint32_t> Table::columnNumbers() const {
   std::vector<std::uint32_t> numbers;
   for (auto const& column : columns) numbers.push_back(column.number);
   return numbers;
}

Oid Table::columnOid(std::uint32_t columnNumber) const {
   return {1, 3, 6, 1, 2, 1, 10, 166, 3, 2, number, 1, columnNumber};
}

std::optional<std::uint64_t> toNumber(Value const& value) {
   if (auto const* number = std::get_if<std::uint64_t>(&value)) return *number;
   if (auto const* number = std::get_if<std::int64_t>(&value); number && *number >= 0) {
      return static_cast<std::uint64_t>(*number);
   }
   return std::nullopt;
}

bool isTrue(Value const& value) { return toNumber(value) == 1; }

std::vector<std::string> toBits(Column const& column, Value const& value) {
   std::vector<std::string> names;
   auto const* octets = octetsOf(value);
   if (!octets) return names;
   for (auto const& label : column.labels) {
      std::size_t const octet = label.value / 8;
      if (octet < octets->size() && (static_cast<unsigned char>((*octets)[octet]) & (0x80U >> label.value % 8))) {
         names.emplace_back(label.name);
      }
   }
   return names;
}

std::string dottedQuad(std::uint32_t address) {
   return fmt::format("{}.{}.{}.{}", address >> 24, address >> 16 & 255, address >> 8 & 255, address & 255);
}

std::string toText(Column const& column, Value const& value) {
   if (!present(value)) return "-";
   auto const number = toNumber(value);
   if (number && column.kind == Kind::ticks) return duration(*number / 100);
   if (column.kind == Kind::bits && octetsOf(value)) {
      auto const names = toBits(column, value);
      return names.empty() ? "none" : fmt::format("{}", fmt::join(names, " "));
   }
   auto const json = toJson(column, value);
   if (json.is_boolean()) return json.get<bool>() ? "yes" : "no";
   if (!json.is_string()) return json.dump();
   auto const text = escaped(json.get_ref<std::string const&>());
   return text.empty() ? "\"\"" : text;
}

nlohmann::ordered_json toJson(Column const& column, Value const& value) {
   if (!present(value)) return nullptr;
   if (auto const* octets = octetsOf(value)) {
      switch (column.kind) {
         case Kind::text:
            return *octets;
         case Kind::bits:
            return toBits(column, value);
         case Kind::address:
            return internetAddress(*octets);
         default:
            return hexadecimal(*octets);
      }
   }
   auto const number = toNumber(value);
   if (!number) return std::get<std::int64_t>(value);
   switch (column.kind) {
      case Kind::truth:
         if (*number == 1 || *number == 2) return *number == 1;
         break;
      case Kind::enumeration:
         if (auto const* label = labelOf(column, *number)) return label->name;
         break;
      case Kind::lsrId:
         if (*number <= UINT32_MAX) return dottedQuad(static_cast<std::uint32_t>(*number));
         break;
      default:
         break;
   }
   return *number;
}

}  // namespace Tools
