// SPDX-License-Identifier: MIT
// The JSON reader against the JSON library: they take the same texts, and read the same out of them.
#include <cmath>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/store/JsonReader.h"
#include "tests/fuzz/targets/Fuzz.h"

namespace {

using Fuzz::check;
using Json = nlohmann::json;
using Store::JsonReader;

/// What the library reads can be compared when it holds no value that the reader refuses on purpose, and is not so deep
/// that comparing it would overflow our own stack.
struct Limits {
   bool comparable = true;

   void look(Json const& value, unsigned depth = 0) {
      constexpr unsigned kDeepest = 100;
      if (depth > kDeepest) {
         comparable = false;
      } else if (value.is_number()) {
         auto const number = value.get<double>();
         // The library takes what is too small for a double as 0.
         if (number < 0 || (value.is_number_float() && !std::isnormal(number))) comparable = false;
      } else if (value.is_structured()) {
         for (Json const& element : value) look(element, depth + 1);
      }
   }
};

Json read(JsonReader& in);

Json readArray(JsonReader& in) {
   Json value = Json::array();
   in.array("an array", [&] { value.push_back(read(in)); });
   return value;
}

Json readObject(JsonReader& in) {
   Json value = Json::object();
   in.object("an object", [&](std::string_view name) { value[std::string(name)] = read(in); });
   return value;
}

Json readNumber(JsonReader& in) {
   std::size_t const begin = in.position();
   double const number = in.number();
   std::size_t const end = in.position();
   in.positionIs(begin);
   try {
      std::uint64_t const integer = in.integer(~std::uint64_t{0});
      check(in.position() == end, "a number ends where an integer does");
      return integer;
   } catch (Store::StateError const&) {
      in.positionIs(end);
      return number;
   }
}

Json read(JsonReader& in) {
   switch (in.kind()) {
      case JsonReader::Kind::object:
         return readObject(in);
      case JsonReader::Kind::array:
         return readArray(in);
      case JsonReader::Kind::text:
         return in.text();
      case JsonReader::Kind::number:
         return readNumber(in);
      case JsonReader::Kind::boolean:
         return in.boolean();
      case JsonReader::Kind::null:
         check(in.takeNull(), "a null is taken");
         return nullptr;
   }
   std::abort();
}

/// How deep the brackets outside texts go, at most.
unsigned depthOf(std::string_view text) {
   unsigned depth = 0;
   unsigned deepest = 0;
   for (char const c : text) {
      if (c == '[' || c == '{') deepest = std::max(deepest, ++depth);
      if ((c == ']' || c == '}') && depth > 0) --depth;
   }
   return deepest;
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   constexpr unsigned kDeepest = 1000;
   std::string_view const text = Fuzz::textOf(data, size);
   if (depthOf(text) > kDeepest) return 0;
   Json const expected = Json::parse(text, nullptr, false);
   bool const taken = !expected.is_discarded();
   Limits limits;
   if (taken) limits.look(expected);
   if (text.find('\0') != std::string_view::npos) limits.comparable = false;  // the library reads no further
   try {
      JsonReader in(text);
      Json const found = read(in);
      in.end();
      check(taken, "what the library refuses is refused", text);
      if (limits.comparable) check(found == expected, "both read the same", found.dump());
   } catch (Store::StateError const& error) {
      check(!taken || !limits.comparable, "what the library takes is taken", error.what());
      check(std::string_view(error.what()).find_first_of("\n\r\x1b") == std::string_view::npos,
            "a message is one line");
   }
   return 0;
}
