// SPDX-License-Identifier: MIT
#include "host/daemon/Settings.h"

#include <fmt/format.h>

#include <algorithm>
#include <iomanip>
#include <sstream>
#include <stdexcept>

#include "host/daemon/SnmpAgent.h"
#include "host/loop/NetSnmp.h"
#include "host/publish/Access.h"

namespace Daemon {

namespace {

constexpr auto kReload = Setting::Change::reload;
constexpr auto kRestart = Setting::Change::restart;
constexpr auto kAny = Setting::Host::any;
constexpr auto kOurs = Setting::Host::mplsted;

constexpr Setting kSettings[] = {
      {"--state", "mplsteState", kRestart, kAny, [](Options& to, std::string const& value) { to.state = value; }},
      {"--publish", "mplstePublish", kRestart, kAny,
       [](Options& to, std::string const& value) { to.publish.path = value; }},
      {"--publish-mode", "mplstePublishMode", kRestart, kAny,
       [](Options& to, std::string const& value) { setPublishMode(to.publish, value); }},
      {"--publish-owner", "mplstePublishOwner", kRestart, kAny,
       [](Options& to, std::string const& value) { setPublishOwner(to.publish, value); }},
      {"--publish-allow", "mplstePublishAllow", kRestart, kAny,
       [](Options& to, std::string const& value) { addPublishAllowed(to.publish, value); }},
      {"--publish-longest-line", "mplstePublishLongestLine", kRestart, kAny,
       [](Options& to, std::string const& value) { setPublishLongestLine(to.publish, value); }},
      {"--agentx", "mplsteAgentX", kRestart, kOurs, [](Options& to, std::string const& value) { to.agentx = value; }},
      {"--module", "mplsteModule", kRestart, kAny, [](Options& to, std::string const& value) { to.module = value; }},
      {"--table-driver", "mplsteTableDriver", kRestart, kAny,
       [](Options& to, std::string const& value) { to.tableDriving = parseTableDriving(value); }},
      {"--context", "mplsteContext", kRestart, kAny,
       [](Options& to, std::string const& value) { to.contexts.push_back(value); }},
      {"--counters", "mplsteCounters", kRestart, kAny,
       [](Options& to, std::string const& value) { to.counters = value; }},
      {"--counters-owner", "mplsteCountersOwner", kRestart, kAny,
       [](Options& to, std::string const& value) { to.countersOwner = Publish::userFrom(value); }},
      {"--notifications", "mplsteNotifications", kReload, kAny,
       [](Options& to, std::string const& value) { setNotifications(to.notifications, value); }},
      {"--notification-max-rate", "mplsteNotificationMaxRate", kReload, kAny,
       [](Options& to, std::string const& value) { setNotificationMaxRate(to.notifications, value); }},
      {"--te-dist-proto", "mplsteTEDistProto", kReload, kAny,
       [](Options& to, std::string const& value) { addTeDistProto(to.notifications, value); }},
      {"--trace", "mplsteTrace", kReload, kAny,
       [](Options& to, std::string const& value) { to.traces.push_back(parseTrace(value)); }},
      {"--log", "mplsteLog", kReload, kOurs,
       [](Options& to, std::string const& value) { to.log = parseLogOutput(value); }},
      {"--log-level", "mplsteLogLevel", kReload, kOurs,
       [](Options& to, std::string const& value) { to.logLevel = parseLogLevel(value); }},
};

/// The value of a line: all of it, or what stands between quotation marks.
std::string valueOf(std::string_view text) {
   if (!text.starts_with('"')) {
      while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
      return std::string(text);
   }
   std::istringstream words{std::string(text)};
   std::string value;
   std::string rest;
   words >> std::quoted(value);
   // It is read up to the closing mark, and no further.
   if (words.eof()) throw std::invalid_argument("there is no quotation mark behind the value");
   if (words >> rest) throw std::invalid_argument(fmt::format("there is more behind the value: {}", rest));
   return value;
}

}  // namespace

std::span<Setting const> settings() { return kSettings; }

FileSettings::FileSettings() : FileSettings(SnmpAgent::kName, Setting::Host::mplsted) {}

FileSettings::FileSettings(char const* application, Setting::Host host) : application_(application) {
   instance_ = this;
   for (Setting const& setting : kSettings) {
      if (host == Setting::Host::any && setting.host != host) continue;
      known_.push_back(&setting);
      register_config_handler(application_, setting.token, &FileSettings::read, &FileSettings::forget, "VALUE");
   }
}

FileSettings::~FileSettings() {
   for (Setting const* const setting : known_) unregister_config_handler(application_, setting->token);
}

void FileSettings::read(char const* token, char* text) noexcept {
   try {
      // net-snmp does not tell large letters from small ones.
      auto const* const setting = std::ranges::find_if(
            kSettings, [&](Setting const& candidate) { return strcasecmp(candidate.token, token) == 0; });
      instance_->add(*setting, valueOf(text));
   } catch (std::exception const& error) {
      config_perror(fmt::format("{}: {}", token, error.what()).c_str());
   }
}

void FileSettings::add(Setting const& setting, std::string value) {
   if (value.empty()) throw std::invalid_argument("it must not be empty");
   Options tried;
   setting.set(tried, value);
   lines_.push_back({&setting, std::move(value)});
}

Options FileSettings::merged(Options commandLine) const {
   auto const given = commandLine.given;
   for (Line const& line : lines_) {
      if (!given.contains(line.setting->option)) line.setting->set(commandLine, line.value);
   }
   return commandLine;
}

std::vector<std::string_view> FileSettings::waiting() const {
   auto const values = [](std::vector<Line> const& lines, Setting const& setting) {
      std::vector<std::string> found;
      for (Line const& line : lines) {
         if (line.setting == &setting) found.push_back(line.value);
      }
      return found;
   };
   std::vector<std::string_view> tokens;
   for (Setting const& setting : kSettings) {
      if (setting.change == kRestart && values(lines_, setting) != values(kept_, setting)) {
         tokens.emplace_back(setting.token);
      }
   }
   return tokens;
}

}  // namespace Daemon
