// SPDX-License-Identifier: MIT
#include "host/publish/Connection.h"

#include <fmt/format.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <utility>

#include "host/publish/Request.h"

namespace Publish {

namespace {

// What is read at a time at most, so that nobody waits long for another's turn.
constexpr std::size_t kReadPiece = std::size_t{16} << 10U;

}  // namespace

Connection::Connection(std::uint64_t id, int descriptor, Peer peer, ConnectionHolder& holder, Limits const& limits)
      : id_(id),
        descriptor_(descriptor, "accept"),
        peer_(std::move(peer)),
        holder_(holder),
        limits_(limits),
        lines_(limits.longestLine) {}

void Connection::handle(std::uint32_t events) {
   if (finished_) return;
   // Both sides have been closed, not just the publisher's own.
   if (events & (EPOLLERR | EPOLLHUP)) beDeaf();
   if (events & (EPOLLOUT | EPOLLERR | EPOLLHUP)) write();
   if (events & (EPOLLIN | EPOLLERR | EPOLLHUP | EPOLLRDHUP)) read();
   proceed();
}

void Connection::read() {
   if (ended_ || !mayTakeLine() || large_ == Large::wanted) return;
   static std::array<char, kReadPiece> piece;
   auto const count = recv(descriptor_, piece.data(), std::min(piece.size(), limits_.smallLine), 0);
   if (count > 0) {
      lines_.append({piece.data(), static_cast<std::size_t>(count)});
      moved_ = Clock::now();
   } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
      ended_ = true;
   }
}

/// Writes what can be written of `text` behind `sent`; true when that was all.
bool Connection::send(std::string_view text, std::size_t& sent) {
   auto const rest = text.substr(sent);
   auto const count = ::send(descriptor_, rest.data(), rest.size(), MSG_NOSIGNAL);
   if (count >= 0) {
      sent += static_cast<std::size_t>(count);
      if (count > 0) moved_ = Clock::now();
   } else if (errno != EAGAIN && errno != EINTR) {
      // Who does not read the answers any more may still have sent lines.
      deaf_ = true;
   }
   return sent == text.size();
}

void Connection::write() {
   if (!deaf_ && unread() != 0 && send(out_, outBegin_)) {
      out_.clear();
      outBegin_ = 0;
   }
   if (!deaf_ && unread() == 0 && state_ && send((*state_)[piece_], pieceBegin_)) {
      pieceBegin_ = 0;
      if (++piece_ == state_->size()) state_ = nullptr;
   }
   if (deaf_) beDeaf();
}

void Connection::beDeaf() {
   deaf_ = true;
   out_ = std::string();
   outBegin_ = 0;
   state_ = nullptr;
}

void Connection::answer(std::string_view line) {
   busy_ = false;
   letLargeLineGo();
   if (!deaf_) out_ += line;
   write();
   proceed();
}

void Connection::answerState(std::shared_ptr<Pieces const> text) {
   busy_ = false;
   letLargeLineGo();
   if (!deaf_) state_ = std::move(text);
   piece_ = pieceBegin_ = 0;
   turnBegan_ = moved_ = Clock::now();
   write();
   proceed();
}

void Connection::largeLineMayCome() {
   large_ = Large::granted;
   turnBegan_ = moved_ = Clock::now();
   proceed();
}

void Connection::letLargeLineGo() {
   if (std::exchange(large_, Large::none) != Large::none) holder_.largeLineGone(*this);
}

void Connection::cutOff(std::string_view line) {
   // A line that is in the middle of the document cannot be told from it.
   if (!state_) out_ += line;
   state_ = nullptr;
   letLargeLineGo();
   write();
   finished_ = true;
   holder_.eventsAre(*this, 0);
}

void Connection::proceed() {
   if (finished_) return;
   takeLines();
   if (mayTakeLine() && !ended_ && lines_.held() >= limits_.smallLine && large_ == Large::none) {
      large_ = Large::wanted;
      if (holder_.largeLineWanted(*this)) {
         large_ = Large::granted;
         turnBegan_ = moved_ = Clock::now();
      }
   }
   updateEvents();
}

/// Takes the next line, if there is a whole one; steps over what is none.
void Connection::takeLines() {
   while (mayTakeLine()) {
      std::string line;
      auto const next = lines_.next(line);
      if (next == LineBuffer::Next::line) {
         if (isBlank(line) || (deaf_ && isQuestion(line))) continue;
         busy_ = true;
         return holder_.lineCame(*this, std::move(line));
      }
      if (next == LineBuffer::Next::tooLong) {
         refuseLine(fmt::format("the line is too long: it has more than {} octets", limits_.longestLine));
         continue;
      }
      if (ended_) {
         letLargeLineGo();
         if (lines_.held() != 0) {
            lines_ = LineBuffer(limits_.longestLine);
            refuseLine("the last line has no end, and is dropped");
         }
         finished_ = !writing();
      }
      return;
   }
}

void Connection::refuseLine(std::string const& why) {
   letLargeLineGo();
   holder_.lineRefused(*this, why);
   if (!deaf_) out_ += errorAnswer(why);
   write();
}

void Connection::updateEvents() {
   std::uint32_t events = 0;
   if (!ended_ && mayTakeLine() && large_ != Large::wanted) events |= EPOLLIN;
   if (writing()) events |= EPOLLOUT;
   holder_.eventsAre(*this, finished_ ? 0 : events);
}

}  // namespace Publish
