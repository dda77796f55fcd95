// SPDX-License-Identifier: MIT
/// The document in steps, and in the queue's turn.
#include "host/store/DocumentWriter.h"

#include "host/store/ChangeQueue.h"
#include "host/store/tests/StoreFixture.h"

namespace Store {
namespace {

using ::testing::ElementsAre;

class DocumentWriterTest : public StoreTest {
 protected:
   std::string written(Layout const& layout, std::size_t steps) {
      std::string text;
      DocumentWriter writer(store, layout);
      while (!writer.writeSome(text, steps)) ++pauses;
      return text;
   }
   int pauses = 0;
};

TEST_F(DocumentWriterTest, AStateWithNothingInItIsAnEmptyObject) {
   EXPECT_EQ(written(kLines, 1), "{\n}\n");
   EXPECT_EQ(written(kOneLine, 1), "{}");
}

TEST_F(DocumentWriterTest, EveryEntryHasALineOfItsOwnOrAllAreOnOne) {
   patch({{"spStatus", {{"10.0.0.9/2/10.0.0.1/1", {{"holdingPriority", 3}}}}},
          {"pathSpec", {{"cli:b", Json::object()}, {"cli:a", {{"type", "explicit"}}}}}});
   EXPECT_EQ(written(kLines, 1),
             "{\n"
             "  \"pathSpec\": {\n"
             "    \"cli:a\": {\"type\":\"explicit\"},\n"
             "    \"cli:b\": {}\n"
             "  },\n"
             "  \"spStatus\": {\n"
             "    \"10.0.0.9/2/10.0.0.1/1\": {\"holdingPriority\":3}\n"
             "  }\n"
             "}\n");
   EXPECT_EQ(written(kOneLine, 1), R"({"pathSpec":{"cli:a":{"type":"explicit"},"cli:b":{}},)"
                                   R"("spStatus":{"10.0.0.9/2/10.0.0.1/1":{"holdingPriority":3}}})");
}

TEST_F(DocumentWriterTest, TheStepsMakeTheSameDocument) {
   replace(Json::parse(example("headend.json")));
   std::string const whole = written(kLines, DocumentWriter::kAll);
   EXPECT_EQ(pauses, 0);
   EXPECT_EQ(written(kLines, 1), whole);
   EXPECT_GT(pauses, 200) << "each entry is found and written";
   EXPECT_EQ(Json::parse(written(kOneLine, 7)), Json::parse(whole));
   EXPECT_EQ(replace(Json::parse(whole)), 0U);
}

TEST_F(DocumentWriterTest, InTheQueueItIsTheStateBetweenTwoDocuments) {
   auto const tasks = Orb::TaskSchedulerRoot::findOrCreateScheduler();
   tasks->yieldPolicyIs([] { return true; });
   ChangeQueue queue(store);
   DocumentWriter writer(store, kOneLine);
   std::string text;
   auto const ignore = [](auto const&) {};
   queue.add(ChangeKind::patch, R"({"pathSpec": {"cli:a": {}, "cli:b": {}}})", ignore);
   queue.add([&](Orb::Task&) { return writer.writeSome(text, 1); });
   queue.add(ChangeKind::patch, R"({"pathSpec": {"cli:a": null, "cli:c": {}}})", ignore);
   EXPECT_EQ(queue.waiting(), 3U);
   tasks->runAll();
   tasks->yieldPolicyIs(nullptr);
   EXPECT_EQ(queue.waiting(), 0U);
   EXPECT_EQ(text, R"({"pathSpec":{"cli:a":{},"cli:b":{}}})");
   EXPECT_EQ(state()["pathSpec"], Json::parse(R"({"cli:b":{},"cli:c":{}})"));
}

}  // namespace
}  // namespace Store
