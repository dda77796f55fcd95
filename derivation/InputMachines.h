// SPDX-License-Identifier: MIT
/// The input machines of the derivation by name: a watcher per level of each input path, and the machine that feeds
/// the initial content of the sp id map into the reverse index.
#pragma once

#include "derivation/InputWatcher.h"

namespace MplsSnmp::FloCode::RsvpSnmpSubTunnelStatusSm {

using SpIdMapSm13 = WatcherSm<SpidPath, 0>;
using SpIdForLspRequestConfigIdSm14 = WatcherSm<SpidPath, 1>;
using SpStatusCollSm11 = WatcherSm<SpsPath, 0>;
using SpStatusSm12 = WatcherSm<SpsPath, 1>;
using SubTunnelConfigCollTableSm5 = WatcherSm<StcPath, 0>;
using SubTunnelConfigCollSm6 = WatcherSm<StcPath, 1>;
using SubTunnelConfigSm7 = WatcherSm<StcPath, 2>;
using LspRequestStatusCollTableSm8 = WatcherSm<LrsPath, 0>;
using LspRequestStatusCollSm9 = WatcherSm<LrsPath, 1>;
using LspRequestStatusSm10 = WatcherSm<LrsPath, 2>;
using SubTunnelStatusCollTableSm1 = WatcherSm<StsPath, 0>;
using SubTunnelStatusCollSm2 = WatcherSm<StsPath, 1>;
using SubTunnelStatusSm3 = WatcherSm<StsPath, 2>;
using ActiveLspSm4 = WatcherSm<StsPath, 3>;

/// Feeds the reverse index from the whole sp id map, once, when the derivation is initialized: before any row is
/// derived it is known which sp ids are ambiguous.
class BuiltinSmAttrNinitializedSm0 : public Flo::Gen::InputStateMachine {
 public:
   explicit BuiltinSmAttrNinitializedSm0(Owner* owner) : InputStateMachine(nullptr), owner_(owner) {
      InputStateMachine::hasNotificationActiveIs(true);
   }

   std::string_view className() const override { return "BuiltinSmAttrNinitializedSm0"; }
   bool doInputScan() override;
   void doDeleteAll() { traceDetail("doDeleteAll {}", className()); }

   /// Where the flattening of the map goes on after a yield.
   std::uint64_t bookmark() const { return bookmark_; }
   void bookmarkIs(std::uint64_t bookmark) { bookmark_ = bookmark; }

 protected:
   Flo::SmControl const& control() const override;
   std::string taskName() const override;
   void inputScanComplete() override;

 private:
   Owner* owner_;
   std::uint64_t bookmark_ = 0;
};

}  // namespace MplsSnmp::FloCode::RsvpSnmpSubTunnelStatusSm
