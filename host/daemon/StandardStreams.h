// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <unistd.h>

namespace Daemon {

/// Opens the null device in place of the standard streams that the process was started without, so that nothing else
/// gets their descriptors and what is written to them.
inline void openStandardStreams() {
   for (int const stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      // What is opened gets the lowest descriptor that is free: this one.
      if (fcntl(stream, F_GETFD) < 0) open("/dev/null", O_RDWR);
   }
}

}  // namespace Daemon
