// SPDX-License-Identifier: MIT
#include "host/daemon/Trial.h"

#include <gtest/gtest.h>

#include <csignal>
#include <stdexcept>

namespace {

TEST(TrialTest, whatIsTriedChangesNothingHere) {
   int value = 1;
   EXPECT_EQ(Daemon::trial([&] { value = 2; }), std::nullopt);
   EXPECT_EQ(value, 1);
}

TEST(TrialTest, anErrorComesBackAsItsText) {
   EXPECT_EQ(Daemon::trial([] { throw std::runtime_error("line 3: no such token"); }), "line 3: no such token");
   EXPECT_EQ(Daemon::trial([] { throw std::runtime_error(""); }), "");
   std::string const long_(60000, 'x');
   EXPECT_EQ(Daemon::trial([&] { throw std::runtime_error(long_); }), long_);
}

TEST(TrialTest, aCopyThatDiesIsAnError) {
   EXPECT_THROW(Daemon::trial([] { raise(SIGKILL); }), std::runtime_error);
}

}  // namespace
