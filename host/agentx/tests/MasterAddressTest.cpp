// SPDX-License-Identifier: MIT
#include "host/agentx/MasterAddress.h"

#include <gmock/gmock.h>

#include <cerrno>

namespace {

using testing::HasSubstr;
using testing::StartsWith;

std::string addressOf(std::string const& text) { return AgentX::MasterAddress(text).text(); }

std::string refusal(std::string const& text) {
   try {
      return "taken as " + addressOf(text);
   } catch (AgentX::AddressError const& error) {
      return error.what();
   }
}

TEST(MasterAddress, aPathIsAUnixSocket) {
   EXPECT_EQ(addressOf("unix:/run/agentx/master"), "unix:/run/agentx/master");
   EXPECT_EQ(addressOf("/run/agentx/master"), "unix:/run/agentx/master");
   EXPECT_EQ(addressOf("unix:relative/master"), "unix:relative/master");
   EXPECT_EQ(AgentX::MasterAddress("/m").address()->sa_family, AF_UNIX);
}

TEST(MasterAddress, tcpHasAHostAndAPort) {
   EXPECT_EQ(addressOf("tcp:127.0.0.1:7705"), "tcp:127.0.0.1:7705");
   EXPECT_EQ(addressOf("127.0.0.1:7705"), "tcp:127.0.0.1:7705");
   EXPECT_EQ(addressOf("tcp:127.0.0.1"), "tcp:127.0.0.1:705");
   EXPECT_EQ(addressOf("7705"), "tcp:127.0.0.1:7705");
   EXPECT_EQ(addressOf("tcp6:[::1]:7705"), "tcp6:[::1]:7705");
   EXPECT_EQ(addressOf("tcp6:[::1]"), "tcp6:[::1]:705");
   EXPECT_EQ(addressOf("tcp6:::1"), "tcp6:[::1]:705");
   EXPECT_EQ(AgentX::MasterAddress("tcp6:[::1]:1").address()->sa_family, AF_INET6);
}

TEST(MasterAddress, ofAListTheFirstCounts) {
   EXPECT_EQ(addressOf("unix:/run/agentx/master,tcp:127.0.0.1:705"), "unix:/run/agentx/master");
}

TEST(MasterAddress, whatIsNoneIsRefused) {
   for (char const* const text : {"", "udp:127.0.0.1:705", "agentx", "::1", "tcp", "unix:"}) {
      EXPECT_THAT(refusal(text), StartsWith(std::string(text) + ": this is no address of an AgentX master; "));
   }
   EXPECT_THAT(refusal("tcp:127.0.0.1:port"), StartsWith("tcp:127.0.0.1:port: "));
   EXPECT_THAT(refusal("tcp:127.0.0.1:65536"), StartsWith("tcp:127.0.0.1:65536: "));
   EXPECT_THAT(refusal("tcp:127.0.0.1:0"), StartsWith("tcp:127.0.0.1:0: "));
   EXPECT_THAT(refusal("tcp:127.0.0.1:"), StartsWith("tcp:127.0.0.1:: "));
   EXPECT_THAT(refusal("tcp:256.0.0.1:705"), StartsWith("tcp:256.0.0.1:705: "));
   EXPECT_THAT(refusal("/" + std::string(200, 'x')), HasSubstr("at most 107 characters"));
}

TEST(MasterAddress, whatHelpsIsSaidWhereSomethingDoes) {
   AgentX::MasterAddress const address("tcp:127.0.0.1:7705");
   EXPECT_EQ(address.explain(ECONNREFUSED),
             "Connection refused; nobody listens there: is snmpd running, with the lines \"master agentx\" and "
             "\"agentXSocket tcp:127.0.0.1:7705\" in its snmpd.conf?");
   EXPECT_EQ(address.explain(EAGAIN),
             "Resource temporarily unavailable; too many wait there for a connection: snmpd has been stopped, or is "
             "overloaded");
   EXPECT_EQ(address.explain(ENETUNREACH), "Network is unreachable");
}

}  // namespace
