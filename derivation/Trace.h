// SPDX-License-Identifier: MIT
#pragma once

#include "substrate/trel/Trace.h"

namespace MplsSnmp {

/// The derivation's trace handle, "RsvpSnmpSm".
Trel::DebugHandler const& debugHandler();

/// The level of the lines that quote the dataflow: what entered a stream, where a pipeline ended, what was written.
inline constexpr int kDetail = 9;
/// The level of lines about something that no correct publisher causes.
inline constexpr int kError = 0;

/// One line of detail.
template <class... Args>
void traceDetail(fmt::format_string<Args...> format, Args&&... args) {
   Trel::fmtrace(debugHandler(), kDetail, format, std::forward<Args>(args)...);
}

}  // namespace MplsSnmp
