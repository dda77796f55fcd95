// SPDX-License-Identifier: MIT
/// How a MIB module announces itself to the SNMP agent that loads it.
#pragma once

#include <vector>

#include "substrate/vel/String.h"

namespace Snmp {

/// A module's entry point. The host calls it once per context that it serves; "" is the default context.
class HandlerRegistration {
 public:
   virtual ~HandlerRegistration() = default;
   virtual void initHandler(Vel::String context) = 0;
};

/// Puts a registration on the process's automatic registration list for as long as it lives: one static object per
/// loadable module, which the host finds after dlopen.
class AutoRegistree {
 public:
   explicit AutoRegistree(HandlerRegistration* registration);
   ~AutoRegistree();
   AutoRegistree(AutoRegistree const&) = delete;
   AutoRegistree& operator=(AutoRegistree const&) = delete;

   /// The registrations of all loaded modules, in order of loading. Not owned.
   static std::vector<HandlerRegistration*> registrations();

 private:
   HandlerRegistration* registration_;
};

/// A module's MIB that is served in a context.
struct MibContext {
   Vel::String context;
   Vel::String module;
   bool operator==(MibContext const&) const = default;
};

/// Notes that `module` is served in `context`; a second time changes nothing.
void registerMibContext(Vel::String context, Vel::String module);
/// Takes it back; one that was never registered changes nothing.
void unregisterMibContext(Vel::String context, Vel::String module);
/// What is registered, in order of registration.
std::vector<MibContext> mibContexts();

}  // namespace Snmp
