// SPDX-License-Identifier: MIT
#include "host/publish/Server.h"

#include <fmt/format.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <system_error>
#include <utility>

namespace Publish {

namespace {

// What an event of epoll is about: one of these, or a connection.
constexpr std::uint64_t kListener = 0;
constexpr std::uint64_t kTimer = 1;
constexpr std::uint64_t kAgain = 2;
constexpr std::uint64_t kFirstConnection = 3;

// Of each before others than publishers have their turn.
constexpr std::size_t kEventsAtOnce = 16;
constexpr std::size_t kAcceptsAtOnce = 16;
constexpr long kTickNanoseconds = 250'000'000;
// In a turn of the loop, which has 2 ms for tasks: documents go on three or four times as fast.
constexpr std::chrono::microseconds kQuestionsAtOnce(500);

void watch(int epoll, int operation, int descriptor, std::uint32_t events, std::uint64_t id) {
   epoll_event event{};
   event.events = events;
   event.data.u64 = id;
   if (epoll_ctl(epoll, operation, descriptor, &event) != 0) {
      throw std::system_error(errno, std::generic_category(), "epoll_ctl");
   }
}

}  // namespace

Server::Server(Options options, Store::ChangeQueue& queue, Store::StateStore const& store, Handlers handlers)
      : options_(std::move(options)),
        handlers_(std::move(handlers)),
        queue_(queue),
        file_(options_.socket),
        epoll_(epoll_create1(EPOLL_CLOEXEC), "epoll_create"),
        timer_(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK), "timerfd_create"),
        again_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd"),
        stateText_(queue, store),
        lastId_(kFirstConnection) {
   watch(epoll_, EPOLL_CTL_ADD, timer_, EPOLLIN, kTimer);
   watch(epoll_, EPOLL_CTL_ADD, again_, EPOLLIN, kAgain);
}

Server::~Server() = default;

void Server::open() {
   if (std::exchange(opened_, true)) return;
   watch(epoll_, EPOLL_CTL_ADD, file_.descriptor(), EPOLLIN, kListener);
}

Server::Status Server::status() const {
   Status status = status_;
   status.connections = connections_.size();
   return status;
}

void Server::handleReadable() {
   std::array<epoll_event, kEventsAtOnce> events{};
   int const count = epoll_wait(epoll_, events.data(), events.size(), 0);
   for (int i = 0; i < count; ++i) {
      std::uint64_t const id = events[i].data.u64;
      if (id == kListener) {
         accept();
      } else if (id == kTimer) {
         handleTick();
      } else if (id == kAgain) {
         callAgain(false);
      } else if (Connection* const connection = find(id)) {
         connection->handle(events[i].events);
      }
   }
   letDeafGo();
   serveQuestions();
   settle();
}

/// Has the loop call without anything to be read. Also where a descriptor may be readable: then it calls in any case.
void Server::callAgain(bool again) {
   if (again) {
      eventfd_write(again_, 1);
   } else {
      eventfd_t ignored = 0;
      eventfd_read(again_, &ignored);
   }
}

// Accepting

void Server::accept() {
   for (std::size_t i = 0; i < kAcceptsAtOnce && !paused_; ++i) {
      if (!acceptOne()) return;
   }
}

