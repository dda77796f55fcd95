// SPDX-License-Identifier: MIT
#include "tools/TunnelNames.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace Tools {
namespace {

using testing::ElementsAre;
using testing::StrEq;
using testing::ThrowsMessage;

constexpr std::uint64_t kTunnel = 16ULL << 56U;
constexpr std::uint64_t kSubTunnel = 20ULL << 56U;

/// A state document in a file of its own.
class StateFile {
 public:
   explicit StateFile(std::string const& text)
         : path_(testing::TempDir() + "mplste-names-" + std::to_string(getpid()) + ".json") {
      std::ofstream(path_) << text;
   }
   ~StateFile() { std::filesystem::remove(path_); }
   StateFile(StateFile const&) = delete;
   StateFile& operator=(StateFile const&) = delete;

   std::string const& path() const { return path_; }

 private:
   std::string path_;
};

/// The tunnels that all of `words` stand for.
std::vector<std::uint64_t> taken(TunnelNames const& names, std::vector<std::string> const& words) {
   std::vector<std::uint64_t> values;
   for (std::span<std::string const> left(words); !left.empty();) values.push_back(names.take(left));
   return values;
}

auto refuses(std::string const& message) { return ThrowsMessage<std::exception>(StrEq(message)); }

TEST(TunnelNames, areTypeAndIndex) {
   EXPECT_THAT(taken({}, {"16:12", "20:4294967295", "tunnel", "0", "subtunnel", "40"}),
               ElementsAre(kTunnel + 12, kSubTunnel + 4294967295, kTunnel, kSubTunnel + 40));
   EXPECT_EQ(tunnelText(kTunnel + 12), "16:12");
   EXPECT_EQ(tunnelText(kSubTunnel + 4294967295), "20:4294967295");
   EXPECT_EQ(tunnelText(1ULL << 32U), "0x100000000") << "neither type nor index";
}

TEST(TunnelNames, areLookedUpInTheState) {
   StateFile const file(R"({"subTunnelStatus": {}, "tunnelIndexForTunnelSpecId": {"cli:to-paris": 12, "auto:a%40b": 3},
                            "tunnelIndexForSubTunnelConfigId": {"cli:to-rome#2": 40}})");
   TunnelNames const names(file.path());
   EXPECT_THAT(taken(names, {"cli:to-paris", "auto:a%40b", "cli:to-rome#2", "16:7"}),
               ElementsAre(kTunnel + 12, kTunnel + 3, kSubTunnel + 40, kTunnel + 7));
   EXPECT_THAT(taken(names, {"cli:%74o-paris"}), ElementsAre(kTunnel + 12)) << "another spelling of one id";
   EXPECT_THAT(names.all(), ElementsAre(kTunnel + 3, kTunnel + 12, kSubTunnel + 40));
   EXPECT_EQ(names.nameOf(kTunnel + 12), "cli:to-paris");
   EXPECT_EQ(names.nameOf(kTunnel + 40), "");
   EXPECT_THAT([&] { taken(names, {"cli:to-rome"}); }, refuses("'cli:to-rome' has no index in " + file.path()));
}

TEST(TunnelNames, areRefusedWithAReason) {
   auto const isRefused = [](std::vector<std::string> const& words, std::string const& message) {
      EXPECT_THAT(([&] { taken({}, words); }), refuses(message));
   };
   isRefused({"17:3"}, "'17:3' is not a tunnel: 16:INDEX, 20:INDEX, tunnel INDEX, subtunnel INDEX or an id");
   isRefused({""}, "'' is not a tunnel: 16:INDEX, 20:INDEX, tunnel INDEX, subtunnel INDEX or an id");
   isRefused({"16:"}, "'' is not a number from 0 to 4294967295");
   isRefused({"16:-1"}, "'-1' is not a number from 0 to 4294967295");
   isRefused({"tunnel", "4294967296"}, "'4294967296' is not a number from 0 to 4294967295");
   isRefused({"subtunnel"}, "no index is given behind 'subtunnel'");
   isRefused({"cli:to-paris"}, "'cli:to-paris' is an id: --state FILE tells which index it has");
   EXPECT_THAT([] { toNumber64("18446744073709551616"); },
               refuses("'18446744073709551616' is not a number from 0 to 18446744073709551615"));
}

TEST(TunnelNames, sayWhatIsWrongWithTheState) {
   auto const isRefused = [](std::string const& text, std::string const& why) {
      StateFile const file(text);
      EXPECT_THAT(([&] { TunnelNames names(file.path()); }), refuses(file.path() + ": " + why));
   };
   isRefused("{", "not JSON at octet 2");
   isRefused("[]", "not an object");
   isRefused(R"({"tunnelIndexForTunnelSpecId": 1})", "tunnelIndexForTunnelSpecId: not an object");
   isRefused(R"({"tunnelIndexForTunnelSpecId": {"cli:a": -1}})",
             "tunnelIndexForTunnelSpecId: \"cli:a\": not a number from 0 to 4294967295");
   isRefused(R"({"tunnelIndexForTunnelSpecId": {"cli:a": 4294967296}})",
             "tunnelIndexForTunnelSpecId: \"cli:a\": not a number from 0 to 4294967295");
   isRefused(R"({"tunnelIndexForTunnelSpecId": {"cli:a#1": 1}})",
             "tunnelIndexForTunnelSpecId: \"cli:a#1\" is a part of a split tunnel");
   isRefused(R"({"tunnelIndexForSubTunnelConfigId": {"cli:a": 1}})",
             "tunnelIndexForSubTunnelConfigId: \"cli:a\" is not a part of a split tunnel");
   EXPECT_THAT([] { TunnelNames names("/nonexistent/state.json"); },
               refuses("/nonexistent/state.json: No such file or directory"));
   StateFile const file(R"({"tunnelIndexForTunnelSpecId": {"paris": 1}})");
   EXPECT_THROW(TunnelNames names(file.path()), std::runtime_error);
}

}  // namespace
}  // namespace Tools
