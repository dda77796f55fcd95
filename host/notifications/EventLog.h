// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>

namespace Notifications {

/// The latest events, as texts, for those who ask for them over the socket of publishers. Each has a number, from 1 on,
/// and goes when there are too many behind it.
class EventLog {
 public:
   explicit EventLog(std::size_t most = kMost) : most_(most) {}

   void add(std::string json);
   /// The number of the latest; 0 before there is one.
   std::uint64_t last() const { return last_; }

   /// Those behind number `after`, as the rest of an answer: "events":[...],"last":N,"missed":N, the first of these at
   /// most. `missed`: how many behind it have gone already. What is behind the last, such as the number of an agent
   /// before this one, is taken for the last.
   std::string text(std::uint64_t after) const;
   /// The latest, as many as fit into an answer.
   std::string latest() const;
   bool hasMore(std::uint64_t after) const { return after < last_; }

   static constexpr std::size_t kMost = 1000;
   static constexpr std::size_t kMostInAnswer = 100;

 private:
   std::size_t const most_;
   std::uint64_t last_ = 0;
   std::deque<std::string> events_;
};

}  // namespace Notifications
