// SPDX-License-Identifier: MIT
#include "host/publish/StateText.h"

#include <gtest/gtest.h>

#include "host/store/StateStore.h"

namespace Publish {
namespace {

class StateTextTest : public ::testing::Test {
 protected:
   StateTextTest() { store.applyPatch(R"({"pathSpec": {"cli:a": {}, "cli:b": {}, "cli:c": {}}})"); }

   void ask(bool const& wanted) {
      texts.ask({.wanted =
                       [&wanted, this] {
                          ++looks;
                          return wanted;
                       },
                 .ready = [this](std::shared_ptr<Pieces const> const& text) { answers.push_back(text != nullptr); }});
   }

   Vel::Ptr<Vel::EntityDir> root = Vel::makePtr<Vel::EntityDir>("root");
   Store::StateStore store{root};
   Vel::Ptr<Orb::TaskScheduler> const tasks = Orb::TaskSchedulerRoot::findOrCreateScheduler();
   Store::ChangeQueue queue{store};
   StateText texts{queue, store};
   std::vector<bool> answers;
   int looks = 0;
};

TEST_F(StateTextTest, WhatNobodyWantsIsNotWritten) {
   bool const wanted = false;
   ask(wanted);
   ask(wanted);
   tasks->runAll();
   EXPECT_EQ(answers, (std::vector{false, false}));
}

TEST_F(StateTextTest, OneWhoWantsItIsEnough) {
   bool const wanted = true;
   bool const gone = false;
   ask(gone);
   ask(wanted);
   tasks->runAll();
   EXPECT_EQ(answers, (std::vector{true, true}));
}

TEST_F(StateTextTest, ItIsGivenUpWhenTheLastHasGone) {
   bool wanted = true;
   ask(wanted);
   tasks->yieldPolicyIs([] { return true; });
   tasks->runSlice(std::chrono::microseconds(0));
   EXPECT_EQ(answers, std::vector<bool>{});
   EXPECT_GT(looks, 0);
   wanted = false;
   tasks->runAll();
   tasks->yieldPolicyIs({});
   EXPECT_EQ(answers, std::vector{false});
}

}  // namespace
}  // namespace Publish
