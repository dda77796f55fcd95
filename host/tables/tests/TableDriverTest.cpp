// SPDX-License-Identifier: MIT
/// A table of a module, answered by the driver: a real agent and real requests.
#include "host/tables/TableDriver.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <array>
#include <memory>
#include <optional>

#include "host/tables/tests/TestRows.h"
#include "tests/support/TestAgent.h"

namespace Host {
namespace {

using testing::Each;
using testing::ElementsAre;
using TestSupport::Answer;
using TestSupport::Index;
using TestSupport::Oid;
using TestSupport::TestRows;
using TestSupport::Varbind;

constexpr std::array<oid, 8> kTable{1, 3, 6, 1, 4, 1, 99999, 1};
constexpr std::array<oid, 9> kBehind{1, 3, 6, 1, 4, 1, 99999, 2, 0};

Oid name(std::initializer_list<oid> rest) {
   Oid oid(kTable.begin(), kTable.end());
   oid.insert(oid.end(), rest);
   return oid;
}

/// What the module's request handler was called with.
struct Calls {
   unsigned variables = 0;
   unsigned sets = 0;
   bool isAlone = true;
   std::string refused;  ///< a row that it answers with `refusal`
   int refusal = 0;
};
Calls calls;

int answerRow(netsnmp_mib_handler* /*handler*/, netsnmp_handler_registration* /*registration*/,
              netsnmp_agent_request_info* info, netsnmp_request_info* requests) {
   if (info->mode != MODE_GET) {
      ++calls.sets;
      netsnmp_set_request_error(info, requests, SNMP_ERR_NOTWRITABLE);
      return SNMP_ERR_NOERROR;
   }
   ++calls.variables;
   calls.isAlone = calls.isAlone && !requests->next;
   auto const* const row = static_cast<std::string const*>(netsnmp_extract_iterator_context(requests));
   if (!row) return SNMP_ERR_NOERROR;
   if (*row == calls.refused) {
      netsnmp_request_set_error(requests, calls.refusal);
      return calls.refusal == SNMP_ERR_GENERR ? SNMP_ERR_GENERR : SNMP_ERR_NOERROR;
   }
   // As handlers do that keep something for a request.
   netsnmp_request_add_list_data(requests, netsnmp_create_data_list("kept", nullptr, nullptr));
   std::string const text = fmt::format("{}{}", *row, netsnmp_extract_table_info(requests)->colnum);
   if (netsnmp_extract_table_info(requests)->colnum == 4) {
      counter64 const value{0, 7};
      snmp_set_var_typed_value(requests->requestvb, ASN_COUNTER64, &value, sizeof value);
   } else {
      snmp_set_var_typed_value(requests->requestvb, ASN_OCTET_STR, text.data(), text.size());
   }
   return SNMP_ERR_NOERROR;
}

int answerScalar(netsnmp_mib_handler* /*handler*/, netsnmp_handler_registration* /*registration*/,
                 netsnmp_agent_request_info* info, netsnmp_request_info* requests) {
   if (info->mode == MODE_GET) snmp_set_var_typed_integer(requests->requestvb, ASN_INTEGER, 42);
   return SNMP_ERR_NOERROR;
}

/// Nothing is found by way of the iterator: what is answered is the driver's.
netsnmp_variable_list* noRow(void** /*loop*/, void** /*data*/, netsnmp_variable_list* /*index*/,
                             netsnmp_iterator_info* /*info*/) {
   return nullptr;
}

netsnmp_handler_registration* registerTable() {
   auto* const registration =
         netsnmp_create_handler_registration("testTable", &answerRow, kTable.data(), kTable.size(), HANDLER_CAN_RWRITE);
   auto* const table = SNMP_MALLOC_TYPEDEF(netsnmp_table_registration_info);
   netsnmp_table_helper_add_indexes(table, ASN_UNSIGNED, ASN_UNSIGNED, 0);
   table->min_column = 1;
   table->max_column = 5;
   auto* const iterator = SNMP_MALLOC_TYPEDEF(netsnmp_iterator_info);
   iterator->get_first_data_point = &noRow;
   iterator->get_next_data_point = &noRow;
   iterator->table_reginfo = table;
   iterator->flags |= NETSNMP_HANDLER_OWNS_IINFO;
   EXPECT_EQ(netsnmp_register_table_iterator(registration, iterator), MIB_REGISTERED_OK);
   return registration;
}

class TableDriverTest : public testing::Test {
 protected:
   static void SetUpTestSuite() { agent = new TestSupport::TestAgent; }
   static void TearDownTestSuite() {
      delete agent;
      agent = nullptr;
   }

