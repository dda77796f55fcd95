// SPDX-License-Identifier: MIT
// A subagent between this process's agent library and a master that the test plays, octet by octet (RFC 2741).
#include "host/agentx/Subagent.h"

#include <gmock/gmock.h>
#include <poll.h>
#include <sys/un.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/AgentLibrary.h"
// Behind the library's headers, which it needs.
#include <net-snmp/agent/agent_sysORTable.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr std::chrono::seconds kDeadline(20);

using Octets = std::vector<u_char>;

struct Message {
   u_char type;
   u_char flags;
   Octets header;
   Octets payload;

   /// A number of the payload, in the byte order that the flags say.
   std::uint32_t number(std::size_t at) const {
      std::uint32_t value = 0;
      for (std::size_t i = 0; i < 4; ++i) {
         std::size_t const octet = (flags & AgentX::kAgentXNetworkByteOrder) != 0 ? i : 3 - i;
         value = value << 8U | payload[at + octet];
      }
      return value;
   }
   /// The context that it begins with, and where the rest begins.
   std::pair<std::string, std::size_t> context() const {
      if ((flags & AgentX::kAgentXNonDefaultContext) == 0) return {"", 0};
      std::size_t const size = number(0);
      return {std::string(payload.begin() + 4, payload.begin() + 4 + static_cast<std::ptrdiff_t>(size)),
              4 + (size + 3) / 4 * 4};
   }
   /// What a registration says: "CONTEXT .5.6.7", with the sub-identifiers behind 1.3.6.1.
   std::string region() const {
      auto [text, at] = context();
      text += " ";
      unsigned const count = payload[at + 4];
      EXPECT_EQ(payload[at + 5], 4) << "the prefix 1.3.6.1.4";
      for (unsigned i = 0; i < count; ++i) text += "." + std::to_string(number(at + 8 + 4 * i));
      return text;
   }
};

constexpr u_char kSession = 7;

/// A message in network byte order.
Octets message(u_char type, Octets const& payload, u_char session = kSession) {
   auto const high = static_cast<u_char>(payload.size() >> 8U);
   auto const low = static_cast<u_char>(payload.size());
   Octets octets{1,    type, AgentX::kAgentXNetworkByteOrder, 0, 0, 0, 0, session, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0,
                 high, low};
   octets.insert(octets.end(), payload.begin(), payload.end());
   return octets;
}

