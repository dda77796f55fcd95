// SPDX-License-Identifier: MIT
#include "host/loop/Signals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>

namespace Loop {

namespace {

sigset_t heldBack() {
   sigset_t set;
   sigemptyset(&set);
   for (int const signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&set, signal);
   return set;
}

int openDescriptor() {
   sigset_t const set = heldBack();
   return signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
}

}  // namespace

void blockSignals() {
   sigset_t const set = heldBack();
   sigprocmask(SIG_BLOCK, &set, nullptr);
   std::signal(SIGPIPE, SIG_IGN);
}

Signals::Signals(std::function<void()> end, std::function<void()> reload, ErrorHandler failed)
      : descriptor_(openDescriptor(), "signalfd"),
        watch_(
              descriptor_,
              [this, end = std::move(end), reload = std::move(reload)] {
                 signalfd_siginfo signal;
                 if (read(descriptor_, &signal, sizeof signal) != sizeof signal) return;
                 signal.ssi_signo == SIGHUP ? reload() : end();
              },
              std::move(failed)) {}

}  // namespace Loop