   TableDriverTest() : registration_(registerTable()) {
      calls = {};
      netsnmp_register_instance(netsnmp_create_handler_registration("behind", &answerScalar, kBehind.data(),
                                                                    kBehind.size(), HANDLER_CAN_RONLY));
      auto rows = std::make_unique<TestRows>(TestRows{{{1, 1}, "row-a"}, {{1, 5}, "row-b"}, {{2, 0}, "row-c"}});
      rows_ = rows.get();
      Snmp::orderedRowsIs(registration_, std::move(rows));
      EXPECT_TRUE(TableDriver::drive(*registration_));
   }
   ~TableDriverTest() override {
      agent->versionIs(SNMP_VERSION_2c);
      netsnmp_ds_set_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_MAX_GETBULKRESPONSES, 0);
      netsnmp_ds_set_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_MSG_SEND_MAX, 65'507);
      unregister_mib(const_cast<oid*>(kBehind.data()), kBehind.size());
      netsnmp_unregister_handler(registration_);
      Snmp::orderedRowsIs(registration_, nullptr);
   }

   static inline TestSupport::TestAgent* agent = nullptr;
   netsnmp_handler_registration* registration_;
   TestRows* rows_;
};

TEST_F(TableDriverTest, aRegistrationWithoutAnOfferKeepsItsChain) {
   std::array<oid, 8> const other{1, 3, 6, 1, 4, 1, 99999, 9};
   auto* const registration =
         netsnmp_create_handler_registration("other", &answerScalar, other.data(), other.size(), HANDLER_CAN_RONLY);
   auto* const handler = registration->handler;
   EXPECT_FALSE(TableDriver::drive(*registration)) << "no rows are offered";
   Snmp::orderedRowsIs(registration, std::make_unique<TestRows>(TestRows{}));
   EXPECT_FALSE(TableDriver::drive(*registration)) << "it is no table of the iterator";
   EXPECT_EQ(registration->handler, handler);
   EXPECT_EQ(registration->modes & HANDLER_CAN_GETBULK, 0);
   Snmp::orderedRowsIs(registration, nullptr);
   netsnmp_handler_registration_free(registration);
}

TEST_F(TableDriverTest, itStandsOnTopAndTakesGetBulkWhole) {
   EXPECT_STREQ(registration_->handler->handler_name, "ordered_rows");
   EXPECT_NE(registration_->modes & HANDLER_CAN_GETBULK, 0);
}

TEST_F(TableDriverTest, getAnswersEachVariableOfAMessageThroughTheModulesHandler) {
   auto const answer = agent->get({name({1, 1, 1, 5}), name({1, 3, 2, 0}), name({1, 4, 1, 1})});
   EXPECT_EQ(answer.status, 0);
   EXPECT_THAT(answer.varbinds, ElementsAre(Varbind{name({1, 1, 1, 5}), "OCTETS \"row-b1\""},
                                            Varbind{name({1, 3, 2, 0}), "OCTETS \"row-c3\""},
                                            Varbind{name({1, 4, 1, 1}), "Counter64 7"}));
   EXPECT_EQ(calls.variables, 3U);
   EXPECT_TRUE(calls.isAlone);
}

TEST_F(TableDriverTest, getSaysWhetherTheObjectOrTheInstanceIsMissing) {
   for (auto const& missing :
        {name({}), name({1}), name({2, 1, 1, 1}), name({1, 0, 1, 1}), name({1, 6, 1, 1}), name({0, 1, 1, 1})}) {
      EXPECT_EQ(agent->get({missing}).varbinds.front().value, "noSuchObject") << fmt::format("{}", missing.size());
   }
   for (auto const& missing :
        {name({1, 1}), name({1, 1, 1}), name({1, 1, 1, 2}), name({1, 1, 1, 1, 0}), name({1, 3, 4'294'967'295, 1})}) {
      EXPECT_EQ(agent->get({missing}).varbinds.front().value, "noSuchInstance") << fmt::format("{}", missing.size());
   }
   EXPECT_EQ(calls.variables, 0U);
}

TEST_F(TableDriverTest, aWalkGoesDownTheColumnsThatAreServedAndThenOn) {
   std::vector<std::string> values;
   Oid at = name({});
   while (values.size() < 10) {
      auto const next = agent->getNext({at}).varbinds.front();
      values.push_back(next.value);
      if (next.name.size() != name({}).size() + 4) break;
      at = next.name;
   }
   EXPECT_THAT(values, ElementsAre("OCTETS \"row-a1\"", "OCTETS \"row-b1\"", "OCTETS \"row-c1\"", "OCTETS \"row-a3\"",
                                   "OCTETS \"row-b3\"", "OCTETS \"row-c3\"", "Counter64 7", "Counter64 7",
                                   "Counter64 7", "INTEGER 42"));
   EXPECT_EQ(calls.variables, 9U) << "column 2 is not served: no row of it is looked at";
}

TEST_F(TableDriverTest, getNextFindsItsRowWithOneLookUpFromAnyIndex) {
   for (auto const& [from, to] : std::vector<std::pair<Oid, Oid>>{{name({1, 1, 1, 1}), name({1, 1, 1, 5})},
                                                                  {name({1, 1, 1, 3}), name({1, 1, 1, 5})},
                                                                  {name({1, 1, 1}), name({1, 1, 1, 1})},
                                                                  {name({1, 1, 1, 5, 9, 9}), name({1, 1, 2, 0})},
                                                                  {name({1, 2, 7}), name({1, 3, 1, 1})},
                                                                  {name({1, 0}), name({1, 1, 1, 1})},
                                                                  {name({0, 9}), name({1, 1, 1, 1})}}) {
      rows_->seeks = 0;
      EXPECT_EQ(agent->getNext({from}).varbinds.front().name, to);
      EXPECT_EQ(rows_->seeks, 1U);
   }
}

TEST_F(TableDriverTest, aGetBulkIsOnePassOverTheRows) {
   auto const answer = agent->getBulk({name({1, 1}), name({1, 3})}, 0, 3);
   std::vector<std::string> values;
   for (auto const& varbind : answer.varbinds) values.push_back(varbind.value);
   EXPECT_THAT(values, ElementsAre("OCTETS \"row-a1\"", "OCTETS \"row-a3\"", "OCTETS \"row-b1\"", "OCTETS \"row-b3\"",
                                   "OCTETS \"row-c1\"", "OCTETS \"row-c3\""));
   EXPECT_EQ(rows_->seeks, 1U);
   EXPECT_EQ(rows_->steps, 2U);
   EXPECT_EQ(calls.variables, 6U);
}

TEST_F(TableDriverTest, aGetBulkGoesOnBehindTheTable) {
   auto const answer = agent->getBulk({name({1, 4, 1, 5})}, 0, 2);
   ASSERT_EQ(answer.varbinds.size(), 2U);
   EXPECT_EQ(answer.varbinds[0].name, name({1, 4, 2, 0}));
   EXPECT_EQ(answer.varbinds[1].name, Oid(kBehind.begin(), kBehind.end()));
}

TEST_F(TableDriverTest, aGetBulkComputesNoMoreThanFitsIntoItsAnswer) {
   for (unsigned long n = 0; n < 1000; ++n) rows_->rows[{3, n}] = std::string(100, 'x');
   netsnmp_ds_set_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_MAX_GETBULKRESPONSES, 1000);
   netsnmp_ds_set_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_MSG_SEND_MAX, 1'472);
   auto const answer = agent->getBulk({name({1, 1, 2, 0})}, 0, 1000);
   EXPECT_GT(answer.varbinds.size(), 9U);
   EXPECT_LE(calls.variables, answer.varbinds.size() + 2);
}

TEST_F(TableDriverTest, aCounter64IsNotThereForSnmpV1) {
   agent->versionIs(SNMP_VERSION_1);
   auto const next = agent->getNext({name({1, 3, 2, 0})}).varbinds.front();
   EXPECT_EQ(next.name, Oid(kBehind.begin(), kBehind.end()));
   EXPECT_EQ(calls.variables, 0U) << "not one row of the column is looked at";
}

TEST_F(TableDriverTest, anErrorOfTheHandlerIsTheAnswersError) {
   calls.refused = "row-b";
   calls.refusal = SNMP_ERR_GENERR;
   auto const answer = agent->getNext({name({1, 1}), name({1, 3, 1, 1})});
   EXPECT_EQ(answer.status, SNMP_ERR_GENERR);
   EXPECT_EQ(answer.index, 2);
}

TEST_F(TableDriverTest, aWalkStepsOverARowThatTheHandlerHasNot) {
   calls.refused = "row-b";
   calls.refusal = SNMP_NOSUCHINSTANCE;
   EXPECT_EQ(agent->getNext({name({1, 1, 1, 1})}).varbinds.front().name, name({1, 1, 2, 0}));
   calls.refusal = SNMP_NOSUCHOBJECT;
   EXPECT_EQ(agent->getNext({name({1, 1, 1, 1})}).varbinds.front().name, name({1, 3, 1, 1}))
         << "and over a column that it has not";
}

TEST_F(TableDriverTest, aSetGoesDownTheModulesOwnChain) {
   auto const answer = agent->set({{name({1, 1, 1, 1}), ASN_OCTET_STR, {'x'}}});
   EXPECT_EQ(answer.status, SNMP_ERR_NOTWRITABLE);
   EXPECT_GT(calls.sets, 0U);
}

TEST_F(TableDriverTest, anEmptyTableHasNothingToWalk) {
   rows_->rows.clear();
   EXPECT_EQ(agent->getNext({name({})}).varbinds.front().name, Oid(kBehind.begin(), kBehind.end()));
   EXPECT_EQ(agent->get({name({1, 1, 1, 1})}).varbinds.front().value, "noSuchInstance");
}

TEST_F(TableDriverTest, noRowIsHeldBetweenMessages) {
   agent->get({name({1, 1, 1, 1})});
   EXPECT_FALSE(rows_->isAtRow());
   agent->getBulk({name({1, 1})}, 0, 2);
   EXPECT_FALSE(rows_->isAtRow());
}

}  // namespace
}  // namespace Host
