// SPDX-License-Identifier: MIT
/// What is told of a tunnel, and what becomes of it while it waits.
#include "notifications/Told.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace MplsSnmp {
namespace {

using Vel::None;
using Change = Vel::Optional<TunnelChange>;

Rsvp::RsvpLerPath pathOver(std::initializer_list<std::uint32_t> addresses) {
   Rsvp::RsvpLerPath path;
   std::uint32_t index = 0;
   for (auto const address : addresses) path.hopIs(++index, Lanu::IpGenAddr::fromHostOrder(address));
   return path;
}

TunnelState upState() {
   TunnelState state;
   state.up = true;
   state.key = {12, 1, 0x0a000001, 0x0a000009};
   state.request = 1;
   state.pathSpec = Rsvp::RsvpLerPathSpecId::fromText("cli:gold");
   state.path = pathOver({1, 2});
   state.stateTransitions = 5;
   return state;
}

/// The up state with something else.
template <class Edit>
TunnelState with(Edit&& edit) {
   TunnelState state = upState();
   edit(state);
   return state;
}

TunnelState const kUp = upState();
TunnelState const kDown = upState().withdrawn();
TunnelState const kNew{};
TunnelState const kOtherPath = with([](auto& state) { state.path = pathOver({1, 3}); });
TunnelState const kOnSecondary = with([](auto& state) {
   state.pathSpecType = Rsvp::RsvpLerPathSpecType::secondary;
   state.pathSpec = Rsvp::RsvpLerPathSpecId::fromText("cli:silver");
   state.key.tunnelInstance = 2;
   state.path = pathOver({4, 5});
});

}  // namespace

TEST(TunnelChange, GoingUpAndDownIsToldWhateverElseIsOther) {
   EXPECT_EQ(changeBetween(kNew, kUp), Change(TunnelChange::up));
   EXPECT_EQ(changeBetween(kDown, kUp), Change(TunnelChange::up));
   EXPECT_EQ(changeBetween(kDown, kOnSecondary), Change(TunnelChange::up));
   EXPECT_EQ(changeBetween(kUp, kDown), Change(TunnelChange::down));
   EXPECT_EQ(changeBetween(kUp, kOnSecondary.withdrawn()), Change(TunnelChange::down));
}

TEST(TunnelChange, ATunnelThatStaysDownOrAsItIsIsNoChange) {
   EXPECT_EQ(changeBetween(kDown, kOnSecondary.withdrawn()), Change(None));
   EXPECT_EQ(changeBetween(kNew, kDown), Change(None));
   EXPECT_EQ(changeBetween(kUp, kUp), Change(None));
   EXPECT_EQ(changeBetween(kUp, with([](auto& state) { state.stateTransitions = 9; })), Change(None));
   EXPECT_EQ(changeBetween(kUp, with([](auto& state) { state.failed = true; })), Change(None));
   EXPECT_EQ(changeBetween(kUp, with([](auto& state) { state.pathSpec = kOnSecondary.pathSpec; })), Change(None));
}

TEST(TunnelChange, AnotherPathOfTheSamePathSpecWithoutAFailureIsAReoptimization) {
   EXPECT_EQ(changeBetween(kUp, kOtherPath), Change(TunnelChange::reoptimized));
   auto const newLsp = with([](auto& state) {
      state.request = 2;
      state.key.tunnelInstance = 7;
   });
   EXPECT_EQ(changeBetween(kUp, newLsp), Change(TunnelChange::reoptimized));
}

TEST(TunnelChange, InDoubtATunnelIsRerouted) {
   EXPECT_EQ(changeBetween(kUp, kOnSecondary), Change(TunnelChange::rerouted));
   auto const expectRerouted = [](auto&& edit) {
      TunnelState other = kOtherPath;
      edit(other);
      EXPECT_EQ(changeBetween(kUp, other), Change(TunnelChange::rerouted));
      EXPECT_EQ(changeBetween(other, kUp), Change(TunnelChange::rerouted));
   };
   expectRerouted([](auto& state) { state.failed = true; });
   expectRerouted([](auto& state) { state.locallyRepaired = true; });
   expectRerouted([](auto& state) { state.stateTransitions = 6; });
   expectRerouted([](auto& state) { state.pathSpec = kOnSecondary.pathSpec; });
   expectRerouted([](auto& state) { state.pathSpecType = Rsvp::RsvpLerPathSpecType::secondary; });
}

TEST(TunnelChange, LocalProtectionReroutesOnThePublishedPathToo) {
   auto const repaired = with([](auto& state) { state.locallyRepaired = state.failed = true; });
   EXPECT_EQ(changeBetween(kUp, repaired), Change(TunnelChange::rerouted));
   EXPECT_EQ(changeBetween(repaired, kUp), Change(TunnelChange::rerouted));
}

TEST(Told, WhatIsNoChangeDoesNotWait) {
   Told told(kUp);
   EXPECT_EQ(told.nowIs(kUp), 0U);
   EXPECT_FALSE(told.waits());
}

TEST(Told, AChangeWaitsUntilItIsTaken) {
   Told told(kUp);
   EXPECT_EQ(told.nowIs(kDown), 0U);
   ASSERT_TRUE(told.waits());
   auto const notice = told.take();
   EXPECT_EQ(notice.change, TunnelChange::down);
   EXPECT_EQ(notice.from, kUp);
   EXPECT_EQ(notice.to, kDown);
   EXPECT_FALSE(told.waits());
   EXPECT_EQ(told.now(), kDown);
}

TEST(Told, OneNoticeStandsForAllThatHasComeWhileItWaited) {
   Told told(kUp);
   told.nowIs(kDown);
   EXPECT_EQ(told.nowIs(kOnSecondary), 1U) << "down and up again: what is left is that it is rerouted";
   EXPECT_EQ(told.nowIs(kOnSecondary.withdrawn()), 1U);
   EXPECT_EQ(told.nowIs(kNew), 0U) << "down as before";
   EXPECT_EQ(told.take().change, TunnelChange::down);
}

TEST(Told, WhatIsUndoneBeforeItIsTakenIsNotTold) {
   Told told(kUp);
   told.nowIs(kDown);
   EXPECT_EQ(told.nowIs(kUp), 2U) << "neither down nor up";
   EXPECT_FALSE(told.waits());
}

TEST(Told, AFailureWhileAChangeWaitsMakesItARerouting) {
   for (auto const& between : {kDown, with([](auto& state) { state.failed = true; }),
                               with([](auto& state) { state.locallyRepaired = true; })}) {
      Told told(kUp);
      told.nowIs(kOtherPath);
      told.nowIs(between);
      told.nowIs(kOtherPath);
      EXPECT_EQ(told.take().change, TunnelChange::rerouted);
      // The next change is judged by itself.
      told.nowIs(kUp);
      EXPECT_EQ(told.take().change, TunnelChange::reoptimized);
   }
}

TEST(Told, APathSpecThatIsConfiguredAnewReroutesWhenThePathFollowsIt) {
   Told told(kUp);
   auto const configured = with([](auto& state) { state.pathSpec = kOnSecondary.pathSpec; });
   told.nowIs(configured);
   EXPECT_FALSE(told.waits());
   auto const followed = with([](auto& state) {
      state.pathSpec = kOnSecondary.pathSpec;
      state.path = kOtherPath.path;
   });
   told.nowIs(followed);
   EXPECT_EQ(told.take().change, TunnelChange::rerouted);
}

}  // namespace MplsSnmp
