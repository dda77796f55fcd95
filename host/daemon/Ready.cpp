// SPDX-License-Identifier: MIT
#include "host/daemon/Ready.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "host/daemon/Log.h"

namespace Daemon {

std::string toText(Ready const& ready) {
   std::string const serving =
         ready.master ? fmt::format("AgentX, master at {}", *ready.master)
                      : fmt::format("SNMP on {} ({}), first answer after {} ms", fmt::join(ready.addresses, " and "),
                                    ready.access, ready.firstAnswer.count());
   return oneLine(fmt::format("ready: {} tunnel{} from {}, {}, all rows after {} ms", ready.tunnels,
                              ready.tunnels == 1 ? "" : "s", fmt::join(ready.sources, " and "), serving,
                              ready.allRows.count()));
}

}  // namespace Daemon
