// SPDX-License-Identifier: MIT
#include "tests/differential/World.h"

#include "snmp/tests/Rows.h"

namespace Differential {

namespace {

constexpr std::uint32_t kLargest = 0xffff'ffff;
Name const kObjects{1, 3, 6, 1, 2, 1, 10, 166, 3, 2};
constexpr std::size_t kMostRows = 60;

/// Another index, such as a manager might come from: cut, continued, or with a component that is not of this world.
void distort(Name& index, auto roll) {
   switch (roll(6)) {
      case 0:
         index.resize(roll(index.size() + 1));
         break;
      case 1:
         index.push_back(roll(3));
         break;
      case 2:
         index.insert(index.end(), roll(40), roll(2) == 0 ? 0 : kLargest);
         break;
      case 3:
         index[roll(index.size())] += roll(2) == 0 ? 1 : 65'536;
         break;
      case 4:
         index[roll(index.size())] = roll(2) == 0 ? 65'536 : kLargest;
         break;
      default: {
         auto& component = index[roll(index.size())];
         component = component == 0 ? 0 : component - 1;
      }
   }
}

}  // namespace

MplsSnmp::MplsTunnelTableKey World::tunnelKey() {
   std::vector<std::uint16_t> const indices{0, 1, 2, 12, 13, 65'535};
   std::vector<std::uint32_t> const instances{0, 1, 7, 0x8000'0000, kLargest};
   std::vector<std::uint32_t> const addresses{0, 0x0a00'0001, 0xcafe'0001, kLargest};
   return {oneOf(indices), oneOf(instances), oneOf(addresses), oneOf(addresses)};
}

MplsSnmp::MplsTunnelHopTableKey World::hopKey() {
   std::vector<std::uint32_t> const lists{1, 2, 3, kLargest};
   std::vector<std::uint32_t> const options{1, 2};
   std::vector<std::uint32_t> const hops{0, 1, 2, 3, kLargest};
   return {oneOf(lists), oneOf(options), oneOf(hops)};
}

void World::putTunnel() {
   TestSupport::TunnelRow::Values values;
   values.name = std::string(oneOf(std::vector<std::size_t>{0, 8, 8, 30, 255, 300}), 'n');
   if (!isAllSendable_ && roll(40) == 0) values.descr = std::string(300, 'd');  // cannot be sent
   values.perfPackets = random_();
   values.perfBytes = random_() >> roll(64);
   values.pathChanges = static_cast<std::uint32_t>(random_());
   mib_.mplsTunnelTableIs(TestSupport::tunnelRow(tunnelKey(), std::move(values)));
}

void World::putHop() {
   TestSupport::HopRow::Values values;
   if (!isAllSendable_ && roll(40) == 0) values.lspId = std::string(4, '\1');  // cannot be sent
   values.ipAddr = std::string(roll(2) == 0 ? 4 : 16, '\1');
   mib_.mplsTunnelHopTableIs(TestSupport::hopRow(hopKey(), std::move(values)));
}

void World::change() {
   if (roll(500) == 0) mib_.mplsTunnelTableDelAll();
   if (roll(500) == 0) mib_.mplsTunnelHopTableDelAll();
   for (std::size_t n = roll(6); n > 0; --n) {
      if (mib_.mplsTunnelTable().size() < kMostRows) putTunnel();
      if (mib_.mplsTunnelHopTable().size() < kMostRows) putHop();
   }
   for (std::size_t n = roll(12); n > 0; --n) {
      mib_.mplsTunnelTableDel(tunnelKey());
      mib_.mplsTunnelHopTableDel(hopKey());
   }
}

Name World::index(bool ofHop) {
   Name index;
   if (ofHop) {
      auto const key = hopKey();
      index = {key.tunnelHopListIndex, key.tunnelHopPathOptionIndex, key.tunnelHopIndex};
   } else {
      // Mostly a row's.
      auto key = tunnelKey();
      if (auto const row = mib_.mplsTunnelTable().findElementOrNext(key); row && roll(4) != 0) key = row->key();
      index = {key.tunnelIndex, key.tunnelInstance, key.tunnelIngressLsrId, key.tunnelEgressLsrId};
   }
   if (roll(3) == 0) distort(index, [this](std::size_t sides) { return roll(sides); });
   return index;
}

Name World::name() {
   if (roll(12) == 0) {  // somewhere near, or far away
      return oneOf(std::vector<Name>{{1, 3},
                                     {1, 3, 6, 1, 2, 1, 1, 3, 0},
                                     {1, 3, 6, 1, 2, 1, 10, 166, 3, 2, 1, 0},
                                     {1, 3, 6, 1, 2, 1, 10, 166, 3, 2, 3},
                                     {1, 3, 6, 1, 2, 1, 10, 166, 3, 2, 5, 0},
                                     {1, 3, 6, 1, 2, 1, 10, 166, 3, 2, 10, 0},
                                     {1, 3, 6, 1, 6, 3, 18}});
   }
   Name name = kObjects;
   auto const table = oneOf(std::vector<std::uint64_t>{2, 2, 4, 9});
   name.push_back(table);
   if (roll(40) == 0) return name;
   name.push_back(roll(40) == 0 ? roll(4) : 1);
   if (roll(40) == 0) return name;
   std::uint64_t const first = table == 2 ? 5 : table == 4 ? 4 : 1;
   std::uint64_t const last = table == 2 ? 37 : table == 4 ? 15 : 5;
   auto const column = first + roll(last - first + 1);
   name.push_back(roll(20) == 0 ? oneOf(std::vector<std::uint64_t>{0, first - 1, last + 1, kLargest}) : column);
   if (roll(20) == 0) return name;
   Name const behind = index(table == 4);
   name.insert(name.end(), behind.begin(), behind.end());
   return name;
}

Request World::request() {
   Request request;
   request.id = ++id_;
   request.pdu = oneOf(std::vector{Pdu::get, Pdu::getNext, Pdu::getNext, Pdu::getBulk, Pdu::getBulk});
   // SNMPv1 has no GETBULK, and net-snmp's handlers never end when one meets a Counter64.
   request.version = request.pdu != Pdu::getBulk && roll(4) == 0 ? 0 : 1;
   request.community = oneOf(communities_);
   std::size_t const variables = 1 + (roll(3) == 0 ? roll(60) : roll(4));
   // Rows are read across and tables down: variables of a message are mostly alike.
   bool const isRow = roll(3) == 0;
   for (std::size_t n = 0; n < variables; ++n) {
      if (isRow && n > 0 && request.names.front().size() > 13) {
         Name next = request.names.back();
         ++next[12];
         request.names.push_back(std::move(next));
      } else {
         request.names.push_back(name());
      }
   }
   if (request.pdu == Pdu::getBulk) {
      request.nonRepeaters = oneOf(std::vector<std::uint32_t>{0, 0, 0, 1, 2, static_cast<std::uint32_t>(roll(70))});
      request.maxRepetitions = oneOf(std::vector<std::uint32_t>{0, 1, 2, 5, 10, 25, 100, 0x7fff'ffff});
   }
   return request;
}

Octets World::message(Request const& request) {
   Octets octets = encode(request);
   if (roll(20) != 0) return octets;
   for (std::size_t n = 1 + roll(3); n > 0; --n) octets[roll(octets.size())] = static_cast<std::uint8_t>(random_());
   if (roll(4) == 0) octets.resize(roll(octets.size() + 1));
   return octets;
}

}  // namespace Differential
