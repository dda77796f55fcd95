// SPDX-License-Identifier: MIT
// The life of the agent: started again with other inputs and outputs, retracted, switched off, and held by somebody
// after it was taken out; and what observers do inside notifications.
#include "tests/model/World.h"

namespace Model {

namespace {

constexpr std::size_t kOutputs = 3;  // MIBs and helpers that there are at most
constexpr unsigned kInside = 4;      // events inside the notifications of one event, at most
constexpr unsigned kDeepest = 3;

/// Takes the oldest of the outputs out when there are enough; null else.
template <class T>
Vel::Ptr<T> oldest(std::vector<Vel::Ptr<T>>& outputs) {
   if (outputs.size() < kOutputs) return nullptr;
   Vel::Ptr<T> const taken = outputs.front();
   outputs.erase(outputs.begin());
   return taken;
}

}  // namespace

World::World(Settings const& settings)
      : settings_(settings), random_(settings.seed), root_(MplsSnmp::Root::RootIs("root")) {
   mib_ = MplsSnmp::mplsTeMibFactory("mplsTeMib");
   hopTableHelper_ = MplsSnmp::hopTableHelperFactory();
   lerConfig_ = made<Rsvp::RsvpLerConfig>("lerConfig");
   lerStatus_ = made<Rsvp::RsvpLerHiveStatus>("lerStatus");
   kelpStatus_ = made<Rsvp::RsvpKelpStatus>("kelpStatus");
   counterTable_ = Vel::makePtr<Tallies::CounterTable>("counters");
   mibs_.push_back(mib_);
   helpers_.push_back(hopTableHelper_);
   watchMib();
   watch(hopTableHelper_);
   watch(root_);
   for (int n = 0; n < 30; ++n) wholeEvent();
   auto const& store = published_.store;
   others_ = {writable(store.lerConfig()), writable(store.lerHiveStatus()), writable(store.kelpStatus())};
   swapInputs();
   for (int n = 0; n < 20; ++n) documentEvent();
   published_.earlier = published_.store.document();
   swapInputs();
}

World::~World() {
   depth_ = kDeepest;  // nothing happens any more
   root_->rsvpTeSnmpAgentDel();
   observers_.clear();
}

void World::start() {
   // A synchronous world starts inline; one with tasks does so now and then.
   Flo::SmControl::defaultSynchronousIs(!settings_.tasks || chance(20));
   auto const before = root_->rsvpTeSnmpAgent();
   if (!before || before->mplsTeMib() != mib_ || before->hopTableHelper() != hopTableHelper_ ||
       before->rsvpLerConfig() != lerConfig_ || before->rsvpLerStatus() != lerStatus_ ||
       before->rsvpKelpStatus() != kelpStatus_ || before->mplsTunnelCounterTable() != counterTable_) {
      restarted_ = true;
      retracted_ = false;
      silenced_ = false;
   }
   root_->rsvpTeSnmpAgentIs(mib_, hopTableHelper_, lerConfig_, lerStatus_, kelpStatus_, counterTable_);
   Flo::SmControl::defaultSynchronousIs(!settings_.tasks);
   watchAgent();
}

std::string World::event() {
   insideLeft_ = kInside;
   depth_ = 0;
   ++events_;
   single_ = false;
   std::string what = chance(4) || ((retracted_ || silenced_) && chance(20)) ? life() : change();
   while (held_.size() > 6 || (!held_.empty() && chance(10))) letGo();
   std::erase_if(observers_, [](auto const& observer) { return !observer->notifierObject(); });
   return what + std::exchange(happened_, {});
}

void World::slice() {
   insideLeft_ = kInside;
   depth_ = 0;
   if (hasDocuments()) single_ = false;
   Orb::TaskSchedulerRoot::findOrCreateScheduler()->runSlice(std::chrono::microseconds(0));
   watchPublished();
}

std::string World::life() {
   if (auto const agent = root_->rsvpTeSnmpAgent()) {
      auto const machine = agent->subTunnelStatusSm();
      switch (pick(8)) {
         case 0:
            retracted_ = true;
            machine->doDeleteAll();
            return "retracted";
         case 1:
            if (!retracted_) return silenced_ ? switchOn() : switchOff();
            break;
         case 2:
            for (auto const& taken : held_) {
               // Whoever holds it may try to wake it.
               auto* const dead = dynamic_cast<MplsSnmp::RsvpSnmpSubTunnelStatusSm const*>(taken.get());
               if (!dead || dead == machine.get()) continue;
               const_cast<MplsSnmp::RsvpSnmpSubTunnelStatusSm*>(dead)->hasNotificationActiveIs(true);
               const_cast<MplsSnmp::RsvpSnmpSubTunnelStatusSm*>(dead)->doDeleteAll();
            }
            return "what is held is switched on and retracted";
         default:
            break;
      }
      if (chance(40)) held_.push_back(agent);
      if (chance(40)) held_.push_back(machine);
   }
   return restart();
}

std::string World::switchOff() {
   auto const machine = root_->rsvpTeSnmpAgent()->subTunnelStatusSm();
   silenced_ = true;
   cutShort_ = depth_ != 0 || !machine->idle();
   machine->hasNotificationActiveIs(false);
   return "switched off";
}

std::string World::switchOn() {
   silenced_ = false;
   restarted_ = true;
   root_->rsvpTeSnmpAgent()->subTunnelStatusSm()->hasNotificationActiveIs(true);
   return "switched on";
}

std::string World::restart() {
   std::string what = "restart";
   // Either the old agent is taken away first, or it is replaced while it lives.
   bool const away = chance(50);
   if (away) root_->rsvpTeSnmpAgentDel();
   if (chance(30)) {
      counterTable_ = Vel::makePtr<Tallies::CounterTable>("counters");
      what += " with other counters";
   }
   what += otherInputs() + otherOutputs();
   if (away && chance(50)) what += ", " + change();
   start();
   return what;
}

std::string World::otherInputs() {
   // Not inside a notification: what goes on around it has to do with the inputs as they are.
   if (depth_ == 0 && chance(isPublished() ? 30 : 15)) {
      swapInputs();
      watchPublished();
      return isPublished() ? " with the inputs of the store" : " with the inputs of the publisher";
   }
   if (isPublished()) return {};
   std::string what;
   if (chance(20)) {
      auto const fresh = made<Rsvp::RsvpLerConfig>("lerConfig");
      fresh->pathSpecCollTableIs(lerConfig_->pathSpecCollTable());
      lerConfig_ = fresh;
      what += " with another configuration";
   }
   if (chance(20)) {
      auto const fresh = made<Rsvp::RsvpKelpStatus>("kelpStatus");
      fresh->spStatusCollIs(kelpStatus_->spStatusColl());
      kelpStatus_ = fresh;
      what += " with another path status";
   }
   if (chance(20)) {
      auto const fresh = made<Rsvp::RsvpLerHiveStatus>("lerStatus");
      fresh->spIdMapIs(lerStatus_->spIdMap());
      fresh->subTunnelConfigCollTableIs(lerStatus_->subTunnelConfigCollTable());
      fresh->subTunnelStatusCollTableIs(lerStatus_->subTunnelStatusCollTable());
      fresh->lspRequestStatusCollTableIs(lerStatus_->lspRequestStatusCollTable());
      lerStatus_ = fresh;
      what += " with another status tree";
   }
   // The agent has the old ones still, if it was not taken away: what is in the new ones is news.
   if (!what.empty() && chance(60)) what += ", " + tableEvent();
   return what;
}

std::string World::otherOutputs() {
   std::string what;
   if (chance(25)) {
      Vel::Ptr<MplsSnmp::HopTableHelper> const old = oldest(helpers_);  // goes when all else is in order
      if (chance(50)) {
         helpers_.push_back(MplsSnmp::hopTableHelperFactory());
         watch(helpers_.back());
      }
      if (helpers_.empty()) helpers_.push_back(hopTableHelper_);
      auto const before = std::exchange(hopTableHelper_, helpers_[pick(helpers_.size())]);
      if (chance(50)) held_.push_back(hopTableHelper_);
      what += " with another helper";
   }
   if (chance(15)) {
      Vel::Ptr<MplsSnmp::MplsTeMib> const old = oldest(mibs_);
      if (chance(50)) {
         mibs_.push_back(MplsSnmp::mplsTeMibFactory("mplsTeMib"));
         if (chance(30)) {
            // Too few hop indices for all tunnels.
            auto const& mib = mibs_.back();
            mib->numAllocatorConfigIs({1, 6 + pick(8)});
            mib->numAllocatorIs(mib->numAllocatorConfig(), mib->numAllocatorStatus(), Orb::activityManager().clock());
         }
      }
      if (mibs_.empty()) mibs_.push_back(mib_);
      auto const before = std::exchange(mib_, mibs_[pick(mibs_.size())]);
      if (chance(50)) held_.push_back(mib_);
      watchMib();
      for (auto const& node : mib_->mplsTunnelTable()) rowsSeen_.emplace(node.key(), node.value());
      what += " with another MIB";
   }
   return what;
}

// ---- Inside notifications

void World::watch(Vel::Ptr<Vel::PtrInterface const> const& object) {
   observers_.push_back(
         Vel::makePtr<TestSupport::Observer>(*object, [this](Vel::AttributeId, void const*) { told(); }));
}

void World::watchMib() {
   if (std::ranges::any_of(observers_, [&](auto const& each) { return each->notifierObject() == mib_.get(); })) return;
   observers_.push_back(Vel::makePtr<TestSupport::Observer>(
         *mib_, [this, mib = mib_.get()](Vel::AttributeId attribute, void const* key) {
            if (attribute == MplsSnmp::MplsTeMib::attrMplsTunnelTable && mib == mib_.get()) {
               auto const& of = *static_cast<MplsSnmp::MplsTunnelTableKey const*>(key);
               rowsSeen_.emplace(of, mib->mplsTunnelTable()[of]);
            }
            told();
         }));
}

/// The agent and its derivation.
void World::watchAgent() {
   auto const agent = root_->rsvpTeSnmpAgent();
   if (!agent || std::ranges::any_of(observers_, [&](auto const& e) { return e->notifierObject() == agent.get(); }))
      return;
   watch(agent);
   watch(agent->subTunnelStatusSm());
}

void World::letGo() {
   auto const gone = std::move(held_.front());
   held_.pop_front();
}

/// Somebody is told of something.
void World::told() {
   if (insideLeft_ == 0 || depth_ >= kDeepest || !chance(settings_.nesting)) return;
   --insideLeft_;
   ++depth_;
   ++nested_;
   std::string const what = chance(3) ? life() : change();
   happened_ += fmt::format("; inside: {}", what);
   ++insideSince_;
   // Who listens comes behind those who came meanwhile, now and then.
   if (!observers_.empty() && chance(10)) {
      auto const observer = observers_[pick(observers_.size())];
      observer->isRegisteredNotifieeIs(false);
      observer->isRegisteredNotifieeIs(true);
   }
   if (!held_.empty() && chance(10)) letGo();
   --depth_;
}

bool World::wasRow(MplsSnmp::MplsTunnelTableKey const& key, Row const& row) const {
   auto const [first, last] = rowsSeen_.equal_range(key);
   return std::any_of(first, last, [&](auto const& seen) { return seen.second == row; });
}

void World::settled() {
   restarted_ = false;
   single_ = false;
   events_ = 0;
   insideSince_ = 0;
   rowsSeen_.clear();
   for (auto const& node : mib_->mplsTunnelTable()) rowsSeen_.emplace(node.key(), node.value());
}

}  // namespace Model
