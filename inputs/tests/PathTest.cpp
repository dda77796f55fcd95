// SPDX-License-Identifier: MIT
/// The path of an LSP: a value whose copies share their hops until one of them changes.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <vector>

#include "inputs/rsvp/Path.h"

namespace {

using Lanu::IpGenAddr;
using Rsvp::RsvpLerPath;

RsvpLerPath path(std::vector<std::string> const& addresses) {
   RsvpLerPath made;
   std::uint32_t index = 0;
   for (auto const& address : addresses) made.hopIs(++index, IpGenAddr::fromText(address));
   return made;
}

std::vector<std::string> hops(RsvpLerPath const& path) {
   std::vector<std::string> all;
   for (auto const& hop : path.hop()) all.push_back(fmt::format("{} {}", hop.key(), hop.value()));
   return all;
}

TEST(PathTest, hopsStandInOrderOfTheirIndex) {
   RsvpLerPath made;
   made.hopIs(20, IpGenAddr::fromText("10.0.23.3"));
   made.hopIs(3, IpGenAddr::fromText("10.0.12.2"));
   EXPECT_EQ(hops(made), (std::vector<std::string>{"3 10.0.12.2", "20 10.0.23.3"}));
   made.hopIs(3, IpGenAddr::fromText("2001:db8::2"));
   EXPECT_EQ(hops(made), (std::vector<std::string>{"3 2001:db8::2", "20 10.0.23.3"}));
}

TEST(PathTest, aPathWithoutHopsIsEmpty) {
   RsvpLerPath made;
   EXPECT_TRUE(made.empty());
   EXPECT_TRUE(made.hop().empty());
   made.hopIs(1, IpGenAddr::fromText("10.0.0.1"));
   EXPECT_FALSE(made.empty());
   made.hopDel(2);
   EXPECT_FALSE(made.empty());
   made.hopDel(1);
   EXPECT_TRUE(made.empty());
   made.hopDel(1);
   EXPECT_EQ(made, RsvpLerPath());
}

TEST(PathTest, pathsAreEqualByTheirHops) {
   EXPECT_EQ(path({"10.0.0.1", "10.0.0.2"}), path({"10.0.0.1", "10.0.0.2"}));
   EXPECT_FALSE(path({"10.0.0.1", "10.0.0.2"}) == path({"10.0.0.2", "10.0.0.1"}));
   EXPECT_FALSE(path({"10.0.0.1"}) == path({"10.0.0.1", "10.0.0.2"}));
   EXPECT_FALSE(path({"10.0.0.1"}) == RsvpLerPath());
   RsvpLerPath shifted;
   shifted.hopIs(2, IpGenAddr::fromText("10.0.0.1"));
   EXPECT_FALSE(path({"10.0.0.1"}) == shifted);
}

TEST(PathTest, copiesShareTheirHopsUntilOneIsChanged) {
   auto const original = path({"10.0.0.1", "10.0.0.2"});
   RsvpLerPath copy = original;
   EXPECT_EQ(&copy.hop(), &original.hop());
   copy.hopDel(9);  // changes nothing
   EXPECT_EQ(&copy.hop(), &original.hop());
   copy.hopIs(1, IpGenAddr::fromText("10.9.9.9"));
   EXPECT_NE(&copy.hop(), &original.hop());
   EXPECT_EQ(hops(original), (std::vector<std::string>{"1 10.0.0.1", "2 10.0.0.2"}));
   EXPECT_EQ(hops(copy), (std::vector<std::string>{"1 10.9.9.9", "2 10.0.0.2"}));
   RsvpLerPath second = original;
   second.hopDel(1);
   second.hopDel(2);
   EXPECT_TRUE(second.empty());
   EXPECT_EQ(original.hop().size(), 2U);
}

TEST(PathTest, aPathNobodySharesIsChangedInPlace) {
   auto made = path({"10.0.0.1"});
   auto const* const before = &made.hop();
   made.hopIs(2, IpGenAddr::fromText("10.0.0.2"));
   { RsvpLerPath const passing = made; }  // NOLINT: a copy that has gone
   made.hopDel(1);
   EXPECT_EQ(&made.hop(), before);
}

TEST(PathTest, randomCopiesAndChangesAgreeWithPlainMaps) {
   std::mt19937 random(1);
   std::vector<RsvpLerPath> paths(6);
   std::vector<std::map<std::uint32_t, IpGenAddr>> models(6);
   for (int i = 0; i < 5000; ++i) {
      std::size_t const at = random() % paths.size();
      std::uint32_t const index = random() % 5;
      switch (random() % 3) {
         case 0: {
            std::size_t const from = random() % paths.size();
            paths[at] = paths[from];
            models[at] = models[from];
            break;
         }
         case 1: {
            auto const address = IpGenAddr::fromHostOrder(random() % 3);
            paths[at].hopIs(index, address);
            models[at].insert_or_assign(index, address);
            break;
         }
         default:
            paths[at].hopDel(index);
            models[at].erase(index);
      }
      for (std::size_t n = 0; n < paths.size(); ++n) {
         ASSERT_EQ(paths[n].hop().size(), models[n].size());
         ASSERT_EQ(paths[n].empty(), models[n].empty());
         for (auto const& [key, address] : models[n]) ASSERT_EQ(paths[n].hop()[key], address);
         ASSERT_EQ(paths[n] == paths[at], models[n] == models[at]);
      }
   }
}

}  // namespace
