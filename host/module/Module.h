// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/module/Monitor.h"
#include "host/snmp/HandlerRegistration.h"
#include "inputs/rsvp/KelpStatus.h"
#include "inputs/rsvp/LerConfig.h"
#include "inputs/rsvp/LerHiveStatus.h"
#include "inputs/tallies/CounterTable.h"
#include "substrate/vel/EntityDir.h"

namespace Host {

/// A module cannot be loaded, or is not one. The text names the file.
class ModuleError : public std::runtime_error {
   using std::runtime_error::runtime_error;
};

/// The published state that a module's rows are derived from. REQUIRES: none is null.
struct ModuleInputs {
   Vel::Ptr<Rsvp::RsvpLerConfig const> lerConfig;
   Vel::Ptr<Rsvp::RsvpLerHiveStatus const> lerStatus;
   Vel::Ptr<Rsvp::RsvpKelpStatus const> kelpStatus;
   Vel::Ptr<Tallies::CounterTable const> counters;
};

/// A shared library that is loaded for as long as this lives.
class Library {
 public:
   /// Throws ModuleError with what the dynamic linker says.
   explicit Library(std::filesystem::path const& file);
   ~Library();
   Library(Library const&) = delete;
   Library& operator=(Library const&) = delete;

   std::filesystem::path const& file() const { return file_; }
   /// Throws ModuleError when the library has no such symbol.
   void* symbol(std::string const& name) const;

 private:
   std::filesystem::path file_;
   void* handle_;
};

/// The entities that a module works with, made by the names of their types.
class ModuleEntities {
 public:
   /// Throws ModuleError when the library has not brought the types.
   ModuleEntities(Library const& library, Vel::Ptr<Vel::EntityDir> const& root, ModuleInputs const& inputs);
   ~ModuleEntities();
   ModuleEntities(ModuleEntities const&) = delete;
   ModuleEntities& operator=(ModuleEntities const&) = delete;

   /// Lets the derivation of the rows go.
   void stop();
   std::size_t tunnels() const { return rows("mplsTunnelTable"); }
   std::size_t rows(std::string_view table) const;
   std::uint64_t hopListsInUse() const;
   Monitor monitor() const { return Monitor(monitor_); }

 private:
   void mount(ModuleInputs const& inputs);
   void unmount();

   Vel::Ptr<Vel::EntityDir> dir_;
   Vel::Ptr<Vel::Entity> mib_;
   Vel::Ptr<Vel::Entity> monitor_;
   Vel::Ptr<Vel::Entity> moduleRoot_;
};

/// How the requests for a module's tables are answered: by our own driver where the module offers its rows in order
/// (host/tables), or by the chain of net-snmp's handlers that the module registers. The answers are the same, but for
/// what docs/requests.md lists; what they cost is not.
enum class TableDriving { own, stock };

/// The registration of a module's tables with net-snmp, in the default context and in others.
class ModuleRegistration {
 public:
   /// `known`: the registrations that were there before the module was loaded. REQUIRES: the agent root is set.
   ModuleRegistration(Library const& library, std::vector<Snmp::HandlerRegistration*> const& known,
                      std::vector<std::string> const& contexts, TableDriving driving);
   ~ModuleRegistration();
   ModuleRegistration(ModuleRegistration const&) = delete;
   ModuleRegistration& operator=(ModuleRegistration const&) = delete;

 private:
   void (*unregister_)(Vel::String context);
   std::vector<Vel::String> contexts_;  // those initialised so far
};

/// A MIB module that runs in this process: loads it, creates its entities below the agent's root, gives it its inputs
/// and registers its tables, which are then answered by our own driver unless asked otherwise. The module is known by
/// its file and by the names of its types alone. When this goes, the module leaves nothing behind: no registration, no
/// type, no task, no memory, no mapping.
///
/// Works in an agent of our own and inside a stock snmpd alike; net-snmp's agent library must be initialised. The
/// tasks of the module are run by somebody else, see Loop::TaskRunner. At most one lives at a time: it sets the agent's
/// root.
class Module {
 public:
   /// `root`: the agent's root. `contexts`: SNMP contexts besides the default one. Throws ModuleError; then nothing of
   /// the module is left.
   Module(std::filesystem::path const& file, Vel::Ptr<Vel::EntityDir> const& root, ModuleInputs const& inputs,
          std::vector<std::string> const& contexts = {}, TableDriving driving = TableDriving::own);
   ~Module();
   Module(Module const&) = delete;
   Module& operator=(Module const&) = delete;

   /// Rows of mplsTunnelTable.
   std::size_t tunnels() const { return entities_.tunnels(); }
   /// Rows of a table that the MIB keeps: mplsTunnelTable or mplsTunnelHopTable. None of any other.
   std::size_t rows(std::string_view table) const { return entities_.rows(table); }
   /// Hop list indices that are handed out (mplsTunnelHopTableIndex).
   std::uint64_t hopListsInUse() const { return entities_.hopListsInUse(); }
   /// Its counts and events. Goes before the module does.
   Monitor monitor() const { return entities_.monitor(); }

 private:
   struct AgentRoot {
      explicit AgentRoot(Vel::Ptr<Vel::EntityDir> const& root);
      ~AgentRoot();
   };

   std::vector<Snmp::HandlerRegistration*> known_;
   Library library_;
   AgentRoot agentRoot_;
   ModuleEntities entities_;
   ModuleRegistration registration_;
};

}  // namespace Host
