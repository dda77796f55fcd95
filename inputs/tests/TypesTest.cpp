// SPDX-License-Identifier: MIT
/// The ids of the published state by the names of their types.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "inputs/rsvp/Ids.h"
#include "substrate/vel/TypeRegistry.h"

namespace {

using testing::Contains;

Vel::TypeRegistry const& registry() { return Vel::TypeRegistry::instance(); }

/// Texts of values by the names of their types; the last one of a type is its default value's.
std::map<std::string, std::vector<std::string>> const kTexts{
      {"Lanu::IpGenAddr", {"10.0.0.1", "2001:db8::1", "none"}},
      {"Rsvp::RsvpLerTunnelSpecId", {"auto:to-paris", "cli:"}},
      {"Rsvp::RsvpLerSubTunnelConfigId", {"cli:to-rome#2", "cli:"}},
      {"Rsvp::RsvpLerPathSpecId", {"controller:gold", "none"}},
      {"Rsvp::RsvpLerLspGroupId", {"cli:to-paris@secondary", "cli:@primary"}},
      {"Rsvp::RsvpLerLspRequestConfigId", {"cli:to-paris@primary.1", "none"}},
      {"Rsvp::RsvpSpId", {"10.0.0.9/12/10.0.0.1/1", "none/0/none/0"}},
      {"Rsvp::RsvpLerTunnelSource", {"auto", "controller", "cli"}},
      {"Rsvp::RsvpLerPathSpecType", {"secondary", "primary"}}};

TEST(InputTypesTest, areKnownFromTheStart) { EXPECT_THAT(registry().moduleNames(), Contains("Inputs")); }

TEST(InputTypesTest, haveATextFormBothWays) {
   for (auto const& [type, texts] : kTexts) {
      for (auto const& text : texts) {
         EXPECT_EQ(registry().valueToStrep(registry().strepToValue(type, text)), text) << type;
      }
      EXPECT_THROW(registry().strepToValue(type, "10.0.0.9/12"), Vel::ParseException) << type;
   }
}

TEST(InputTypesTest, textsMakeValuesOfTheTypeThatIsNamed) {
   EXPECT_EQ(std::any_cast<Rsvp::RsvpSpId>(registry().strepToValue("Rsvp::RsvpSpId", "10.0.0.9/12/10.0.0.1/1")),
             Rsvp::RsvpSpId::fromText("10.0.0.9/12/10.0.0.1/1"));
   EXPECT_EQ(std::any_cast<Rsvp::RsvpLerLspRequestConfigId>(
                   registry().strepToValue("Rsvp::RsvpLerLspRequestConfigId", "none")),
             Rsvp::RsvpLerLspRequestConfigId());
   EXPECT_EQ(registry().type("Rsvp::RsvpLerTunnelSource").enumeration->byName("controller").value, 2U);
}

}  // namespace
