// SPDX-License-Identifier: MIT
// What snmpd calls when it loads mplsTe.so ("dlmod mplsTe /path/mplsTe.so" in snmpd.conf) and before it unloads it,
// which it also does when it reads its configuration again.
#include <exception>
#include <memory>

#include "host/dlmod/Plugin.h"
#include "host/loop/NetSnmp.h"

namespace {

std::unique_ptr<Dlmod::Plugin> plugin;

}  // namespace

extern "C" void init_mplsTe() noexcept {
   try {
      plugin = std::make_unique<Dlmod::Plugin>();
   } catch (std::exception const& error) {
      snmp_log(LOG_ERR, "mplste: %s\n", error.what());
   }
}

extern "C" void deinit_mplsTe() noexcept { plugin = nullptr; }
