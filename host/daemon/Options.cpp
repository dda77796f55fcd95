// SPDX-License-Identifier: MIT
#include "host/daemon/Options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <memory>

#include "host/publish/Access.h"

namespace Daemon {

namespace {

/// What `parse` makes of an option's value.
auto parsed(char const* option, std::string const& text, auto parse) {
   try {
      return parse(text);
   } catch (std::invalid_argument const& error) {
      throw UsageError(fmt::format("{} {}: {}", option, text, error.what()));
   }
}

void refuseEmpty(CLI::App const& app) {
   for (CLI::Option const* const option : app.get_options()) {
      if (option->get_items_expected_min() == 0) continue;  // it may be given without a value
      if (std::ranges::any_of(option->results(), &std::string::empty)) {
         throw UsageError(fmt::format("{} must not be empty", option->get_name()));
      }
   }
}

/// Adds the options of publishing over a socket. Returns what is to be done when all are read.
std::function<void(PublishOptions&)> addPublishOptions(CLI::App& app, PublishOptions& options) {
   struct Texts {
      std::optional<std::string> mode;
      std::optional<std::string> owner;
      std::vector<std::string> allowed;
   };
   auto const texts = std::make_shared<Texts>();
   app.add_option(
            "--publish", options.path,
            "A unix socket where publishers connect, and mplste publish, state, status and trace; with --state as "
            "well, what they publish goes on top of the file")
         ->type_name("PATH");
   app.add_option("--publish-mode", texts->mode, "The permissions of this socket, instead of 0660")->type_name("OCTAL");
   app.add_option("--publish-owner", texts->owner, "Whose this socket is, by name or number; USER or :GROUP will do")
         ->type_name("USER:GROUP");
   app.add_option(
            "--publish-allow", texts->allowed,
            "Who may use it, uid:USER or gid:GROUP, instead of root and our own user; may be given more than once")
         ->type_name("WHO")
         ->expected(1);
   app.add_option("--publish-longest-line", options.longestLine,
                  "The longest line that a publisher may send, in MiB (1 to 1024), instead of 16")
         ->type_name("MIB")
         ->check(CLI::Range(std::size_t{1}, PublishOptions::kMostLongestLine).description(""));
   return [texts](PublishOptions& to) {
      auto const take = [&](char const* option, std::string const& text, auto set) {
         parsed(option, text, [&](std::string const& value) {
            set(to, value);
            return true;
         });
      };
      if (texts->mode) take("--publish-mode", *texts->mode, setPublishMode);
      if (texts->owner) take("--publish-owner", *texts->owner, setPublishOwner);
      for (std::string const& who : texts->allowed) take("--publish-allow", who, addPublishAllowed);
   };
}

/// The long names of the options that stood on the command line.
std::set<std::string, std::less<>> givenIn(CLI::App const& app) {
   std::set<std::string, std::less<>> given;
   for (CLI::Option const* const option : app.get_options()) {
      if (option->count() != 0) given.insert(option->get_name());
   }
   // Who listens serves through no master.
   if (given.contains("--listen")) given.insert("--agentx");
   return given;
}

}  // namespace

Options::Trace parseTrace(std::string const& text) {
   auto const sign = text.find('=');
   if (sign == 0 || sign == std::string::npos) {
      throw std::invalid_argument("it must be HANDLE=LEVELS, such as mplsTeStdMIB=0-2");
   }
   return {text.substr(0, sign), Trel::parseTraceLevels(std::string_view(text).substr(sign + 1))};
}

Host::TableDriving parseTableDriving(std::string const& text) {
   if (text == "own") return Host::TableDriving::own;
   if (text == "stock") return Host::TableDriving::stock;
   throw std::invalid_argument("it must be own or stock");
}

std::optional<Options> parseOptions(std::span<char const* const> arguments) {
   Options options;
   std::vector<std::string> traces;
   std::optional<std::string> log;
   std::optional<std::string> logLevel;
   std::optional<std::string> tableDriver;
   std::optional<std::string> countersOwner;

   CLI::App app("Serves the MPLS traffic-engineering tunnels of a head end over SNMP (MPLS-TE-STD-MIB)", "mplsted");
   app.set_version_flag("--version", "mplsted " MPLSTE_VERSION "\nbuilt with " MPLSTE_BUILT_WITH);
   app.add_option("--state", options.state, "The published state, a JSON document; its changes are followed")
         ->type_name("FILE");
   auto const takePublishOptions = addPublishOptions(app, options.publish);
   app.add_option("--listen", options.listen,
                  "Where to answer SNMP, such as udp:127.0.0.1:11161 (the default), tcp:HOST:PORT, udp6:[ADDRESS]:PORT "
                  "or unix:PATH; may be given more than once; port 0 takes a free one")
         ->type_name("ADDRESS")
         ->expected(1);
   std::string master;
   auto* const agentx =
         app.add_option("--agentx", master,
                        "Serve through the AgentX master at ADDRESS, such as unix:/run/agentx/master (the default) or "
                        "tcp:127.0.0.1:705, instead of answering SNMP itself; who may read is the master's affair then")
               ->type_name("[ADDRESS]")
               ->expected(0, 1)
               ->excludes("--listen");
   app.add_option("--module", options.module, "The MIB module to load, instead of mplsTeStdMIB.so")->type_name("FILE");
   app.add_option(
            "--table-driver", tableDriver,
            "What answers requests for the tables: own (the default), which costs the same at any size, or stock, "
            "the chain of net-snmp's handlers")
         ->type_name("DRIVER");
   app.add_option("--counters", options.counters,
                  "The shared memory that the forwarding process keeps packets and bytes in; without it they read as 0")
         ->type_name("NAME");
   app.add_option("--counters-owner", countersOwner,
                  "Whom this shared memory must belong to, by name or number, instead of ourselves or root")
         ->type_name("USER");
   app.add_option("--config", options.config,
                  "Who may read what, in the notation of snmpd.conf; without it mplsted.conf is looked for where "
                  "net-snmp looks, and without one the community public may read from this machine")
         ->type_name("FILE");
   std::optional<std::string> notifications;
   std::optional<std::string> maxRate;
   std::vector<std::string> teDistProto;
   app.add_option("--notifications", notifications,
                  "Whether managers are notified of tunnels that go up and down or are rerouted: on, off or auto (the "
                  "default), which is on when there is a receiver, and through an AgentX master")
         ->type_name("WHEN");
   app.add_option("--notification-max-rate", maxRate,
                  "How many notifications are sent in a second at most (100 unless said otherwise); 0 is no limit")
         ->type_name("N");
   app.add_option("--te-dist-proto", teDistProto,
                  "How information for traffic engineering is distributed, for mplsTunnelTEDistProto: ospf, isis or "
                  "other (the default); may be given more than once")
         ->type_name("PROTOCOL")
         ->expected(1);
   app.add_option("--trace", traces,
                  "Trace levels 0 to 9 of a part, such as mplsTeStdMIB=0-2,8; may be given more than once")
         ->type_name("HANDLE=LEVELS")
         ->expected(1);
   app.add_option("--context", options.contexts,
                  "An SNMP context to register besides the default one; may be given more than once")
         ->type_name("NAME")
         ->expected(1);
   app.add_option("--log", log, "Where to log: stderr (the default) or syslog")->type_name("OUTPUT");
   app.add_option("--log-level", logLevel,
                  "What is less urgent is not logged: error, warning, info or debug (the default); trace lines that "
                  "were asked for are debug")
         ->type_name("LEVEL");
   app.add_flag("--check-config", options.checkConfig,
                "Find out whether configuration, state and module can be used, say ok or what is wrong, and end");
   for (char const* const repeatable : {"--listen", "--trace", "--context", "--publish-allow", "--te-dist-proto"}) {
      app.get_option(repeatable)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
   }
   app.footer(
         "All but --config, --listen and --check-config may stand in mplsted.conf as well, see mplsted.conf(5).\n"
         "Exit status: 0 ended by SIGTERM or SIGINT, 1 cannot start or go on, 2 wrong usage.");

   std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
   try {
      app.parse(reversed);
   } catch (CLI::Success const& success) {  // --help, --version
      app.exit(success);
      return {};
   } catch (CLI::Error const& error) {
      throw UsageError(fmt::format("{}: see 'mplsted --help'", error.what()));
   }
   refuseEmpty(app);
   if (agentx->count() != 0) options.agentx = master;
   for (auto const& text : traces) options.traces.push_back(parsed("--trace", text, parseTrace));
   if (tableDriver) options.tableDriving = parsed("--table-driver", *tableDriver, parseTableDriving);
   auto const take = [&](char const* option, std::string const& text, auto set) {
      parsed(option, text, [&](std::string const& value) {
         set(options.notifications, value);
         return true;
      });
   };
   if (notifications) take("--notifications", *notifications, setNotifications);
   if (maxRate) take("--notification-max-rate", *maxRate, setNotificationMaxRate);
   for (auto const& protocol : teDistProto) take("--te-dist-proto", protocol, addTeDistProto);
   if (countersOwner) options.countersOwner = parsed("--counters-owner", *countersOwner, Publish::userFrom);
   if (log) options.log = parsed("--log", *log, parseLogOutput);
   if (logLevel) options.logLevel = parsed("--log-level", *logLevel, parseLogLevel);
   takePublishOptions(options.publish);
   options.given = givenIn(app);
   return options;
}

}  // namespace Daemon
