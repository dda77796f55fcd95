// SPDX-License-Identifier: MIT
// The root entity and the agent: what a host sets and what follows.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/MplsSnmpAgent.h"
#include "substrate/vel/EntityDir.h"
#include "substrate/vel/Generic.h"
#include "substrate/vel/Reactor.h"
#include "substrate/vel/TypeRegistry.h"
#include "tests/support/HeadEnd.h"
#include "tests/support/TraceCapture.h"

using testing::ElementsAre;
using TestSupport::TraceCapture;

namespace {

class Agent : public testing::Test {
 protected:
   Agent() { Flo::SmControl::defaultSynchronousIs(true); }
   ~Agent() override { Flo::SmControl::defaultSynchronousIs(false); }

   Vel::Ptr<MplsSnmp::RsvpTeSnmpAgent> set() {
      return root->rsvpTeSnmpAgentIs(head.mib, head.hopTableHelper, head.lerConfig, head.lerStatus, head.kelpStatus,
                                     head.counterTable);
   }

   TestSupport::HeadEnd head;
   Vel::Ptr<MplsSnmp::Root> root = MplsSnmp::rootFactory("root");
};

/// Counts the notifications about the root's agent. Bound weakly, so that it sees the root's end.
struct Observer : Vel::PtrInterface::NotifieeConst {
   explicit Observer(MplsSnmp::Root const& root) {
      bind(&root, Hold::weak);
      isRegisteredNotifieeIs(true);
   }
   void onAttribute(Vel::AttributeId attribute, void const*) override {
      notifications += attribute == MplsSnmp::Root::attrRsvpTeSnmpAgent;
   }
   int notifications = 0;
};

}  // namespace

TEST_F(Agent, ANewRootIsActiveAndHasNoAgent) {
   EXPECT_TRUE(root->hasNotificationActive());
   EXPECT_FALSE(root->rsvpTeSnmpAgent());
   EXPECT_EQ(root->name(), Vel::String("root"));
}

TEST_F(Agent, TheSameSixObjectsAgainKeepTheAgentAndNotifyOnce) {
   auto const observer = Vel::makePtr<Observer>(*root);
   TraceCapture const trace("MplsSnmpAgent");
   auto const agent = set();
   auto const machine = agent->subTunnelStatusSm();
   EXPECT_EQ(set(), agent);
   EXPECT_EQ(agent->subTunnelStatusSm(), machine);
   EXPECT_EQ(observer->notifications, 1);
   EXPECT_THAT(trace.lines(),
               ElementsAre(TraceCapture::Line{8, "Enter void MplsSnmp::RsvpTeSnmpAgent::handleInitialized()"},
                           TraceCapture::Line{9, "Creating RsvpSnmpSubTunnelStatusSm"}));
}

TEST_F(Agent, AnyOtherInputMakesANewAgentAndNotifiesOnce) {
   auto const expectReplaced = [&](auto&& change) {
      auto const before = set();
      auto const observer = Vel::makePtr<Observer>(*root);
      change();
      auto const after = set();
      EXPECT_NE(before, after);
      EXPECT_NE(before->subTunnelStatusSm(), after->subTunnelStatusSm());
      EXPECT_EQ(root->rsvpTeSnmpAgent(), after);
      EXPECT_EQ(observer->notifications, 1);
   };
   expectReplaced([&] { head.mib = MplsSnmp::mplsTeMibFactory("mplsTeMib"); });
   expectReplaced([&] { head.hopTableHelper = MplsSnmp::hopTableHelperFactory(); });
   expectReplaced([&] { head.lerConfig = Vel::makePtr<Rsvp::RsvpLerConfig>("lerConfig"); });
   expectReplaced([&] { head.lerStatus = Vel::makePtr<Rsvp::RsvpLerHiveStatus>("lerStatus"); });
   expectReplaced([&] { head.kelpStatus = Vel::makePtr<Rsvp::RsvpKelpStatus>("kelpStatus"); });
   expectReplaced([&] { head.counterTable = Vel::makePtr<Tallies::CounterTable>("counters"); });
}

