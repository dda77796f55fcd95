// SPDX-License-Identifier: MIT
// What comes over a connection of the publishing socket, up to where a document goes to the store: lines out of pieces
// of any size, and what each of them asks for.
#include <fuzzer/FuzzedDataProvider.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/publish/LineBuffer.h"
#include "host/publish/Request.h"
#include "substrate/trel/Trace.h"
#include "tests/fuzz/targets/Fuzz.h"

namespace {

using Fuzz::check;
using Json = nlohmann::ordered_json;
using Publish::LineBuffer;
using Publish::Request;

/// The lines of `text` that end; nothing for one that is too long, and then, too, for such a one that has not ended.
std::vector<std::optional<std::string>> linesOf(std::string_view text, std::size_t longest) {
   std::vector<std::optional<std::string>> lines;
   while (!text.empty()) {
      auto const end = text.find('\n');
      std::string_view const line = text.substr(0, end);
      if (line.size() > longest) {
         lines.emplace_back();
      } else if (end != std::string_view::npos) {
         lines.emplace_back(line);
      }
      text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
   }
   return lines;
}

void checkRequest(std::string const& line) {
   Request const request = Publish::requestFrom(line);
   if (line.find('\0') != std::string::npos) return;  // the library would read no further
   Json const json = Json::parse(line, nullptr, false);
   auto const isOnly = [&](char const* name) { return json.is_object() && json.size() == 1 && json.contains(name); };
   switch (request.kind) {
      case Request::Kind::patch:
         check(request.text == line, "a patch is the whole line", line);
         check(!json.is_object() || json.empty() || !json.begin().key().starts_with('$'), "no request is a patch",
               line);
         break;
      case Request::Kind::replace: {
         Json const document = Json::parse(request.text, nullptr, false);
         if (isOnly("$replace")) check(document == json["$replace"], "the document is the member", request.text);
         check(!document.is_object() || isOnly("$replace"), "no other document is taken", request.text);
         break;
      }
      case Request::Kind::state:
         check(isOnly("$state") && json["$state"].is_null(), "this asks for the state", line);
         break;
      case Request::Kind::status:
         check(isOnly("$status") && json["$status"].is_null(), "this asks for the status", line);
         break;
      case Request::Kind::events:
         check(isOnly("$events") && (request.text.empty() ? json["$events"].is_null()
                                                          : json["$events"].is_number_integer() &&
                                                                  request.text == json["$events"].dump()),
               "this asks for events behind a number, or for the latest", line);
         break;
      case Request::Kind::trace:
         check(isOnly("$trace") && json["$trace"] == request.text, "this sets a trace", line);
         try {
            (void)Trel::parseTraceLevels(request.text);
         } catch (std::invalid_argument const&) {
         }
         break;
      case Request::Kind::traces:
         check(isOnly("$trace") && json["$trace"].is_null(), "this asks for the traces", line);
         break;
      case Request::Kind::refused:
         check(!request.text.empty() && request.text.find('\n') == std::string::npos, "a reason is one line",
               request.text);
         break;
   }
   Json const answer = Json::parse(Publish::errorAnswer(line), nullptr, false);
   check(!answer.is_discarded() && answer["ok"] == false, "an answer is JSON, whatever it quotes", line);
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   FuzzedDataProvider input(data, size);
   std::size_t const longest = input.ConsumeIntegralInRange<std::size_t>(0, 300);
   std::size_t const piece = input.ConsumeIntegralInRange<std::size_t>(1, 400);
   std::string const text = input.ConsumeRemainingBytesAsString();

   LineBuffer buffer(longest);
   std::vector<std::optional<std::string>> lines;
   for (std::size_t at = 0; at < text.size(); at += piece) {
      buffer.append(std::string_view(text).substr(at, piece));
      std::string line;
      for (auto next = buffer.next(line); next != LineBuffer::Next::none; next = buffer.next(line)) {
         lines.push_back(next == LineBuffer::Next::line ? std::optional(line) : std::nullopt);
      }
      check(buffer.held() <= longest, "no more is held than a line may have");
   }
   check(lines == linesOf(text, longest), "the lines are those of the text");
   for (auto const& line : lines) {
      if (line && !Publish::isBlank(*line)) checkRequest(*line);
   }
   return 0;
}
