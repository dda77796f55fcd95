// SPDX-License-Identifier: MIT
#include "host/dlmod/Plugin.h"

#include <dlfcn.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <sys/eventfd.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>

#include "host/daemon/Counters.h"
#include "host/daemon/StateSource.h"
#include "host/daemon/Status.h"
#include "host/loop/TaskRunner.h"
#include "host/module/Module.h"
#include "host/notifications/Notifications.h"
#include "host/store/StateStore.h"

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

}  // namespace

/// The state, the module and what keeps them going.
class Plugin::Service {
 public:
   Service(Daemon::Options const& options, Daemon::Log& log)
         : log_(log),
           failed_([&log](std::string_view error) { log.error(error); }),
           store_(root_),
           counters_(Daemon::counterTable(options)),
           module_(options.module.empty() ? moduleBeside() : options.module, root_,
                   {store_.lerConfig(), store_.lerHiveStatus(), store_.kelpStatus(), counters_}, options.contexts,
                   options.tableDriving),
           // Whom snmpd sends notifications to is its own affair.
           notifier_(module_.monitor(), Notifications::toSinks(), options.notifications.settings(true), failed_),
           status_({.store = &store_,
                    .module = &module_,
                    .counters = counters_.get(),
                    .notifier = &notifier_,
                    .stateFile = options.state,
                    .countersName = options.counters,
                    .addresses = {}}),
           state_(options, store_, status_, log, failed_),
           tasks_([this] { handleIdle(); }, failed_) {}

 private:
   void handleIdle() {
      if (state_.begun()) notifier_.begin();
      if (!state_.loaded() || std::exchange(saidReady_, true)) return;
      log_.info(fmt::format("ready: {} tunnels from {}", module_.tunnels(), fmt::join(state_.names(), " and ")));
      log_.warnOfUnknownHandles();
   }

   Daemon::Log& log_;
   Loop::ErrorHandler const failed_;
   Vel::Ptr<Vel::EntityDir> const root_ = Vel::makePtr<Vel::EntityDir>("");
   Store::StateStore store_;
   Vel::Ptr<Tallies::CounterTable> const counters_;
   Host::Module const module_;
   Notifications::Notifier notifier_;
   Daemon::Status status_;
   bool saidReady_ = false;
   Daemon::StateSource state_;
   Loop::TaskRunner const tasks_;
};

Plugin::Plugin()
      : settings_("snmpd", Daemon::Setting::Host::any),
        firstTurn_(eventfd(1, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd"),
        firstTurnWatch_(std::make_unique<Loop::Watch>(
              firstTurn_, [this] { begin(); }, [this](std::string_view error) { log_.error(error); })) {
   log_.outputIs(Daemon::LogOutput::netSnmp, Daemon::LogLevel::debug);
}

Plugin::~Plugin() = default;

void Plugin::begin() {
   firstTurnWatch_ = nullptr;
   auto const options = settings_.merged({});
   for (auto const& trace : options.traces) log_.traceLevelsIs(trace.handle, trace.levels);
   if (options.state.empty() && options.publish.path.empty()) {
      throw std::runtime_error(
            "there is nothing to serve; put a line \"mplsteState FILE\" or \"mplstePublish PATH\" behind the dlmod "
            "line");
   }
   try {
      service_ = std::make_unique<Service>(options, log_);
   } catch (Host::ModuleError const& error) {
      throw std::runtime_error(fmt::format("{}; name another with a line mplsteModule", error.what()));
   }
}

}  // namespace Dlmod
