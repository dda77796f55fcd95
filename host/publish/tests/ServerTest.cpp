// SPDX-License-Identifier: MIT
/// Publishers on both ends of real sockets, and a loop that turns as the host's does.
#include "host/publish/Server.h"

#include <gmock/gmock.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <list>
#include <nlohmann/json.hpp>
#include <optional>

#include "host/publish/Request.h"
#include "host/store/StateStore.h"
#include "tests/support/ScratchDirectory.h"

namespace Publish {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

std::string patchOf(std::string_view name) { return fmt::format("{{\"pathSpec\":{{\"cli:{}\":{{}}}}}}\n", name); }

/// A patch of so many octets, its line end not counted.
std::string patchOf(std::string_view name, std::size_t size) {
   std::string patch = patchOf(name);
   patch.insert(1, std::string(size + 1 - patch.size(), ' '));
   return patch;
}

class Client {
 public:
   explicit Client(fs::path const& path) : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket") {
      sockaddr_un address{};
      address.sun_family = AF_UNIX;
      std::strcpy(address.sun_path, path.c_str());
      EXPECT_EQ(connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
   }

   /// Sends what the other end has room for; the rest of `text`.
   std::string_view sendSome(std::string_view text) const {
      auto const sent = send(socket_, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
      if (sent > 0) text.remove_prefix(static_cast<std::size_t>(sent));
      return text;
   }
   void finish() const { shutdown(socket_, SHUT_WR); }

   /// Reads what is there.
   void receive() {
      char piece[1U << 16U];
      while (true) {
         auto const count = recv(socket_, piece, sizeof piece, MSG_DONTWAIT);
         if (count == 0 || (count < 0 && errno == ECONNRESET)) ended = true;
         if (count <= 0) return;
         received.append(piece, static_cast<std::size_t>(count));
      }
   }
   std::vector<std::string> answers() const {
      std::vector<std::string> lines;
      std::size_t begin = 0;
      for (auto end = received.find('\n'); end != std::string::npos; end = received.find('\n', begin)) {
         lines.push_back(received.substr(begin, end + 1 - begin));
         begin = end + 1;
      }
      return lines;
   }

   std::string received;
   bool ended = false;

 private:
   Loop::Descriptor const socket_;
};

class ServerTest : public ::testing::Test {
 protected:
   ~ServerTest() override {
      server.reset();
      tasks->runAll();
   }

   void start(Limits limits = {}, Access access = {}) {
      server.emplace(Server::Options{{.path = path.string()}, std::move(access), limits}, queue, store,
                     Handlers{.status =
                                    [this] {
                                       ++statuses;
                                       return "{\"pid\":1}";
                                    },
                              .events =
                                    [this](std::optional<std::uint64_t> after) {
                                       if (!eventsOn) throw std::runtime_error("there are none");
                                       return !after || *after < events ? fmt::format("\"last\":{}", events) : "";
                                    },
                              .trace =
                                    [this](std::string const& levels) {
                                       if (levels.empty()) throw std::invalid_argument("which?");
                                       traces.push_back(levels);
                                    },
                              .traces = [] { return "[{\"handle\":\"x\"}]"; },
                              .done =
                                    [this](Peer const&, Store::ChangeQueue::Outcome const& outcome) {
                                       ++documents;
                                       if (outcome.refusal) refusals.push_back(*outcome.refusal);
                                    },
                              .complain = [this](std::string const& line) { log.push_back(line); }});
      server->open();
   }

   /// One turn of the host's loop; false when there was nothing to do.
   bool turn() {
      pollfd waiting{server->descriptor(), POLLIN, 0};
      bool const readable = poll(&waiting, 1, 0) > 0;
      if (readable) server->handleReadable();
      bool const work = tasks->hasWork();
      if (work) tasks->runSlice(slice);
      return readable || work;
   }
   void settle() {
      while (turn()) {
      }
   }
   template <class F>
   bool turnUntil(F const& condition) {
      auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
      while (!condition()) {
         if (std::chrono::steady_clock::now() > deadline) return false;
         if (turn()) continue;
         pollfd waiting{server->descriptor(), POLLIN, 0};
         poll(&waiting, 1, 50);
      }
      return true;
   }

