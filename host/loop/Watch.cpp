// SPDX-License-Identifier: MIT
#include "host/loop/Watch.h"

#include <fmt/format.h>

#include <stdexcept>

#include "host/loop/NetSnmp.h"

namespace Loop {

void logError(std::string_view error) { snmp_log(LOG_ERR, "%.*s\n", static_cast<int>(error.size()), error.data()); }

Watch::Watch(int descriptor, std::function<void()> ready, ErrorHandler failed, For purpose)
      : descriptor_(descriptor),
        purpose_(purpose),
        callbacks_(std::make_shared<Callbacks>(Callbacks{std::move(ready), std::move(failed)})) {
   auto const registerDescriptor = purpose == For::reading ? &register_readfd : &register_writefd;
   if (registerDescriptor(descriptor, &Watch::call, &callbacks_) != FD_REGISTERED_OK) {
      throw std::runtime_error(fmt::format("net-snmp cannot watch more than {} descriptors", NUM_EXTERNAL_FDS));
   }
}

Watch::~Watch() { (purpose_ == For::reading ? &unregister_readfd : &unregister_writefd)(descriptor_); }

void Watch::call(int /*descriptor*/, void* callbacks) noexcept {
   auto const keep = *static_cast<std::shared_ptr<Callbacks> const*>(callbacks);
   auto* const observer = observer_;
   if (observer) observer(true);
   try {
      keep->ready();
   } catch (std::exception const& error) {
      keep->failed(error.what());
   }
   if (observer) observer(false);
}

}  // namespace Loop
