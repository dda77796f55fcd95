// SPDX-License-Identifier: MIT
#include "tools/doctor/AgentChecks.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <string_view>
#include <vector>

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

Finding countersOf(Json const& counters) {
   if (counters.is_null()) return {true, "no counters are asked for: packets and octets read as 0"};
   std::string const name = text(counters.at("name"));
   if (counters.at("attached") == true) return {true, fmt::format("the counters {} are there", name)};
   return {false,
           fmt::format("the counters {} are not there, or not to be read: packets and octets read as 0", name),
           {"start the process that counts, or look at what there is:",
            fmt::format("  mplste counters --name {} list", name)}};
}

Finding refusalsOf(Json const& refused) {
   Json const& last = refused.at("last");
   auto const what =
         fmt::format("documents were refused ({}), the last at {} from {}: {}", refused.at("documents").dump(),
                     text(last.at("time")), text(last.at("from")), text(last.at("reason")));
   if (last.at("mended") == true) return {true, what + "; what came from there later was accepted", {}};
   return {false, what, {"correct it and publish it again; docs/state.md says what a document may hold"}};
}

Finding masterOf(Json const& master) {
   bool const connected = master.at("state") == "connected";
   Finding finding{connected, fmt::format("the AgentX master at {} is {} since {}", text(master.at("master")),
                                          text(master.at("state")), text(master.at("since")))};
   if (!connected && !master.at("lastError").is_null()) finding.remedy = {text(master.at("lastError"))};
   return finding;
}

}  // namespace

AgentReport checkStatus(Json const& status) {
   AgentReport report;
   auto& findings = report.findings;
   findings.push_back(
         {true, fmt::format("mplsted {} answers, since {}", text(status.at("version")), text(status.at("started")))});
   findings.push_back(sourceOf(status.at("state")));
   findings.push_back(countersOf(status.at("counters")));
   if (!status.at("refused").at("last").is_null()) findings.push_back(refusalsOf(status.at("refused")));

   if (Json const& master = status.at("agentx"); !master.is_null()) {
      Finding const finding = masterOf(master);
      report.serving = finding.good ? Serving::throughMaster : Serving::cutOff;
      constexpr std::string_view kUnix = "unix:";
      std::string const address = text(master.at("master"));
      if (address.starts_with(kUnix)) report.masterSocket = address.substr(kUnix.size());
      findings.push_back(finding);
   } else if (auto const addresses = status.at("addresses").get<std::vector<std::string>>(); !addresses.empty()) {
      report.serving = Serving::byItself;
      findings.push_back({true, fmt::format("it answers managers itself, at {}", fmt::join(addresses, " and "))});
   } else {
      report.serving = Serving::insideSnmpd;
      findings.push_back({true, "it runs inside snmpd"});
   }
   return report;
}

AgentReport checkAgent(PublishOptions const& options) {
   Json answer;
   try {
      answer = PublishSocket(options).ask("{\"$status\":null}");
   } catch (NobodyListens const& error) {
      return {{{false,
                error.what(),
                {fmt::format("mplsted --publish {} ..., or a line in mplsted.conf:", options.path),
                 fmt::format("  mplstePublish {}", options.path), "  mplstePublishAllow uid:0",
                 "  mplstePublishAllow gid:mplste"}}}};
   } catch (Closed const& error) {
      return {{{false,
                error.what(),
                {"run this command as root, or as a member of the group that the socket is open to"}}}};
   } catch (Refused const& error) {
      return {{{false,
                error.what(),
                {"run this command as root, or let yourself in, in mplsted.conf:", "  mplstePublishAllow uid:0",
                 fmt::format("  mplstePublishAllow uid:{}", geteuid())}}}};
   } catch (AgentError const& error) {
      return {{{false,
                error.what(),
                {"ask again with a longer --timeout, and start mplsted again if that does not help"}}}};
   }
   return checkStatus(answer.at("status"));
}

namespace {

/// The line by which snmpd lets `user` connect: the socket's mode, its directory's, the socket's owner and group.
std::string permissionsFor(User const& user) {
   return fmt::format("  agentXPerms 0660 0755 Debian-snmp {}", user.group);
}

}  // namespace

Findings checkMasterSocket(std::filesystem::path const& socket, User const& user) {
   auto const barrier = barrierOn(socket, user);
   if (!barrier) return {{true, fmt::format("the user {} may connect to {}", user.name, socket.string())}};
   Finding finding{false, toText(*barrier, user)};
   switch (barrier->kind) {
      case Barrier::Kind::missing:
      case Barrier::Kind::noSocket:
         finding.remedy = {"start snmpd, with these lines in snmpd.conf:", "  master agentx",
                           fmt::format("  agentXSocket unix:{}", socket.string()), permissionsFor(user)};
         break;
      case Barrier::Kind::closedDirectory:
         // The mode in snmpd.conf is for directories that snmpd makes.
         finding.remedy = {"open it, since snmpd leaves a directory as it is:",
                           fmt::format("  chmod o+x {}", barrier->path.string()),
                           "in snmpd.conf, and start snmpd again:", permissionsFor(user)};
         break;
      case Barrier::Kind::closedSocket:
         finding.remedy = {"in snmpd.conf, and start snmpd again:", permissionsFor(user)};
         break;
   }
   return {finding};
}

}  // namespace Tools::Doctor
