// SPDX-License-Identifier: MIT
#include "host/daemon/LogOutput.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

namespace Daemon {

namespace {

template <class Value, std::size_t N>
Value named(std::array<std::string_view, N> const& names, std::string const& text, char const* choice) {
   for (std::size_t i = 0; i < N; ++i) {
      if (names[i] == text) return static_cast<Value>(i);
   }
   throw std::invalid_argument(choice);
}

}  // namespace

LogOutput parseLogOutput(std::string const& text) {
   constexpr std::array<std::string_view, 2> kNames{"stderr", "syslog"};
   return named<LogOutput>(kNames, text, "it must be stderr or syslog");
}

LogLevel parseLogLevel(std::string const& text) {
   constexpr std::array<std::string_view, 4> kNames{"error", "warning", "info", "debug"};
   return named<LogLevel>(kNames, text, "it must be error, warning, info or debug");
}

bool standardErrorIsJournal() {
   char const* const stream = std::getenv("JOURNAL_STREAM");
   struct stat mine {};
   return stream && fstat(STDERR_FILENO, &mine) == 0 && fmt::format("{}:{}", mine.st_dev, mine.st_ino) == stream;
}

}  // namespace Daemon
