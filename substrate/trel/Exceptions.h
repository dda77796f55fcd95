// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>

namespace Trel {

/// Shared memory holds something that no correct writer leaves behind.
class CorruptionDetectedException : public std::runtime_error {
   using std::runtime_error::runtime_error;
};

}  // namespace Trel
