// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include "host/loop/Descriptor.h"
#include "host/loop/Watch.h"

namespace Loop {

/// Holds back the signals that ask the process to end (SIGTERM, SIGINT) or to read its files again (SIGHUP), and lets
/// writing to a closed pipe or connection fail instead of ending the process. To be called before anything that such a
/// signal must not interrupt.
void blockSignals();

/// Hands the signals that are held back to the event loop.
class Signals {
 public:
   Signals(std::function<void()> end, std::function<void()> reload, ErrorHandler failed = logError);

 private:
   Descriptor descriptor_;
   Watch watch_;
};

}  // namespace Loop
