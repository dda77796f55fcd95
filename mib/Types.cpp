// SPDX-License-Identifier: MIT
#include "mib/Types.h"

#include <array>

#include "mib/LspRequestConfigIdSet.h"
#include "mib/MplsTeMib.h"
#include "mib/Trace.h"

namespace MplsSnmp {

Vel::TraceHandle const& traceHandle() {
   static Vel::TraceHandle const handle("MplsSnmp");
   return handle;
}

std::span<Vel::TypeInfo const* const> mplsSnmpTypes() {
   static std::array<Vel::TypeInfo const*, 2> const types{&MplsTeMib::typeInfo(), &LspRequestConfigIdSet::typeInfo()};
   return types;
}

}  // namespace MplsSnmp