   void sendAll(Client& client, std::string_view text) {
      while (!text.empty()) {
         text = client.sendSome(text);
         settle();
      }
   }
   std::vector<std::string> ask(Client& client, std::string_view text) {
      client.received.clear();
      sendAll(client, text);
      client.receive();
      return client.answers();
   }
   std::size_t pathSpecs() const { return store.collections().front()->size(); }

   TestSupport::ScratchDirectory const folder;
   fs::path const path = folder.path() / "publish.sock";
   Vel::Ptr<Vel::EntityDir> root = Vel::makePtr<Vel::EntityDir>("root");
   Store::StateStore store{root};
   Vel::Ptr<Orb::TaskScheduler> const tasks = Orb::TaskSchedulerRoot::findOrCreateScheduler();
   Store::ChangeQueue queue{store};
   std::optional<Server> server;
   std::vector<std::string> traces;
   std::vector<std::string> log;
   int documents = 0;
   std::size_t statuses = 0;
   bool eventsOn = true;
   std::uint64_t events = 0;
   std::vector<std::string> refusals;
   std::chrono::microseconds slice{2000};
};

using Lines = std::vector<std::string>;

TEST_F(ServerTest, EachLineIsAnsweredInOrder) {
   start();
   Client client(path);
   EXPECT_EQ(ask(client, patchOf("a") + patchOf("a") + "{\"$replace\":{}}\r\n\n \r\n{\"$status\":null}\n[\n" +
                               "{\"$trace\":\"x=1\"}\n{\"$trace\":\"\"}\n{\"$trace\":null}\n{\"$other\":1}\n" +
                               patchOf("b")),
             (Lines{changedAnswer(1), changedAnswer(0), changedAnswer(1), statusAnswer("{\"pid\":1}"),
                    errorAnswer("/: expected an object but found an array"), doneAnswer(),
                    errorAnswer("/$trace: which?"), tracesAnswer("[{\"handle\":\"x\"}]"),
                    errorAnswer(
                          "/$other: there is no such request; there are $replace, $state, $status, $events and $trace"),
                    changedAnswer(1)}));
   EXPECT_EQ(traces, Lines{"x=1"});
   EXPECT_EQ(documents, 5);
   EXPECT_EQ(pathSpecs(), 1U);
}

TEST_F(ServerTest, TheStateOutlivesTheConnection) {
   start();
   {
      Client client(path);
      ask(client, patchOf("a"));
   }
   settle();
   EXPECT_EQ(server->status().connections, 0U);
   EXPECT_EQ(server->status().accepted, 1U);
   Client client(path);
   EXPECT_EQ(ask(client, "{\"$state\":null}\n"),
             Lines{std::string(kStateBegin) + "{\"pathSpec\":{\"cli:a\":{}}}" + std::string(kStateEnd)});
}

TEST_F(ServerTest, WhatCameWholeIsCarriedOutThoughItsPublisherHasGone) {
   start();
   {
      Client client(path);
      std::string lines;
      for (int i = 0; i < 500; ++i) lines += patchOf(std::to_string(i));
      client.sendSome(lines + "{\"pathSpec\":{\"cli:half\"");
   }
   settle();
   EXPECT_EQ(pathSpecs(), 500U);
   EXPECT_EQ(server->status().connections, 0U);
}

TEST_F(ServerTest, WhoOnlyEndsItsOwnSideReadsTheAnswers) {
   start();
   Client client(path);
   client.sendSome(patchOf("a") + "{\"pathSpec\"");
   client.finish();
   settle();
   client.receive();
   EXPECT_EQ(client.answers(), (Lines{changedAnswer(1), errorAnswer("the last line has no end, and is dropped")}));
   EXPECT_EQ(refusals, Lines{"the last line has no end, and is dropped"});
   EXPECT_TRUE(client.ended);
}

TEST_F(ServerTest, ALineOfTheGreatestLengthIsTakenAndOneMoreIsRefusedAlone) {
   start({.longestLine = 100'000});
   Client client(path);
   EXPECT_EQ(ask(client, patchOf("a", 100'000) + patchOf("b", 100'001) + patchOf("c", 300'000) + patchOf("d")),
             (Lines{changedAnswer(1), errorAnswer("the line is too long: it has more than 100000 octets"),
                    errorAnswer("the line is too long: it has more than 100000 octets"), changedAnswer(1)}));
   EXPECT_EQ(refusals, Lines(2, "the line is too long: it has more than 100000 octets"))
         << "who else asks is told, too";
   EXPECT_EQ(pathSpecs(), 2U);
}

TEST_F(ServerTest, PublishersTakeTurns) {
   start();
   tasks->yieldPolicyIs([] { return true; });
   slice = std::chrono::microseconds(0);  // of one document
   Client many(path);
   Client few(path);
   std::string lines;
   for (int i = 0; i < 200; ++i) lines += patchOf(std::to_string(i));
   many.sendSome(lines);
   few.sendSome(patchOf("few"));
   ASSERT_TRUE(turnUntil([&] {
      few.receive();
      return !few.received.empty();
   }));
   tasks->yieldPolicyIs(nullptr);
   EXPECT_LT(documents, 20) << "it did not wait for all that was there before";
   settle();
   EXPECT_EQ(documents, 201);
}

std::string questions(std::size_t count) {
   std::string lines;
   while (count-- > 0) lines += "{\"$status\":null}\n";
   return lines;
}

TEST_F(ServerTest, QuestionsDoNotKeepADocumentWaiting) {
   constexpr std::size_t kAskers = 20;
   constexpr std::size_t kEach = 4000;
   start();
   std::list<Client> askers;
   std::string const lines = questions(kEach);
   for (std::size_t i = 0; i < kAskers; ++i) askers.emplace_back(path);
   Client publisher(path);
   settle();
   std::vector<std::string_view> left(kAskers, lines);
   auto const askOn = [&] {
      std::size_t i = 0;
      for (Client& asker : askers) {
         left[i] = asker.sendSome(left[i]);
         asker.receive();
         ++i;
      }
   };
   askOn();
   ASSERT_TRUE(turnUntil([&] { return statuses > 100; }));
   publisher.sendSome(patchOf("a"));
   std::size_t const before = statuses;
   ASSERT_TRUE(turnUntil([&] {
      askOn();
      return pathSpecs() == 1;
   }));
   EXPECT_LT(statuses - before, kAskers * kEach / 4) << "they ask on and on";
   ASSERT_TRUE(turnUntil([&] {
      askOn();
      return statuses == kAskers * kEach;
   })) << "and all are answered";
}

TEST_F(ServerTest, NorDoDocumentsKeepAQuestionWaiting) {
   start();
   Client publisher(path);
   Client asker(path);
   settle();
   std::string patches;
   for (int i = 0; i < 2000; ++i) patches += patchOf(std::to_string(i));
   std::string_view left = patches;
   left = publisher.sendSome(left);
   ASSERT_TRUE(turnUntil([&] { return documents > 10; }));
   asker.sendSome("{\"$status\":null}\n");
   ASSERT_TRUE(turnUntil([&] {
      left = publisher.sendSome(left);
      publisher.receive();
      return statuses == 1;
   }));
   EXPECT_LT(documents, 2000);
}

TEST_F(ServerTest, TheDeadAreNotAnswered) {
   start();
   std::list<Client> gone;
   for (int i = 0; i < 20; ++i) gone.emplace_back(path);
   settle();
   int name = 0;
   for (Client& client : gone) client.sendSome(questions(500) + patchOf(std::to_string(name++)) + questions(500));
   gone.clear();
   settle();
   EXPECT_EQ(statuses, 0U);
   EXPECT_EQ(pathSpecs(), 20U) << "but what they wanted done is done";
   EXPECT_EQ(server->status().connections, 0U);
}

TEST_F(ServerTest, AlsoWhenTheyDieInTheirTurn) {
   start();
   std::list<Client> gone;
   for (int i = 0; i < 20; ++i) gone.emplace_back(path);
   settle();
   for (Client& client : gone) client.sendSome(questions(1000));
   ASSERT_TRUE(turnUntil([&] { return statuses > 0; }));
   gone.clear();
   std::size_t const before = statuses;
   settle();
   EXPECT_LT(statuses - before, 5000U) << "of 20,000";
   EXPECT_EQ(server->status().connections, 0U);
}

TEST_F(ServerTest, WhoDoesNotReadItsAnswersIsNotReadEither) {
   start({.unread = 1000});
   Client deaf(path);
   std::string const line = "{\"$status\":null}\n";
   std::size_t sent = 0;
   for (int quiet = 0; quiet < 2;) {
      auto const rest = deaf.sendSome(line);
      settle();
      if (rest.size() == line.size()) {
         ++quiet;
      } else {
         sent += line.size() - rest.size();
      }
   }
   Client other(path);
   EXPECT_EQ(ask(other, patchOf("a")), Lines{changedAnswer(1)});
   std::size_t const before = sent / line.size();
   ASSERT_TRUE(turnUntil([&] {
      deaf.receive();
      return deaf.answers().size() >= before;
   })) << "nothing is lost";
}

TEST_F(ServerTest, OnlySoManyLargeLinesAreHeldAtATime) {
   start({.smallLine = 1000, .largeLines = 2});
   std::string const large = patchOf("x", 5000);
   Client first(path);
   Client second(path);
   Client third(path);
   for (Client* const client : {&first, &second, &third}) client->sendSome(large.substr(0, 3000));
   settle();
   EXPECT_EQ(ask(third, large.substr(3000)), Lines()) << "its turn has not come";
   Client small(path);
   EXPECT_EQ(ask(small, patchOf("small")), Lines{changedAnswer(1)}) << "who has little to say need not wait";
   EXPECT_EQ(ask(first, large.substr(3000)), Lines{changedAnswer(1)});
   settle();
   third.receive();
   EXPECT_EQ(third.answers(), Lines{changedAnswer(0)});
   EXPECT_EQ(ask(second, large.substr(3000)), Lines{changedAnswer(0)});
   EXPECT_THAT(log, IsEmpty());
}

TEST_F(ServerTest, WhoKeepsOthersWaitingWithHalfALargeLineIsCutOff) {
   start({.smallLine = 1000, .largeLines = 1, .stall = std::chrono::milliseconds(10)});
   std::string const large = patchOf("x", 5000);
   Client silent(path);
   silent.sendSome(large.substr(0, 3000));
   ASSERT_TRUE(turnUntil([&] { return server->status().connections == 1; }));
   settle();
   usleep(20'000);
   settle();
   EXPECT_EQ(server->status().connections, 1U) << "as long as nobody waits, it may take its time";
   Client other(path);
   other.sendSome(large);
   ASSERT_TRUE(turnUntil([&] {
      other.receive();
      return !other.received.empty();
   }));
   EXPECT_EQ(other.answers(), Lines{changedAnswer(1)});
   silent.receive();
   EXPECT_EQ(silent.answers(), Lines{errorAnswer("a line of more than 1000 octets did not come to its end in time")});
   EXPECT_TRUE(silent.ended);
   ASSERT_EQ(log.size(), 1U);
   EXPECT_THAT(log.front(), HasSubstr("which kept others waiting"));
}

TEST_F(ServerTest, TheDocumentIsWrittenOnceForAllWhoWaitAndHeldOnce) {
   start({.stall = std::chrono::milliseconds(10)});
   std::string document = "{\"pathSpec\":{";
   for (int i = 0; i < 40'000; ++i) document += fmt::format("{}\"cli:path-number-{}\":{{}}", i ? "," : "", i);
   store.replace(document + "}}");
   Client slow(path);
   slow.sendSome("{\"$state\":null}\n");
   settle();
   Client next(path);
   next.sendSome("{\"$state\":null}\n");
   ASSERT_TRUE(turnUntil([&] {
      next.receive();
      return next.received.ends_with('\n');
   })) << "who does not read it is cut off";
   EXPECT_EQ(nlohmann::json::parse(next.received)["state"]["pathSpec"].size(), 40'000U);
   slow.receive();
   EXPECT_TRUE(slow.ended);
   EXPECT_LT(slow.received.size(), next.received.size());
}

TEST_F(ServerTest, WhoMayNotPublishIsToldSoAndSentAway) {
   std::vector<std::string> const others{"uid:12345"};
   start({}, Access(others));
   Client client(path);
   client.sendSome(patchOf("a"));
   settle();
   client.receive();
   ASSERT_EQ(client.answers().size(), 1U);
   EXPECT_THAT(client.answers().front(), HasSubstr(fmt::format("uid {} ", geteuid())));
   EXPECT_TRUE(client.ended);
   EXPECT_EQ(pathSpecs(), 0U);
   EXPECT_EQ(server->status().refused, 1U);
   EXPECT_EQ(log.size(), 1U);
}

TEST_F(ServerTest, ThereAreOnlySoManyConnections) {
   start({.connections = 2});
   Client first(path);
   Client second(path);
   Client third(path);
   settle();
   third.receive();
   EXPECT_EQ(third.answers(), Lines{errorAnswer("there are 2 connections already")});
   EXPECT_TRUE(third.ended);
   EXPECT_EQ(ask(first, patchOf("a")), Lines{changedAnswer(1)});
}

TEST_F(ServerTest, NobodyIsHeardBeforeItIsOpened) {
   start();
   server.reset();
   server.emplace(Server::Options{{.path = path.string()}, {}}, queue, store, Handlers{});
   Client early(path);
   early.sendSome("\n");
   settle();
   EXPECT_EQ(server->status().accepted, 0U);
   server->open();
   settle();
   EXPECT_EQ(server->status().connections, 1U);
}

TEST_F(ServerTest, ItMayGoWhileALineIsUnderWay) {
   start();
   Client client(path);
   client.sendSome(patchOf("a") + "{\"$state\":null}\n");
   server->handleReadable();
   server->handleReadable();
   tasks->runSlice(std::chrono::microseconds(0));
   server.reset();
   tasks->runAll();
   start();
   EXPECT_FALSE(fs::is_empty(folder.path()));
}

TEST_F(ServerTest, WhoAsksForEventsIsAnsweredWhenThereIsOne) {
   start();
   Client client(path);
   Client other(path);
   EXPECT_EQ(ask(client, "{\"$events\":null}\n"), Lines{"{\"ok\":true,\"last\":0}\n"});
   EXPECT_EQ(ask(client, "{\"$events\":0}\n{\"$status\":null}\n"), Lines{}) << "one line after the other";
   EXPECT_EQ(ask(other, "{\"$events\":7}\n"), Lines{});
   for (events = 1; events <= 8; ++events) {
      server->eventsCame();
      settle();
   }
   client.receive();
   EXPECT_EQ(client.answers(), (Lines{"{\"ok\":true,\"last\":1}\n", statusAnswer("{\"pid\":1}")}));
   other.receive();
   EXPECT_EQ(other.answers(), Lines{"{\"ok\":true,\"last\":8}\n"});
}

TEST_F(ServerTest, WhoGoesWhileHeWaitsForAnEventIsLetGo) {
   start();
   {
      Client client(path);
      EXPECT_EQ(ask(client, "{\"$events\":0}\n"), Lines{});
      EXPECT_EQ(server->status().connections, 1U);
   }
   EXPECT_TRUE(turnUntil([this] { return server->status().connections == 0; }));
   events = 1;
   server->eventsCame();
   settle();
}

TEST_F(ServerTest, WhereThereAreNoEventsThatIsSaid) {
   eventsOn = false;
   start();
   Client client(path);
   EXPECT_EQ(ask(client, "{\"$events\":null}\n"), Lines{errorAnswer("/$events: there are none")});
}

}  // namespace
}  // namespace Publish
