// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace Daemon {

/// Owns a file descriptor.
class Descriptor {
 public:
   /// Takes what a system call has returned. Throws std::system_error, with the call's name, when that is an error.
   Descriptor(int descriptor, char const* call) : descriptor_(descriptor) {
      if (descriptor < 0) throw std::system_error(errno, std::generic_category(), call);
   }
   ~Descriptor() { close(descriptor_); }
   Descriptor(Descriptor const&) = delete;
   Descriptor& operator=(Descriptor const&) = delete;

   operator int() const { return descriptor_; }

 private:
   int descriptor_;
};

/// Opens the null device in place of the standard streams that the process was started without, so that nothing else
/// gets their descriptors and what is written to them.
inline void openStandardStreams() {
   for (int const stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      // What is opened gets the lowest descriptor that is free: this one.
      if (fcntl(stream, F_GETFD) < 0) open("/dev/null", O_RDWR);
   }
}

}  // namespace Daemon
