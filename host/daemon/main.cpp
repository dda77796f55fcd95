// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

#include "host/agentx/Subagent.h"
#include "host/daemon/Allocator.h"
#include "host/daemon/Configuration.h"
#include "host/daemon/Counters.h"
#include "host/daemon/Log.h"
#include "host/daemon/LogOutput.h"
#include "host/daemon/Notify.h"
#include "host/daemon/Options.h"
#include "host/daemon/OwnModule.h"
#include "host/daemon/Publishing.h"
#include "host/daemon/Ready.h"
#include "host/daemon/Settings.h"
#include "host/daemon/SnmpAgent.h"
#include "host/daemon/StandardStreams.h"
#include "host/daemon/StateSource.h"
#include "host/daemon/Status.h"
#include "host/feed/FileFeed.h"
#include "host/loop/Signals.h"
#include "host/loop/TaskRunner.h"
#include "host/module/Module.h"
#include "host/notifications/InformLoad.h"
#include "host/notifications/Notifications.h"
#include "host/publish/SocketFile.h"
#include "host/store/StateStore.h"

namespace {

using Clock = std::chrono::steady_clock;

std::chrono::milliseconds since(Clock::time_point start) {
   return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
}

/// What of the options can be changed while the agent runs.
void applyTo(Daemon::Log& log, Daemon::Options const& options) {
   log.outputIs(options.log, options.logLevel);
   log.tracesDel();
   for (auto const& trace : options.traces) log.traceLevelsIs(trace.handle, trace.levels);
}

/// What the command line says, and for the rest the configuration that has been read.
Daemon::Options merged(Daemon::FileSettings const& settings, Daemon::Options const& commandLine) {
   auto options = settings.merged(commandLine);
   if (options.state.empty() && options.publish.path.empty()) {
      throw Daemon::UsageError(
            "--state or --publish is required, or a line mplsteState or mplstePublish in mplsted.conf: "
            "see 'mplsted --help'");
   }
   return options;
}

Daemon::Configuration::Access accessOf(Daemon::Options const& options) {
   using Access = Daemon::Configuration::Access;
   return options.agentx ? Access::masters : Access::ours;
}

/// Does all that can fail, and nothing that anybody else would notice.
void check(Daemon::Options const& commandLine) {
   // What net-snmp keeps stays as it is.
   Daemon::PrivateDirectory const persistent;
   setenv("SNMP_PERSISTENT_DIR", persistent.path().c_str(), 1);

   Daemon::Log log;
   applyTo(log, commandLine);
   auto const root = Vel::makePtr<Vel::EntityDir>("");
   Store::StateStore store(root);
   Daemon::FileSettings const settings;
   Daemon::Configuration configuration(commandLine.config, [&] { return accessOf(settings.merged(commandLine)); });
   Daemon::SnmpAgent agent(configuration, log);
   auto const options = merged(settings, commandLine);
   if (options.agentx) AgentX::Subagent::masterAt(*options.agentx);
   if (!options.publish.path.empty()) Publish::SocketFile::check(options.publish.path);

   std::string refusal;
   Store::ChangeQueue changes(store);
   std::optional<Feed::FileFeed> feed;
   if (!options.state.empty()) {
      feed.emplace(changes, options.state,
                   Feed::FileFeed::Events{.loaded = [](std::size_t) {},
                                          .refused = [&](std::string const& line) { refusal = line; },
                                          .unwatched = [&log](std::string const& line) { log.warn(line); }});
      feed->load();
   }
   auto const scheduler = Orb::TaskSchedulerRoot::findOrCreateScheduler();
   scheduler->runAll();
   if (!refusal.empty()) throw std::runtime_error(refusal);

   Host::Module const module(
         options.module.empty() ? Daemon::ownModule() : options.module, root,
         {store.lerConfig(), store.lerHiveStatus(), store.kelpStatus(), Daemon::counterTable(options)},
         options.contexts, options.tableDriving);
   scheduler->runAll();
   std::puts("ok");
}

/// Runs until a signal ends it, and answers from the start, while the first state is being loaded.
void serve(Daemon::Options const& commandLine, Clock::time_point start) {
   Daemon::Log log;
   Daemon::Notify const notify;
   applyTo(log, commandLine);
   Loop::blockSignals();

   auto const root = Vel::makePtr<Vel::EntityDir>("");
   Store::StateStore store(root);
   Daemon::FileSettings settings;
   Daemon::Configuration configuration(commandLine.config, [&] { return accessOf(settings.merged(commandLine)); });
   Daemon::SnmpAgent agent(configuration, log);
   auto const options = merged(settings, commandLine);
   settings.keep();
   applyTo(log, options);
   auto const failed = [&agent](std::string_view error) { agent.fail(error); };
   std::optional<AgentX::Subagent> subagent;
   if (options.agentx) {
      subagent.emplace(*options.agentx,
                       AgentX::Subagent::Report{.info = [&log](std::string_view line) { log.info(line); },
                                                .warn = [&log](std::string_view line) { log.warn(line); },
                                                .error = [&log](std::string_view line) { log.error(line); }},
                       failed);
   } else {
      agent.listen(options.listen);
   }

   auto const counters = Daemon::counterTable(options);
   Host::Module const module(options.module.empty() ? Daemon::ownModule() : options.module, root,
                             {store.lerConfig(), store.lerHiveStatus(), store.kelpStatus(), counters}, options.contexts,
                             options.tableDriving);

   auto const delivery =
         subagent ? Notifications::Delivery{.hasRoom = [&subagent] { return subagent->hasRoom(); },
                                            .send = [&subagent](auto& variables) { subagent->notify(variables); }}
                  : Notifications::toSinks();
   auto const notificationSettings = [&subagent](Daemon::Options const& now) {
      return now.notifications.settings(subagent || Notifications::hasSinks());
   };
   Notifications::Notifier notifier(module.monitor(), delivery, notificationSettings(options), failed);

   Daemon::Status status({.store = &store,
                          .module = &module,
                          .counters = counters.get(),
                          .notifier = &notifier,
                          .stateFile = options.state,
                          .countersName = options.counters,
                          .addresses = agent.addresses()});
   if (!options.publish.path.empty()) Daemon::makeRoomForPublishers();
   if (subagent) status.sources().master = [&subagent] { return subagent->status(); };
   Daemon::StateSource state(options, store, status, log, failed);

   auto const end = [&] {
      notify.stopping();
      agent.stop();
   };
   std::string serving = "answering, while the state is being loaded";
   // What cannot be used is logged, and what was in force holds on.
   auto const reload = [&] {
      notify.reloading();
      try {
         agent.reconfigure(configuration, log, [&] { merged(settings, commandLine); });
         auto const now = merged(settings, commandLine);
         applyTo(log, now);
         notifier.settingsAre(notificationSettings(now));
         log.warnOfUnknownHandles();
         for (auto const token : settings.waiting()) {
            log.warn(fmt::format("{}: the change takes effect at the next start", token));
         }
         log.info("the configuration has been read again");
      } catch (std::exception const& error) {
         log.error(fmt::format("{}; the configuration stays as it was", error.what()));
      }
      state.reload();
      notify.ready(serving);
   };
   Loop::Signals const signals(end, reload, failed);

   std::chrono::milliseconds firstAnswer{};
   bool saidReady = false;
   Loop::TaskRunner const tasks(
         [&] {
            if (state.begun()) notifier.begin();
            if (!state.loaded() || std::exchange(saidReady, true)) return;
            serving = toText(Daemon::Ready{module.tunnels(), state.names(), agent.addresses(), configuration.access(),
                                           firstAnswer, since(start),
                                           subagent ? std::optional(subagent->status().master) : std::nullopt});
            notify.status(serving);
            std::puts(serving.c_str());
            std::fflush(stdout);  // somebody who does not listen is no reason to end
            log.warnOfUnknownHandles();
         },
         failed);
   firstAnswer = since(start);
   notify.ready(serving);
   Daemon::FreedMemory const freedMemory;
   agent.run();
}

int fail(std::string_view message, int code) {
   char const* const severity = Daemon::standardErrorIsJournal() ? "<3>" : "";
   std::fputs(fmt::format("{}mplsted: {}\n", severity, Daemon::oneLine(message)).c_str(), stderr);
   return code;
}

}  // namespace

int main(int argc, char** argv) {
   auto const start = Clock::now();
   Daemon::openStandardStreams();
   try {
      auto const options = Daemon::parseOptions(std::span(argv, argc).subspan(1));
      if (options) options->checkConfig ? check(*options) : serve(*options, start);
      return 0;
   } catch (Daemon::UsageError const& error) {
      return fail(error.what(), 2);
   } catch (Host::ModuleError const& error) {
      return fail(fmt::format("{}; name another with --module", error.what()), 1);
   } catch (std::exception const& error) {
      return fail(error.what(), 1);
   }
}
