// SPDX-License-Identifier: MIT
/// What the fuzz targets share. Each defines the function that libFuzzer calls with one input after the other.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace Fuzz {

inline std::string_view textOf(std::uint8_t const* data, std::size_t size) {
   return {reinterpret_cast<char const*>(data), size};
}

/// Ends the process, and with it the run, when `holds` does not: libFuzzer keeps the input. `what` should hold always.
inline void check(bool holds, std::string_view what, std::string_view details = {}) {
   if (holds) return;
   std::fprintf(stderr, "This does not hold: %.*s\n%.*s\n", static_cast<int>(what.size()), what.data(),
                static_cast<int>(details.size()), details.data());
   std::abort();
}

}  // namespace Fuzz