class SubagentTest : public testing::Test {
 protected:
   SubagentTest() : listener_(::socket(AF_UNIX, SOCK_STREAM, 0), "socket") {
      sockaddr_un address{};
      address.sun_family = AF_UNIX;
      path().copy(address.sun_path, sizeof address.sun_path - 1);
      EXPECT_EQ(bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
      EXPECT_EQ(listen(listener_, 5), 0);
   }
   ~SubagentTest() override {
      stream_ = nullptr;  // or the subagent would wait for the master to close it
      while (!served_.empty()) unserve();
   }

   std::string path() const { return (directory_.path() / "agentx").string(); }

   AgentX::Subagent& start() {
      subagent_ = std::make_unique<AgentX::Subagent>("unix:" + path(), report_,
                                                     [this](std::string_view error) { errors_.emplace_back(error); });
      return *subagent_;
   }

   /// Something to serve under 1.3.6.1.4.1.99999.
   void serve(oid subidentifier, char const* context = "", int modes = HANDLER_CAN_RONLY) {
      oid const root[] = {1, 3, 6, 1, 4, 1, 99999, subidentifier};
      auto* const registration =
            netsnmp_create_handler_registration("test", &SubagentTest::handle, root, std::size(root), modes);
      registration->contextName = strdup(context);
      ASSERT_EQ(netsnmp_register_handler(registration), MIB_REGISTERED_OK);
      served_.emplace_back(subidentifier, context);
   }
   /// Takes back what was served last.
   void unserve() {
      auto const [subidentifier, context] = served_.back();
      served_.pop_back();
      oid root[] = {1, 3, 6, 1, 4, 1, 99999, subidentifier};
      EXPECT_EQ(unregister_mib_context(root, std::size(root), DEFAULT_MIB_PRIORITY, 0, 0, context.c_str()),
                MIB_UNREGISTERED_OK);
   }

   /// Turns the event loop until something is to be read from the socket.
   void await(int socket) {
      auto const deadline = std::chrono::steady_clock::now() + kDeadline;
      pollfd watched{socket, POLLIN, 0};
      while (poll(&watched, 1, 1) == 0) {
         ASSERT_LT(std::chrono::steady_clock::now(), deadline);
         agent_check_and_process(0);
      }
   }
   template <class Condition>
   void awaitTrue(Condition const& condition) {
      auto const deadline = std::chrono::steady_clock::now() + kDeadline;
      while (!condition()) {
         ASSERT_LT(std::chrono::steady_clock::now(), deadline);
         agent_check_and_process(0);
         poll(nullptr, 0, 1);
      }
   }

   void accept() {
      await(listener_);
      stream_ = std::make_unique<Loop::Descriptor>(::accept(listener_, nullptr, nullptr), "accept");
   }

   Octets octets(std::size_t size) {
      Octets found(size);
      for (std::size_t at = 0; at < size && !HasFatalFailure();) {
         await(*stream_);
         auto const length = recv(*stream_, found.data() + at, size - at, 0);
         if (length <= 0) {
            ADD_FAILURE() << "the connection ends";
            break;
         }
         at += static_cast<std::size_t>(length);
      }
      return found;
   }
   Message receive() {
      Octets const header = octets(20);
      Message message{header[1], header[2], header, {}};
      message.payload = Octets(header.begin() + 16, header.end());
      message.payload = octets(message.number(0));
      return message;
   }
   void send(Octets const& octets) {
      ASSERT_EQ(::send(*stream_, octets.data(), octets.size(), MSG_NOSIGNAL), static_cast<ssize_t>(octets.size()));
   }
   void answer(Message const& request, u_char error = 0) {
      Octets response(request.header.begin(), request.header.begin() + 16);
      response[1] = AgentX::kAgentXResponse;
      response[2] = 0;
      // In the byte order of this machine's subagent: the least octet first.
      response[4] = kSession;
      for (u_char const octet : {8, 0, 0, 0, 0, 0, 0, 0, static_cast<int>(error), error ? 1 : 0, 0, 0}) {
         response.push_back(octet);
      }
      send(response);
   }

   /// Takes the subagent on, and says what it registers.
   std::vector<std::string> takeOn() {
      accept();
      Message const open = receive();
      EXPECT_EQ(open.type, AgentX::kAgentXOpen);
      answer(open);
      std::vector<std::string> regions;
      for (std::size_t i = 0; i < served_.size(); ++i) {
         Message const request = receive();
         EXPECT_EQ(request.type, AgentX::kAgentXRegister);
         regions.push_back(request.region());
         answer(request);
      }
      awaitTrue([this] { return subagent_->status().state == State::connected; });
      return regions;
   }

   static int handle(netsnmp_mib_handler* /*handler*/, netsnmp_handler_registration* /*registration*/,
                     netsnmp_agent_request_info* info, netsnmp_request_info* requests) {
      asked_.emplace_back(requests->requestvb->name, requests->requestvb->name + requests->requestvb->name_length);
      modes_.push_back(info->mode);
      static std::vector<u_char> const large(60000, 'x');
      std::size_t const size = requests->requestvb->name[7] == 2 ? large.size() : 1;
      if (info->mode == MODE_GET) {
         for (auto* request = requests; request; request = request->next) {
            snmp_set_var_typed_value(request->requestvb, ASN_OCTET_STR, large.data(), size);
         }
      }
      // One instance, .1, below what is registered.
      for (auto* request = requests; request && info->mode == MODE_GETNEXT; request = request->next) {
         auto* const variable = request->requestvb;
         oid instance[] = {1, 3, 6, 1, 4, 1, 99999, request->subtree->name_a[7], 1};
         if (snmp_oid_compare(variable->name, variable->name_length, instance, std::size(instance)) >= 0) continue;
         snmp_set_var_objid(variable, instance, std::size(instance));
         snmp_set_var_typed_integer(variable, ASN_INTEGER, 5);
      }
      return SNMP_ERR_NOERROR;
   }

   using State = AgentX::MasterStatus::State;
   static inline std::vector<std::vector<oid>> asked_;
   static inline std::vector<int> modes_;

   TestSupport::ScratchDirectory directory_;
   Loop::Descriptor listener_;
   std::unique_ptr<Loop::Descriptor> stream_;
   AgentX::Subagent::Report const report_{.info = [](auto) {}, .warn = [](auto) {}, .error = [](auto) {}};
   std::vector<std::string> errors_;
   std::unique_ptr<AgentX::Subagent> subagent_;
   std::vector<std::pair<oid, std::string>> served_;
};

TEST_F(SubagentTest, whatIsRegisteredIsRegisteredWithTheMasterInItsContext) {
   start();
   serve(1);
   serve(1, "red");
   serve(2, "blue context");
   EXPECT_THAT(takeOn(), UnorderedElementsAre(" .1.99999.1", "red .1.99999.1", "blue context .1.99999.2"));
   EXPECT_THAT(errors_, IsEmpty());
}

TEST_F(SubagentTest, andAgainAfterTheMasterHasGone) {
   start();
   serve(1);
   serve(1, "red");
   takeOn();
   stream_ = nullptr;
   awaitTrue([this] { return subagent_->status().state == State::disconnected; });
   EXPECT_THAT(takeOn(), UnorderedElementsAre(" .1.99999.1", "red .1.99999.1"));
}

TEST_F(SubagentTest, whatComesAndGoesLaterIsToldToTheMaster) {
   start();
   serve(1);
   takeOn();
   serve(3, "red");
   Message const added = receive();
   EXPECT_EQ(added.type, AgentX::kAgentXRegister);
   EXPECT_EQ(added.region(), "red .1.99999.3");
   answer(added);
   unserve();
   Message const removed = receive();
   EXPECT_EQ(removed.type, AgentX::kAgentXUnregister);
   EXPECT_EQ(removed.region(), "red .1.99999.3");
   stream_ = nullptr;
   EXPECT_THAT(takeOn(), ElementsAre(" .1.99999.1"));
}

/// mplsTunnelUp without any variable behind it.
struct Trap {
   Trap() {
      oid const name[] = {1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0};
      oid const value[] = {1, 3, 6, 1, 2, 1, 10, 166, 3, 0, 1};
      snmp_varlist_add_variable(&variables, name, std::size(name), ASN_OBJECT_ID,
                                reinterpret_cast<u_char const*>(value), sizeof value);
   }
   ~Trap() { snmp_free_varbind(variables); }
   netsnmp_variable_list* variables = nullptr;
};

TEST_F(SubagentTest, theMasterIsToNotifyItsReceivers) {
   Trap const trap;
   start();
   EXPECT_FALSE(subagent_->hasRoom()) << "there is no master yet";
   serve(1);
   takeOn();
   ASSERT_TRUE(subagent_->hasRoom());
   subagent_->notify(*trap.variables);
   Message const notification = receive();
   EXPECT_EQ(notification.type, AgentX::kAgentXNotify);
   // The type of the only variable, and of its name the last sub-identifier.
   EXPECT_EQ(notification.payload[0] + notification.payload[1], ASN_OBJECT_ID);
   EXPECT_EQ(notification.number(4 + 4 + 4 * 5), 0U);
   EXPECT_EQ(notification.payload.size(), 4U + (4 + 4 * 6) + (4 + 4 * 6));
}

TEST_F(SubagentTest, aMasterThatTakesNoNoteIsSentNoMoreThanSoMany) {
   Trap const trap;
   start();
   serve(1);
   takeOn();
   for (std::size_t n = 0; n < AgentX::Subagent::kMostNotifications; ++n) {
      ASSERT_TRUE(subagent_->hasRoom());
      subagent_->notify(*trap.variables);
   }
   EXPECT_FALSE(subagent_->hasRoom());
   answer(receive());
   awaitTrue([this] { return subagent_->hasRoom(); });
   subagent_->notify(*trap.variables);
   EXPECT_FALSE(subagent_->hasRoom());
   // Another session begins anew.
   stream_ = nullptr;
   takeOn();
   EXPECT_TRUE(subagent_->hasRoom());
}

TEST_F(SubagentTest, whatSysOrTableIsToSayIsToldToTheMaster) {
   oid mib[] = {1, 3, 6, 1, 4, 1, 99999, 7};
   start();
   serve(1);
   register_sysORTable(mib, std::size(mib), "what we serve");
   accept();
   answer(receive());
   answer(receive());
   Message const added = receive();
   EXPECT_EQ(added.type, AgentX::kAgentXAddAgentCaps);
   EXPECT_EQ(std::string(added.payload.end() - 16, added.payload.end() - 3), "what we serve");
   answer(added);
   awaitTrue([this] { return subagent_->status().state == State::connected; });
   unregister_sysORTable(mib, std::size(mib));
   EXPECT_EQ(receive().type, AgentX::kAgentXRemoveAgentCaps);
}

TEST_F(SubagentTest, itsStateCanBeRead) {
   auto const before = std::chrono::system_clock::now();
   AgentX::MasterStatus const& status = start().status();
   EXPECT_EQ(status.master, "unix:" + path());
   EXPECT_EQ(status.state, State::disconnected);
   EXPECT_EQ(status.lastError, "");
   serve(1);
   takeOn();
   auto const since = status.since;
   EXPECT_GE(since, before);
   EXPECT_EQ(status.lastError, "");
   stream_ = nullptr;
   awaitTrue([&status] { return status.state == State::disconnected; });
   EXPECT_GT(status.since, since);
   EXPECT_EQ(status.lastError, "it has closed the connection");
   takeOn();
   EXPECT_EQ(status.lastError, "it has closed the connection") << "why it was not connected before";
}

// A GET of 1.3.6.1.4.1.99999.1.(2^32 - 1).(2^31)
Octets const kLargeSubidentifiers{5, 4, 0,    0,    0,    0,    0,    1, 0, 1, 0x86, 0x9f, 0, 0,
                                  0, 1, 0xff, 0xff, 0xff, 0xff, 0x80, 0, 0, 0, 0,    0,    0, 0};

TEST_F(SubagentTest, subidentifiersAreUnsigned) {
   start();
   serve(1);
   takeOn();
   asked_.clear();
   send(message(AgentX::kAgentXGet, kLargeSubidentifiers));
   EXPECT_EQ(receive().type, AgentX::kAgentXResponse);
   EXPECT_THAT(asked_, ElementsAre(ElementsAre(1, 3, 6, 1, 4, 1, 99999, 1, 0xffffffffU, 0x80000000U)));
}

TEST_F(SubagentTest, aRequestThatCannotBeReadIsRefusedAtOnce) {
   start();
   serve(1);
   takeOn();
   Octets const cutOff(kLargeSubidentifiers.begin(), kLargeSubidentifiers.begin() + 20);
   send(message(AgentX::kAgentXGet, cutOff));
   Message const response = receive();
   EXPECT_EQ(response.type, AgentX::kAgentXResponse);
   EXPECT_THAT(response.payload,
               ElementsAre(0, 0, 0, 0, AgentX::kAgentXParseError >> 8U, AgentX::kAgentXParseError & 0xffU, 0, 1));
   send(message(AgentX::kAgentXGet, kLargeSubidentifiers));
   EXPECT_EQ(receive().number(4), 0U) << "and the session goes on";
}

TEST_F(SubagentTest, anAnswerThatIsTooLongIsTheErrorTooBig) {
   start();
   serve(2);
   takeOn();
   Octets twice;
   for (int i = 0; i < 2; ++i) {
      for (u_char const octet :
           {5, 4, 0, 0, 0, 0, 0, 1, 0, 1, 0x86, 0x9f, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, i, 0, 0, 0, 0}) {
         twice.push_back(octet);
      }
   }
   send(message(AgentX::kAgentXGet, twice));
   Message const response = receive();
   EXPECT_EQ(response.payload.size(), 8U);
   EXPECT_EQ(response.number(4), SNMP_ERR_TOOBIG * 0x10000U + 1);
}

TEST_F(SubagentTest, aMasterThatTalksNonsenseIsLeft) {
   AgentX::MasterStatus const& status = start().status();
   serve(1);
   for (u_char const octet : {'?', '\x7f', '\xff'}) {
      takeOn();
      send(Octets(64, octet));
      awaitTrue([&status] { return status.state == State::disconnected; });
   }
   takeOn();
}

TEST_F(SubagentTest, aMasterThatNeverReadsIsGivenUpBeforeItTakesAllMemory) {
   AgentX::MasterStatus const& status = start().status();
   serve(2);
   takeOn();
   Octets const request = message(AgentX::kAgentXGet, {5, 4, 0, 0, 0, 0, 0, 1, 0, 1, 0x86, 0x9f, 0, 0,
                                                       0, 2, 0, 0, 0, 3, 0, 0, 0, 0, 0,    0,    0, 0});
   // It asks until nobody listens any more.
   awaitTrue([&] {
      return ::send(*stream_, request.data(), request.size(), MSG_NOSIGNAL) < 0 || status.state != State::connected;
   });
   awaitTrue([&status] { return status.state == State::disconnected; });
   EXPECT_EQ(status.lastError, "it does not read what it is sent");
}

// Requests

/// Octets of 1.3.6.1.4.1.99999 and what follows.
Octets objectIdentifier(std::initializer_list<u_char> rest) {
   Octets octets{static_cast<u_char>(2 + rest.size()), 4, 0, 0, 0, 0, 0, 1, 0, 1, 0x86, 0x9f};
   for (u_char const subidentifier : rest) octets.insert(octets.end(), {0, 0, 0, subidentifier});
   return octets;
}

Octets joined(std::initializer_list<Octets> parts) {
   Octets all;
   for (Octets const& part : parts) all.insert(all.end(), part.begin(), part.end());
   return all;
}

Octets const kNoEnd(4);
Octets const kGet = joined({objectIdentifier({1, 1}), kNoEnd});
/// An integer for 1.3.6.1.4.1.99999.1.1
Octets const kVariable = joined({{0, ASN_INTEGER, 0, 0}, objectIdentifier({1, 1}), Octets(4)});

/// Error and index of a response.
std::pair<unsigned, unsigned> outcome(Message const& response) {
   EXPECT_EQ(response.type, AgentX::kAgentXResponse);
   return {response.number(4) >> 16U, response.number(4) & 0xffffU};
}

using Outcome = std::pair<unsigned, unsigned>;

TEST_F(SubagentTest, aRequestForAnotherSessionIsAnsweredNotOpen) {
   start();
   serve(1);
   takeOn();
   asked_.clear();
   for (auto const type : {AgentX::kAgentXGet, AgentX::kAgentXGetNext}) {
      send(message(type, kGet, kSession + 1));
      EXPECT_EQ(outcome(receive()), Outcome(AgentX::kAgentXNotOpen, 0));
   }
   send(message(AgentX::kAgentXTestSet, kVariable, kSession + 1));
   EXPECT_EQ(outcome(receive()), Outcome(AgentX::kAgentXNotOpen, 0));
   EXPECT_THAT(asked_, IsEmpty());
   send(message(AgentX::kAgentXClose, Octets(4), kSession + 1));
   send(message(AgentX::kAgentXGet, kGet));
   EXPECT_EQ(outcome(receive()), Outcome(SNMP_ERR_NOERROR, 0)) << "nor does it close this one";
}

TEST_F(SubagentTest, andSoIsOneBeforeTheSessionIsOpen) {
   start();
   serve(1);
   accept();
   EXPECT_EQ(receive().type, AgentX::kAgentXOpen);
   asked_.clear();
   send(message(AgentX::kAgentXGet, kGet, 0));
   EXPECT_EQ(outcome(receive()), Outcome(AgentX::kAgentXNotOpen, 0));
   EXPECT_THAT(asked_, IsEmpty());
}

TEST_F(SubagentTest, whatIsSetIsTriedAndForgottenAndNeverDone) {
   start();
   serve(1, "", HANDLER_CAN_RWRITE);
   takeOn();
   modes_.clear();
   send(message(AgentX::kAgentXTestSet, kVariable));
   EXPECT_EQ(outcome(receive()), Outcome(SNMP_ERR_NOTWRITABLE, 1)) << "even where an object would take it";
   EXPECT_THAT(modes_, ElementsAre(MODE_SET_RESERVE1, MODE_SET_FREE));
   send(message(AgentX::kAgentXCommitSet, {}));
   EXPECT_EQ(outcome(receive()), Outcome(SNMP_ERR_COMMITFAILED, 0));
   send(message(AgentX::kAgentXUndoSet, {}));
   EXPECT_EQ(outcome(receive()), Outcome(SNMP_ERR_UNDOFAILED, 0));
   send(message(AgentX::kAgentXTestSet, {}));
   EXPECT_EQ(outcome(receive()), Outcome(SNMP_ERR_NOERROR, 0)) << "nothing at all can be set";
   send(message(AgentX::kAgentXCleanupSet, {}));
   send(message(AgentX::kAgentXGet, kGet));
   EXPECT_EQ(outcome(receive()), Outcome(SNMP_ERR_NOERROR, 0)) << "a CleanupSet has no answer";
   EXPECT_THAT(modes_, ElementsAre(MODE_SET_RESERVE1, MODE_SET_FREE, MODE_GET));
}

TEST_F(SubagentTest, aBurstOfSetsAndGetsIsAnsweredOneByOne) {
   start();
   serve(1, "", HANDLER_CAN_RWRITE);
   takeOn();
   constexpr int kRounds = 200;
   Octets burst;
   for (int i = 0; i < kRounds; ++i) {
      for (Octets const& one : {message(AgentX::kAgentXTestSet, kVariable), message(AgentX::kAgentXGet, kGet),
                                message(AgentX::kAgentXCleanupSet, {}), message(AgentX::kAgentXResponse, Octets(8))}) {
         burst.insert(burst.end(), one.begin(), one.end());
      }
   }
   send(burst);
   for (int i = 0; i < kRounds; ++i) {
      EXPECT_EQ(outcome(receive()), Outcome(SNMP_ERR_NOTWRITABLE, 1));
      EXPECT_EQ(outcome(receive()), Outcome(SNMP_ERR_NOERROR, 0));
   }
}

TEST_F(SubagentTest, whatLiesBehindTheRangeIsNotThere) {
   start();
   serve(1);
   takeOn();
   auto const typeOfFirst = [](Message const& response) {
      return (response.flags & AgentX::kAgentXNetworkByteOrder) != 0 ? response.payload[9] : response.payload[8];
   };
   Octets const begin = objectIdentifier({1});
   send(message(AgentX::kAgentXGetNext, joined({begin, kNoEnd})));
   EXPECT_EQ(typeOfFirst(receive()), ASN_INTEGER);
   send(message(AgentX::kAgentXGetNext, joined({begin, objectIdentifier({2})})));
   EXPECT_EQ(typeOfFirst(receive()), ASN_INTEGER);
   send(message(AgentX::kAgentXGetNext, joined({begin, objectIdentifier({1, 1})})));
   EXPECT_EQ(typeOfFirst(receive()), SNMP_ENDOFMIBVIEW) << "the end is not part of the range";
   send(message(AgentX::kAgentXGetBulk, joined({{0, 0, 0, 1}, begin, objectIdentifier({1, 1})})));
   EXPECT_EQ(typeOfFirst(receive()), SNMP_ENDOFMIBVIEW);
   send(message(AgentX::kAgentXGetBulk, joined({{0, 0, 0, 1}, begin, objectIdentifier({2})})));
   EXPECT_EQ(typeOfFirst(receive()), ASN_INTEGER);
}

}  // namespace
