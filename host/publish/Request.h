// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Publish {

/// What a line asks for.
struct Request {
   enum class Kind : std::uint8_t {
      patch,    ///< a merge patch: `text`
      replace,  ///< {"$replace": DOCUMENT}: `text` is the document, at its place in the line, between blanks
      state,    ///< {"$state": null}
      status,   ///< {"$status": null}
      events,   ///< {"$events": null} or {"$events": N}: `text` is N, or empty
      trace,    ///< {"$trace": "HANDLE=LEVELS"}: `text` is what the member holds
      traces,   ///< {"$trace": null}
      refused   ///< a request that there is not, or not in this form: `text` says why
   };
   Kind kind;
   std::string text;
};

/// Reads a line as far as is needed to know what it is. What it may change is checked by the store.
Request requestFrom(std::string line);

/// Whether a line is an object that asks for something else than a change: its first name begins with "$", and is not
/// "$replace". Does not read on.
bool isQuestion(std::string_view line);

/// Whether a line holds nothing: such a line is not answered.
bool isBlank(std::string_view line);

/// What the store says of a document, without the number of its only line.
std::string withoutLine(std::string_view error);

/// Answers, each a line with its end.
std::string changedAnswer(std::size_t changed);
std::string doneAnswer();
/// `json`: the status as a JSON object on one line.
std::string statusAnswer(std::string_view json);
/// `text`: the members that events are told in.
std::string eventsAnswer(std::string_view text);
/// `json`: the trace handles as a JSON list on one line.
std::string tracesAnswer(std::string_view json);
/// Octets that are no UTF-8 are replaced.
std::string errorAnswer(std::string_view error);

/// The answer to `state` is this, the document on one line, and then the end.
inline constexpr std::string_view kStateBegin = "{\"ok\":true,\"state\":";
inline constexpr std::string_view kStateEnd = "}\n";

}  // namespace Publish
