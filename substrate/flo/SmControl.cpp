// SPDX-License-Identifier: MIT
#include "substrate/flo/SmControl.h"

namespace Flo {

namespace {
bool synchronousByDefault = false;
}

bool SmControl::defaultSynchronous() { return synchronousByDefault; }
void SmControl::defaultSynchronousIs(bool synchronous) { synchronousByDefault = synchronous; }

}  // namespace Flo
