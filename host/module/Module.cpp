// SPDX-License-Identifier: MIT
#include "host/module/Module.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <set>
#include <utility>

#include "host/snmp/SnmpUtil.h"
#include "host/tables/TableDriver.h"
#include "substrate/orb/NumAllocator.h"
#include "substrate/vel/Generic.h"
#include "substrate/vel/TypeRegistry.h"

namespace Host {

namespace {

constexpr char const* kMibDirectory = "snmp/mpls";
constexpr char const* kMib = "mplsTeMib";
constexpr char const* kMonitor = "mplsTeMonitor";
constexpr char const* kModuleRoot = "mplsTeRoot";

/// The linker's name of `void unregister_<module>(Vel::String)`.
std::string unregisterSymbol(std::string const& moduleName) {
   std::string const function = "unregister_" + moduleName;
   return fmt::format("_Z{}{}N3Vel6StringE", function.size(), function);
}

/// All that is registered with net-snmp, in every context.
std::set<netsnmp_handler_registration*> registrations() {
   std::set<netsnmp_handler_registration*> found;
   for (auto const* context = get_top_context_cache(); context; context = context->next) {
      for (auto const* subtree = context->first_subtree; subtree; subtree = subtree->next) {
         for (auto const* child = subtree; child; child = child->children) {
            if (child->reginfo) found.insert(child->reginfo);
         }
      }
   }
   return found;
}

Vel::Any pointer(Vel::Ptr<Vel::PtrInterface const> object) { return object; }

}  // namespace

Library::Library(std::filesystem::path const& file)
      : file_(file), handle_(dlopen(std::filesystem::absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL)) {
   if (!handle_) throw ModuleError(fmt::format("cannot load the module: {}", dlerror()));
}

Library::~Library() { dlclose(handle_); }

void* Library::symbol(std::string const& name) const {
   void* const found = dlsym(handle_, name.c_str());
   if (!found) throw ModuleError(fmt::format("{} is not a MIB module: it has no symbol {}", file_.string(), name));
   return found;
}

ModuleEntities::ModuleEntities(Library const& library, Vel::Ptr<Vel::EntityDir> const& root, ModuleInputs const& inputs)
      : dir_(root->dirIs(kMibDirectory)) {
   try {
      mount(inputs);
   } catch (Vel::Exception const& error) {
      unmount();
      throw ModuleError(fmt::format("{} is not a MIB module: {}", library.file().string(), error.what()));
   }
}

void ModuleEntities::mount(ModuleInputs const& inputs) {
   auto const helper = Vel::TypeRegistry::instance().construct("MplsSnmp::HopTableHelper", {});
   mib_ = dir_->newEntity("MplsSnmp::MplsTeMib", kMib);
   // It sees the rows come, and need not look for them.
   monitor_ = dir_->newEntity("MplsSnmp::TunnelMonitor", kMonitor);
   Vel::Any const watched = Vel::Ptr<Vel::PtrInterface>(mib_);
   Vel::attributeSet(*monitor_, "mplsTeMib", {&watched, 1});
   moduleRoot_ = dir_->newEntity("MplsSnmp::Root", kModuleRoot);
   std::array<Vel::Any, 6> const arguments{Vel::Ptr<Vel::PtrInterface>(mib_), helper,
                                           pointer(inputs.lerConfig),         pointer(inputs.lerStatus),
                                           pointer(inputs.kelpStatus),        pointer(inputs.counters)};
   if (!Vel::attributeSet(*moduleRoot_, "rsvpTeSnmpAgent", arguments).known()) {
      throw Vel::Exception("its root has no attribute rsvpTeSnmpAgent");
   }
}

ModuleEntities::~ModuleEntities() { unmount(); }

void ModuleEntities::unmount() {
   for (auto const& entity :
        {std::exchange(moduleRoot_, nullptr), std::exchange(monitor_, nullptr), std::exchange(mib_, nullptr)}) {
      if (entity) dir_->entityDel(entity->name());
   }
}

void ModuleEntities::stop() { Vel::attributeDel(*moduleRoot_, "rsvpTeSnmpAgent"); }

std::size_t ModuleEntities::rows(std::string_view table) const {
   auto const size = Vel::attributeSize(*mib_, table);
   auto const* const number = std::any_cast<std::uint64_t>(&size.value);
   return number ? *number : 0;
}

std::uint64_t ModuleEntities::hopListsInUse() const {
   auto const attribute = Vel::attributeGet(*mib_, "numAllocatorStatus");
   if (!attribute.known()) return 0;
   auto const status = Vel::ptrCast<Orb::NumAllocatorStatus const>(Vel::Generic::pointerOf(attribute.value, 0));
   return status ? status->inUse() : 0;
}

ModuleRegistration::ModuleRegistration(Library const& library, std::vector<Snmp::HandlerRegistration*> const& known,
                                       std::vector<std::string> const& contexts, TableDriving driving)
      // What could not be unloaded is not loaded.
      : unregister_(reinterpret_cast<void (*)(Vel::String)>(library.symbol(unregisterSymbol(library.file().stem())))) {
   auto const served = [this](Vel::String const& context) {
      return std::ranges::find(contexts_, context) != contexts_.end();
   };
   auto const others = registrations();
   std::vector<Vel::String> wanted{Vel::String()};
   wanted.insert(wanted.end(), contexts.begin(), contexts.end());
   for (Vel::String const& context : wanted) {
      if (served(context)) continue;
      contexts_.push_back(context);
      for (auto* const registration : Snmp::AutoRegistree::registrations()) {
         if (std::ranges::find(known, registration) == known.end()) registration->initHandler(context);
      }
   }
   if (driving == TableDriving::stock) return;
   for (auto* const registration : registrations()) {
      if (!others.contains(registration)) TableDriver::drive(*registration);
   }
}

ModuleRegistration::~ModuleRegistration() {
   for (Vel::String const& context : contexts_) unregister_(context);
}

Module::AgentRoot::AgentRoot(Vel::Ptr<Vel::EntityDir> const& root) { SnmpUtil::agentRootIs(root); }

Module::AgentRoot::~AgentRoot() { SnmpUtil::agentRootIs(nullptr); }

Module::Module(std::filesystem::path const& file, Vel::Ptr<Vel::EntityDir> const& root, ModuleInputs const& inputs,
               std::vector<std::string> const& contexts, TableDriving driving)
      : known_(Snmp::AutoRegistree::registrations()),
        library_(file),
        agentRoot_(root),
        entities_(library_, root, inputs),
        registration_(library_, known_, contexts, driving) {}

// The derivation ends before its tables are taken from the agent, the entities and the library follow.
Module::~Module() { entities_.stop(); }

}  // namespace Host