/// False when there is nobody to be accepted.
bool Server::acceptOne() {
   int const descriptor = accept4(file_.descriptor(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
   if (descriptor < 0) {
      if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) pauseAccepting();
      return errno == ECONNABORTED || errno == EINTR;
   }
   ++status_.accepted;
   Peer peer = Peer::of(descriptor);
   if (!options_.access.admits(peer)) {
      refuse(descriptor, fmt::format("{}: refused {}", path(), toText(peer)),
             fmt::format("{} may not publish here", toText(peer)));
   } else if (connections_.size() >= options_.limits.connections) {
      refuse(descriptor, fmt::format("{}: refused a connection: there are {}", path(), connections_.size()),
             fmt::format("there are {} connections already", connections_.size()));
   } else {
      Id const id = ++lastId_;
      ConnectionHolder& holder = *this;
      auto connection = std::make_unique<Connection>(id, descriptor, std::move(peer), holder, options_.limits);
      try {
         watch(epoll_, EPOLL_CTL_ADD, descriptor, EPOLLONESHOT, id);
      } catch (std::system_error const& error) {
         handlers_.complain(fmt::format("{}: a connection is dropped: {}", path(), error.what()));
         return true;
      }
      connections_[id].connection = std::move(connection);
      find(id)->start();
   }
   return true;
}

void Server::refuse(int descriptor, std::string const& logged, std::string_view answer) {
   Loop::Descriptor const closed(descriptor, "accept");
   ++status_.refused;
   handlers_.complain(logged);
   auto const line = errorAnswer(answer);
   // A new connection has room for it.
   [[maybe_unused]] auto const sent = send(closed, line.data(), line.size(), MSG_NOSIGNAL);
}

/// Until a connection ends, or a moment has passed.
void Server::pauseAccepting() {
   handlers_.complain(
         fmt::format("{}: no connection can be accepted: {}", path(), std::generic_category().message(errno)));
   watch(epoll_, EPOLL_CTL_DEL, file_.descriptor(), 0, kListener);
   paused_ = true;
}

void Server::resumeAccepting() {
   if (std::exchange(paused_, false)) watch(epoll_, EPOLL_CTL_ADD, file_.descriptor(), EPOLLIN, kListener);
}

// Connections

Connection* Server::find(Id id) {
   auto const found = connections_.find(id);
   return found == connections_.end() ? nullptr : found->second.connection.get();
}

void Server::eventsAre(Connection& connection, std::uint32_t events) {
   auto const found = connections_.find(connection.id());
   std::uint32_t const before = std::exchange(found->second.events, events);
   if (before != events) {
      // That a connection has ended is told in any case: once, when it is of no concern at the moment.
      watch(epoll_, EPOLL_CTL_MOD, connection.descriptor(), events == 0 ? EPOLLONESHOT : events, connection.id());
   }
   if (connection.finished()) finished_.push_back(connection.id());
}

void Server::lineRefused(Connection& connection, std::string const& why) {
   handlers_.done(connection.peer(), {.refusal = why});
}

bool Server::largeLineWanted(Connection& connection) {
   if (largeHeld_.size() < options_.limits.largeLines) {
      largeHeld_.push_back(connection.id());
      return true;
   }
   largeWanted_.push_back(connection.id());
   return false;
}

void Server::largeLineGone(Connection& connection) {
   std::erase(largeHeld_, connection.id());
   std::erase(largeWanted_, connection.id());
}

/// What is to be done when the connections have done what they wanted: whoever has ended goes, and who waited for that
/// has his turn.
void Server::settle() {
   while (true) {
      for (Id const id : std::exchange(finished_, {})) connections_.erase(id);
      if (largeWanted_.empty() || largeHeld_.size() >= options_.limits.largeLines) break;
      Id const id = largeWanted_.front();
      largeWanted_.pop_front();
      largeHeld_.push_back(id);
      if (Connection* const connection = find(id)) connection->largeLineMayCome();
   }
   if (connections_.empty()) resumeAccepting();
   stateText_.proceed();
   bool const tick = somebodyWaits();
   if (tick == ticking_) return;
   ticking_ = tick;
   timespec const interval{.tv_sec = 0, .tv_nsec = tick ? kTickNanoseconds : 0};
   itimerspec const setting{.it_interval = interval, .it_value = interval};
   timerfd_settime(timer_, 0, &setting, nullptr);
}

bool Server::somebodyWaits() const { return paused_ || !largeWanted_.empty() || stateText_.held(); }

void Server::handleTick() {
   std::uint64_t ticks = 0;
   [[maybe_unused]] auto const count = read(timer_, &ticks, sizeof ticks);
   resumeAccepting();
   cutOffWhoKeepsOthersWaiting();
}

void Server::cutOffWhoKeepsOthersWaiting() {
   auto const now = Connection::Clock::now();
   for (auto const& [id, entry] : connections_) {
      Connection& connection = *entry.connection;
      bool const large = !largeWanted_.empty() && connection.receivesLargeLine();
      bool const state = stateText_.held() && connection.holdsState();
      if (!large && !state) continue;
      if (now - connection.moved() < options_.limits.stall &&
          now - connection.turnBegan() < options_.limits.longestTurn) {
         continue;
      }
      handlers_.complain(fmt::format("{}: cut off {}, which kept others waiting", path(), toText(connection.peer())));
      connection.cutOff(errorAnswer(
            fmt::format("a line of more than {} octets did not come to its end in time", options_.limits.smallLine)));
   }
}

// Lines

void Server::lineCame(Connection& connection, std::string line) {
   Request request = requestFrom(std::move(line));
   switch (request.kind) {
      case Request::Kind::patch:
         return publish(connection, Store::ChangeKind::patch, std::move(request.text));
      case Request::Kind::replace:
         return publish(connection, Store::ChangeKind::snapshot, std::move(request.text));
      default:
         if (asked_.empty()) callAgain(true);
         asked_.push_back({connection.id(), std::move(request)});
   }
}

/// Who has a question in the row has one in it: all have their turns.
void Server::serveQuestions() {
   auto const end = Connection::Clock::now() + kQuestionsAtOnce;
   while (!asked_.empty()) {
      Asked const asked = std::move(asked_.front());
      asked_.pop_front();
      if (Connection* const connection = find(asked.id)) serve(*connection, asked.question);
      if (Connection::Clock::now() >= end) break;
   }
   if (!asked_.empty()) callAgain(true);
}

void Server::serve(Connection& connection, Request const& question) {
   // Nobody would hear the answer.
   if (connection.deaf()) return connection.answer({});
   switch (question.kind) {
      case Request::Kind::state:
         return stateText_.ask({.wanted =
                                      [this, id = connection.id()] {
                                         Connection const* const asker = find(id);
                                         return asker && !asker->deaf();
                                      },
                                .ready =
                                      [this, id = connection.id()](std::shared_ptr<Pieces const> const& text) {
                                         if (Connection* const asker = find(id)) asker->answerState(text);
                                         callAgain(true);  // to settle
                                      }});
      case Request::Kind::status:
         return connection.answer(statusAnswer(handlers_.status()));
      case Request::Kind::events:
         return serveEvents(connection, question);
      case Request::Kind::traces:
         return connection.answer(tracesAnswer(handlers_.traces()));
      case Request::Kind::trace:
         try {
            handlers_.trace(question.text);
            return connection.answer(doneAnswer());
         } catch (std::exception const& error) {
            return connection.answer(errorAnswer(fmt::format("/$trace: {}", error.what())));
         }
      default:
         return connection.answer(errorAnswer(question.text));
   }
}

/// Who asks for what has not happened yet is answered when it has.
void Server::serveEvents(Connection& connection, Request const& question) {
   try {
      std::optional<std::uint64_t> after;
      if (!question.text.empty()) after = std::stoull(question.text);
      auto const text = handlers_.events(after);
      if (!text.empty()) return connection.answer(eventsAnswer(text));
      awaitingEvents_.push_back({connection.id(), question});
   } catch (std::exception const& error) {
      connection.answer(errorAnswer(fmt::format("/$events: {}", error.what())));
   }
}

/// Who has gone while he waited for an event.
void Server::letDeafGo() {
   std::erase_if(awaitingEvents_, [this](Asked const& asked) {
      Connection* const connection = find(asked.id);
      if (connection && connection->deaf()) connection->answer({});
      return !connection || connection->deaf();
   });
}

void Server::eventsCame() {
   if (awaitingEvents_.empty()) return;
   for (auto& asked : std::exchange(awaitingEvents_, {})) asked_.push_back(std::move(asked));
   callAgain(true);
}

void Server::publish(Connection const& connection, Store::ChangeKind kind, std::string document) {
   status_.lastPublisher = connection.peer().user;
   queue_.add(kind, std::move(document),
              [this, alive = std::weak_ptr(alive_), id = connection.id()](Store::ChangeQueue::Outcome outcome) {
                 if (alive.expired()) return;
                 if (outcome.refusal) outcome.refusal = withoutLine(*outcome.refusal);
                 Connection* const publisher = find(id);
                 if (!publisher) return;
                 handlers_.done(publisher->peer(), outcome);
                 publisher->answer(outcome.refusal ? errorAnswer(*outcome.refusal) : changedAnswer(outcome.changed));
                 settle();
              });
}

}  // namespace Publish
