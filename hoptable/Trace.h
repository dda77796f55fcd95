// SPDX-License-Identifier: MIT
/// The trace lines of the hop chain: entry lines of the handlers at level 8, details at level 9.
#pragma once

#include <cstdint>
#include <string_view>

#include "mib/Trace.h"

namespace MplsSnmp::HopTrace {

inline constexpr int kEntry = 8;
inline constexpr int kDetail = 9;
inline constexpr std::string_view kFile = "HopTableHelper";

/// Whether somebody listens to the lines. While nobody does, a handler that would only leave a line need not run.
inline bool listened() { return traceHandle().enabled(kEntry) || traceHandle().enabled(kDetail); }

/// The name in a signature: "handleDel" of "void MplsSnmp::PathSpecSm::handleDel()".
constexpr std::string_view shortName(std::string_view signature) {
   std::string_view const qualified = signature.substr(0, signature.find('('));
   return qualified.substr(qualified.rfind(':') + 1);
}

/// A handler of the chain with this index was entered; `more` follows the index.
template <class... Values>
void entry(std::string_view signature, std::uint32_t hopTableIndex, Values const&... more) {
   traceHandle().traceFrom(kEntry, kFile, shortName(signature), signature, ": hopTableIndex: ", hopTableIndex, more...);
}

template <class... Values>
void detail(std::string_view function, Values const&... values) {
   traceHandle().traceFrom(kDetail, kFile, function, values...);
}

}  // namespace MplsSnmp::HopTrace
