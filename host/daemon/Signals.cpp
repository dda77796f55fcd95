// SPDX-License-Identifier: MIT
#include "host/daemon/Signals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>

namespace Daemon {

namespace {

sigset_t endingSignals() {
   sigset_t set;
   sigemptyset(&set);
   for (int const signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&set, signal);
   return set;
}

int openDescriptor() {
   sigset_t const set = endingSignals();
   return signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
}

}  // namespace

void blockEndingSignals() {
   sigset_t const set = endingSignals();
   sigprocmask(SIG_BLOCK, &set, nullptr);
   std::signal(SIGPIPE, SIG_IGN);
}

Signals::Signals(std::function<void()> end, ErrorHandler failed)
      : descriptor_(openDescriptor(), "signalfd"),
        watch_(
              descriptor_,
              [this, end = std::move(end)] {
                 signalfd_siginfo signal;
                 if (read(descriptor_, &signal, sizeof signal) == sizeof signal) end();
              },
              std::move(failed)) {}

}  // namespace Daemon
