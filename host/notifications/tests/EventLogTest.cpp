// SPDX-License-Identifier: MIT
/// The latest events, by their numbers.
#include "host/notifications/EventLog.h"

#include <gtest/gtest.h>

namespace Notifications {
namespace {

EventLog filled(std::size_t most, int events) {
   EventLog log(most);
   for (int n = 1; n <= events; ++n) log.add(std::to_string(n));
   return log;
}

TEST(EventLog, AnEmptyOneHasNothing) {
   EventLog const log;
   EXPECT_EQ(log.last(), 0U);
   EXPECT_FALSE(log.hasMore(0));
   EXPECT_EQ(log.latest(), R"("events":[],"last":0,"missed":0)");
}

TEST(EventLog, TellsWhatIsBehindANumber) {
   auto const log = filled(10, 3);
   EXPECT_EQ(log.text(0), R"("events":[1,2,3],"last":3,"missed":0)");
   EXPECT_EQ(log.text(2), R"("events":[3],"last":3,"missed":0)");
   EXPECT_TRUE(log.hasMore(2));
   EXPECT_FALSE(log.hasMore(3));
}

TEST(EventLog, SaysHowManyHaveGone) {
   auto const log = filled(2, 5);
   EXPECT_EQ(log.text(0), R"("events":[4,5],"last":5,"missed":3)");
   EXPECT_EQ(log.text(4), R"("events":[5],"last":5,"missed":0)");
   EXPECT_EQ(log.latest(), R"("events":[4,5],"last":5,"missed":0)");
}

TEST(EventLog, ANumberThatIsStillToComeIsTheLast) {
   EXPECT_EQ(filled(2, 1).text(9), R"("events":[],"last":1,"missed":0)");
}

TEST(EventLog, AnAnswerHasSoManyAndTheNextTheRest) {
   auto const most = static_cast<int>(EventLog::kMostInAnswer);
   auto const log = filled(1000, most + 1);
   EXPECT_NE(log.text(0).find("\"last\":" + std::to_string(most)), std::string::npos);
   EXPECT_EQ(log.text(EventLog::kMostInAnswer),
             "\"events\":[" + std::to_string(most + 1) + "],\"last\":" + std::to_string(most + 1) + ",\"missed\":0");
   EXPECT_EQ(log.latest().find("[2,"), std::string("\"events\":").size());
}

}  // namespace
}  // namespace Notifications
