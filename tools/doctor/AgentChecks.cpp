// SPDX-License-Identifier: MIT
#include "tools/doctor/AgentChecks.h"

#include <fmt/format.h>

#include "tools/Commands.h"

namespace Tools::Doctor {

namespace {

std::string text(Json const& json) { return json.is_string() ? json.get<std::string>() : std::string(); }

Finding sourceOf(Json const& state) {
   Json const& publish = state.at("publish");
   if (!state.at("file").is_null()) {
      return {true, fmt::format("the state comes from {}", text(state.at("file").at("path")))};
   }
   if (publish.is_null() || state.at("lastChange").is_null()) {
      std::string const socket = publish.is_null() ? std::string() : text(publish.at("socket"));
      return {false,
              "there is no state file, and nobody has published anything",
              {fmt::format("mplste publish --socket {} STATE.json", socket)}};
   }
   return {true, fmt::format("the state comes from publishers, {} of them now", publish.at("connections").dump())};
}

}  // namespace

Findings checkStatus(Json const& status) {
   Findings findings;
   findings.push_back(
         {true, fmt::format("mplsted {} answers, since {}", text(status.at("version")), text(status.at("started")))});
   findings.push_back(sourceOf(status.at("state")));

   Json const& counters = status.at("counters");
   if (counters.is_null()) {
      findings.push_back({true, "no counters are asked for: packets and octets read as 0"});
   } else if (counters.at("attached") == true) {
      findings.push_back({true, fmt::format("the counters {} are there", text(counters.at("name")))});
   } else {
      std::string const name = text(counters.at("name"));
      findings.push_back(
            {false,
             fmt::format("the counters {} are not there, or not to be read: packets and octets read as 0", name),
             {"start the process that counts, or look at what there is:",
              fmt::format("  mplste counters --name {} list", name)}});
   }

   Json const& refused = status.at("refused");
   if (!refused.at("last").is_null()) {
      Json const& last = refused.at("last");
      findings.push_back(
            {false,
             fmt::format("documents were refused ({}), the last at {} from {}: {}", refused.at("documents").dump(),
                         text(last.at("time")), text(last.at("from")), text(last.at("reason"))),
             {"correct it and publish it again; docs/state.md says what a document may hold"}});
   }

   Json const& master = status.at("agentx");
   if (!master.is_null()) {
      bool const connected = master.at("state") == "connected";
      findings.push_back({connected, fmt::format("the AgentX master at {} is {} since {}", text(master.at("master")),
                                                 text(master.at("state")), text(master.at("since")))});
      if (!connected) findings.back().remedy = {text(master.at("lastError"))};
   }
   return findings;
}

Findings checkAgent(PublishOptions const& options) {
   Json answer;
   try {
      answer = PublishSocket(options).ask("{\"$status\":null}");
   } catch (AgentError const& error) {
      return {{false,
               error.what(),
               {fmt::format("mplsted --publish {} ..., or a line in mplsted.conf:", options.path),
                fmt::format("  mplstePublish {}", options.path), "  mplstePublishAllow uid:0",
                "  mplstePublishAllow gid:mplste"}}};
   }
   return checkStatus(answer.at("status"));
}

Findings checkMasterSocket(std::filesystem::path const& socket, User const& user) {
   auto const barrier = barrierOn(socket, user);
   if (!barrier) return {{true, fmt::format("the user {} may connect to {}", user.name, socket.string())}};
   Finding finding{false, toText(*barrier, user)};
   switch (barrier->kind) {
      case Barrier::Kind::missing:
      case Barrier::Kind::noSocket:
         finding.remedy = {"start snmpd, with these lines in snmpd.conf:", "  master agentx",
                           fmt::format("  agentXSocket unix:{}", socket.string())};
         break;
      case Barrier::Kind::closedDirectory:
      case Barrier::Kind::closedSocket:
         // The second mode is the directory's.
         finding.remedy = {"in snmpd.conf, and start snmpd again:",
                           fmt::format("  agentXPerms 0660 0755 Debian-snmp {}", user.name)};
         break;
   }
   return {finding};
}

}  // namespace Tools::Doctor
