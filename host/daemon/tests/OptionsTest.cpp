// SPDX-License-Identifier: MIT
#include "host/daemon/Options.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

std::optional<Daemon::Options> parse(std::vector<char const*> arguments) { return Daemon::parseOptions(arguments); }

std::string usageError(std::vector<char const*> const& arguments) {
   try {
      Daemon::parseOptions(arguments);
   } catch (Daemon::UsageError const& error) {
      return error.what();
   }
   return "accepted";
}

TEST(Options, aStateFileIsAllThatIsNeeded) {
   auto const options = parse({"--state", "state.json"});
   ASSERT_TRUE(options);
   EXPECT_EQ(options->state, "state.json");
   EXPECT_THAT(options->listen, IsEmpty());
   EXPECT_FALSE(options->agentx);
   EXPECT_TRUE(options->module.empty());
   EXPECT_TRUE(options->config.empty());
   EXPECT_THAT(options->traces, IsEmpty());
   EXPECT_THAT(options->contexts, IsEmpty());
   EXPECT_TRUE(options->counters.empty());
   EXPECT_FALSE(options->countersOwner);
   EXPECT_EQ(options->log, Daemon::LogOutput::standardError);
   EXPECT_EQ(options->logLevel, Daemon::LogLevel::debug);
   EXPECT_EQ(options->tableDriving, Host::TableDriving::own);
   EXPECT_FALSE(options->checkConfig);
   EXPECT_THAT(options->given, ElementsAre("--state"));
}

TEST(Options, whatIsSaidOnTheCommandLineIsKnown) {
   auto const options = parse({"--config=c", "--log", "syslog", "--log-level", "warning", "--check-config"});
   ASSERT_TRUE(options);
   EXPECT_EQ(options->log, Daemon::LogOutput::syslog);
   EXPECT_EQ(options->logLevel, Daemon::LogLevel::warning);
   EXPECT_TRUE(options->checkConfig);
   EXPECT_THAT(options->given, ElementsAre("--check-config", "--config", "--log", "--log-level"));
}

TEST(Options, theTableDriverIsOursOrNetSnmps) {
   EXPECT_EQ(parse({"--table-driver", "stock"})->tableDriving, Host::TableDriving::stock);
   EXPECT_EQ(parse({"--table-driver", "own"})->tableDriving, Host::TableDriving::own);
}

TEST(Options, allAreTaken) {
   auto const options = parse({"--state=s", "--module",           "m.so",       "--config",          "c",
                               "--listen",  "udp:[::1]:161",      "--listen",   "tcp:127.0.0.1:161", "--context",
                               "red",       "--context",          "blue",       "--trace",           "MplsSnmp=none",
                               "--trace",   "mplsTeStdMIB=0-2,8", "--counters", "mplste-counters",   "--counters-owner",
                               "1000"});
   ASSERT_TRUE(options);
   EXPECT_EQ(options->state, "s");
   EXPECT_EQ(options->module, "m.so");
   EXPECT_EQ(options->config, "c");
   EXPECT_THAT(options->listen, ElementsAre("udp:[::1]:161", "tcp:127.0.0.1:161"));
   EXPECT_THAT(options->contexts, ElementsAre("red", "blue"));
   EXPECT_EQ(options->counters, "mplste-counters");
   EXPECT_EQ(options->countersOwner, 1000U);
   EXPECT_THAT(options->traces, ElementsAre(Daemon::Options::Trace{"MplsSnmp", 0},
                                            Daemon::Options::Trace{"mplsTeStdMIB", 0b1'0000'0111}));
}

TEST(Options, theOwnerOfTheCountersIsGivenByNameOrNumber) {
   EXPECT_EQ(parse({"--counters-owner", "root"})->countersOwner, 0U);
   EXPECT_EQ(parse({"--counters-owner", "4711"})->countersOwner, 4711U);
}

TEST(Options, versionAndHelpArePrintedAndNothingElseIsDone) {
   testing::internal::CaptureStdout();
   EXPECT_FALSE(parse({"--version"}));
   EXPECT_THAT(testing::internal::GetCapturedStdout(),
               testing::MatchesRegex("mplsted [0-9]+\\.[0-9]+\\.[0-9]+\nbuilt with net-snmp [0-9].*\n"));

   testing::internal::CaptureStdout();
   EXPECT_FALSE(parse({"--help"}));
   std::string const help = testing::internal::GetCapturedStdout();
   for (char const* const option :
        {"--state", "--listen", "--agentx", "--counters", "--counters-owner", "--module", "--config", "--trace",
         "--context", "--log", "--log-level", "--check-config", "--table-driver", "--version", "--help"}) {
      EXPECT_THAT(help, HasSubstr(option));
   }
}

