// SPDX-License-Identifier: MIT
// Looks for what usually keeps managers from seeing the tunnels, and says what mends it.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fstream>
#include <memory>
#include <string>

#include "tools/Commands.h"
#include "tools/Print.h"
#include "tools/doctor/AgentChecks.h"

namespace Tools {

namespace {

struct DoctorOptions {
   PublishOptions publish;
   std::string snmpdConf = "/etc/snmp/snmpd.conf";
   std::string agentXSocket;
   std::string user;
};

Doctor::Findings findings(DoctorOptions const& options) {
   Doctor::Findings all = Doctor::checkAgent(options.publish);
   auto const add = [&all](Doctor::Findings const& more) { all.insert(all.end(), more.begin(), more.end()); };
   add(Doctor::checkSnmpd(options.snmpdConf));

   std::filesystem::path socket = options.agentXSocket;
   if (std::ifstream text(options.snmpdConf); socket.empty() && text) {
      // Only a snmpd that takes subagents has one.
      Doctor::SnmpdConf const conf(text);
      if (conf.takesSubagents()) socket = conf.socket();
   }
   if (!socket.empty()) {
      auto const user = options.user.empty() ? Doctor::User::ofService() : Doctor::User::named(options.user);
      add(Doctor::checkMasterSocket(socket, user));
   }
   return all;
}

void examine(DoctorOptions const& options) {
   Doctor::Findings const all = findings(options);
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
   command->add_option("--snmpd-conf", options->snmpdConf, "The configuration of snmpd")
         ->type_name("FILE")
         ->capture_default_str();
   command
         ->add_option("--agentx-socket", options->agentXSocket,
                      "The unix socket on which snmpd takes subagents, instead of the one in its configuration")
         ->type_name("PATH");
   command->add_option("--user", options->user, "Whom mplsted runs as, instead of mplste or else yourself")
         ->type_name("NAME");
   command->callback([options] { examine(*options); });
}

}  // namespace Tools
