// SPDX-License-Identifier: MIT
/// The variables of notifications, and the scalars, as managers get them.
#include "host/notifications/Variables.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/notifications/EventText.h"
#include "host/notifications/Scalars.h"
#include "tests/support/TestAgent.h"
#include "tests/support/ValueText.h"

namespace Notifications {
namespace {

using testing::ElementsAre;
using TestSupport::Oid;

Snmp::TunnelEvent switchOver() {
   Snmp::TunnelEvent event;
   event.kind = Snmp::TunnelEvent::Kind::rerouted;
   event.tunnel = "cli:to-paris";
   event.name = "to-paris";
   event.from = {{12, 1, 167772161, 167772169}, 1, 1, "cli:to-paris@primary.1", {"10.1.4.2"}};
   event.to = {{12, 2, 167772161, 4294967295U}, 1, 1, "cli:to-paris@secondary.2", {"10.1.6.2", "10.6.9.2"}};
   return event;
}

std::vector<Oid> namesOf(netsnmp_variable_list const* variables) {
   std::vector<Oid> names;
   for (; variables; variables = variables->next_variable) {
      names.emplace_back(variables->name, variables->name + variables->name_length);
   }
   return names;
}

Oid column(oid number) { return {1, 3, 6, 1, 2, 1, 10, 166, 3, 2, 2, 1, number, 12, 2, 167772161, 4294967295U}; }

}  // namespace

TEST(Variables, TheStatusOfTheNewRowComesFirstAndBehindItTheName) {
   auto const variables = variablesOf(switchOver());
   EXPECT_THAT(namesOf(variables.get()),
               ElementsAre(Oid{1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0}, column(34), column(35), column(5)));
   auto const* const trap = variables.get();
   EXPECT_EQ(Oid(trap->val.objid, trap->val.objid + trap->val_len / sizeof(oid)),
             (Oid{1, 3, 6, 1, 2, 1, 10, 166, 3, 0, 3}));
   auto const* const admin = trap->next_variable;
   auto const* const name = admin->next_variable->next_variable;
   EXPECT_EQ(admin->type, ASN_INTEGER);
   EXPECT_EQ(*admin->val.integer, 1);
   EXPECT_EQ(name->type, ASN_OCTET_STR);
   EXPECT_EQ(std::string(reinterpret_cast<char const*>(name->val.string), name->val_len), "to-paris");
}

TEST(Variables, TheNameIsCutAsTheTableCutsIt) {
   auto event = switchOver();
   event.name = std::string(1024, 'x');
   auto const variables = variablesOf(event);
   EXPECT_EQ(variables->next_variable->next_variable->next_variable->val_len, 255U);
}

TEST(EventText, IsAnObjectOnOneLine) {
   auto const time = std::chrono::system_clock::from_time_t(1'760'000'000) + std::chrono::milliseconds(7);
   EXPECT_EQ(eventJson(switchOver(), time),
             R"({"time":"2025-10-09T08:53:20.007Z","notification":"mplsTunnelRerouted","tunnel":"cli:to-paris",)"
             R"("mplsTunnelName":"to-paris","from":{"mplsTunnelOperStatus":"up","index":"12.1.167772161.167772169",)"
             R"("ingress":"10.0.0.1","egress":"10.0.0.9","lsp":"cli:to-paris@primary.1","path":["10.1.4.2"]},)"
             R"("to":{"mplsTunnelOperStatus":"up","index":"12.2.167772161.4294967295","ingress":"10.0.0.1",)"
             R"("egress":"255.255.255.255","lsp":"cli:to-paris@secondary.2","path":["10.1.6.2","10.6.9.2"]}})");
}

TEST(EventText, ANewTunnelHasNotBeenAnything) {
   auto event = switchOver();
   event.kind = Snmp::TunnelEvent::Kind::up;
   event.from = {};
   EXPECT_NE(eventJson(event, {}).find(R"("from":{"mplsTunnelOperStatus":"down","index":null,"ingress":null,)"
                                       R"("egress":null,"lsp":null,"path":[]})"),
             std::string::npos);
}

TEST(Scalars, SayWhatTheyAreToldAndCannotBeWritten) {
   TestSupport::TestAgent agent;
   std::uint32_t active = 4'294'967'295U;
   auto const scalar = [](oid first, oid second) { return Oid{1, 3, 6, 1, 2, 1, 10, 166, 3, first, second, 0}; };
   std::vector<Oid> const names{scalar(1, 1), scalar(1, 2), scalar(1, 3), scalar(1, 4), scalar(1, 5), scalar(2, 11)};
   {
      Scalars const scalars({.configured = [] { return 65'535U; },
                             .active = [&] { return active; },
                             .teDistProto =
                                   [] {
                                      return std::vector{TeDistProto::ospf, TeDistProto::isis};
                                   },
                             .maxRate = [] { return 100U; },
                             .enabled = [] { return true; }});
      std::vector<std::string> values;
      for (auto const& varbind : agent.get(names).varbinds) values.push_back(varbind.value);
      auto const text = [](u_char type, auto value) {
         netsnmp_variable_list variable{};
         snmp_set_var_typed_value(&variable, type, &value, sizeof value);
         auto const made = TestSupport::valueText(variable);
         snmp_free_var_internals(&variable);
         return made;
      };
      EXPECT_THAT(values, ElementsAre(text(ASN_UNSIGNED, 65'535L), text(ASN_UNSIGNED, 4'294'967'295L),
                                      text(ASN_OCTET_STR, static_cast<u_char>(0x60)), text(ASN_UNSIGNED, 256L),
                                      text(ASN_UNSIGNED, 100L), text(ASN_INTEGER, 1L)));
      active = 0;
      EXPECT_EQ(agent.get({names[1]}).varbinds.front().value, text(ASN_UNSIGNED, 0L));
      EXPECT_EQ(agent.set({{names[5], ASN_INTEGER, {2, 0, 0, 0, 0, 0, 0, 0}}}).status, SNMP_ERR_NOTWRITABLE);
      auto const next = agent.getNext({Oid{1, 3, 6, 1, 2, 1, 10, 166}});
      EXPECT_EQ(next.varbinds.front().name, names.front());
   }
   EXPECT_NE(agent.getNext({Oid{1, 3, 6, 1, 2, 1, 10, 166}}).varbinds.front().name, names.front()) << "gone again";
}

}  // namespace Notifications
