// SPDX-License-Identifier: MIT
#include "host/publish/Request.h"

#include <gmock/gmock.h>

namespace Publish {
namespace {

using ::testing::EndsWith;
using ::testing::StartsWith;
using Kind = Request::Kind;

std::string refusedRequest(std::string line) {
   Request const request = requestFrom(std::move(line));
   return request.kind == Kind::refused ? request.text : "accepted";
}

TEST(Request, WhatIsNoRequestIsAPatchForTheStore) {
   for (char const* const line : {"{}", "{\"pathSpec\": {}}", "{\"pathSpec\": {}, \"$state\": null}", "5", "[]", "{",
                                  "}", "nonsense", "{\"pathSpec", "{\"a\" 1}", "\xff", "\xef\xbb\xbf{}"}) {
      Request const request = requestFrom(line);
      EXPECT_EQ(request.kind, Kind::patch) << line;
      EXPECT_EQ(request.text, line);
   }
}

TEST(Request, ADocumentStaysAtItsPlaceInTheLine) {
   Request const request = requestFrom("{\"$replace\": {\"spStatus\": {}}} \r");
   EXPECT_EQ(request.kind, Kind::replace);
   EXPECT_EQ(request.text, "             {\"spStatus\": {}}" + std::string());
   EXPECT_THAT(requestFrom("\xef\xbb\xbf {\"\\u0024replace\":{}}").text, EndsWith("  {}"));
   EXPECT_THAT(requestFrom("{\"$replace\":{}, \"x\":{}}").text, EndsWith(" {}, \"x\":{}")) << "the store refuses it";
}

TEST(Request, QuestionsAreKnownByTheirNames) {
   EXPECT_EQ(requestFrom("{\"$state\": null}").kind, Kind::state);
   EXPECT_EQ(requestFrom(" { \"$status\" : null } ").kind, Kind::status);
   Request const trace = requestFrom("{\"$trace\": \"mplsTeStdMIB=0-2\"}\r");
   EXPECT_EQ(trace.kind, Kind::trace);
   EXPECT_EQ(trace.text, "mplsTeStdMIB=0-2");
   EXPECT_EQ(requestFrom("{\"$events\": null}").kind, Kind::events);
   EXPECT_EQ(requestFrom("{\"$events\": null}").text, "");
   EXPECT_EQ(requestFrom("{\"$events\": 18446744073709551615}").kind, Kind::events);
   EXPECT_EQ(requestFrom("{\"$events\": 18446744073709551615}").text, "18446744073709551615");
   EXPECT_EQ(requestFrom("{\"$events\": -1}").kind, Kind::refused);
   EXPECT_EQ(requestFrom("{\"$events\": \"7\"}").kind, Kind::refused);
   EXPECT_EQ(requestFrom("{\"$trace\": null}").kind, Kind::traces);
}

TEST(Request, OtherRequestsAreRefusedWithTheReason) {
   EXPECT_EQ(refusedRequest("{\"$everything\": null}"),
             "/$everything: there is no such request; there are $replace, $state, $status, $events and $trace");
   EXPECT_EQ(refusedRequest("{\"$State\": null}"), "/$State: there is no such request; \"$state\" is probably meant");
   EXPECT_EQ(refusedRequest("{\"$state\": {}}"), "/$state: expected null but found an object");
   EXPECT_EQ(refusedRequest("{\"$trace\": 3}"), "/$trace: expected HANDLE=LEVELS or null but found 3");
   EXPECT_EQ(refusedRequest("{\"$status\": null, \"pathSpec\": {}}"),
             "/$status/pathSpec: nothing else may stand beside $status");
   EXPECT_THAT(refusedRequest("{\"$status\": null"), StartsWith("column 17: "));
   EXPECT_THAT(refusedRequest("{\"$status\": null} {}"), StartsWith("column 19: "));
   EXPECT_THAT(refusedRequest("{\"$state\""), StartsWith("accepted")) << "the store refuses it";
}

TEST(Request, AQuestionIsKnownByItsFirstName) {
   for (char const* const line :
        {R"({"$status":null})", R"( { "$state" : null})", R"({"$trace":"x=1"})", R"({"$no")"}) {
      EXPECT_TRUE(isQuestion(line)) << line;
   }
   for (char const* const line :
        {"", "{", "[]", R"({"$replace":{}})", R"({"pathSpec":{"$status":null}})", R"("$status")"}) {
      EXPECT_FALSE(isQuestion(line)) << line;
   }
}

TEST(Request, EmptyLinesAreToldFromOthers) {
   for (char const* const line : {"", "\r", " \t\r"}) EXPECT_TRUE(isBlank(line));
   EXPECT_FALSE(isBlank(" {"));
   EXPECT_FALSE(isBlank("\f"));
}

TEST(Request, AnswersAreLinesOfJson) {
   EXPECT_EQ(changedAnswer(3), "{\"ok\":true,\"changed\":3}\n");
   EXPECT_EQ(doneAnswer(), "{\"ok\":true}\n");
   EXPECT_EQ(statusAnswer("{\"pid\":1}"), "{\"ok\":true,\"status\":{\"pid\":1}}\n");
   EXPECT_EQ(errorAnswer("/pathSpec: \"x\" \xff"), "{\"ok\":false,\"error\":\"/pathSpec: \\\"x\\\" \xef\xbf\xbd\"}\n");
   EXPECT_EQ(withoutLine("line 1, column 5: what"), "column 5: what");
   EXPECT_EQ(withoutLine("/spStatus: what"), "/spStatus: what");
}

}  // namespace
}  // namespace Publish
