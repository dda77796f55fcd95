// SPDX-License-Identifier: MIT
#include "host/daemon/Watch.h"

#include <fmt/format.h>

#include <stdexcept>

#include "host/daemon/NetSnmp.h"

namespace Daemon {

Watch::Watch(int descriptor, std::function<void()> readable, ErrorHandler failed)
      : descriptor_(descriptor),
        callbacks_(std::make_shared<Callbacks>(Callbacks{std::move(readable), std::move(failed)})) {
   if (register_readfd(descriptor, &Watch::call, &callbacks_) != FD_REGISTERED_OK) {
      throw std::runtime_error(fmt::format("net-snmp cannot watch more than {} descriptors", NUM_EXTERNAL_FDS));
   }
}

Watch::~Watch() { unregister_readfd(descriptor_); }

void Watch::call(int /*descriptor*/, void* callbacks) noexcept {
   auto const keep = *static_cast<std::shared_ptr<Callbacks> const*>(callbacks);
   try {
      keep->readable();
   } catch (std::exception const& error) {
      keep->failed(error.what());
   }
}

}  // namespace Daemon