TEST(Options, aWrongCommandLineIsRefusedWithTheReason) {
   EXPECT_EQ(usageError({"--log", "file"}), "--log file: it must be stderr or syslog");
   EXPECT_EQ(usageError({"--table-driver", "iterator"}), "--table-driver iterator: it must be own or stock");
   EXPECT_EQ(usageError({"--log-level", "loud"}), "--log-level loud: it must be error, warning, info or debug");
   EXPECT_THAT(usageError({"--state", "s", "--stat", "t"}), HasSubstr("--stat"));
   EXPECT_THAT(usageError({"--state", "s", "more"}), HasSubstr("more"));
   EXPECT_THAT(usageError({"--state"}), HasSubstr("--state"));
   EXPECT_EQ(usageError({"--state", ""}), "--state must not be empty");
   EXPECT_EQ(usageError({"--state", "s", "--context", ""}), "--context must not be empty");
   EXPECT_EQ(usageError({"--state", "s", "--counters-owner", "nobody-of-this-name"}),
             "--counters-owner nobody-of-this-name: there is no user \"nobody-of-this-name\"");
   EXPECT_THAT(usageError({"--state", "s", "--counters-owner", "-1"}), HasSubstr("-1"));
   EXPECT_EQ(usageError({"--publish", ""}), "--publish must not be empty");
   EXPECT_THAT(usageError({"--publish", "p", "--publish-longest-line", "0"}), HasSubstr("not in range 1 to 1024"));
   EXPECT_EQ(usageError({"--publish-mode", "668"}),
             "--publish-mode 668: it must be an octal number up to 0777, such as 0660");
   EXPECT_EQ(usageError({"--publish-owner", ":"}), "--publish-owner :: it must be USER, USER:GROUP or :GROUP");
   EXPECT_EQ(usageError({"--publish-allow", "root"}),
             "--publish-allow root: it must be uid:USER or gid:GROUP, by name or number");
}

TEST(Options, whoMayPublishIsTaken) {
   auto const before = parse({"--publish", "p.sock"});
   ASSERT_TRUE(before);
   EXPECT_EQ(before->publish.path, "p.sock");
   EXPECT_EQ(before->publish.mode, 0660U);
   EXPECT_FALSE(before->publish.owner || before->publish.group);
   EXPECT_THAT(before->publish.allowed, IsEmpty());
   EXPECT_EQ(before->publish.longestLine, 16U);

   auto const options = parse({"--publish", "p", "--publish-mode", "640", "--publish-owner", "12:34", "--publish-allow",
                               "uid:1000", "--publish-allow", "gid:root", "--publish-longest-line", "64"});
   ASSERT_TRUE(options);
   EXPECT_EQ(options->publish.mode, 0640U);
   EXPECT_EQ(options->publish.owner, 12U);
   EXPECT_EQ(options->publish.group, 34U);
   EXPECT_THAT(options->publish.allowed, ElementsAre("uid:1000", "gid:root"));
   EXPECT_EQ(options->publish.longestLine, 64U);
   EXPECT_EQ(parse({"--publish-owner", ":34"})->publish.owner, std::nullopt);
   EXPECT_EQ(parse({"--publish-owner", "root"})->publish.owner, 0U);
}

TEST(Options, theMasterSAddressMayBeLeftOut) {
   EXPECT_EQ(parse({"--state", "s", "--agentx"})->agentx, "");
   EXPECT_EQ(parse({"--agentx", "--state", "s"})->agentx, "");
   EXPECT_EQ(parse({"--state", "s", "--agentx", "tcp:127.0.0.1:7705"})->agentx, "tcp:127.0.0.1:7705");
   EXPECT_EQ(parse({"--agentx=unix:/run/agentx/master", "--state", "s"})->agentx, "unix:/run/agentx/master");
}

TEST(Options, whoServesThroughAMasterDoesNotListen) {
   EXPECT_EQ(usageError({"--state", "s", "--agentx", "--listen", "udp:127.0.0.1:161"}),
             "--listen excludes --agentx: see 'mplsted --help'");
}

TEST(Options, aWrongTraceIsRefusedWithItsText) {
   for (char const* const text :
        {"mplsTeStdMIB", "=1", "mplsTeStdMIB=", "mplsTeStdMIB=16", "mplsTeStdMIB=2-1", "mplsTeStdMIB=all"}) {
      EXPECT_THAT(usageError({"--state", "s", "--trace", text}), StartsWith(std::string("--trace ") + text + ": "));
   }
}

}  // namespace
