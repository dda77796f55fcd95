// SPDX-License-Identifier: MIT
// Looks for what usually keeps managers from seeing the tunnels, and says what mends it.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>

#include "tools/Commands.h"
#include "tools/Print.h"
#include "tools/doctor/AgentChecks.h"

namespace Tools {

namespace {

using Doctor::Findings;
using Doctor::Serving;

struct DoctorOptions {
   PublishOptions publish;
   std::string snmpdConf = "/etc/snmp/snmpd.conf";
   std::string agentXSocket;
   std::string user;
   bool asksForSnmpd = false;  // by naming something of it
};

void append(Findings& all, Findings const& more) { all.insert(all.end(), more.begin(), more.end()); }

/// Where mplsted looks for its master, or would; empty when it has no need to.
std::filesystem::path masterSocket(DoctorOptions const& options, Doctor::AgentReport const& agent,
                                   std::optional<Doctor::SnmpdConf> const& conf) {
   if (!options.agentXSocket.empty()) return options.agentXSocket;
   switch (agent.serving) {
      case Serving::cutOff:
         return agent.masterSocket;
      case Serving::throughMaster:
      case Serving::insideSnmpd:
         return {};
      case Serving::unknown:
      case Serving::byItself:
         break;
   }
   return conf && conf->takesSubagents() && !conf->loadsMplste() ? conf->socket() : std::filesystem::path();
}

Findings checkSnmpd(DoctorOptions const& options, Doctor::AgentReport const& agent) {
   Findings findings;
   std::optional<Doctor::SnmpdConf> conf;
   if (std::ifstream text(options.snmpdConf); text) {
      conf.emplace(text, options.snmpdConf);
      append(findings, Doctor::checkSnmpd(options.snmpdConf, *conf, agent.serving == Serving::insideSnmpd));
   } else if (errno == ENOENT) {
      findings.push_back({true, fmt::format("{}: no such file; no snmpd to serve through", options.snmpdConf)});
   } else {
      findings.push_back({false,
                          fmt::format("{} cannot be read: {}", options.snmpdConf, std::strerror(errno)),
                          {"run this command as root"}});
   }
   if (auto const socket = masterSocket(options, agent, conf); !socket.empty()) {
      auto const user = options.user.empty() ? Doctor::User::ofService() : Doctor::User::named(options.user);
      append(findings, Doctor::checkMasterSocket(socket, user));
   }
   return findings;
}

Findings findings(DoctorOptions const& options) {
   auto const agent = Doctor::checkAgent(options.publish);
   Findings all = agent.findings;
   // Who answers managers itself has no need of an snmpd that may be here as well.
   if (agent.serving != Serving::byItself || options.asksForSnmpd) append(all, checkSnmpd(options, agent));
   return all;
}

void examine(DoctorOptions const& options) {
   Findings const all = findings(options);
   std::vector<std::string> lines;
   for (Doctor::Finding const& finding : all) {
      lines.push_back(fmt::format("{} {}", finding.good ? "good" : "BAD ", finding.what));
      for (std::string const& line : finding.remedy) lines.push_back("       " + line);
   }
   printLines(lines);
   auto const bad = std::ranges::count(all, false, &Doctor::Finding::good);
   if (bad != 0) throw AgentError(fmt::format("{} of {} checks found something to mend", bad, all.size()));
}

}  // namespace

void addDoctor(CLI::App& app) {
   auto* const command = app.add_subcommand("doctor", "Look for what usually goes wrong, and say what mends it");
   auto const options = std::make_shared<DoctorOptions>();
   addPublishOptions(*command, options->publish);
   auto* const conf = command->add_option("--snmpd-conf", options->snmpdConf, "The configuration of snmpd")
                            ->type_name("FILE")
                            ->capture_default_str();
   auto* const socket =
         command
               ->add_option("--agentx-socket", options->agentXSocket,
                            "The unix socket on which snmpd takes subagents, instead of the one in its configuration")
               ->type_name("PATH");
   command->add_option("--user", options->user, "Whom mplsted runs as, instead of mplste or else yourself")
         ->type_name("NAME");
   command->callback([options, conf, socket] {
      options->asksForSnmpd = conf->count() + socket->count() > 0;
      examine(*options);
   });
}

}  // namespace Tools
