// SPDX-License-Identifier: MIT
/// The columns of a hop row over the hop's address and the path spec that it belongs to.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mib/MplsTunnelHopTableEntryRsvp.h"
#include "tests/support/TraceCapture.h"

namespace MplsSnmp {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class HopRowTest : public testing::Test {
 protected:
   using Type = Rsvp::RsvpLerPathSpec::Type;

   static Vel::Ptr<Rsvp::RsvpLerPathSpec> spec(std::string_view id, Type type) {
      auto const made = Vel::makePtr<Rsvp::RsvpLerPathSpec>(Rsvp::RsvpLerPathSpecId::fromText(id));
      made->typeIs(type);
      return made;
   }
   Vel::Ptr<MplsTunnelHopTableEntryRsvp> row(Snmp::InetAddress const& address) const {
      return mplsTunnelHopTableEntryRsvpFactory(MplsTunnelHopTableKey(7, 1, 2), address, gold_);
   }
   Vel::Ptr<MplsTunnelHopTableEntryRsvp> row(std::string_view address) const {
      return row(Snmp::InetAddress::fromIpGenAddr(Lanu::IpGenAddr::fromText(address)));
   }

   Vel::Ptr<Rsvp::RsvpLerPathSpec> const gold_ = spec("cli:gold", Type::explicitPath);
};

TEST_F(HopRowTest, storesWhatItWasMadeWith) {
   auto const made = row("10.0.12.2");
   EXPECT_EQ(made->fwkType().name, "MplsSnmp::MplsTunnelHopTableEntryRsvp");
   EXPECT_EQ(made->key(), MplsTunnelHopTableKey(7, 1, 2));
   EXPECT_EQ(made->ipAddr(), Snmp::InetAddress(1, Vel::Bytes("\x0a\0\x0c\x02", 4)));
   EXPECT_EQ(made->pathSpec(), gold_);
   EXPECT_EQ(made->rowStatus(), 1);
   EXPECT_EQ(made->storageType(), 5);
}

TEST_F(HopRowTest, anIpv4HopIsAWholeAddress) {
   auto const made = row("10.0.12.2");
   EXPECT_EQ(made->hopAddrType(), HopAddrType::ipv4);
   EXPECT_EQ(made->hopIpAddr(), Vel::Bytes("\x0a\0\x0c\x02", 4));
   EXPECT_EQ(made->hopIpPrefixLen(), 32);
}

TEST_F(HopRowTest, anIpv6HopIsAWholeAddress) {
   auto const made = row("2001:db8::1");
   EXPECT_EQ(made->hopAddrType(), HopAddrType::ipv6);
   EXPECT_EQ(made->hopIpAddr().hex(), "20:01:0d:b8:00:00:00:00:00:00:00:00:00:00:00:01");
   EXPECT_EQ(made->hopIpPrefixLen(), 128);
}

TEST_F(HopRowTest, aHopWithoutAKnownFamilyIsUnknown) {
   for (unsigned const family : {0U, 3U, 16U, 4294967295U}) {
      auto const made = row(Snmp::InetAddress(family, Vel::Bytes("abc", 3)));
      EXPECT_EQ(made->hopAddrType(), HopAddrType::typeUnknown);
      EXPECT_EQ(made->hopIpPrefixLen(), 0);
      EXPECT_EQ(made->hopIpAddr(), Vel::Bytes("abc", 3));
   }
   auto const none = row(Snmp::InetAddress::fromIpGenAddr({}));
   EXPECT_EQ(none->hopAddrType(), HopAddrType::typeUnknown);
   EXPECT_EQ(none->hopIpAddr().size(), 0);
}

TEST_F(HopRowTest, identifiersThatAHopDoesNotHaveAreFixedOctets) {
   auto const made = row("10.0.12.2");
   EXPECT_EQ(made->hopAsNumber(), Vel::Bytes("\xc0\x80\xc0\x80", 4));
   EXPECT_EQ(made->hopAddrUnnum(), Vel::Bytes("\xc0\x80\xc0\x80", 4));
   EXPECT_EQ(made->hopLspId(), Vel::Bytes("\xc0\x80", 2));
}

TEST_F(HopRowTest, everyHopIsStrictAndIncluded) {
   EXPECT_EQ(row("10.0.12.2")->hopType(), HopType::strict);
   EXPECT_TRUE(row("10.0.12.2")->hopInclude());
}

TEST_F(HopRowTest, thePathOptionIsNamedByThePathSpecWithoutItsStoredEnd) {
   auto const made = row("10.0.12.2");
   EXPECT_EQ(gold_->name(), Vel::String(std::string_view("gold\0", 5)));
   EXPECT_EQ(made->hopPathOptionName(), Vel::String("gold"));
   // Nothing is kept: a new name shows at once.
   gold_->nameIs(Rsvp::storedName("platinum"));
   EXPECT_EQ(made->hopPathOptionName(), Vel::String("platinum"));
   gold_->nameIs({});
   EXPECT_TRUE(made->hopPathOptionName().empty());
}

TEST_F(HopRowTest, thePathIsComputedAsThePathSpecSays) {
   auto const made = row("10.0.12.2");
   TestSupport::TraceCapture const trace("MplsSnmp");
   gold_->typeIs(Type::dynamic);
   EXPECT_EQ(made->hopEntryPathComp(), HopEntryPathComp::compDynamic);
   gold_->typeIs(Type::explicitPath);
   EXPECT_EQ(made->hopEntryPathComp(), HopEntryPathComp::compExplicit);
   gold_->typeIs(static_cast<Type>(77));
   EXPECT_EQ(made->hopEntryPathComp(), HopEntryPathComp::compExplicit);
   EXPECT_THAT(trace.lines(), IsEmpty());
}

TEST_F(HopRowTest, aPathSpecOfUnknownTypeCountsAsExplicitAndIsTraced) {
   gold_->typeIs(Type::unknown);
   auto const made = row("10.0.12.2");
   TestSupport::TraceCapture const trace("MplsSnmp");
   EXPECT_EQ(made->hopEntryPathComp(), HopEntryPathComp::compExplicit);
   EXPECT_THAT(trace.lines(), ElementsAre(TestSupport::TraceCapture::Line{5, "Unknown pathSpecType"}));
}

TEST_F(HopRowTest, theLineAboutUnknownTypesIsOffByDefault) {
   gold_->typeIs(Type::unknown);
   TestSupport::TraceCapture const trace("MplsSnmp", Trel::kErrorLevel);
   EXPECT_EQ(row("10.0.12.2")->hopEntryPathComp(), HopEntryPathComp::compExplicit);
   EXPECT_THAT(trace.lines(), IsEmpty());
}

TEST_F(HopRowTest, aRowWithoutPathSpecAnswersWhatItCan) {
   auto const made = mplsTunnelHopTableEntryRsvpFactory(MplsTunnelHopTableKey(7, 1, 2), Snmp::InetAddress(), nullptr);
   EXPECT_EQ(made->hopAddrType(), HopAddrType::typeUnknown);
   EXPECT_EQ(made->hopType(), HopType::strict);
}

using HopRowDeathTest = HopRowTest;

TEST_F(HopRowDeathTest, theColumnsOfThePathSpecNeedOne) {
   auto const made = mplsTunnelHopTableEntryRsvpFactory(MplsTunnelHopTableKey(7, 1, 2), Snmp::InetAddress(), nullptr);
   EXPECT_DEATH(made->hopPathOptionName(), "Assertion `pathSpec\\(\\)' failed");
   EXPECT_DEATH(made->hopEntryPathComp(), "Assertion `pathSpec\\(\\)' failed");
}

}  // namespace

}  // namespace MplsSnmp
