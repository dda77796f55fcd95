// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "host/loop/Descriptor.h"
#include "host/publish/Access.h"
#include "host/publish/Connection.h"
#include "host/publish/Limits.h"
#include "host/publish/Request.h"
#include "host/publish/SocketFile.h"
#include "host/publish/StateText.h"
#include "host/store/ChangeQueue.h"

namespace Publish {

/// What the server wants of the process that it is in.
struct Handlers {
   /// The status of the process: a JSON object on one line.
   std::function<std::string()> status;
   /// The events behind number `after`, or the latest of them without one, as members of an answer; an empty text when
   /// there is none behind it yet. Throws std::runtime_error when there will never be one.
   std::function<std::string(std::optional<std::uint64_t> after)> events;
   /// Sets trace levels from "HANDLE=LEVELS". Throws std::runtime_error or std::invalid_argument.
   std::function<void(std::string const& levels)> trace;
   /// The trace handles, each with its levels: a JSON list on one line.
   std::function<std::string()> traces;
   /// A document of this publisher has been applied or refused; or a line, before it could be one.
   std::function<void(Peer const& peer, Store::ChangeQueue::Outcome const& outcome)> done;
   /// One line for the log, which somebody out there may cause again and again.
   std::function<void(std::string const& line)> complain;
};

/// Publishing over a unix stream socket (docs/state.md): takes lines from any number of publishers, puts their patches
/// and documents into the store's queue, one of each publisher at a time, and answers each line.
///
/// All its descriptors are behind one, which the host's loop is to watch. A question takes its turn among questions,
/// and all of them together no more than a part of each turn of the loop, so that nobody's document waits for them. All
/// takes memory within bounds (Limits).
class Server final : private ConnectionHolder {
 public:
   struct Options {
      SocketFile::Options socket;
      Access access;
      Limits limits{};
   };

   /// Makes the socket; publishers can connect, and are not heard before `open`. `queue` and `store` outlive the
   /// server. Throws SocketError, std::system_error.
   Server(Options options, Store::ChangeQueue& queue, Store::StateStore const& store, Handlers handlers);
   ~Server();
   Server(Server const&) = delete;
   Server& operator=(Server const&) = delete;

   /// Begins to accept connections.
   void open();

   /// To be watched by the host's loop; when it is readable, `handleReadable` is to be called.
   int descriptor() const { return epoll_; }
   /// There are more events: those who have asked for them are answered, each in its turn.
   void eventsCame();

   void handleReadable();

   struct Status {
      std::size_t connections = 0;  ///< at present
      std::uint64_t accepted = 0;   ///< since the start
      std::uint64_t refused = 0;    ///< because of who they were, or because there were too many
      std::optional<uid_t> lastPublisher{};
   };
   Status status() const;
   std::string const& path() const { return file_.path(); }

 private:
   using Id = std::uint64_t;
   struct Entry {
      std::unique_ptr<Connection> connection;
      std::uint32_t events = 0;
   };

   void lineCame(Connection& connection, std::string line) override;
   void lineRefused(Connection& connection, std::string const& why) override;
   bool largeLineWanted(Connection& connection) override;
   void largeLineGone(Connection& connection) override;
   void eventsAre(Connection& connection, std::uint32_t events) override;

   void accept();
   bool acceptOne();
   void refuse(int descriptor, std::string const& logged, std::string_view answer);
   void pauseAccepting();
   void resumeAccepting();
   void publish(Connection const& connection, Store::ChangeKind kind, std::string document);
   void serve(Connection& connection, Request const& question);
   void serveEvents(Connection& connection, Request const& question);
   void letDeafGo();
   void serveQuestions();
   void callAgain(bool again);
   Connection* find(Id id);
   void settle();
   bool somebodyWaits() const;
   void handleTick();
   void cutOffWhoKeepsOthersWaiting();

   Options const options_;
   Handlers const handlers_;
   Store::ChangeQueue& queue_;
   SocketFile file_;
   Loop::Descriptor const epoll_;
   Loop::Descriptor const timer_;
   Loop::Descriptor const again_;  // readable while there are questions
   bool ticking_ = false;
   bool opened_ = false;
   bool paused_ = false;  // accepts nothing, for want of descriptors

   StateText stateText_;
   std::map<Id, Entry> connections_;
   Id lastId_;
   std::deque<Id> finished_;
   std::list<Id> largeHeld_;
   std::deque<Id> largeWanted_;

   // Lines that ask for something else than a change, one of each connection at most.
   struct Asked {
      Id id;
      Request question;
   };
   std::deque<Asked> asked_;
   std::deque<Asked> awaitingEvents_;
   Status status_;
   std::shared_ptr<bool> const alive_ = std::make_shared<bool>(true);
};

}  // namespace Publish
