// SPDX-License-Identifier: MIT
/// A head end with path specs and tunnels whose hop rows are to be kept. Ids and addresses are given as text.
#pragma once

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hoptable/HopTableHelper.h"

namespace MplsSnmp {

using Rows = std::vector<std::string>;
using Hops = std::map<std::uint32_t, std::string>;

/// A tunnel as the derivation hands it over: its sub-tunnel's status and configuration.
struct Tunnel {
   Vel::Ptr<Rsvp::RsvpLerSubTunnelStatus> status;
   Vel::Ptr<Rsvp::RsvpLerSubTunnelConfig> config;

   void pathIs(Hops const& hops) const {
      Rsvp::RsvpLerPath path;
      for (auto const& [index, address] : hops) {
         path.hopIs(index, address == "none" ? Lanu::IpGenAddr() : Lanu::IpGenAddr::fromText(address));
      }
      status->activePathIs(path);
   }
   /// "" for not configured.
   void primaryIs(std::string_view id) const { config->primaryPathSpecIdIs(pathSpecId(id)); }
   void secondaryIs(std::string_view id) const { config->secondaryPathSpecIdIs(pathSpecId(id)); }
   void activeLspIs(Rsvp::RsvpLerPathSpecType type) const { status->activeLspIs({{config->id(), type}, 1}); }

   static Rsvp::RsvpLerPathSpecId pathSpecId(std::string_view id) {
      return id.empty() ? Rsvp::RsvpLerPathSpecId() : Rsvp::RsvpLerPathSpecId::fromText(id);
   }
   static Tunnel make(std::string_view id, std::string_view primary, Hops const& hops) {
      auto const configId = Rsvp::RsvpLerSubTunnelConfigId::fromText(id);
      Tunnel const tunnel{Vel::makePtr<Rsvp::RsvpLerSubTunnelStatus>(configId),
                          Vel::makePtr<Rsvp::RsvpLerSubTunnelConfig>(configId)};
      tunnel.activeLspIs(Rsvp::RsvpLerPathSpecType::primary);
      tunnel.primaryIs(primary);
      tunnel.pathIs(hops);
      return tunnel;
   }
};

/// Listens to the hop table: `handler` is called with the key of each row that comes, goes or is replaced.
class HopTableListener : public Vel::PtrInterface::NotifieeConst {
 public:
   using Handler = std::function<void(MplsTunnelHopTableKey const&)>;

   HopTableListener(Vel::Ptr<MplsTeMib> const& mib, Handler handler) : handler_(std::move(handler)) {
      bind(mib.get());
      isRegisteredNotifieeIs(true);
   }
   void onAttribute(Vel::AttributeId attribute, void const* key) override {
      if (attribute == MplsTeMib::attrMplsTunnelHopTable) handler_(*static_cast<MplsTunnelHopTableKey const*>(key));
   }

 private:
   Handler handler_;
};

class HopChainTest : public testing::Test {
 protected:
   using Coll = Rsvp::RsvpLerPathSpecCollForSource;
   using CollTable = Rsvp::RsvpLerPathSpecCollTable;
   using Source = Rsvp::RsvpLerTunnelSource;
   static constexpr auto kPrimary = Rsvp::RsvpLerPathSpecType::primary;
   static constexpr auto kSecondary = Rsvp::RsvpLerPathSpecType::secondary;

   HopChainTest() {
      lerConfig_->pathSpecCollTableIs(table_);
      table_->pathSpecCollIs(Source::cli, cli_);
   }

   static Vel::Ptr<Rsvp::RsvpLerPathSpec> specIs(Vel::Ptr<Coll> const& coll, std::string_view id) {
      auto const specId = Rsvp::RsvpLerPathSpecId::fromText(id);
      auto const spec = Vel::makePtr<Rsvp::RsvpLerPathSpec>(specId);
      coll->pathSpecIs(specId, spec);
      return spec;
   }
   Vel::Ptr<Rsvp::RsvpLerPathSpec> specIs(std::string_view id) const { return specIs(cli_, id); }
   void specDel(std::string_view id) const { cli_->pathSpecDel(Rsvp::RsvpLerPathSpecId::fromText(id)); }

   Vel::Ptr<PathSpecCollTableSm> entryIs(std::uint32_t index, Tunnel const& tunnel) const {
      return helper_->pathSpecCollTableSmIs(index, lerConfig_, tunnel.status, tunnel.config, mib_);
   }
   /// The last level of an entry's chain, or null.
   Vel::Ptr<PathSpecSm> pathSpecSm(std::uint32_t index) const {
      auto const coll = helper_->pathSpecCollTableSm(index)->pathSpecCollSm();
      return coll ? coll->pathSpecSm() : nullptr;
   }

   /// "<hop list>.<path option>.<hop> <address> <path option name>" for each hop row in walk order.
   Rows rows() const {
      Rows all;
      for (auto const& node : mib_->mplsTunnelHopTable()) {
         EXPECT_EQ(node.key(), node.value()->key());
         all.push_back(fmt::format("{} {} {}", keyText(node.key()), addressText(*node.value()),
                                   node.value()->hopPathOptionName()));
      }
      return all;
   }
   static std::string keyText(MplsTunnelHopTableKey const& key) {
      return fmt::format("{}.{}.{}", key.tunnelHopListIndex, key.tunnelHopPathOptionIndex, key.tunnelHopIndex);
   }
   static std::string addressText(MplsTunnelHopTableEntry const& row) {
      std::string const octets(row.hopIpAddr().view());
      if (octets.size() != 4) return row.hopIpAddr().hex();
      return fmt::format("{}.{}.{}.{}", static_cast<std::uint8_t>(octets[0]), static_cast<std::uint8_t>(octets[1]),
                         static_cast<std::uint8_t>(octets[2]), static_cast<std::uint8_t>(octets[3]));
   }

   /// What happens to hop rows from now on: "+<key>" written, "-<key>" deleted.
   void logRows() {
      logger_ = Vel::makePtr<HopTableListener>(mib_, [this](MplsTunnelHopTableKey const& key) {
         rowLog_.push_back((mib_->mplsTunnelHopTable().contains(key) ? "+" : "-") + keyText(key));
      });
   }
   Rows takeRowLog() { return std::exchange(rowLog_, {}); }

   Vel::Ptr<Rsvp::RsvpLerConfig> lerConfig_ = Vel::makePtr<Rsvp::RsvpLerConfig>("lerConfig");
   Vel::Ptr<CollTable> table_ = Vel::makePtr<CollTable>();
   Vel::Ptr<Coll> cli_ = Vel::makePtr<Coll>();
   Vel::Ptr<MplsTeMib> mib_ = mplsTeMibFactory("mplsTeMib");
   Vel::Ptr<HopTableHelper> helper_ = hopTableHelperFactory();
   Hops const twoHops_{{1, "10.0.12.2"}, {2, "10.0.23.3"}};
   Rows const noRows_;

 private:
   Rows rowLog_;
   Vel::Ptr<HopTableListener> logger_;
};

}  // namespace MplsSnmp
