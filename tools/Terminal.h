// SPDX-License-Identifier: MIT
#pragma once

#include <signal.h>
#include <termios.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tools {

/// Writes all of `text`. Throws `std::system_error` when it cannot.
void writeAll(int fd, std::string_view text);

/// Whether `fd` is a terminal that can be drawn on.
bool isScreen(int fd);

/// Whether to write colours to `fd`: to a screen, unless the environment variable NO_COLOR is set.
bool colourWanted(int fd);

/// Thrown by `Terminal::wait()` when the user wants out.
struct Quit {
   int signal;  ///< The signal that the process was asked to end with, or 0 for a key or Ctrl-C.
};

/// The whole screen of a terminal while it lives: the alternate screen without cursor and echo. The destructor leaves
/// the terminal as it was; so do, for their time, the signals that end or stop the process, which are kept blocked and
/// arrive in `wait()`. One at a time.
class Terminal {
 public:
   /// `output` must be a terminal; `input` may be anything, and is listened to for the key q if it is a terminal.
   Terminal(int input, int output);
   ~Terminal();
   Terminal(Terminal const&) = delete;
   Terminal& operator=(Terminal const&) = delete;

   /// Waits for `fd` to be readable, at most `limit`; returns early when the user did something. `fd` may be -1.
   /// Throws `Quit`. Ctrl-Z gives the terminal back while the process is stopped.
   void wait(int fd, std::chrono::milliseconds limit);

   /// Whether the screen must be drawn anew: its size has changed, or it was away. True once for each such event.
   bool redrawWanted() { return std::exchange(redrawWanted_, false); }

   /// How many lines the screen has.
   std::size_t height() const;

   /// Shows `lines` from the top, as many as fit and cut at the right margin. They may hold colours.
   void draw(std::vector<std::string> const& lines);

 private:
   void enter();
   void leave() noexcept;
   void release() noexcept;
   void readSignals();
   void readKeys();

   int const output_;
   int const modesOf_;
   int input_;  // modesOf_, or -1 when there is nothing to listen to.
   std::optional<termios> modes_;
   bool shown_ = false;
   sigset_t blockedBefore_{};
   int signals_ = -1;
   bool redrawWanted_ = false;
};

}  // namespace Tools
