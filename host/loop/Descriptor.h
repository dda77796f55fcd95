// SPDX-License-Identifier: MIT
#pragma once

#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace Loop {

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

}  // namespace Loop
