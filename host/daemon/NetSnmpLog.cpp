// SPDX-License-Identifier: MIT
#include "host/daemon/NetSnmpLog.h"

#include <syslog.h>

#include <algorithm>
#include <utility>

#include "host/loop/NetSnmp.h"

namespace Daemon {

NetSnmpLog::NetSnmpLog(Log& log) : log_(log) {
   instance_ = this;
   snmp_disable_stderrlog();
   netsnmp_register_loghandler(NETSNMP_LOGHANDLER_CALLBACK, LOG_WARNING);
   snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_LOGGING, &NetSnmpLog::receive, nullptr);
}

NetSnmpLog::~NetSnmpLog() {
   snmp_unregister_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_LOGGING, &NetSnmpLog::receive, nullptr, 1);
}

std::vector<std::string> NetSnmpLog::kept() {
   keeping_ = false;
   return std::exchange(kept_, {});
}

int NetSnmpLog::receive(int /*major*/, int /*minor*/, void* message, void* /*argument*/) noexcept {
   try {
      auto const& text = *static_cast<snmp_log_message const*>(message);
      instance_->take(text.priority, text.msg);
   } catch (...) {  // NOLINT(bugprone-empty-catch): a line that cannot be logged for want of memory is lost
   }
   return SNMPERR_SUCCESS;
}

void NetSnmpLog::take(int priority, std::string_view text) {
   if (keeping_) {
      std::string line = oneLine(text);
      // A file is read in more than one pass.
      if (std::ranges::find(kept_, line) == kept_.end()) kept_.push_back(std::move(line));
   } else {
      // Any octets that come from the network may make net-snmp say something.
      log_.repeatable(priority <= LOG_ERR ? spdlog::level::err : spdlog::level::warn, "net-snmp", text);
   }
}

}  // namespace Daemon
