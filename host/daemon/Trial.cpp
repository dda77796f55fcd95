// SPDX-License-Identifier: MIT
#include "host/daemon/Trial.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "host/loop/Descriptor.h"

namespace Daemon {

namespace {

constexpr unsigned kSeconds = 10;

[[noreturn]] void runAndEnd(std::function<void()> const& work, int answer) {
   std::signal(SIGALRM, SIG_DFL);
   alarm(kSeconds);
   int status = 0;
   try {
      work();
   } catch (std::exception const& error) {
      std::string_view const text = error.what();
      // A text that fits into a pipe is written at once or not at all.
      status = write(answer, text.data(), text.size()) < 0 ? 2 : 1;
   }
   // No destructor, no buffer: all that is the other process's.
   _exit(status);
}

std::string readAll(int descriptor) {
   std::string text;
   std::array<char, 4096> buffer;
   for (;;) {
      auto const length = read(descriptor, buffer.data(), buffer.size());
      if (length > 0) {
         text.append(buffer.data(), static_cast<std::size_t>(length));
      } else if (length == 0 || errno != EINTR) {
         return text;
      }
   }
}

}  // namespace

std::optional<std::string> trial(std::function<void()> const& work) {
   std::array<int, 2> ends;
   if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
   Loop::Descriptor const reader(ends[0], "pipe");
   pid_t child = 0;
   {
      Loop::Descriptor const writer(ends[1], "pipe");
      child = fork();
      if (child < 0) throw std::system_error(errno, std::generic_category(), "fork");
      if (child == 0) runAndEnd(work, writer);
   }
   std::string text = readAll(reader);
   int status = 0;
   while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
   }
   if (!WIFEXITED(status) || WEXITSTATUS(status) > 1) throw std::runtime_error("the trial did not come to its end");
   if (WEXITSTATUS(status) == 0) return {};
   return text;
}

}  // namespace Daemon
