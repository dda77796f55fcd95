// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "host/loop/Descriptor.h"
#include "host/publish/Access.h"
#include "host/publish/Limits.h"
#include "host/publish/LineBuffer.h"
#include "host/publish/StateText.h"

namespace Publish {

class Connection;

/// What a connection wants of whoever holds all of them. None may destroy the connection.
class ConnectionHolder {
 public:
   /// `answer` or `answerState` is to be called once, later; until then the connection has no further line.
   virtual void lineCame(Connection& connection, std::string line) = 0;
   /// A line cannot be taken, and its publisher is told why.
   virtual void lineRefused(Connection& connection, std::string const& why) = 0;
   /// Whether the connection may hold a large line now; otherwise `largeLineMayCome` is called when it may.
   virtual bool largeLineWanted(Connection& connection) = 0;
   /// It does not hold it, or want to hold it, any more.
   virtual void largeLineGone(Connection& connection) = 0;
   /// The descriptor is to be watched for these events (EPOLLIN, EPOLLOUT), or for none.
   virtual void eventsAre(Connection& connection, std::uint32_t events) = 0;

 protected:
   ~ConnectionHolder() = default;
};

/// One publisher's connection: reads lines, one at a time, and writes the answers. Is not read while a line of it is
/// under way, nor while its answers are not read.
///
/// A publisher may close its side and still read the answers. When it has gone altogether, the documents that came
/// whole are carried out all the same; its questions are passed over.
class Connection {
 public:
   using Clock = std::chrono::steady_clock;

   /// `holder` and `limits` outlive it.
   Connection(std::uint64_t id, int descriptor, Peer peer, ConnectionHolder& holder, Limits const& limits);
   Connection(Connection const&) = delete;
   Connection& operator=(Connection const&) = delete;

   std::uint64_t id() const { return id_; }
   int descriptor() const { return descriptor_; }
   Peer const& peer() const { return peer_; }

   /// Begins to read.
   void start() { proceed(); }
   /// These events (of epoll) have come. Reads and writes one piece at most.
   void handle(std::uint32_t events);
   /// The answer to the line under way, with its line end.
   void answer(std::string_view line);
   /// The state, or null when it was not written since `deaf`.
   void answerState(std::shared_ptr<Pieces const> text);
   void largeLineMayCome();
   /// Ends the connection, with a last line.
   void cutOff(std::string_view line);

   /// Whether its publisher has gone altogether, and no answer can reach it.
   bool deaf() const { return deaf_; }
   /// Whether nothing is left to be done: it is to be destroyed.
   bool finished() const { return finished_; }

   /// Holds a place for a large line that has not come to its end.
   bool receivesLargeLine() const { return large_ == Large::granted && !busy_; }
   /// Holds the text of the state that its publisher has not read.
   bool holdsState() const { return state_ != nullptr; }
   /// When one of these began, and when it last came on.
   Clock::time_point turnBegan() const { return turnBegan_; }
   Clock::time_point moved() const { return moved_; }

 private:
   enum class Large : std::uint8_t { none, wanted, granted };

   void read();
   void write();
   void proceed();
   void takeLines();
   void updateEvents();
   void letLargeLineGo();
   void refuseLine(std::string const& why);
   void beDeaf();
   std::size_t unread() const { return out_.size() - outBegin_; }
   bool writing() const { return !deaf_ && (unread() != 0 || state_); }
   bool mayTakeLine() const { return !busy_ && !state_ && (deaf_ || unread() < limits_.unread); }
   bool send(std::string_view text, std::size_t& sent);

   std::uint64_t const id_;
   Loop::Descriptor const descriptor_;
   Peer const peer_;
   ConnectionHolder& holder_;
   Limits const& limits_;

   LineBuffer lines_;
   bool busy_ = false;   // a line is under way
   bool ended_ = false;  // nothing more comes from the publisher
   bool deaf_ = false;   // nothing more can be told to it
   bool finished_ = false;
   Large large_ = Large::none;

   std::string out_;
   std::size_t outBegin_ = 0;
   std::shared_ptr<Pieces const> state_;  // behind `out_`
   std::size_t piece_ = 0;
   std::size_t pieceBegin_ = 0;
   Clock::time_point turnBegan_;
   Clock::time_point moved_;
};

}  // namespace Publish
