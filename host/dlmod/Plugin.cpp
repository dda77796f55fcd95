// SPDX-License-Identifier: MIT
#include "host/dlmod/Plugin.h"

#include <dlfcn.h>
#include <fmt/format.h>
#include <sys/eventfd.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>

#include "host/daemon/ModuleHost.h"
#include "host/daemon/TaskRunner.h"
#include "host/feed/FileFeed.h"
#include "host/store/StateStore.h"
#include "inputs/tallies/ShmCounterTable.h"

namespace Dlmod {

namespace {

/// The module that was installed, or built, together with this library.
std::filesystem::path moduleBeside() {
   Dl_info info{};
   if (!dladdr(reinterpret_cast<void const*>(&moduleBeside), &info)) {
      throw std::runtime_error("the folder of mplsTe.so is not known; name the module with a line mplsteModule");
   }
   return std::filesystem::path(info.dli_fname).parent_path() / "mplsTeStdMIB.so";
}

Vel::Ptr<Tallies::CounterTable> counterTable(Daemon::Options const& options) {
   constexpr char entity[] = "mplsTunnelCounterTable";
   if (options.counters.empty()) return Vel::makePtr<Tallies::CounterTable>(entity);
   return Vel::makePtr<Tallies::ShmCounterTable>(
         entity, Tallies::ShmCounterTable::Options{.name = options.counters, .owner = options.countersOwner});
}

}  // namespace

/// The state, the module and what keeps them going.
class Plugin::Service {
 public:
   Service(Daemon::Options const& options, Daemon::Log& log)
         : log_(log),
           failed_([&log](std::string_view error) { log.error(error); }),
           store_(root_),
           module_(options.module.empty() ? moduleBeside() : options.module, root_,
                   {store_.lerConfig(), store_.lerHiveStatus(), store_.kelpStatus(), counterTable(options)},
                   options.contexts),
           changes_(store_),
           file_(changes_, options.state,
                 {.loaded = [this](std::size_t) { loaded_ = true; },
                  .refused = [&log](std::string const& line) { log.error(line); },
                  .unwatched = [&log](std::string const& line) { log.warn(line); }}),
           fileWatch_(
                 file_.descriptor(), [this] { file_.handleReadable(); }, failed_),
           tasks_([this] { sayReady(); }, failed_) {
      file_.load();
   }

 private:
   void sayReady() {
      if (!loaded_ || std::exchange(saidReady_, true)) return;
      log_.info(fmt::format("ready: {} tunnels from {}", module_.tunnels(), file_.file()));
   }

   Daemon::Log& log_;
   Daemon::ErrorHandler const failed_;
   Vel::Ptr<Vel::EntityDir> const root_ = Vel::makePtr<Vel::EntityDir>("");
   Store::StateStore store_;
   Daemon::ModuleHost const module_;
   Store::ChangeQueue changes_;
   bool loaded_ = false;
   bool saidReady_ = false;
   Feed::FileFeed file_;
   Daemon::Watch const fileWatch_;
   Daemon::TaskRunner const tasks_;
};

Plugin::Plugin()
      : settings_("snmpd", Daemon::Setting::Host::any),
        firstTurn_(eventfd(1, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd"),
        firstTurnWatch_(std::make_unique<Daemon::Watch>(
              firstTurn_, [this] { begin(); }, [this](std::string_view error) { log_.error(error); })) {
   log_.outputIs(Daemon::LogOutput::netSnmp, Daemon::LogLevel::debug);
}

Plugin::~Plugin() = default;

void Plugin::begin() {
   firstTurnWatch_ = nullptr;
   auto const options = settings_.merged({});
   for (auto const& trace : options.traces) log_.traceLevelsIs(trace.handle, trace.levels);
   if (options.state.empty()) {
      throw std::runtime_error("there is nothing to serve; put a line \"mplsteState FILE\" behind the dlmod line");
   }
   service_ = std::make_unique<Service>(options, log_);
}

}  // namespace Dlmod
