// SPDX-License-Identifier: MIT
#include "host/store/JsonReader.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host/store/Closest.h"

namespace Store {
namespace {

/// The message of what is thrown, or an empty one.
template <class F>
std::string errorOf(F&& f) {
   try {
      f();
   } catch (StateError const& error) {
      return error.what();
   }
   return {};
}

/// Takes one value of any type, and nothing behind it.
void takeAny(JsonReader& in) {
   using Kind = JsonReader::Kind;
   switch (in.kind()) {
      case Kind::object:
         return in.object("an object", [&](std::string_view) { takeAny(in); });
      case Kind::array:
         return in.array("an array", [&] { takeAny(in); });
      case Kind::text:
         in.text();
         return;
      case Kind::number:
         in.number();
         return;
      case Kind::boolean:
         in.boolean();
         return;
      case Kind::null:
         in.takeNull();
         return;
   }
}

std::string errorOfText(std::string_view text) {
   return errorOf([&] {
      JsonReader in(text);
      takeAny(in);
      in.end();
   });
}

TEST(JsonReader, SyntaxErrorsNameLineAndColumn) {
   EXPECT_EQ(errorOfText(""), "line 1, column 1: the text is empty");
   EXPECT_EQ(errorOfText(" \n "), "line 2, column 2: the text is empty");
   EXPECT_EQ(errorOfText("{"), "line 1, column 2: the text ends too early");
   EXPECT_EQ(errorOfText("{\"a\": 1,\n  \"b\" 2}"), "line 2, column 7: expected \":\" but found \"2\"");
   EXPECT_EQ(errorOfText("{\"a\": 1,\n \"b\": 2,\n}"), "line 3, column 1: expected a name in quotes but found \"}\"");
   EXPECT_EQ(errorOfText("{a: 1}"), "line 1, column 2: expected a name in quotes but found \"a\"");
   EXPECT_EQ(errorOfText("{\"a\": 1 \"b\": 2}"), "line 1, column 9: expected \",\" or \"}\" but found \"\"\"");
   EXPECT_EQ(errorOfText("{\"a\": 'x'}"), "line 1, column 7: expected a value but found \"'\"");
   EXPECT_EQ(errorOfText("[1, 2"), "line 1, column 6: the text ends too early");
   EXPECT_EQ(errorOfText("[1, ]"), "line 1, column 5: expected a value but found \"]\"");
   EXPECT_EQ(errorOfText("[1}"), "line 1, column 3: expected \",\" or \"]\" but found \"}\"");
   EXPECT_EQ(errorOfText("tru"), "line 1, column 4: the text ends too early");
   EXPECT_EQ(errorOfText("[trve]"), "line 1, column 2: this is neither true, false nor null");
   EXPECT_EQ(errorOfText("[01]"), "line 1, column 2: \"01\" is not a number");
   EXPECT_EQ(errorOfText("[1.]"), "line 1, column 2: \"1.\" is not a number");
   EXPECT_EQ(errorOfText("[--1]"), "line 1, column 2: \"--1\" is not a number");
   EXPECT_EQ(errorOfText("{} {}"), "line 1, column 4: there is something behind the end of the document");
   EXPECT_EQ(errorOfText(std::string_view("{}\0", 3)),
             "line 1, column 3: there is something behind the end of the document");
   EXPECT_EQ(errorOfText("\xff"), "line 1, column 1: expected a value but found octet 0xff");
   EXPECT_EQ(errorOfText("\"abc"), "line 1, column 5: the text ends too early");
   EXPECT_EQ(errorOfText("\"abc\\"), "line 1, column 6: the text ends too early");
   EXPECT_EQ(errorOfText("\"abc\\u00"), "line 1, column 9: the text ends too early");
   EXPECT_EQ(errorOfText("\"a\nb\""),
             "line 1, column 3: invalid string: control character U+000A (LF) must be escaped to \\u000A or \\n");
   EXPECT_EQ(errorOfText("[\"\\x\"]"), "line 1, column 4: invalid string: forbidden character after backslash");
   EXPECT_EQ(errorOfText("[\"é\xff\"]"), "line 1, column 4: invalid string: ill-formed UTF-8 byte");
}

TEST(JsonReader, ColumnsCountCharacters) {
   EXPECT_EQ(errorOfText("\n\n{\"Zürich–北京\": ]"), "line 3, column 15: expected a value but found \"]\"");
}

TEST(JsonReader, TakesWhatTheLibraryTakesAndRefusesWhatItRefuses) {
   for (std::string const text : {"{}",
                                  "[]",
                                  "[[]]",
                                  "{\"\":{}}",
                                  "null",
                                  "true",
                                  "false",
                                  "0",
                                  "10",
                                  "0.5",
                                  "1e3",
                                  "1E+3",
                                  "1.5e-3",
                                  "\"\"",
                                  "\"\\u00e9\\ud83d\\ude00\\n\\\"\\\\\\/\"",
                                  "\"\\ud800\"",
                                  "\"\\udc00x\"",
                                  "\"\x7f\"",
                                  "\"\x1f\"",
                                  "\"\xc0\x80\"",
                                  "\"\xed\xa0\x80\"",
                                  "\"\xf5\x80\x80\x80\"",
                                  "\"é\"",
                                  " [ 1 , 2 ] ",
                                  "[1 2]",
                                  "[,]",
                                  "{,}",
                                  "nul",
                                  "nulll",
                                  "True",
                                  "+1",
                                  ".5",
                                  "1e",
                                  "1e+",
                                  "00",
                                  "0x1",
                                  "1_0",
                                  "Infinity",
                                  "NaN",
                                  "\"",
                                  "\\",
                                  "{\"a\"}",
                                  "{\"a\":}",
                                  "{1:2}",
                                  "{\"a\":1,}",
                                  "/* */ 1",
                                  "1 // x",
                                  "\v1",
                                  "'a'",
                                  "{}}",
                                  "[]]",
                                  "\xef\xbb\xbf{}",
                                  "\xef\xbb{}"}) {
      EXPECT_EQ(errorOfText(text).empty(), nlohmann::json::accept(text)) << text;
   }
}

TEST(JsonReader, TextsComeWithTheirEscapesResolved) {
   JsonReader in(R"(["plain", "", "q\"\\\/\b\f\n\r\t", "\u00e9\ud83d\ude00\u0000x", "é"])");
   std::vector<std::string> texts;
   in.array("texts", [&] { texts.push_back(in.text()); });
   EXPECT_EQ(texts, (std::vector<std::string>{"plain", "", "q\"\\/\b\f\n\r\t", std::string("é😀\0x", 8), "é"}));
}

TEST(JsonReader, IntegersAreIntegersWithinTheirRange) {
   auto const integer = [](std::string_view text, std::uint64_t limit) {
      JsonReader in(text);
      return in.integer(limit);
   };
   EXPECT_EQ(integer("0", 255), 0U);
   EXPECT_EQ(integer("-0", 255), 0U);
   EXPECT_EQ(integer("255", 255), 255U);
   EXPECT_EQ(integer("18446744073709551615", ~std::uint64_t{0}), ~std::uint64_t{0});
   for (std::string const text :
        {"256", "-1", "1.0", "1e2", "0.5", "99999999999999999999999", "\"7\"", "true", "null", "[]"}) {
      std::string const error = errorOf([&] { integer(text, 255); });
      EXPECT_EQ(error, "/: expected an integer from 0 to 255 but found " + (text == "[]" ? "an array" : text));
   }
}

TEST(JsonReader, NumbersAreFiniteAndNotNegative) {
   auto const number = [](std::string_view text) {
      JsonReader in(text);
      return in.number();
   };
   EXPECT_EQ(number("1760000000.25"), 1760000000.25);
   EXPECT_EQ(number("1e3"), 1000.0);
   EXPECT_EQ(number("7"), 7.0);
   EXPECT_EQ(number("-0.0"), 0.0);
   EXPECT_EQ(errorOf([&] { number("1e400"); }), "/: 1e400 is out of range");
   EXPECT_EQ(errorOf([&] { number("-0.5"); }), "/: expected a number that is 0 or more but found -0.5");
   EXPECT_EQ(errorOf([&] { number("\"7\""); }), "/: expected a number that is 0 or more but found \"7\"");
}

TEST(JsonReader, ThePlaceIsTheNamesOnTheWay) {
   JsonReader in(R"({"a": {"b/c": [0, 1, {"d": true}]}})");
   EXPECT_EQ(errorOf([&] {
                in.object("", [&](std::string_view) {
                   in.object("", [&](std::string_view) {
                      in.array("", [&] {
                         if (in.kind() == JsonReader::Kind::number) {
                            in.integer(9);
                         } else {
                            in.object("", [&](std::string_view) { in.text(); });
                         }
                      });
                   });
                });
             }),
             "/a/b/c/2/d: expected a text but found true");
}

TEST(JsonReader, GoesOnWhereItWas) {
   JsonReader in(R"({"a": 1, "b": 2})");
   bool first = true;
   in.beginObject();
   EXPECT_EQ(in.nextMember(first), "a");
   std::size_t const one = in.position();
   EXPECT_EQ(in.integer(9), 1U);
   EXPECT_EQ(in.nextMember(first), "b");
   EXPECT_EQ(in.integer(9), 2U);
   EXPECT_EQ(in.nextMember(first), std::nullopt);
   in.end();
   in.positionIs(one);
   EXPECT_EQ(in.integer(9), 1U);
}

TEST(JsonReader, DeepNestingIsRefusedAtItsFirstBracket) {
   std::string const bomb(1'000'000, '[');
   EXPECT_EQ(errorOf([&] { JsonReader(bomb).beginObject(); }), "/: expected an object but found an array");
}

TEST(Printable, ControlCharactersAreWrittenOut) {
   EXPECT_EQ(printable("a\nb\x1b[31m\x7f"), "a\\x0ab\\x1b[31m\\x7f");
   EXPECT_EQ(printable("\xc2\x9b"
                       "31m \xc2\xa0"),
             "\\xc2\\x9b31m \xc2\xa0");
   EXPECT_EQ(printable("Zürich 北京"), "Zürich 北京");
}

TEST(Printable, LongTextsAreCutBetweenCharacters) {
   EXPECT_EQ(printable("0123456789", 10), "0123456789");
   EXPECT_EQ(printable("0123456789a", 10), "0123456789...");
   EXPECT_EQ(printable("012345678éa", 10), "012345678...");
}

TEST(Closest, FindsWhatWasProbablyMeant) {
   constexpr std::string_view names[] = {"pathSpec", "spStatus", "up"};
   for (std::string_view const name :
        {"PATHSPEC", "pathspec", "pathSpecs", "pathSpe", "athSpec", "patSpec", "pathSpac", "ptahSpec", "pathSpce"}) {
      EXPECT_EQ(closest(name, names), "pathSpec") << name;
   }
   for (std::string_view const name : {"", "path", "paxxSpec", "pathSpecxx", "hpatSpec", "zzzz"}) {
      EXPECT_EQ(closest(name, names), "") << name;
   }
}

TEST(JsonReader, WhatWouldTakeLongToReadIsRefused) {
   auto const textOf = [](std::size_t octets) {
      std::string const text = '"' + std::string(octets, 'x') + '"';
      return errorOf([&] { JsonReader(text).text(); });
   };
   EXPECT_EQ(textOf(32768), "");
   EXPECT_EQ(textOf(32769), "/: the text has more than 32768 octets");
   std::string const name = "{\"" + std::string(32769, 'x') + "\": 1}";
   EXPECT_EQ(errorOf([&] {
                JsonReader in(name);
                takeAny(in);
             }),
             "/: the text has more than 32768 octets");
   auto const numberOf = [](std::size_t digits) {
      std::string const text(digits, '9');
      return errorOf([&] { JsonReader(text).number(); });
   };
   EXPECT_EQ(numberOf(128), "");
   EXPECT_EQ(numberOf(129), "/: the number has more than 128 characters");
}

}  // namespace
}  // namespace Store
