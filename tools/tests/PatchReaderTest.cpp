// SPDX-License-Identifier: MIT
#include "tools/PatchReader.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include "tools/StateLayout.h"

namespace Tools {
namespace {

using ::testing::ElementsAre;

/// The patches of a text that comes through a pipe, each with its line in front.
std::vector<std::string> patchesOf(std::string const& text) {
   int ends[2];
   EXPECT_EQ(pipe(ends), 0);
   EXPECT_EQ(write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
   close(ends[1]);
   PatchReader reader(ends[0]);
   std::vector<std::string> patches;
   while (auto const patch = reader.next()) patches.push_back(patch->place() + ": " + patch->asLine());
   close(ends[0]);
   return patches;
}

TEST(PatchReader, ObjectsAreCutHoweverTheyAreLaidOut) {
   EXPECT_THAT(patchesOf("{}\n{\"a\": {\"b\": [1]}}\n"), ElementsAre("line 1: {}", "line 2: {\"a\": {\"b\": [1]}}"));
   EXPECT_THAT(patchesOf("\n\n{\n \"a\": 1\n}\r\n\n{}{}"),
               ElementsAre("line 3: {  \"a\": 1 }", "line 7: {}", "line 7: {}"));
   EXPECT_THAT(patchesOf(" \n\t"), ElementsAre());
}

TEST(PatchReader, BracketsInsideATextDoNotCount) {
   EXPECT_THAT(patchesOf("{\"}{\\\"}\\\\\": 1}{}"), ElementsAre("line 1: {\"}{\\\"}\\\\\": 1}", "line 1: {}"));
}

TEST(PatchReader, WhatIsNoObjectGoesLineByLine) {
   EXPECT_THAT(patchesOf("up\n{}\n[1,\n"), ElementsAre("line 1: up", "line 2: {}", "line 3: [1,"));
   EXPECT_THAT(patchesOf("}\n{}"), ElementsAre("line 1: }", "line 2: {}"));
}

TEST(PatchReader, AnObjectWithoutItsEndGoesToTheEnd) {
   EXPECT_THAT(patchesOf("{}\n{\n{}\n"), ElementsAre("line 1: {}", "line 2: { {} "));
}

TEST(Patch, AColumnOfTheLineIsFoundInTheFile) {
   Patch const patch{"{\n  \"\u00e9\": x\n}", 5};
   EXPECT_EQ(patch.place(), "line 5");
   EXPECT_EQ(patch.place(1), "line 5, column 1");
   EXPECT_EQ(patch.place(3), "line 6, column 1");
   EXPECT_EQ(patch.place(10), "line 6, column 8") << "the x";
   EXPECT_EQ(patch.place(99), "line 7, column 2") << "behind the end";
}

std::string laidOut(std::string_view document) {
   std::string text;
   layOutState(document, [&](std::string_view piece) { text += piece; });
   return text;
}

TEST(StateLayout, EachEntryGetsALineOfItsOwn) {
   EXPECT_EQ(laidOut("{}"), "{\n}\n");
   EXPECT_EQ(
         laidOut(
               R"({"pathSpec":{"cli:a\",{":{"name":"}, {"},"cli:b":{}},"spIdForLspRequestConfigId":{"x":"y","z":3}})"),
         "{\n"
         "  \"pathSpec\": {\n"
         "    \"cli:a\\\",{\": {\"name\":\"}, {\"},\n"
         "    \"cli:b\": {}\n"
         "  },\n"
         "  \"spIdForLspRequestConfigId\": {\n"
         "    \"x\": \"y\",\n"
         "    \"z\": 3\n"
         "  }\n"
         "}\n");
   EXPECT_EQ(laidOut(R"({"lspRequestStatus":{"r":{"errors":[{"code":1,"value":2},{"code":3,"value":4}]}}})"),
             "{\n  \"lspRequestStatus\": {\n"
             "    \"r\": {\"errors\":[{\"code\":1,\"value\":2},{\"code\":3,\"value\":4}]}\n  }\n}\n");
}

}  // namespace
}  // namespace Tools
