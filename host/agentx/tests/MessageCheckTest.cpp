// SPDX-License-Identifier: MIT
// What of AgentX is let in: RFC 2741 with the limits of net-snmp's library, which reads more than it can hold.
#include "host/agentx/MessageCheck.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "host/agentx/Messages.h"

namespace {

using AgentX::Fault;
using Octets = std::vector<unsigned char>;

Octets operator+(Octets a, Octets const& b) {
   a.insert(a.end(), b.begin(), b.end());
   return a;
}

void append(Octets& octets, std::size_t value, std::size_t size, bool bigEndian = true) {
   for (std::size_t i = 0; i < size; ++i) {
      octets.push_back(static_cast<unsigned char>(value >> 8U * (bigEndian ? size - 1 - i : i)));
   }
}

/// An object identifier of `given` sub-identifiers behind the prefix.
Octets oidOf(unsigned char given, unsigned char prefix = 0, unsigned char include = 0) {
   return Octets{given, prefix, include, 0} + Octets(4U * given, 1);
}

Octets string(std::string const& text) {
   Octets octets;
   append(octets, text.size(), 4);
   octets.insert(octets.end(), text.begin(), text.end());
   octets.resize((octets.size() + 3) / 4 * 4);
   return octets;
}

Octets variable(unsigned type, Octets const& value) {
   Octets octets;
   append(octets, type, 2);
   append(octets, 0, 2);
   return octets + oidOf(3, 4) + value;
}

Octets checked(unsigned char type, Octets const& payload, unsigned char flags = 0, unsigned char version = 1) {
   Octets octets{version, type, static_cast<unsigned char>(flags | AgentX::kAgentXNetworkByteOrder), 0};
   octets.resize(16);
   append(octets, payload.size(), 4);
   return octets + payload;
}

Fault faultOf(Octets const& octets) { return AgentX::faultOf(octets.data(), octets.size()); }
Fault faultOfGet(Octets const& range) { return faultOf(checked(AgentX::kAgentXGetNext, range)); }
Fault faultOfSet(Octets const& variables) { return faultOf(checked(AgentX::kAgentXTestSet, variables)); }

Octets const kRange = oidOf(3, 4) + oidOf(0);

TEST(MessageCheck, whatAMasterSendsIsWellFormed) {
   for (auto const type : {AgentX::kAgentXGet, AgentX::kAgentXGetNext}) {
      EXPECT_EQ(faultOf(checked(type, kRange + kRange)), Fault::none);
   }
   EXPECT_EQ(faultOf(checked(AgentX::kAgentXGetBulk, Octets{0, 1, 0, 10} + kRange)), Fault::none);
   EXPECT_EQ(faultOfSet(variable(ASN_INTEGER, Octets(4))), Fault::none);
   for (auto const type : {AgentX::kAgentXCommitSet, AgentX::kAgentXUndoSet, AgentX::kAgentXCleanupSet}) {
      EXPECT_EQ(faultOf(checked(type, {})), Fault::none);
   }
   EXPECT_EQ(faultOf(checked(AgentX::kAgentXClose, Octets(4))), Fault::none);
   EXPECT_EQ(faultOf(checked(AgentX::kAgentXResponse, Octets(8))), Fault::none);
}

TEST(MessageCheck, whatOnlyASubagentSendsOrNobodyIsNot) {
   for (int type = 0; type < 256; ++type) {
      bool const fromAMaster = (type >= AgentX::kAgentXGet && type <= AgentX::kAgentXCleanupSet) ||
                               type == AgentX::kAgentXClose || type == AgentX::kAgentXResponse;
      if (fromAMaster) continue;
      for (Octets const& payload : {Octets{}, Octets(4), kRange}) {
         EXPECT_EQ(faultOf(checked(static_cast<unsigned char>(type), payload)), Fault::malformed) << type;
      }
   }
}

TEST(MessageCheck, aNameHas128SubidentifiersAtMost) {
   EXPECT_EQ(faultOfGet(oidOf(128) + oidOf(0)), Fault::none);
   EXPECT_EQ(faultOfGet(oidOf(129) + oidOf(0)), Fault::malformed);
   EXPECT_EQ(faultOfGet(oidOf(123, 6) + oidOf(0)), Fault::none);
   EXPECT_EQ(faultOfGet(oidOf(124, 6) + oidOf(0)), Fault::malformed) << "the prefix stands for five";
   EXPECT_EQ(faultOfGet(oidOf(0) + oidOf(255)), Fault::malformed) << "the end of a range";
   EXPECT_EQ(faultOfSet(variable(ASN_OBJECT_ID, oidOf(128))), Fault::none);
   EXPECT_EQ(faultOfSet(variable(ASN_OBJECT_ID, oidOf(129))), Fault::malformed) << "a value";
}

TEST(MessageCheck, aRangeIncludesItsBeginningOrNot) {
   EXPECT_EQ(faultOfGet(oidOf(3, 4, 1) + oidOf(0)), Fault::none);
   EXPECT_EQ(faultOfGet(oidOf(3, 4, 2) + oidOf(0)), Fault::malformed);
}

TEST(MessageCheck, aContextHas255OctetsAtMostAndNoNul) {
   auto const inContext = [](std::string const& name) {
      return faultOf(checked(AgentX::kAgentXGet, string(name) + kRange, AgentX::kAgentXNonDefaultContext));
   };
   EXPECT_EQ(inContext(""), Fault::none);
   EXPECT_EQ(inContext("red"), Fault::none);
   EXPECT_EQ(inContext(std::string(255, 'x')), Fault::none);
   EXPECT_EQ(inContext(std::string(256, 'x')), Fault::malformed);
   EXPECT_EQ(inContext(std::string("re\0d", 4)), Fault::malformed);
   EXPECT_EQ(inContext(std::string("red\0", 4)), Fault::malformed);
   EXPECT_EQ(faultOf(checked(AgentX::kAgentXGet, Octets{0xff, 0xff, 0xff, 0xff}, AgentX::kAgentXNonDefaultContext)),
             Fault::malformed);
}

TEST(MessageCheck, eachTypeOfValueHasItsForm) {
   for (auto const type : {ASN_INTEGER, ASN_COUNTER, ASN_GAUGE, ASN_TIMETICKS}) {
      EXPECT_EQ(faultOfSet(variable(type, Octets(4))), Fault::none);
      EXPECT_EQ(faultOfSet(variable(type, {})), Fault::malformed);
   }
   EXPECT_EQ(faultOfSet(variable(ASN_COUNTER64, Octets(8))), Fault::none);
   EXPECT_EQ(faultOfSet(variable(ASN_COUNTER64, Octets(4))), Fault::malformed);
   EXPECT_EQ(faultOfSet(variable(ASN_OCTET_STR, string(std::string(3000, 'x')))), Fault::none);
   EXPECT_EQ(faultOfSet(variable(ASN_OPAQUE, string("12345"))), Fault::none);
   EXPECT_EQ(faultOfSet(variable(ASN_IPADDRESS, string("1234"))), Fault::none);
   EXPECT_EQ(faultOfSet(variable(ASN_IPADDRESS, string("123"))), Fault::malformed);
   EXPECT_EQ(faultOfSet(variable(ASN_IPADDRESS, string("12345"))), Fault::malformed);
   for (auto const type : {ASN_NULL, SNMP_NOSUCHOBJECT, SNMP_NOSUCHINSTANCE, SNMP_ENDOFMIBVIEW}) {
      EXPECT_EQ(faultOfSet(variable(type, {})), Fault::none);
   }
   for (unsigned const type :
        {0U, 3U, 7U, 69U, 71U, unsigned{ASN_PRIV_INCL_RANGE}, unsigned{ASN_PRIV_EXCL_RANGE}, 0x102U, 0xffffU}) {
      EXPECT_EQ(faultOfSet(variable(type, Octets(8))), Fault::malformed) << type;
   }
}

TEST(MessageCheck, nothingMayBeCutOff) {
   Octets const context = string("red");
   for (Octets const& whole :
        {checked(AgentX::kAgentXGetNext, context + kRange, AgentX::kAgentXNonDefaultContext),
         checked(AgentX::kAgentXTestSet, variable(ASN_OCTET_STR, string("12345")) + variable(ASN_OBJECT_ID, oidOf(9))),
         checked(AgentX::kAgentXGetBulk, Octets{0, 1, 0, 10} + kRange), checked(AgentX::kAgentXResponse, Octets(8))}) {
      ASSERT_EQ(faultOf(whole), Fault::none);
      for (std::size_t size = 20; size < whole.size(); ++size) {
         Octets const cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
         EXPECT_EQ(faultOf(cut), Fault::malformed) << "the length is that of the whole";
         // With the length put right only what ends between two parts is a message.
         Octets const payload(cut.begin() + 20, cut.end());
         Octets lengthened = checked(cut[1], payload, cut[2]);
         bool const betweenParts = faultOf(lengthened) == Fault::none;
         EXPECT_TRUE(!betweenParts || size % 4 == 0) << size;
      }
   }
   EXPECT_EQ(faultOfGet(oidOf(3, 4)), Fault::malformed) << "a range without its end";
   EXPECT_EQ(faultOfSet(variable(ASN_OCTET_STR, Octets{0, 0, 0, 9, 1, 2, 3, 4})), Fault::malformed);
   EXPECT_EQ(faultOf(checked(AgentX::kAgentXCommitSet, kRange)), Fault::malformed);
   EXPECT_EQ(faultOf(checked(AgentX::kAgentXResponse, Octets(4))), Fault::malformed);
}

TEST(MessageCheck, thereIsOneVersion) {
   EXPECT_EQ(faultOf(checked(AgentX::kAgentXGet, kRange, 0, 0)), Fault::malformed);
   EXPECT_EQ(faultOf(checked(AgentX::kAgentXGet, kRange, 0, 2)), Fault::malformed);
}

TEST(MessageCheck, numbersAreInTheByteOrderThatTheFlagsSay) {
   Octets little{1, AgentX::kAgentXTestSet, 0, 0};
   little.resize(16);
   Octets payload{ASN_OCTET_STR, 0, 0, 0};
   payload = payload + oidOf(3, 4);
   append(payload, 5, 4, false);
   payload = payload + Octets(8, 'x');
   append(little, payload.size(), 4, false);
   EXPECT_EQ(faultOf(little + payload), Fault::none);
}

TEST(MessageCheck, aMessageHas64KiBAtMost) {
   Octets ranges;
   while (ranges.size() + kRange.size() + 20 <= AgentX::MessageLimits::kOctets) ranges = ranges + kRange;
   EXPECT_EQ(faultOfGet(ranges), Fault::none);
   EXPECT_EQ(faultOfGet(ranges + kRange), Fault::tooLong);
}

}  // namespace
