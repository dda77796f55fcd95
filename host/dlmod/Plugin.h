// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "host/daemon/Log.h"
#include "host/daemon/Settings.h"
#include "host/loop/Descriptor.h"
#include "host/loop/Watch.h"

namespace Dlmod {

/// mplste inside a stock snmpd. It reads its lines of snmpd.conf, those behind the dlmod line, and begins to serve in
/// the first turn of snmpd's loop: only then has snmpd read its configuration to the end, gone to the background and
/// given up root.
///
/// What goes wrong is logged where snmpd logs, and never ends snmpd: what is served then is no table.
class Plugin {
 public:
   Plugin();
   ~Plugin();
   Plugin(Plugin const&) = delete;
   Plugin& operator=(Plugin const&) = delete;

 private:
   class Service;

   void begin();

   Daemon::Log log_;
   Daemon::FileSettings settings_;
   Loop::Descriptor firstTurn_;
   std::unique_ptr<Loop::Watch> firstTurnWatch_;
   std::unique_ptr<Service> service_;
};

}  // namespace Dlmod
