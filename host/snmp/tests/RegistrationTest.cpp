// SPDX-License-Identifier: MIT
/// How modules announce themselves to the host, and how they find what the host keeps for them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "host/snmp/HandlerRegistration.h"
#include "host/snmp/InetAddress.h"
#include "host/snmp/SnmpUtil.h"
#include "substrate/vel/Exceptions.h"

namespace Snmp {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Module : HandlerRegistration {
   void initHandler(Vel::String context) override { contexts.push_back(context.stdString()); }
   std::vector<std::string> contexts;
};

TEST(AutoRegistree, KeepsAModuleOnTheListForAsLongAsItLives) {
   Module module;
   EXPECT_THAT(AutoRegistree::registrations(), IsEmpty());
   {
      AutoRegistree const registree(&module);
      EXPECT_THAT(AutoRegistree::registrations(), ElementsAre(&module));
   }
   EXPECT_THAT(AutoRegistree::registrations(), IsEmpty());
}

TEST(AutoRegistree, ListsModulesInTheOrderOfTheirLoading) {
   Module first;
   Module second;
   auto registree = std::make_unique<AutoRegistree>(&first);
   AutoRegistree const other(&second);
   EXPECT_THAT(AutoRegistree::registrations(), ElementsAre(&first, &second));
   registree.reset();
   EXPECT_THAT(AutoRegistree::registrations(), ElementsAre(&second)) << "unloading one leaves the others";
}

TEST(AutoRegistree, TheHostReachesEachModuleOncePerContext) {
   Module module;
   AutoRegistree const registree(&module);
   for (auto* registration : AutoRegistree::registrations()) {
      registration->initHandler("");
      registration->initHandler("vrf-red");
   }
   EXPECT_THAT(module.contexts, ElementsAre("", "vrf-red"));
}

TEST(AutoRegistree, AModuleMayLeaveWhileTheHostGoesThroughTheList) {
   Module module;
   auto registree = std::make_unique<AutoRegistree>(&module);
   for (auto* registration : AutoRegistree::registrations()) {
      registration->initHandler("");
      registree.reset();
   }
   EXPECT_THAT(AutoRegistree::registrations(), IsEmpty());
}

class MibContexts : public testing::Test {
 protected:
   ~MibContexts() override {
      for (auto const& [context, module] : mibContexts()) unregisterMibContext(context, module);
   }
};

TEST_F(MibContexts, ListsWhatIsServedInOrderOfRegistration) {
   registerMibContext("", "mplsTeStdMIB");
   registerMibContext("vrf-red", "mplsTeStdMIB");
   registerMibContext("", "otherMIB");
   EXPECT_THAT(mibContexts(), ElementsAre(MibContext{"", "mplsTeStdMIB"}, MibContext{"vrf-red", "mplsTeStdMIB"},
                                          MibContext{"", "otherMIB"}));
}

TEST_F(MibContexts, RegisteringTwiceChangesNothing) {
   registerMibContext("", "mplsTeStdMIB");
   registerMibContext("", "mplsTeStdMIB");
   EXPECT_THAT(mibContexts(), ElementsAre(MibContext{"", "mplsTeStdMIB"}));
   unregisterMibContext("", "mplsTeStdMIB");
   EXPECT_THAT(mibContexts(), IsEmpty());
}

TEST_F(MibContexts, UnregisteringTakesTheVeryPairOnly) {
   registerMibContext("", "mplsTeStdMIB");
   unregisterMibContext("vrf-red", "mplsTeStdMIB");
   unregisterMibContext("", "otherMIB");
   EXPECT_THAT(mibContexts(), ElementsAre(MibContext{"", "mplsTeStdMIB"}));
}

class AgentRoot : public testing::Test {
 protected:
   AgentRoot() { SnmpUtil::agentRootIs(root_); }
   ~AgentRoot() override { SnmpUtil::agentRootIs(nullptr); }
   Vel::Ptr<Vel::EntityDir> const root_ = Vel::makePtr<Vel::EntityDir>("");
};

TEST_F(AgentRoot, EntitiesAreFoundByTheirPathBelowIt) {
   Vel::Ptr<Vel::Entity> const mib = Vel::makePtr<Vel::Entity>("mplsTeMib");
   root_->dirIs("snmp/mpls")->entityIs(mib);
   EXPECT_EQ(SnmpUtil::getEntityRelative("snmp/mpls/mplsTeMib"), mib);
   EXPECT_EQ(SnmpUtil::getEntityRelative("snmp/mpls"), root_->dirIs("snmp/mpls"));
}

TEST_F(AgentRoot, APathThatLeadsNowhereIsNull) {
   root_->dirIs("snmp/mpls")->entityIs(Vel::makePtr<Vel::Entity>("mplsTeMib"));
   for (char const* path :
        {"", "/", "/snmp", "snmp/mpls/other", "snmp/other/mplsTeMib", "snmp/mpls/mplsTeMib/below", "mplsTeMib"}) {
      EXPECT_EQ(SnmpUtil::getEntityRelative(path), nullptr) << path;
   }
}

TEST_F(AgentRoot, IsHeldUntilTheHostTakesItAway) {
   auto root = Vel::makePtr<Vel::EntityDir>("");
   root->entityIs(Vel::makePtr<Vel::Entity>("mib"));
   SnmpUtil::agentRootIs(root);
   root = nullptr;
   EXPECT_NE(SnmpUtil::getEntityRelative("mib"), nullptr);
   SnmpUtil::agentRootIs(nullptr);
   EXPECT_EQ(SnmpUtil::getEntityRelative("mib"), nullptr);
}

TEST(SnmpConfig, IsAlwaysThereAndAlwaysTheSame) {
   ASSERT_NE(SnmpUtil::getSnmpConfig(), nullptr);
   EXPECT_EQ(SnmpUtil::getSnmpConfig(), SnmpUtil::getSnmpConfig());
}

TEST(InetAddress, HasTheTypeAndOctetsOfRfc4001) {
   auto const ipv4 = InetAddress::fromIpGenAddr(Lanu::IpGenAddr::fromText("10.0.12.2"));
   EXPECT_EQ(ipv4.family(), 1U);
   EXPECT_EQ(ipv4.octets(), Vel::Bytes(std::string_view("\x0a\x00\x0c\x02", 4)));
   auto const ipv6 = InetAddress::fromIpGenAddr(Lanu::IpGenAddr::fromText("2001:db8::1"));
   EXPECT_EQ(ipv6.family(), 2U);
   EXPECT_EQ(ipv6.octets(), Vel::Bytes(std::string_view("\x20\x01\x0d\xb8\0\0\0\0\0\0\0\0\0\0\0\x01", 16)));
   auto const none = InetAddress::fromIpGenAddr(Lanu::IpGenAddr());
   EXPECT_EQ(none.family(), 0U);
   EXPECT_EQ(none.octets().size(), 0U);
   EXPECT_EQ(none, InetAddress());
}

}  // namespace
}  // namespace Snmp
