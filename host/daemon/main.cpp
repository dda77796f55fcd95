// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

#include "host/daemon/Configuration.h"
#include "host/daemon/Log.h"
#include "host/daemon/ModuleHost.h"
#include "host/daemon/Notify.h"
#include "host/daemon/Options.h"
#include "host/daemon/Ready.h"
#include "host/daemon/Signals.h"
#include "host/daemon/SnmpAgent.h"
#include "host/daemon/StandardStreams.h"
#include "host/daemon/Subagent.h"
#include "host/daemon/TaskRunner.h"
#include "host/feed/FileFeed.h"
#include "host/store/StateStore.h"
#include "inputs/tallies/ShmCounterTable.h"

namespace {

using Clock = std::chrono::steady_clock;

std::chrono::milliseconds since(Clock::time_point start) {
   return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
}

void warnOfUnknownHandles(std::vector<Daemon::Options::Trace> const& traces, Daemon::Log& log) {
   auto const handles = Trel::traceHandles();
   for (auto const& trace : traces) {
      if (std::ranges::any_of(handles, [&](auto const* handle) { return handle->name() == trace.handle; })) continue;
      std::string names;
      for (auto const* const handle : handles) names += " " + handle->name();
      log.warn(fmt::format("--trace {}: nothing traces under that name so far, but{}", trace.handle, names));
   }
}

/// The counters that the forwarding plane writes; without a name for them all read as zero.
Vel::Ptr<Tallies::CounterTable> counterTable(Daemon::Options const& options) {
   constexpr char entity[] = "mplsTunnelCounterTable";
   if (options.counters.empty()) return Vel::makePtr<Tallies::CounterTable>(entity);
   return Vel::makePtr<Tallies::ShmCounterTable>(
         entity, Tallies::ShmCounterTable::Options{.name = options.counters, .owner = options.countersOwner});
}

/// Runs until a signal ends it, and answers from the start, while the first state is being loaded.
void serve(Daemon::Options const& options, Clock::time_point start) {
   Daemon::Log log;
   Daemon::Notify const notify;
   for (auto const& trace : options.traces) log.traceLevelsIs(trace.handle, trace.levels);
   Daemon::blockEndingSignals();

   auto const root = Vel::makePtr<Vel::EntityDir>("");
   Store::StateStore store(root);
   using Access = Daemon::Configuration::Access;
   Daemon::Configuration configuration(options.config, options.agentx ? Access::masters : Access::ours);
   Daemon::SnmpAgent agent(configuration, log);
   auto const failed = [&agent](std::string_view error) { agent.fail(error); };
   std::optional<Daemon::Subagent> subagent;
   if (options.agentx) {
      subagent.emplace(*options.agentx, log, failed);
   } else {
      agent.listen(options.listen);
   }

   auto const counters = counterTable(options);
   Daemon::ModuleHost const module(options.module.empty() ? Daemon::ownModule() : options.module, root,
                                   {store.lerConfig(), store.lerHiveStatus(), store.kelpStatus(), counters},
                                   options.contexts);

   Daemon::Signals const signals(
         [&] {
            notify.stopping();
            agent.stop();
         },
         failed);

   Store::ChangeQueue changes(store);
   bool loaded = false;
   // What is wrong with the first state ends the agent, and is only logged later on.
   Feed::FileFeed feed(changes, options.state,
                       {.loaded = [&loaded] { loaded = true; },
                        .refused = [&](std::string const& line) { loaded ? log.error(line) : agent.fail(line); },
                        .unwatched = [&log](std::string const& line) { log.warn(line); }});
   Daemon::Watch const feedWatch(
         feed.descriptor(), [&] { feed.handleReadable(); }, failed);
   feed.load();

   std::chrono::milliseconds firstAnswer{};
   bool saidReady = false;
   Daemon::TaskRunner const tasks(
         [&] {
            if (!loaded || std::exchange(saidReady, true)) return;
            auto const ready = toText(
                  Daemon::Ready{module.tunnels(), options.state, agent.addresses(), configuration.access(), firstAnswer,
                                since(start), subagent ? std::optional(subagent->status().master) : std::nullopt});
            notify.status(ready);
            std::puts(ready.c_str());
            std::fflush(stdout);  // somebody who does not listen is no reason to end
            warnOfUnknownHandles(options.traces, log);
         },
         failed);
   firstAnswer = since(start);
   notify.ready("answering, while the state is being loaded");
   agent.run();
}

int fail(std::string_view message, int code) {
   std::fputs(fmt::format("mplsted: {}\n", Daemon::oneLine(message)).c_str(), stderr);
   return code;
}

}  // namespace

int main(int argc, char** argv) {
   auto const start = Clock::now();
   Daemon::openStandardStreams();
   try {
      auto const options = Daemon::parseOptions(std::span(argv, argc).subspan(1));
      if (options) serve(*options, start);
      return 0;
   } catch (Daemon::UsageError const& error) {
      return fail(error.what(), 2);
   } catch (std::exception const& error) {
      return fail(error.what(), 1);
   }
}
