// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>

#include "host/loop/NetSnmp.h"
#include "tests/support/ScratchDirectory.h"

namespace TestSupport {

/// net-snmp's agent library, without configuration or sockets, for all tests of a program.
class AgentLibrary : public testing::Environment {
 public:
   void SetUp() override {
      setenv("MIBS", "", 1);
      netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
      netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 1);
      set_persistent_directory(persistent_.path().c_str());
      snmp_disable_stderrlog();
      netsnmp_register_loghandler(NETSNMP_LOGHANDLER_NONE, LOG_DEBUG);
      init_agent("mplste-test");
      init_snmp("mplste-test");
   }
   void TearDown() override { snmp_shutdown("mplste-test"); }

 private:
   ScratchDirectory persistent_;
};

inline auto* const agentLibrary = testing::AddGlobalTestEnvironment(new AgentLibrary);

}  // namespace TestSupport
