// SPDX-License-Identifier: MIT
/// The identifiers of the head end: text forms both ways, order and hash.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <sstream>
#include <vector>

#include "inputs/rsvp/Ids.h"
#include "inputs/tests/RandomNames.h"

namespace {

using namespace Rsvp;
using testing::ThrowsMessage;

// Random ids of every kind; a few names and small numbers make equal ones likely.
template <class Id>
Id randomId(std::mt19937& random);

template <>
RsvpLerSubTunnelConfigId randomId(std::mt19937& random) {
   auto const source = static_cast<RsvpLerTunnelSource>(random() % 3);
   std::uint32_t const subTunnel = random() % 2 == 0 ? 0 : random() % 4 == 0 ? random() : 1 + random() % 2;
   return {source, subTunnel, storedName(TestSupport::randomName(random, 1 + random() % 6))};
}
template <>
RsvpLerTunnelSpecId randomId(std::mt19937& random) {
   return randomId<RsvpLerSubTunnelConfigId>(random).tunnelSpecId();
}
template <>
RsvpLerPathSpecId randomId(std::mt19937& random) {
   auto const tunnel = randomId<RsvpLerTunnelSpecId>(random);
   return {tunnel.source, tunnel.tunnelName};
}
template <>
RsvpLerLspGroupId randomId(std::mt19937& random) {
   return {randomId<RsvpLerSubTunnelConfigId>(random), static_cast<RsvpLerPathSpecType>(random() % 2)};
}
template <>
RsvpLerLspRequestConfigId randomId(std::mt19937& random) {
   return {randomId<RsvpLerLspGroupId>(random),
           static_cast<std::uint32_t>(random() % 2 == 0 ? random() % 2 : random())};
}
template <>
RsvpSpId randomId(std::mt19937& random) {
   auto const address = [&] {
      return Lanu::IpGenAddr::fromHostOrder(static_cast<std::uint32_t>(random() % 2 == 0 ? random() % 2 : random()));
   };
   RsvpSpId id;
   id.session = {address(), static_cast<std::uint16_t>(random() % 3)};
   id.sender = {address(), static_cast<std::uint32_t>(random() % 3)};
   return id;
}

template <class Id>
class EveryIdTest : public testing::Test {};
using Ids = testing::Types<RsvpLerTunnelSpecId, RsvpLerSubTunnelConfigId, RsvpLerPathSpecId, RsvpLerLspGroupId,
                           RsvpLerLspRequestConfigId, RsvpSpId>;
TYPED_TEST_SUITE(EveryIdTest, Ids);

TYPED_TEST(EveryIdTest, theTextReadsBackAsTheId) {
   std::mt19937 random(1);
   for (int i = 0; i < 2000; ++i) {
      auto const id = randomId<TypeParam>(random);
      ASSERT_EQ(TypeParam::fromText(id.valueToStrep()), id) << id;
   }
}

TYPED_TEST(EveryIdTest, differentIdsHaveDifferentTexts) {
   std::mt19937 random(2);
   std::set<TypeParam> ids;
   std::set<std::string> texts;
   for (int i = 0; i < 3000; ++i) {
      auto const id = randomId<TypeParam>(random);
      ids.insert(id);
      texts.insert(id.valueToStrep());
   }
   EXPECT_EQ(ids.size(), texts.size());
   EXPECT_LT(ids.size(), 3000U);  // some came twice
}

TYPED_TEST(EveryIdTest, orderEqualityAndHashAgree) {
   std::mt19937 random(3);
   std::vector<TypeParam> ids;
   for (int i = 0; i < 150; ++i) ids.push_back(randomId<TypeParam>(random));
   ids.push_back(ids.front());
   int sameHash = 0;
   for (auto const& a : ids) {
      for (auto const& b : ids) {
         ASSERT_EQ(a == b, !(a < b) && !(b < a));
         ASSERT_FALSE(a < b && b < a);
         if (a == b) {
            ASSERT_EQ(a.hash(), b.hash());
            ASSERT_EQ(a.hash(7), b.hash(7));
         }
         sameHash += !(a == b) && a.hash() == b.hash();
      }
   }
   EXPECT_EQ(sameHash, 0);
   std::ranges::sort(ids);
   EXPECT_TRUE(std::ranges::is_sorted(ids));
}

TYPED_TEST(EveryIdTest, aDamagedTextIsRefusedOrIsTheTextOfAnotherId) {
   std::mt19937 random(4);
   for (int i = 0; i < 3000; ++i) {
      std::string text = randomId<TypeParam>(random).valueToStrep();
      switch (random() % 3) {
         case 0:
            text.resize(random() % text.size());
            break;
         case 1:
            text[random() % text.size()] = static_cast<char>(random());
            break;
         default:
            text.insert(random() % text.size(), 1, "#@.:/%01"[random() % 8]);
      }
      try {
         auto const id = TypeParam::fromText(text);
         ASSERT_EQ(TypeParam::fromText(id.valueToStrep()), id) << text;
      } catch (Vel::ParseException const& error) {
         std::string const named = "\"" + text + "\" is not a";
         ASSERT_TRUE(std::string_view(error.what()).starts_with(named.c_str())) << error.what();
      } catch (Vel::RangeException const& error) {
         ASSERT_TRUE(std::string_view(error.what()).ends_with(")")) << error.what();
      }
   }
}

TYPED_TEST(EveryIdTest, printsItsText) {
   std::mt19937 random(5);
   auto const id = randomId<TypeParam>(random);
   std::ostringstream out;
   out << id;
   EXPECT_EQ(out.str(), id.valueToStrep());
   EXPECT_EQ(fmt::format("{}", id), id.valueToStrep());
}

RsvpLerSubTunnelConfigId subTunnel(std::string_view name, std::uint32_t part = 0) {
   return {RsvpLerTunnelSource::cli, part, storedName(name)};
}

TEST(IdsTest, everyKindHasItsTextForm) {
   EXPECT_EQ(RsvpLerTunnelSpecId::fromText("cli:to-paris"),
             (RsvpLerTunnelSpecId{RsvpLerTunnelSource::cli, storedName("to-paris")}));
   EXPECT_EQ(RsvpLerTunnelSpecId::fromText("auto:to-paris").source, RsvpLerTunnelSource::autoTunnel);
   EXPECT_EQ(RsvpLerTunnelSpecId::fromText("controller:a:b").source, RsvpLerTunnelSource::controller);
   EXPECT_EQ(nameText(RsvpLerTunnelSpecId::fromText("controller:a:b").tunnelName), "a:b");

   EXPECT_EQ(RsvpLerSubTunnelConfigId::fromText("cli:to-paris"), subTunnel("to-paris"));
   EXPECT_EQ(RsvpLerSubTunnelConfigId::fromText("cli:to-rome#2"), subTunnel("to-rome", 2));
   EXPECT_EQ(subTunnel("a#1", 4294967295U).valueToStrep(), "cli:a%231#4294967295");

   EXPECT_EQ(RsvpLerPathSpecId::fromText("controller:gold"),
             (RsvpLerPathSpecId{RsvpLerTunnelSource::controller, storedName("gold")}));

   RsvpLerLspGroupId const group{subTunnel("to-rome", 2), RsvpLerPathSpecType::secondary};
   EXPECT_EQ(RsvpLerLspGroupId::fromText("cli:to-rome#2@secondary"), group);
   EXPECT_EQ(RsvpLerLspGroupId::fromText("cli:x@primary").pathSpecType, RsvpLerPathSpecType::primary);

   EXPECT_EQ(RsvpLerLspRequestConfigId::fromText("cli:to-rome#2@secondary.0"), (RsvpLerLspRequestConfigId{group, 0}));
   RsvpLerLspRequestConfigId const dotted{{subTunnel("a.b.1"), RsvpLerPathSpecType::primary}, 4294967295U};
   EXPECT_EQ(dotted.valueToStrep(), "cli:a.b.1@primary.4294967295");
   EXPECT_EQ(RsvpLerLspRequestConfigId::fromText("cli:a.b.1@primary.4294967295"), dotted);

   auto const sp = RsvpSpId::fromText("10.0.0.9/12/10.0.0.1/1");
   EXPECT_EQ(sp.session.destination, Lanu::IpGenAddr::fromText("10.0.0.9"));
   EXPECT_EQ(sp.session.tunnelId, 12);
   EXPECT_EQ(sp.sender.address, Lanu::IpGenAddr::fromText("10.0.0.1"));
   EXPECT_EQ(sp.sender.lspId, 1U);
   EXPECT_EQ(RsvpSpId::fromText("0.0.0.0/65535/255.255.255.255/4294967295").valueToStrep(),
             "0.0.0.0/65535/255.255.255.255/4294967295");
}

TEST(IdsTest, anIdTellsTheIdsItIsMadeOf) {
   auto const request = RsvpLerLspRequestConfigId::fromText("auto:to-rome#2@secondary.7");
   EXPECT_EQ(request.pathSpecType(), RsvpLerPathSpecType::secondary);
   EXPECT_EQ(request.subTunnelConfigId().valueToStrep(), "auto:to-rome#2");
   EXPECT_TRUE(request.subTunnelConfigId().isSplit());
   EXPECT_EQ(request.subTunnelConfigId().tunnelSpecId().valueToStrep(), "auto:to-rome");
   EXPECT_FALSE(subTunnel("to-rome").isSplit());
}

TEST(IdsTest, aDefaultMadeIdStandsForNone) {
   EXPECT_FALSE(RsvpLerPathSpecId().isConfigured());
   EXPECT_EQ(RsvpLerPathSpecId().valueToStrep(), "none");
   EXPECT_TRUE(RsvpLerPathSpecId::fromText("cli:gold").isConfigured());
   EXPECT_FALSE(RsvpLerLspRequestConfigId().isSet());
   EXPECT_EQ(RsvpLerLspRequestConfigId().valueToStrep(), "none");
   EXPECT_TRUE(RsvpLerLspRequestConfigId::fromText("cli:x@primary.0").isSet());
}

TEST(IdsTest, theOrderFollowsTheFields) {
   EXPECT_LT(RsvpLerTunnelSpecId::fromText("cli:z"), RsvpLerTunnelSpecId::fromText("auto:a"));
   EXPECT_LT(RsvpLerTunnelSpecId::fromText("cli:a"), RsvpLerTunnelSpecId::fromText("cli:ab"));
   EXPECT_LT(RsvpLerSubTunnelConfigId::fromText("cli:z"), RsvpLerSubTunnelConfigId::fromText("cli:a#1"));
   EXPECT_LT(RsvpLerSubTunnelConfigId::fromText("cli:a#9"), RsvpLerSubTunnelConfigId::fromText("cli:a#10"));
   EXPECT_LT(RsvpLerLspRequestConfigId::fromText("cli:a@primary.9"),
             RsvpLerLspRequestConfigId::fromText("cli:a@secondary.1"));
   std::vector<std::string> const ascending{"9.0.0.0/2/9.0.0.0/2",   "10.0.0.0/1/9.0.0.0/2", "10.0.0.0/1/10.0.0.0/1",
                                            "10.0.0.0/1/10.0.0.0/2", "10.0.0.0/2/9.0.0.0/1", "200.0.0.0/1/9.0.0.0/1"};
   for (std::size_t n = 1; n < ascending.size(); ++n) {
      EXPECT_LT(RsvpSpId::fromText(ascending[n - 1]), RsvpSpId::fromText(ascending[n]));
   }
}

// What is refused, and the exact reason.

struct Malformed {
   std::string text;
   std::string why;
};

template <class Id>
void expectRefused(std::vector<Malformed> const& all, std::string_view kind) {
   for (auto const& [text, why] : all) {
      EXPECT_THAT([&text = text] { Id::fromText(text); },
                  ThrowsMessage<Vel::ParseException>(fmt::format("\"{}\" is not {}: {}", text, kind, why)));
   }
}

TEST(MalformedIdTest, tunnelSpecs) {
   expectRefused<RsvpLerTunnelSpecId>({{"", "there is no \":\" behind a source"},
                                       {"to-paris", "there is no \":\" behind a source"},
                                       {":to-paris", "\"\" is none of the sources cli, auto and controller"},
                                       {"CLI:to-paris", "\"CLI\" is none of the sources cli, auto and controller"},
                                       {"0:to-paris", "\"0\" is none of the sources cli, auto and controller"},
                                       {"cli :to-paris", "\"cli \" is none of the sources cli, auto and controller"},
                                       {"cli:", "the name is empty"},
                                       {"cli:to#1", "the character 0x23 in the name must be written as %23"},
                                       {"cli:to%", "\"%\" is not followed by two hexadecimal digits"},
                                       {"cli:" + std::string(1025, 'n'), "the name is longer than 1024 octets"}},
                                      "a tunnel spec id");
}

TEST(MalformedIdTest, subTunnels) {
   expectRefused<RsvpLerSubTunnelConfigId>({{"cli", "there is no \":\" behind a source"},
                                            {"cli#1:a", "there is no \":\" behind a source"},
                                            {"cli:#1", "the name is empty"},
                                            {"cli:a#", "\"\" is not a number"},
                                            {"cli:a#0", "the parts of a split tunnel are counted from 1"},
                                            {"cli:a#01", "\"01\" is not a number"},
                                            {"cli:a#+1", "\"+1\" is not a number"},
                                            {"cli:a#-1", "\"-1\" is not a number"},
                                            {"cli:a# 1", "\" 1\" is not a number"},
                                            {"cli:a#1 ", "\"1 \" is not a number"},
                                            {"cli:a#1#2", "\"1#2\" is not a number"},
                                            {"cli:a#0x1", "\"0x1\" is not a number"},
                                            {"cli:a@primary", "the character 0x40 in the name must be written as %40"}},
                                           "a sub-tunnel id");
   EXPECT_THAT([] { RsvpLerSubTunnelConfigId::fromText("cli:a#4294967296"); },
               ThrowsMessage<Vel::RangeException>("\"cli:a#4294967296\" is not a sub-tunnel id: 4294967296 is out of "
                                                  "range (at most 4294967295)"));
}

TEST(MalformedIdTest, pathSpecs) {
   expectRefused<RsvpLerPathSpecId>({{"none", "there is no \":\" behind a source"},
                                     {"cli:", "the name is empty"},
                                     {"auto:", "the name is empty"},
                                     {"bgp:gold", "\"bgp\" is none of the sources cli, auto and controller"}},
                                    "a path spec id");
}

TEST(MalformedIdTest, lspGroups) {
   expectRefused<RsvpLerLspGroupId>({{"cli:a", "there is no \"@primary\" or \"@secondary\""},
                                     {"cli:a@", "\"\" is neither primary nor secondary"},
                                     {"cli:a@Primary", "\"Primary\" is neither primary nor secondary"},
                                     {"cli:a@tertiary", "\"tertiary\" is neither primary nor secondary"},
                                     {"cli:a@0", "\"0\" is neither primary nor secondary"},
                                     {"cli:a@primary.1", "\"primary.1\" is neither primary nor secondary"},
                                     {"cli:a@primary@secondary",
                                      "\"primary@secondary\" is neither primary nor "
                                      "secondary"},
                                     {"@primary", "there is no \":\" behind a source"},
                                     {"cli:a#0@primary", "the parts of a split tunnel are counted from 1"}},
                                    "an LSP group id");
}

TEST(MalformedIdTest, lspRequests) {
   expectRefused<RsvpLerLspRequestConfigId>({{"none", "there is no \".\" before the number of the request"},
                                             {"cli:a@primary", "there is no \".\" before the number of the request"},
                                             {"cli:a.b@primary", "there is no \"@primary\" or \"@secondary\""},
                                             {"cli:a@primary.", "\"\" is not a number"},
                                             {"cli:a@primary.01", "\"01\" is not a number"},
                                             {"cli:a@primary.1x", "\"1x\" is not a number"},
                                             {"cli:a@primary.99999999999x", "\"99999999999x\" is not a number"},
                                             {"cli:a@primary.1.2", "\"primary.1\" is neither primary nor secondary"},
                                             {"cli:a.1", "there is no \"@primary\" or \"@secondary\""}},
                                            "an LSP request id");
   EXPECT_THAT([] { RsvpLerLspRequestConfigId::fromText("cli:a@primary.99999999999999999999"); },
               ThrowsMessage<Vel::RangeException>("\"cli:a@primary.99999999999999999999\" is not an LSP request id: "
                                                  "99999999999999999999 is out of range (at most 4294967295)"));
}

TEST(MalformedIdTest, spIds) {
   std::string const form = "it is not of the form destination/tunnelId/sender/lspId";
   expectRefused<RsvpSpId>({{"", form},
                            {"10.0.0.9/12/10.0.0.1", form},
                            {"10.0.0.9/12/10.0.0.1/1/", form},
                            {"///", "\"\" is not an IP address"},
                            {"10.0.0/12/10.0.0.1/1", "\"10.0.0\" is not an IP address"},
                            {"10.0.0.256/12/10.0.0.1/1", "\"10.0.0.256\" is not an IP address"},
                            {"2001:db8::9/12/10.0.0.1/1", "\"2001:db8::9\" is not an IPv4 address"},
                            {"10.0.0.9/12/none/1", "\"none\" is not an IP address"},
                            {"10.0.0.9//10.0.0.1/1", "\"\" is not a number"},
                            {"10.0.0.9/012/10.0.0.1/1", "\"012\" is not a number"},
                            {"10.0.0.9/12/10.0.0.1/x", "\"x\" is not a number"}},
                           "an sp id");
   EXPECT_THAT([] { RsvpSpId::fromText("10.0.0.9/65536/10.0.0.1/1"); },
               ThrowsMessage<Vel::RangeException>("\"10.0.0.9/65536/10.0.0.1/1\" is not an sp id: 65536 is out of "
                                                  "range (at most 65535)"));
   EXPECT_THAT([] { RsvpSpId::fromText("10.0.0.9/1/10.0.0.1/4294967296"); },
               ThrowsMessage<Vel::RangeException>("\"10.0.0.9/1/10.0.0.1/4294967296\" is not an sp id: 4294967296 is "
                                                  "out of range (at most 4294967295)"));
}

TEST(IdsTest, sourcesAndPathSpecTypesHaveNamesAndNumbers) {
   EXPECT_EQ(Vel::enumInstance<RsvpLerTunnelSource>(2U), RsvpLerTunnelSource::controller);
   EXPECT_EQ(Vel::enumInstance<RsvpLerTunnelSource>("auto"), RsvpLerTunnelSource::autoTunnel);
   EXPECT_EQ(Vel::toStrep(RsvpLerTunnelSource::cli), "cli");
   EXPECT_THROW(Vel::enumInstance<RsvpLerTunnelSource>(3U), Vel::RangeException);
   EXPECT_EQ(static_cast<unsigned>(RsvpLerPathSpecType::primary), 0U);
   EXPECT_EQ(Vel::toStrep(RsvpLerPathSpecType::secondary), "secondary");
}

}  // namespace
