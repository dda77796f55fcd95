// SPDX-License-Identifier: MIT
#include "host/snmp/HandlerRegistration.h"

#include <algorithm>

namespace Snmp {

namespace {

// Never destroyed: modules take themselves off the lists in their static destructors.
std::vector<HandlerRegistration*>& automaticRegistrations() {
   static auto* const list = new std::vector<HandlerRegistration*>;
   return *list;
}

std::vector<MibContext>& registeredContexts() {
   static auto* const list = new std::vector<MibContext>;
   return *list;
}

}  // namespace

AutoRegistree::AutoRegistree(HandlerRegistration* registration) : registration_(registration) {
   automaticRegistrations().push_back(registration);
}

AutoRegistree::~AutoRegistree() { std::erase(automaticRegistrations(), registration_); }

std::vector<HandlerRegistration*> AutoRegistree::registrations() { return automaticRegistrations(); }

void registerMibContext(Vel::String context, Vel::String module) {
   MibContext const entry{std::move(context), std::move(module)};
   auto& contexts = registeredContexts();
   if (std::ranges::find(contexts, entry) == contexts.end()) contexts.push_back(entry);
}

void unregisterMibContext(Vel::String context, Vel::String module) {
   std::erase(registeredContexts(), MibContext{std::move(context), std::move(module)});
}

std::vector<MibContext> mibContexts() { return registeredContexts(); }

}  // namespace Snmp
