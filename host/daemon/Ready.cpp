// SPDX-License-Identifier: MIT
#include "host/daemon/Ready.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "host/daemon/Log.h"

namespace Daemon {

std::string toText(Ready const& ready) {
   return oneLine(fmt::format(
         "ready: {} tunnel{} from {}, SNMP on {} ({}), first answer after {} ms, all rows after {} ms", ready.tunnels,
         ready.tunnels == 1 ? "" : "s", ready.state.string(), fmt::join(ready.addresses, " and "), ready.access,
         ready.firstAnswer.count(), ready.allRows.count()));
}

}  // namespace Daemon
