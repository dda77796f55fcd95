// SPDX-License-Identifier: MIT
#pragma once

#include <source_location>
#include <string_view>

namespace Trel {

/// Stops the process after printing `text` with the place of the failure on the standard error stream.
[[noreturn]] void assertionFailed(std::string_view text, std::source_location where) noexcept;

/// Programming-error check that is never compiled out: prints `text` and aborts when `condition` is false.
/// Outside input must never be able to make `condition` false.
inline void fmassert(bool condition, std::string_view text,
                     std::source_location where = std::source_location::current()) {
   if (!condition) [[unlikely]] {
      assertionFailed(text, where);
   }
}

}  // namespace Trel
