// SPDX-License-Identifier: MIT
// The agent reads what another process counts at full speed, and survives its death.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <array>
#include <csignal>
#include <thread>

#include "inputs/tallies/tests/TestSegment.h"

namespace Tallies {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// A forwarding process, killed at the end without a warning.
class Forwarder {
 public:
   Forwarder(SegmentName const& name, std::string const& task, std::uint32_t tunnels) {
      std::array<int, 2> pipe{};
      EXPECT_EQ(pipe2(pipe.data(), O_CLOEXEC), 0);
      posix_spawn_file_actions_t actions;
      posix_spawn_file_actions_init(&actions);
      posix_spawn_file_actions_adddup2(&actions, pipe[1], STDOUT_FILENO);
      std::array<std::string, 4> words{TALLIES_FORWARDER, name.text(), task, std::to_string(tunnels)};
      std::array<char*, 5> arguments{words[0].data(), words[1].data(), words[2].data(), words[3].data(), nullptr};
      EXPECT_EQ(posix_spawn(&pid_, TALLIES_FORWARDER, &actions, nullptr, arguments.data(), environ), 0);
      posix_spawn_file_actions_destroy(&actions);
      close(pipe[1]);
      for (char c = 0; ::read(pipe[0], &c, 1) == 1 && c != '\n';) greeting_ += c;
      close(pipe[0]);
   }
   ~Forwarder() { kill(); }
   Forwarder(Forwarder const&) = delete;
   Forwarder& operator=(Forwarder const&) = delete;

   // Its first line of output: "ready" when it counts.
   std::string const& greeting() const { return greeting_; }

   void kill() {
      if (pid_ > 0) {
         ::kill(pid_, SIGKILL);
         waitpid(pid_, nullptr, 0);
      }
      pid_ = -1;
   }

 private:
   pid_t pid_ = -1;
   std::string greeting_;
};

// Reads tunnels 1 to `tunnels` in turn while `go_on` says so; each reading must be whole and no older than the one
// before. Returns the number of readings.
template <class GoOn>
std::uint64_t readWhile(Agent const& agent, std::uint32_t tunnels, std::vector<std::uint64_t>& packets, GoOn goOn) {
   packets.resize(tunnels + 1);
   std::uint64_t readings = 0;
   while (goOn()) {
      for (std::uint32_t index = 1; index <= tunnels; ++index, ++readings) {
         Counter const counter = agent.read(index);
         if (counter.bytes != counter.packets * 1000 || counter.packets < packets[index]) {
            ADD_FAILURE() << "tunnel " << index << ": " << testing::PrintToString(counter) << " after "
                          << packets[index] << " packets";
            return readings;
         }
         packets[index] = counter.packets;
      }
   }
   return readings;
}

TEST(CountersOfAnotherProcess, AreNeverTornWhileItCountsAsFastAsItCan) {
   SegmentName const name;
   Agent const agent(name);
   Forwarder const forwarder(name, "count", 3);
   ASSERT_EQ(forwarder.greeting(), "ready");
   while (agent.read(3).packets == 0) std::this_thread::yield();

   std::vector<std::uint64_t> packets;
   auto const end = Clock::now() + 10s;
   auto const readings = readWhile(agent, 3, packets, [&] { return Clock::now() < end; });
   EXPECT_EQ(agent.damage(), 0U) << "a busy writer was taken for a damaged segment";
   EXPECT_GT(packets[1], readings) << "the writer was not busy";
   RecordProperty("readings", std::to_string(readings));
}

TEST(CountersOfAnotherProcess, AreNeverTornWhileTunnelsComeAndGo) {
   SegmentName const name;
   Agent const agent(name);
   Forwarder const forwarder(name, "churn", 2);
   ASSERT_EQ(forwarder.greeting(), "ready");
   std::uint64_t counted = 0;
   for (int i = 0; i < 50'000; ++i) {
      Counter const counter = agent.read(1 + i % 2);
      ASSERT_EQ(counter.bytes, counter.packets * 1000);
      counted += counter.packets != 0;
   }
   EXPECT_GT(counted, 0U);
   EXPECT_EQ(agent.damage(), 0U);
}

TEST(CountersOfAnotherProcess, StayAsTheyAreWhenItIsKilledAndGoOnWhenItIsBack) {
   SegmentName const name;
   Agent const agent(name);
   std::vector<std::uint64_t> packets;
   for (int round = 0; round < 30; ++round) {
      Forwarder forwarder(name, "count", 2);
      ASSERT_EQ(forwarder.greeting(), "ready") << "the dead writer keeps its successor out";
      std::uint64_t const before = agent.read(1).packets;
      readWhile(agent, 2, packets, [&] { return packets[1] <= before; });
      forwarder.kill();
      readWhile(agent, 2, packets, [&, times = 0]() mutable { return times++ < 10; });
      EXPECT_GT(packets[1], before);
   }
   EXPECT_EQ(agent.damage(), 0U);
   EXPECT_EQ(agent.table().status().attachments, 1U) << "a resumed segment is the same one";
}

TEST(CountersOfAnotherProcess, AreWrittenByOneProcessAtATime) {
   SegmentName const name;
   Writer writer(name, 1);
   Forwarder const second(name, "count", 1);
   EXPECT_EQ(second.greeting(), "open: another process is its writer");
   writer.set(1, 7, 7000);
   EXPECT_EQ(Agent(name).read(1), (Counter{7, 7000}));
}

}  // namespace

}  // namespace Tallies
