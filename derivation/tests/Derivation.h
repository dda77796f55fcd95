// SPDX-License-Identifier: MIT
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "derivation/RsvpSnmpSubTunnelStatusSm.h"
#include "tests/support/HeadEnd.h"
#include "tests/support/TraceCapture.h"

/// A head end with a derivation over it.
class Derivation : public testing::Test {
 protected:
   using Sm = MplsSnmp::RsvpSnmpSubTunnelStatusSm;

   /// Scans inline: the outputs follow the inputs as soon as this returns, and from then on.
   void startSynchronous() { start(Flo::SmControl{.synchronous = true}); }
   /// Scans in tasks of `scheduler`.
   void startWithTasks() { start(Flo::SmControl{.taskScheduler = scheduler}); }

   void start(Flo::SmControl const& control) {
      sm = Sm::RsvpSnmpSubTunnelStatusSmIs(head.mib, head.hopTableHelper, head.lerConfig, head.lerStatus,
                                           head.kelpStatus, head.counterTable, control);
   }

   std::size_t rows() const { return head.mib->mplsTunnelTable().size(); }
   std::uint64_t indicesInUse() const { return head.mib->numAllocatorStatus()->inUse(); }
   std::size_t hopEntries() const { return head.hopTableHelper->pathSpecCollTableSm().size(); }

   /// Hop indices handed out, hop entries and rows belong together.
   void expectConsistent() const {
      EXPECT_EQ(indicesInUse(), rows());
      EXPECT_EQ(hopEntries(), rows());
      for (auto const& node : head.mib->mplsTunnelTable()) {
         EXPECT_TRUE(head.hopTableHelper->pathSpecCollTableSm().contains(node.value()->hopTableIndex()));
      }
   }

   TestSupport::HeadEnd head;
   Vel::Ptr<Orb::TaskScheduler> scheduler = Vel::makePtr<Orb::TaskScheduler>();
   Vel::Ptr<Sm> sm;
};

inline constexpr char kParis[] = "cli:to-paris";
inline constexpr char kParisPrimary[] = "cli:to-paris@primary.1";
inline constexpr char kParisSecondary[] = "cli:to-paris@secondary.1";
inline constexpr char kRome[] = "cli:to-rome";
inline constexpr char kRomePrimary[] = "cli:to-rome@primary.1";
inline constexpr char kSp12[] = "10.0.0.9/12/10.0.0.1/1";
inline constexpr char kSp12Second[] = "10.0.0.9/12/10.0.0.1/2";
inline constexpr char kSp40[] = "200.0.0.7/40/10.0.0.1/1";
