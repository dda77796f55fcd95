// SPDX-License-Identifier: MIT
#pragma once

#include <exception>
#include <functional>
#include <type_traits>
#include <utility>

namespace Flo {

/// One reaction after another.
///
/// A derivation, its watchers and the chains that it keeps react to changes in turns: what is set off while a turn is
/// under way, by an observer of an output or by an observer of an input that the derivation has not looked at yet,
/// waits until that turn is done. So no reaction ever begins in the middle of another, whoever changes what inside
/// which notification, and each finds the outputs whole. There is one row of turns in the process, on its one thread:
/// machines that share an output do not meet in the middle of a write either.
class Turn {
 public:
   static bool underWay() { return underWay_; }

   /// Takes a turn for `work`: now, or, when another is under way, behind it and behind those that wait already. What
   /// waits is to hold the objects that it needs, and to look whether they are still in use.
   template <class Work>
   static void take(Work&& work) {
      if (underWay_) {
         wait(std::forward<Work>(work));
      } else {
         hold(std::forward<Work>(work));
      }
   }

   /// Runs `call` now and returns what it returns. What it sets off waits until it is done; that is through when this
   /// returns, unless `call` was itself part of a turn. An exception of `call`, or else the first one of those that
   /// waited, is passed on when all are through.
   template <class Call>
   static auto hold(Call&& call) {
      if (underWay_) return call();
      Turn turn;
      if constexpr (std::is_void_v<decltype(call())>) {
         turn.guard(call);
         turn.finish();
      } else {
         decltype(call()) result{};
         turn.guard([&] { result = call(); });
         turn.finish();
         return result;
      }
   }

 private:
   Turn() { underWay_ = true; }
   ~Turn() { underWay_ = false; }
   Turn(Turn const&) = delete;
   Turn& operator=(Turn const&) = delete;

   template <class Call>
   void guard(Call&& call) {
      try {
         call();
      } catch (...) {
         if (!failed_) failed_ = std::current_exception();
      }
   }
   static void wait(std::function<void()> work);
   void finish();

   static bool underWay_;
   std::exception_ptr failed_;
};

}  // namespace Flo