TEST_F(Agent, ANewAgentIsActiveWithItsDerivationRunning) {
   head.tunnelIs("cli:to-paris", "cli:to-paris@primary.1", "10.0.0.9/12/10.0.0.1/1");
   auto const agent = set();
   EXPECT_TRUE(agent->hasNotificationActive());
   EXPECT_TRUE(agent->subTunnelStatusSm()->hasNotificationActive());
   EXPECT_TRUE(head.row("10.0.0.9/12/10.0.0.1/1"));
}

TEST_F(Agent, DeletingTheAgentNotifiesOnceAndStopsItsDerivation) {
   auto const machine = set()->subTunnelStatusSm();
   auto const observer = Vel::makePtr<Observer>(*root);
   auto const taken = root->rsvpTeSnmpAgentDel();
   EXPECT_TRUE(taken);
   EXPECT_FALSE(root->rsvpTeSnmpAgent());
   EXPECT_EQ(observer->notifications, 1);
   EXPECT_FALSE(root->rsvpTeSnmpAgentDel());
   EXPECT_EQ(observer->notifications, 1);
}

TEST_F(Agent, TheDerivationIsSwitchedOffBeforeItIsReleased) {
   auto machine = set()->subTunnelStatusSm();
   root->rsvpTeSnmpAgentDel();
   EXPECT_FALSE(machine->hasNotificationActive());
   head.tunnelIs("cli:to-paris", "cli:to-paris@primary.1", "10.0.0.9/12/10.0.0.1/1");
   EXPECT_FALSE(head.row("10.0.0.9/12/10.0.0.1/1"));
}

TEST_F(Agent, TheObserversOfARootHearThatItsAgentGoesWithIt) {
   set();
   auto const observer = Vel::makePtr<Observer>(*root);
   root = nullptr;
   EXPECT_EQ(observer->notifications, 1);
   EXPECT_EQ(observer->notifierObject(), nullptr);
}

TEST_F(Agent, AnotherControlValueKeepsTheMachineAndReplacesItsControl) {
   auto const agent = set();
   auto const machine = agent->subTunnelStatusSm();
   Flo::SmControl control;
   control.hostLabel = "other";
   control.hostData = 7;
   control.taskPriority = Orb::TaskPriority::low;
   auto const same = agent->subTunnelStatusSmIs(head.mib, head.hopTableHelper, head.lerConfig, head.lerStatus,
                                                head.kelpStatus, head.counterTable, control);
   EXPECT_EQ(same, machine);
   EXPECT_EQ(machine->floControl(), control);
}

TEST_F(Agent, TheControlStartsWithItsDefaultsAndCanBeOverwritten) {
   auto const agent = set();
   auto const& control = agent->smControl();
   EXPECT_FALSE(control.taskScheduler);
   EXPECT_EQ(static_cast<int>(control.taskPriority), 3);
   EXPECT_TRUE(control.hostLabel.empty());
   EXPECT_EQ(control.hostData, 0U);
   EXPECT_FALSE(control.synchronous);
   Flo::SmControl other;
   other.hostData = 9;
   std::vector<Vel::Any> const args{other};
   EXPECT_TRUE(Vel::attributeSet(*agent, "smControl", args).known());
   EXPECT_EQ(agent->smControl(), other);
   EXPECT_EQ(agent->subTunnelStatusSm()->floControl().hostData, 0U) << "the machine that exists is not touched";
}

TEST_F(Agent, ATakenOutMachineIsOffAndLeavesTheAttributeNull) {
   auto const agent = set();
   auto const machine = agent->subTunnelStatusSm();
   EXPECT_EQ(agent->subTunnelStatusSmDel(), machine);
   EXPECT_FALSE(machine->hasNotificationActive());
   EXPECT_FALSE(agent->subTunnelStatusSm());
   EXPECT_FALSE(agent->subTunnelStatusSmDel());
}

// ---- What a host sees that knows no header of the module

