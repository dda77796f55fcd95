// SPDX-License-Identifier: MIT
#include "tools/Terminal.h"

#include <gmock/gmock.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

namespace Tools {
namespace {

using testing::EndsWith;
using testing::StartsWith;

constexpr auto entered = "\x1b[?1049h\x1b[?25l\x1b[?7l";
constexpr auto left = "\x1b[?7h\x1b[?25h\x1b[?1049l";

// A terminal of 5 lines whose keyboard and screen are in the test's hands.
class TerminalTest : public testing::Test {
 protected:
   TerminalTest() {
      winsize size{};
      size.ws_row = 5;
      size.ws_col = 40;
      EXPECT_EQ(openpty(&user_, &tty, nullptr, nullptr, &size), 0);
      tcgetattr(tty, &modesBefore_);
      modesBefore_.c_oflag &= ~static_cast<tcflag_t>(OPOST);  // The test sees what is written, byte for byte.
      tcsetattr(tty, TCSANOW, &modesBefore_);
      sigprocmask(SIG_SETMASK, nullptr, &signalsBefore_);
   }

   ~TerminalTest() override {
      EXPECT_TRUE(modesAreAsBefore());
      sigset_t now;
      sigprocmask(SIG_SETMASK, nullptr, &now);
      for (int signal = 1; signal < SIGRTMIN; ++signal) {
         EXPECT_EQ(sigismember(&now, signal), sigismember(&signalsBefore_, signal)) << signal;
      }
      close(tty);
      close(user_);
   }

   bool modesAreAsBefore() const {
      termios now{};
      tcgetattr(tty, &now);
      return now.c_lflag == modesBefore_.c_lflag && !std::memcmp(now.c_cc, modesBefore_.c_cc, sizeof now.c_cc);
   }

   void type(std::string_view keys) { writeAll(user_, keys); }

   // What has been written to the screen since the last call.
   std::string screen() {
      std::string text;
      char buffer[4096];
      pollfd input{user_, POLLIN, 0};
      while (poll(&input, 1, 0) > 0) {
         auto const count = read(user_, buffer, sizeof buffer);
         if (count <= 0) break;
         text.append(buffer, static_cast<std::size_t>(count));
      }
      return text;
   }

   int tty = -1;

 private:
   int user_ = -1;
   termios modesBefore_{};
   sigset_t signalsBefore_{};
};

constexpr std::chrono::milliseconds longTime{60000};

TEST_F(TerminalTest, leavesTheTerminalAsItFoundIt) {
   {
      Terminal terminal(tty, tty);
      EXPECT_FALSE(modesAreAsBefore());
      EXPECT_EQ(screen(), entered);
   }
   EXPECT_EQ(screen(), left);
}

TEST_F(TerminalTest, leavesTheTerminalAsItFoundItAfterAnError) {
   EXPECT_THROW(
         {
            Terminal terminal(tty, tty);
            throw std::runtime_error("anything");
         },
         std::runtime_error);
   EXPECT_THAT(screen(), EndsWith(left));
}

TEST_F(TerminalTest, quitsAtTheKeyQ) {
   Terminal terminal(tty, tty);
   type("x");
   terminal.wait(-1, longTime);
   type("q");
   EXPECT_THROW(terminal.wait(-1, longTime), Quit);
}

TEST_F(TerminalTest, turnsSignalsIntoQuitting) {
   Terminal terminal(tty, tty);
   for (auto const& [signal, reported] : {std::pair{SIGINT, 0}, {SIGTERM, SIGTERM}, {SIGHUP, SIGHUP}}) {
      raise(signal);
      try {
         terminal.wait(-1, longTime);
         ADD_FAILURE() << "signal " << signal << " did not quit";
      } catch (Quit const& quit) {
         EXPECT_EQ(quit.signal, reported);
      }
   }
}

TEST_F(TerminalTest, leavesIgnoredSignalsIgnored) {
   auto* const before = signal(SIGHUP, SIG_IGN);
   {
      Terminal terminal(tty, tty);
      raise(SIGHUP);
      EXPECT_NO_THROW(terminal.wait(-1, std::chrono::milliseconds{0}));
   }
   signal(SIGHUP, before);
}

TEST_F(TerminalTest, wantsARedrawWhenItsSizeChanges) {
   Terminal terminal(tty, tty);
   EXPECT_TRUE(terminal.redrawWanted()) << "an empty screen";
   EXPECT_FALSE(terminal.redrawWanted());
   raise(SIGWINCH);
   terminal.wait(-1, longTime);
   EXPECT_TRUE(terminal.redrawWanted());
}

TEST_F(TerminalTest, returnsWhenADescriptorIsReadable) {
   int pipe[2];
   ASSERT_EQ(::pipe(pipe), 0);
   writeAll(pipe[1], "x");
   {
      Terminal terminal(tty, tty);
      terminal.wait(pipe[0], longTime);
   }
   close(pipe[0]);
   close(pipe[1]);
}

TEST_F(TerminalTest, drawsAsManyLinesAsFit) {
   Terminal terminal(tty, tty);
   screen();
   terminal.draw({"one", "two"});
   EXPECT_EQ(screen(), "\x1b[H\x1b[Kone\r\n\x1b[Ktwo\r\n\x1b[J");
   terminal.draw({"1", "2", "3", "4", "5", "6"});
   EXPECT_EQ(screen(), "\x1b[H\x1b[K1\r\n\x1b[K2\r\n\x1b[K3\r\n\x1b[K4\r\n\x1b[K5");
}

TEST_F(TerminalTest, listensToNoKeysThatComeFromElsewhere) {
   int pipe[2];
   ASSERT_EQ(::pipe(pipe), 0);
   writeAll(pipe[1], "q");
   {
      Terminal terminal(pipe[0], tty);
      EXPECT_NO_THROW(terminal.wait(-1, std::chrono::milliseconds{0}));
   }
   close(pipe[0]);
   close(pipe[1]);
}

TEST_F(TerminalTest, isAScreenUnlessItIsDumb) {
   setenv("TERM", "xterm", 1);
   unsetenv("NO_COLOR");
   EXPECT_TRUE(isScreen(tty));
   EXPECT_TRUE(colourWanted(tty));
   setenv("NO_COLOR", "1", 1);
   EXPECT_FALSE(colourWanted(tty));
   unsetenv("NO_COLOR");
   setenv("TERM", "dumb", 1);
   EXPECT_FALSE(isScreen(tty));
   EXPECT_FALSE(colourWanted(tty));
}

TEST(WriteAll, reportsWhatCannotBeWritten) {
   EXPECT_THAT([] { writeAll(-1, "x"); },
               testing::ThrowsMessage<std::system_error>(StartsWith("cannot write the output: ")));
}

}  // namespace
}  // namespace Tools
