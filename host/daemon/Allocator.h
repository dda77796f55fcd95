// SPDX-License-Identifier: MIT
#pragma once

namespace Daemon {

/// What becomes of memory that mplsted has freed. It goes back to the system at once: a state that is loaded or
/// replaced and the lines of publishers leave tens of megabytes behind that nothing would use for long. But that of an
/// answer to a manager is kept for the next one, for as long as this lives: mapping it anew would take longer than the
/// answer. Exists once.
class AnswerMemory {
 public:
   AnswerMemory();
   ~AnswerMemory();
   AnswerMemory(AnswerMemory const&) = delete;
   AnswerMemory& operator=(AnswerMemory const&) = delete;

   /// To be called at the beginning of each turn of the loop.
   static void nextTurn();
};

}  // namespace Daemon