TEST_F(Agent, AHostRunsTheModuleThroughTheGenericInterface) {
   auto const dir = Vel::makePtr<Vel::EntityDir>("agent");
   auto const entity = dir->newEntity("MplsSnmp::Root", "root");
   auto const mib = dir->dirIs("snmp/mpls")->newEntity("MplsSnmp::MplsTeMib", "mplsTeMib");
   EXPECT_EQ(dir->find("snmp/mpls/mplsTeMib"), mib);
   Vel::Any const helper = Vel::TypeRegistry::instance().construct("MplsSnmp::HopTableHelper", {});
   using Object = Vel::Ptr<Vel::PtrInterface>;
   using ConstObject = Vel::Ptr<Vel::PtrInterface const>;
   std::vector<Vel::Any> const inputs{Object(mib),
                                      helper,
                                      ConstObject(head.lerConfig),
                                      ConstObject(head.lerStatus),
                                      ConstObject(head.kelpStatus),
                                      ConstObject(head.counterTable)};
   auto const made = Vel::attributeSet(*entity, "rsvpTeSnmpAgent", inputs);
   ASSERT_TRUE(made.known());
   EXPECT_EQ(std::any_cast<Object>(made.value),
             std::any_cast<Object>(Vel::attributeGet(*entity, "rsvpTeSnmpAgent").value));
   head.tunnelIs("cli:to-paris", "cli:to-paris@primary.1", "10.0.0.9/12/10.0.0.1/1");
   auto const keys = std::any_cast<std::vector<Vel::Any>>(Vel::attributeKeys(*mib, "mplsTunnelTable").value);
   EXPECT_EQ(keys.size(), 1U);
   EXPECT_TRUE(Vel::attributeDel(*entity, "rsvpTeSnmpAgent").known());
   EXPECT_FALSE(std::any_cast<Object>(Vel::attributeGet(*entity, "rsvpTeSnmpAgent").value));
}

TEST_F(Agent, AnyOtherAttributeOfTheRootIsUnknown) {
   EXPECT_FALSE(Vel::attributeGet(*root, "subTunnelStatusSm").known());
   EXPECT_FALSE(Vel::attributeSet(*root, "name", {}).known());
   EXPECT_FALSE(Vel::operationInvoke(*root, "handleInitialized").known());
}

TEST_F(Agent, ARootInADirectoryIsMadeByItsNameAlone) {
   auto const dir = Vel::makePtr<Vel::EntityDir>("agent");
   std::vector<Vel::Any> const extra{Vel::String("more")};
   EXPECT_THROW(dir->newEntity("MplsSnmp::Root", "root", extra), Vel::NewEntityArgsException);
   EXPECT_FALSE(dir->find("root"));
   std::vector<Vel::Any> const name{Vel::String("root")};
   auto const made = Vel::TypeRegistry::instance().construct("MplsSnmp::Root", name);
   EXPECT_TRUE(std::any_cast<Vel::Ptr<Vel::PtrInterface>>(made)->hasNotificationActive());
   EXPECT_THROW(Vel::TypeRegistry::instance().construct("MplsSnmp::Root", {}), Vel::ArgumentException);
}

TEST_F(Agent, AWrongInputIsRefusedAndLeavesTheRootAsItWas) {
   std::vector<Vel::Any> const inputs(6, Vel::Any(Vel::Ptr<Vel::PtrInterface>(root)));
   EXPECT_THROW(Vel::attributeSet(*root, "rsvpTeSnmpAgent", inputs), Vel::ArgumentException);
   EXPECT_FALSE(root->rsvpTeSnmpAgent());
}

TEST(Load, TheTypeModulesAreRegisteredInTheOrderOfTheLibrary) {
   EXPECT_THAT(Vel::TypeRegistry::instance().moduleNames(),
               ElementsAre("Inputs", "HopTableHelper", "MplsSnmp", "MplsSnmpAgent", "RsvpSnmpSubTunnelStatusSm",
                           "TunnelMonitor"));
}

TEST(Load, TheDebugHandlerOfTheDerivationExistsFromTheStart) {
   bool found = false;
   for (auto const* handle : Trel::traceHandles()) found = found || handle->name() == "RsvpSnmpSm";
   EXPECT_TRUE(found);
}
