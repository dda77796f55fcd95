// SPDX-License-Identifier: MIT
#include "tools/Terminal.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace Tools {

namespace {

// Alternate screen, no cursor, no wrapping at the right margin: and back.
constexpr std::string_view enterScreen = "\x1b[?1049h\x1b[?25l\x1b[?7l";
constexpr std::string_view leaveScreen = "\x1b[?7h\x1b[?25h\x1b[?1049l";

std::system_error systemError(char const* what) { return {errno, std::generic_category(), what}; }

// The signals of the terminal's life, but for those that whoever started us wants ignored (nohup).
sigset_t terminalSignals() {
   sigset_t set;
   sigemptyset(&set);
   for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGWINCH}) {
      struct sigaction action {};
      sigaction(signal, nullptr, &action);
      if (action.sa_handler != SIG_IGN) sigaddset(&set, signal);
   }
   return set;
}

}  // namespace

void writeAll(int fd, std::string_view text) {
   while (!text.empty()) {
      auto const written = write(fd, text.data(), text.size());
      if (written >= 0) {
         text.remove_prefix(static_cast<std::size_t>(written));
      } else if (errno == EAGAIN) {
         pollfd output{fd, POLLOUT, 0};
         poll(&output, 1, -1);
      } else if (errno != EINTR) {
         throw systemError("cannot write the output");
      }
   }
}

bool isScreen(int fd) {
   char const* const type = std::getenv("TERM");
   return isatty(fd) && type && *type && std::string_view(type) != "dumb";
}

bool colourWanted(int fd) {
   char const* const noColour = std::getenv("NO_COLOR");
   return isScreen(fd) && !(noColour && *noColour);
}

Terminal::Terminal(int input, int output) : output_(output), modesOf_(input), input_(isatty(input) ? input : -1) {
   termios modes;
   if (input_ >= 0 && tcgetattr(input_, &modes) == 0) modes_ = modes;
   sigset_t const set = terminalSignals();
   signals_ = signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
   if (signals_ < 0) throw systemError("signalfd");
   sigprocmask(SIG_BLOCK, &set, &blockedBefore_);
   try {
      enter();
   } catch (...) {
      release();
      throw;
   }
}

Terminal::~Terminal() { release(); }

void Terminal::release() noexcept {
   leave();
   close(signals_);
   sigprocmask(SIG_SETMASK, &blockedBefore_, nullptr);
}

void Terminal::enter() {
   shown_ = true;
   redrawWanted_ = true;
   // The modes first: continued in the background, the process stops here until it is in the foreground again.
   if (modes_) {
      termios modes = *modes_;
      modes.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
      modes.c_cc[VMIN] = 1;
      modes.c_cc[VTIME] = 0;
      tcsetattr(modesOf_, TCSADRAIN, &modes);
   }
   writeAll(output_, enterScreen);
}

void Terminal::leave() noexcept {
   if (!std::exchange(shown_, false)) return;
   try {
      writeAll(output_, leaveScreen);
   } catch (std::system_error const&) {
      // The terminal has gone: nothing is left to be restored.
   }
   if (modes_) tcsetattr(modesOf_, TCSAFLUSH, &*modes_);
}

void Terminal::wait(int fd, std::chrono::milliseconds limit) {
   pollfd inputs[] = {{fd, POLLIN, 0}, {signals_, POLLIN, 0}, {input_, POLLIN, 0}};
   if (poll(inputs, std::size(inputs), static_cast<int>(limit.count())) < 0 && errno != EINTR)
      throw systemError("poll");
   if (inputs[1].revents) readSignals();
   if (inputs[2].revents) readKeys();
}

void Terminal::readSignals() {
   signalfd_siginfo info;
   while (read(signals_, &info, sizeof info) == sizeof info) {
      auto const signal = static_cast<int>(info.ssi_signo);
      switch (signal) {
         case SIGWINCH:
            redrawWanted_ = true;
            break;
         case SIGTSTP: {
            leave();
            sigset_t stop;
            sigemptyset(&stop);
            sigaddset(&stop, SIGTSTP);
            sigprocmask(SIG_UNBLOCK, &stop, nullptr);
            raise(SIGTSTP);  // Stops here until SIGCONT.
            sigprocmask(SIG_BLOCK, &stop, nullptr);
            break;
         }
         case SIGINT:
            throw Quit{0};
         default:
            throw Quit{signal};
      }
   }
   // Not before: a process that is ended while it is stopped has no business on the screen.
   if (!shown_) enter();
}

void Terminal::readKeys() {
   char keys[64];
   auto const count = read(input_, keys, sizeof keys);
   if (count <= 0) {
      if (count == 0 || errno != EINTR) input_ = -1;  // Hung up; SIGHUP says the rest.
      return;
   }
   char const* const end = keys + count;
   if (std::any_of(static_cast<char const*>(keys), end, [](char key) { return key == 'q' || key == 'Q'; }))
      throw Quit{0};
}

std::size_t Terminal::height() const {
   winsize size{};
   return ioctl(output_, TIOCGWINSZ, &size) == 0 && size.ws_row ? size.ws_row : 24;
}

void Terminal::draw(std::vector<std::string> const& lines) {
   std::string frame = "\x1b[H";
   auto const room = height();
   auto const count = std::min(lines.size(), room);
   for (std::size_t i = 0; i < count; ++i) {
      frame += i ? "\r\n\x1b[K" : "\x1b[K";  // Cleared first: behind a line that fills the screen it would cut it.
      frame += lines[i];
   }
   if (count < room) frame += "\r\n\x1b[J";
   writeAll(output_, frame);
}

}  // namespace Tools
