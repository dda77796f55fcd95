// SPDX-License-Identifier: MIT
#include "host/daemon/Settings.h"

#include <gmock/gmock.h>

#include <fstream>

#include "host/daemon/Configuration.h"
#include "host/daemon/SnmpAgent.h"
#include "host/loop/NetSnmp.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Lets net-snmp read lines as if they stood in mplsted.conf.
class FileSettingsTest : public testing::Test {
 protected:
   void read(std::string const& lines) {
      auto const file = directory_.path() / "mplsted.conf";
      std::ofstream(file) << lines;
      read_config_with_type(file.c_str(), Daemon::SnmpAgent::kName);
   }

   Daemon::PrivateDirectory directory_;
   Daemon::FileSettings settings_;
};

TEST_F(FileSettingsTest, aLineSaysWhatAnOptionSays) {
   read("mplsteState /run/state.json\nmplsteCounters mplste-counters\nmplsteCountersOwner root\nmplsteModule m.so\n"
        "mplsteContext red\nmplsteContext blue\nmplsteTrace MplsSnmp=0-2\nmplsteLog syslog\nmplsteLogLevel error\n"
        "mplsteTableDriver stock\n");
   auto const options = settings_.merged({});
   EXPECT_EQ(options.state, "/run/state.json");
   EXPECT_EQ(options.counters, "mplste-counters");
   EXPECT_EQ(options.countersOwner, 0U);
   EXPECT_EQ(options.module, "m.so");
   EXPECT_THAT(options.contexts, ElementsAre("red", "blue"));
   EXPECT_THAT(options.traces, ElementsAre(Daemon::Options::Trace{"MplsSnmp", 0b111}));
   EXPECT_EQ(options.log, Daemon::LogOutput::syslog);
   EXPECT_EQ(options.logLevel, Daemon::LogLevel::error);
   EXPECT_EQ(options.tableDriving, Host::TableDriving::stock);
}

TEST_F(FileSettingsTest, theCommandLineWins) {
   read("mplsteState /run/state.json\nmplsteContext red\nmplsteLogLevel error\n");
   std::vector<char const*> const arguments{"--state", "s", "--context", "blue", "--log-level", "debug"};
   auto const options = settings_.merged(*Daemon::parseOptions(arguments));
   EXPECT_EQ(options.state, "s");
   EXPECT_THAT(options.contexts, ElementsAre("blue"));
   EXPECT_EQ(options.logLevel, Daemon::LogLevel::debug);
}

TEST_F(FileSettingsTest, whoIsToldToListenServesThroughNoMaster) {
   read("mplsteAgentX unix:/run/agentx/master\n");
   EXPECT_EQ(settings_.merged({}).agentx, "unix:/run/agentx/master");
   std::vector<char const*> const arguments{"--listen", "udp:127.0.0.1:0"};
   EXPECT_FALSE(settings_.merged(*Daemon::parseOptions(arguments)).agentx);
}

TEST_F(FileSettingsTest, aValueWithSpacesMayBeQuoted) {
   read("mplsteState \"/a b/c.json\"\n");
   EXPECT_EQ(settings_.merged({}).state, "/a b/c.json");
   read("mplsteState /a b/d.json  \n");
   EXPECT_EQ(settings_.merged({}).state, "/a b/d.json");
}

TEST_F(FileSettingsTest, aWrongLineIsLeftOut) {
   read("mplsteCountersOwner nobody-of-this-name\nmplsteTrace MplsSnmp\nmplsteLog file\nmplsteState \"a\" "
        "b\nmplsteState \"a "
        "b\nmplsteState \"\n"
        "mplsteContext \"\"\n");
   auto const options = settings_.merged({});
   EXPECT_FALSE(options.countersOwner);
   EXPECT_THAT(options.traces, IsEmpty());
   EXPECT_EQ(options.log, Daemon::LogOutput::standardError);
   EXPECT_TRUE(options.state.empty());
   EXPECT_THAT(options.contexts, IsEmpty());
}

TEST_F(FileSettingsTest, whatOnlyAStartLooksAtIsKnown) {
   read("mplsteState a\nmplsteLogLevel error\n");
   settings_.keep();
   EXPECT_THAT(settings_.waiting(), IsEmpty());
   read("mplsteLogLevel info\n");
   EXPECT_THAT(settings_.waiting(), IsEmpty()) << "this takes effect at once";
   read("mplsteContext red\nmplsteState b\n");
   EXPECT_THAT(settings_.waiting(), ElementsAre("mplsteState", "mplsteContext"));
}

TEST(Settings, eachBelongsToAnOption) {
   testing::internal::CaptureStdout();
   Daemon::parseOptions(std::vector<char const*>{"--help"});
   std::string const help = testing::internal::GetCapturedStdout();
   for (auto const& setting : Daemon::settings()) {
      EXPECT_THAT(help, HasSubstr(std::string("  ") + setting.option + " ")) << setting.token;
   }
}

}  // namespace
