// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string_view>

namespace Loop {

/// Takes the text of an error that must not pass through net-snmp, which is C. Does not throw.
using ErrorHandler = std::function<void(std::string_view)>;

/// Writes the error to net-snmp's log, which goes to the standard error stream unless the host says otherwise.
void logError(std::string_view error);

/// A descriptor of ours in net-snmp's event loop, be it our own agent's or that of a stock snmpd. Does not own the
/// descriptor. `ready` is called whenever there is something to read, or room to write, and may destroy the watch.
class Watch {
 public:
   enum class For { reading, writing };

   /// Throws std::runtime_error when net-snmp has no place left: it holds 32 descriptors for either purpose.
   Watch(int descriptor, std::function<void()> ready, ErrorHandler failed = logError, For purpose = For::reading);
   ~Watch();
   Watch(Watch const&) = delete;
   Watch& operator=(Watch const&) = delete;

   /// Has `tell` called with true before any watch's `ready` is and with false behind it: by that a process knows what
   /// it does itself from what net-snmp does. Null, as at first, for nobody.
   static void observerIs(void (*tell)(bool inside)) { observer_ = tell; }

 private:
   struct Callbacks {
      std::function<void()> ready;
      ErrorHandler failed;
   };
   static void call(int descriptor, void* callbacks) noexcept;

   static inline void (*observer_)(bool inside) = nullptr;

   int descriptor_;
   For purpose_;
   std::shared_ptr<Callbacks> callbacks_;
};

}  // namespace Loop
