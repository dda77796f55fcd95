// SPDX-License-Identifier: MIT
/// Random changes of everything that hop rows depend on; after each the rows are those of a naive recomputation.
#include <optional>
#include <random>

#include "hoptable/tests/HopChain.h"
#include "mib/MplsTunnelHopTableEntryRsvp.h"
#include "tests/support/TraceCapture.h"

namespace MplsSnmp {

namespace {

class HopModelTest : public HopChainTest, public testing::WithParamInterface<std::uint32_t> {
 protected:
   struct Indexed {
      Tunnel tunnel;
      std::uint32_t index = 0;  // 0: no entry
   };

   HopModelTest() {
      for (unsigned n = 0; n < kTunnels; ++n) tunnels_.push_back({newTunnel(n)});
      for (Source const source : {Source::cli, Source::controller}) colls_[source] = Vel::makePtr<Coll>();
   }

   unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }
   bool oneIn(unsigned n) { return below(n) == 0; }

   Source anySource() { return oneIn(3) ? Source::controller : Source::cli; }
   /// A path spec of the source, or, if allowed, none.
   std::string anySpec(Source source, bool orNone = false) {
      static std::vector<std::string> const names{"gold", "silver", "bronze"};
      if (orNone && oneIn(4)) return {};
      return fmt::format("{}:{}", source, names[below(3)]);
   }
   Hops anyPath() {
      Hops hops;
      for (unsigned count = below(5); count > 0; --count) hops[1 + below(8)] = fmt::format("10.0.0.{}", below(200));
      return hops;
   }
   Tunnel newTunnel(unsigned n) {
      Source const source = anySource();
      auto const tunnel = Tunnel::make(fmt::format("{}:tunnel-{}", source, n), anySpec(source, true), anyPath());
      tunnel.secondaryIs(anySpec(source, true));
      tunnel.activeLspIs(oneIn(2) ? kPrimary : kSecondary);
      return tunnel;
   }

   /// The collection that is published for the source, or null.
   Vel::Ptr<Coll const> published(Source source) const {
      auto const& table = lerConfig_->pathSpecCollTable();
      return table ? table->pathSpecColl()[source] : nullptr;
   }

   void change() {
      Source const source = anySource();
      Indexed& one = tunnels_[below(kTunnels)];
      Source const own = one.tunnel.config->id().source;
      switch (below(17)) {
         case 0:
         case 1:
         case 2:
            specIs(colls_[source], anySpec(source));
            break;
         case 3:
            colls_[source]->pathSpecDel(Tunnel::pathSpecId(anySpec(source)));
            break;
         case 4:  // a collection of the source with the same path specs, or some others
            colls_[source] = Vel::makePtr<Coll>();
            if (auto const old = published(source)) {
               for (auto const& entry : old->pathSpec()) {
                  if (!oneIn(4)) colls_[source]->pathSpecIs(entry.key, entry.value);
               }
            }
            [[fallthrough]];
         case 5:
            currentTable_->pathSpecCollIs(source, colls_[source]);
            break;
         case 6:
            if (oneIn(2)) currentTable_->pathSpecCollDel(source);
            break;
         case 7: {
            auto const table = Vel::makePtr<CollTable>();
            for (auto const& entry : currentTable_->pathSpecColl()) table->pathSpecCollIs(entry.key, entry.value);
            currentTable_ = table;
            lerConfig_->pathSpecCollTableIs(table);
            break;
         }
         case 8:
            lerConfig_->pathSpecCollTableIs(oneIn(3) ? nullptr : currentTable_);
            break;
         case 9:
            one.tunnel.primaryIs(anySpec(own, true));
            break;
         case 10:
            one.tunnel.secondaryIs(anySpec(own, true));
            break;
         case 11:
         case 12:
            one.tunnel.pathIs(anyPath());
            break;
         case 13:
            one.tunnel.activeLspIs(oneIn(2) ? kPrimary : kSecondary);
            break;
         case 14:
            if (one.index != 0) helper_->pathSpecCollTableSmDel(std::exchange(one.index, 0));
            break;
         case 15:  // other objects for the same tunnel: another entry under the same index
            one.tunnel = newTunnel(below(kTunnels));
            if (one.index != 0) {
               helper_->pathSpecCollTableSmDel(one.index);
               entryIs(one.index, one.tunnel);
            }
            break;
         default:
            if (one.index == 0) entryIs(one.index = mib_->getHopTableIndex(), one.tunnel);
      }
   }

   /// The rows as they must be, from the inputs alone.
   Rows expected() const {
      std::map<std::uint32_t, Rows> byIndex;
      for (auto const& [tunnel, index] : tunnels_) {
         auto const coll = published(tunnel.config->id().source);
         if (index == 0 || !coll) continue;
         bool const primary = tunnel.status->activeLsp().pathSpecType() == kPrimary;
         auto const spec =
               coll->pathSpec()[primary ? tunnel.config->primaryPathSpecId() : tunnel.config->secondaryPathSpecId()];
         if (!spec) continue;
         for (auto const& hop : tunnel.status->activePath().hop()) {
            byIndex[index].push_back(fmt::format("{}.1.{} {} {}", index, hop.key(), hop.value(), spec->name()));
         }
      }
      Rows all;
      for (auto const& [index, rows] : byIndex) all.insert(all.end(), rows.begin(), rows.end());
      return all;
   }
   /// As rows(), but each with the name that its own path spec object has in full.
   Rows found() const {
      Rows all;
      for (auto const& node : mib_->mplsTunnelHopTable()) {
         auto const row = Vel::ptrCast<MplsTunnelHopTableEntryRsvp const>(node.value());
         all.push_back(
               fmt::format("{} {} {}", keyText(node.key()), addressText(*node.value()), row->pathSpec()->name()));
      }
      return all;
   }

   static constexpr unsigned kTunnels = 6;
   std::mt19937 random_{GetParam()};
   std::vector<Indexed> tunnels_;
   std::map<Source, Vel::Ptr<Coll>> colls_;
   Vel::Ptr<CollTable> currentTable_ = table_;
};
INSTANTIATE_TEST_SUITE_P(seeds, HopModelTest, testing::Range(1U, 13U));

TEST_P(HopModelTest, theRowsAreThoseOfTheInputsAfterEveryChange) {
   // Who listens to the lines makes no difference.
   std::optional<TestSupport::TraceCapture> trace;
   std::size_t mostRows = 0;
   for (int step = 0; step < 1500; ++step) {
      if (step % 100 == 0 && GetParam() % 2 == 0) {
         trace.reset();
         if (step % 200 == 0) trace.emplace("MplsSnmp");
      }
      change();
      ASSERT_EQ(found(), expected()) << "step " << step;
      mostRows = std::max(mostRows, mib_->mplsTunnelHopTable().size());
      if (trace) trace->clear();
   }
   EXPECT_GT(mostRows, 5);
   helper_->pathSpecCollTableSmDelAll();
   EXPECT_TRUE(mib_->mplsTunnelHopTable().empty());
   for (auto const& [tunnel, index] : tunnels_) {
      EXPECT_EQ(tunnel.status->references(), 1);
      EXPECT_EQ(tunnel.config->references(), 1);
   }
}

}  // namespace

}  // namespace MplsSnmp
