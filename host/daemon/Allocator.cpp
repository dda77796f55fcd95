// SPDX-License-Identifier: MIT
// How mplsted's allocator is set. The process is ours, and so is the choice of its allocator: rows and inputs are
// millions of small objects, and net-snmp makes a variable of more than a kilobyte for each repetition of a GETBULK.
#include "host/daemon/Allocator.h"

#include "host/loop/NetSnmp.h"
// Behind the library's headers, which it needs.
#include <net-snmp/agent/agent_callbacks.h>

#ifdef MPLSTE_MIMALLOC
#include <mimalloc.h>
#endif

namespace Daemon {

namespace {

/// For what is freed from now on. The allocators of the sanitizers do as they think right.
void returnAfter([[maybe_unused]] long milliseconds) {
#ifdef MPLSTE_MIMALLOC
   mi_option_set(mi_option_decommit_delay, milliseconds);
#endif
}

/// net-snmp asks who may read at the beginning of each message of a manager.
int beginAnswer(int /*major*/, int /*minor*/, void* /*parameters*/, void* /*data*/) {
   returnAfter(10'000);
   return SNMPERR_SUCCESS;
}

}  // namespace

AnswerMemory::AnswerMemory() {
   nextTurn();
   snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_ACM_CHECK_INITIAL, beginAnswer, nullptr);
}

AnswerMemory::~AnswerMemory() {
   snmp_unregister_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_ACM_CHECK_INITIAL, beginAnswer, nullptr, 0);
}

void AnswerMemory::nextTurn() { returnAfter(0); }

}  // namespace Daemon
