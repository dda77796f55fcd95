// SPDX-License-Identifier: MIT
#include "host/store/JsonReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <nlohmann/json.hpp>

#include "host/store/Limits.h"
#include "host/store/Scan.h"

namespace Store {

namespace {

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
constexpr std::string_view kEndsEarly = "the text ends too early";
constexpr std::size_t kLongestReason = 400;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Takes the digits off the front of `text`; true when there are some.
bool takeDigits(std::string_view& text) {
   auto const end = std::ranges::find_if_not(text, isDigit);
   std::size_t const count = end - text.begin();
   text.remove_prefix(count);
   return count != 0;
}

bool takeOneOf(std::string_view& text, std::string_view characters) {
   if (text.empty() || characters.find(text.front()) == std::string_view::npos) return false;
   text.remove_prefix(1);
   return true;
}

bool isUnsignedInteger(std::string_view token) {
   return std::ranges::all_of(token, isDigit) && !token.empty() && (token.size() == 1 || token.front() != '0');
}

/// The grammar of a JSON number.
bool isNumber(std::string_view token) {
   takeOneOf(token, "-");
   if (!takeOneOf(token, "0") && !takeDigits(token)) return false;
   if (takeOneOf(token, ".") && !takeDigits(token)) return false;
   if (takeOneOf(token, "eE")) {
      takeOneOf(token, "+-");
      if (!takeDigits(token)) return false;
   }
   return token.empty();
}

/// What the JSON library says, without where it says it.
std::string_view reasonOf(std::string_view message) {
   constexpr std::string_view before = " - ";
   auto const begin = message.find(before);
   if (begin != std::string_view::npos) message.remove_prefix(begin + before.size());
   return message.substr(0, message.find("; last read"));
}

}  // namespace

JsonReader::JsonReader(std::string_view text) : text_(text) {
   if (text.starts_with(kByteOrderMark)) at_ = kByteOrderMark.size();
}

void JsonReader::refuse(std::string_view why) const {
   std::string place;
   for (Inside const* inside = place_; inside; inside = inside->outer_) {
      place = "/" + printable(inside->name_) + place;
   }
   throw StateError(fmt::format("{}: {}", place.empty() ? "/" : place, printable(why, kLongestReason)));
}

void JsonReader::refuseKind(std::string_view expected) {
   refuse(fmt::format("expected {} but found {}", expected, found()));
}

void JsonReader::syntaxError(std::size_t position, std::string_view why) const {
   std::string_view const before = text_.substr(0, position);
   std::size_t line = 1;
   std::size_t lineBegin = 0;
   for (auto end = before.find('\n'); end != std::string_view::npos; end = before.find('\n', lineBegin)) {
      ++line;
      lineBegin = end + 1;
   }
   auto const column = 1 + characters(before.substr(lineBegin));
   throw StateError(fmt::format("line {}, column {}: {}", line, column, printable(why, kLongestReason)));
}

void JsonReader::unexpected(std::string_view expected) {
   if (at_ >= text_.size()) syntaxError(text_.size(), kEndsEarly);
   auto const c = static_cast<unsigned char>(text_[at_]);
   std::string const shown =
         c >= 0x20 && c < 0x7f ? fmt::format("\"{}\"", text_[at_]) : fmt::format("octet {:#04x}", c);
   syntaxError(at_, fmt::format("expected {} but found {}", expected, shown));
}

void JsonReader::skipSpace() { at_ = behindBlanks(text_, at_); }

bool JsonReader::take(char c) {
   skipSpace();
   if (at_ >= text_.size() || text_[at_] != c) return false;
   ++at_;
   return true;
}

JsonReader::Kind JsonReader::kind() {
   skipSpace();
   if (at_ >= text_.size()) syntaxError(at_, behindBlanks(text_) == text_.size() ? "the text is empty" : kEndsEarly);
   char const c = text_[at_];
   if (c == '-' || isDigit(c)) return Kind::number;
   switch (c) {
      case '{':
         return Kind::object;
      case '[':
         return Kind::array;
      case '"':
         return Kind::text;
      case 'n':
         return Kind::null;
      case 't':
      case 'f':
         return Kind::boolean;
      default:
         unexpected("a value");
   }
}

std::string_view JsonReader::literal() {
   std::string_view const rest = text_.substr(at_);
   for (std::string_view const word : {"true", "false", "null"}) {
      if (rest.starts_with(word)) {
         at_ += word.size();
         return word;
      }
      if (word.starts_with(rest)) syntaxError(text_.size(), kEndsEarly);
   }
   syntaxError(at_, "this is neither true, false nor null");
}

bool JsonReader::takeNull() {
   if (kind() != Kind::null) return false;
   literal();
   return true;
}

bool JsonReader::boolean() {
   if (kind() != Kind::boolean) refuseKind("true or false");
   return literal() == "true";
}

std::string_view JsonReader::numberToken() {
   std::string_view const rest = text_.substr(at_, kLongestNumber + 1);
   std::string_view const token = rest.substr(0, rest.find_first_not_of("+-.0123456789eE"));
   if (token.size() > kLongestNumber) refuse(fmt::format("the number has more than {} characters", kLongestNumber));
   if (!isNumber(token)) {
      if (at_ + token.size() == text_.size()) syntaxError(text_.size(), kEndsEarly);
      syntaxError(at_, fmt::format("\"{}\" is not a number", printable(token)));
   }
   at_ += token.size();
   return token;
}

std::uint64_t JsonReader::integer(std::uint64_t limit) {
   std::string const expected = fmt::format("an integer from 0 to {}", limit);
   if (kind() != Kind::number) refuseKind(expected);
   std::string_view const token = numberToken();
   std::uint64_t value = 0;
   bool const read =
         (isUnsignedInteger(token) || token == "-0") &&
         std::from_chars(token.data() + (token == "-0"), token.data() + token.size(), value).ec == std::errc{};
   if (!read || value > limit) refuse(fmt::format("expected {} but found {}", expected, printable(token)));
   return value;
}

double JsonReader::number() {
   constexpr std::string_view expected = "a number that is 0 or more";
   if (kind() != Kind::number) refuseKind(expected);
   std::string_view const token = numberToken();
   double value = 0;
   auto const error = std::from_chars(token.data(), token.data() + token.size(), value).ec;
   if (error != std::errc{}) refuse(fmt::format("{} is out of range", printable(token)));
   if (value < 0) refuse(fmt::format("expected {} but found {}", expected, printable(token)));
   return value;
}

std::string JsonReader::text(std::string_view expected) {
   if (kind() != Kind::text) refuseKind(expected);
   return textToken();
}

std::string JsonReader::textToken() {
   std::size_t const begin = at_ + 1;
   bool plain = true;
   std::size_t end = begin;
   for (; end < text_.size() && text_[end] != '"'; ++end) {
      if (end - begin >= kLongestText) refuse(fmt::format("the text has more than {} octets", kLongestText));
      auto const c = static_cast<unsigned char>(text_[end]);
      if (c >= 0x20 && c < 0x80 && c != '\\') continue;
      plain = false;
      if (c == '\\') ++end;
   }
   if (end >= text_.size()) {
      // What is wrong inside the text says more than that it does not end.
      if (!plain) escapedText(begin, text_.size());
      syntaxError(text_.size(), kEndsEarly);
   }
   at_ = end + 1;
   return plain ? std::string(text_.substr(begin, end - begin)) : escapedText(begin, end);
}

/// The text between two quotes that holds escapes, other characters than ASCII or what must not stand there.
std::string JsonReader::escapedText(std::size_t begin, std::size_t end) const {
   std::size_t const quote = begin - 1;
   try {
      return nlohmann::json::parse(text_.substr(quote, end + 1 - quote)).get<std::string>();
   } catch (nlohmann::json::parse_error const& error) {
      if (quote + error.byte > text_.size()) syntaxError(text_.size(), kEndsEarly);
      syntaxError(quote + std::max<std::size_t>(error.byte, 1) - 1, reasonOf(error.what()));
   }
}

std::string JsonReader::found() {
   switch (kind()) {
      case Kind::object:
         return "an object";
      case Kind::array:
         return "an array";
      case Kind::text:
         return fmt::format("\"{}\"", printable(textToken()));
      case Kind::number:
         return printable(numberToken());
      case Kind::boolean:
      case Kind::null:
         break;
   }
   return std::string(literal());
}

bool JsonReader::next(bool& first, char close, std::string_view expected) {
   if (take(close)) return false;
   if (!first && !take(',')) unexpected(expected);
   first = false;
   return true;
}

void JsonReader::beginObject(std::string_view expected) {
   if (kind() != Kind::object) refuseKind(expected);
   take('{');
}

std::optional<std::string> JsonReader::nextMember(bool& first) {
   if (!next(first, '}', "\",\" or \"}\"")) return {};
   skipSpace();
   if (at_ >= text_.size() || text_[at_] != '"') unexpected("a name in quotes");
   std::string name = textToken();
   if (!take(':')) unexpected("\":\"");
   return name;
}

void JsonReader::beginArray(std::string_view expected) {
   if (kind() != Kind::array) refuseKind(expected);
   take('[');
}

bool JsonReader::nextElement(bool& first) { return next(first, ']', "\",\" or \"]\""); }

void JsonReader::end() {
   skipSpace();
   if (at_ < text_.size()) syntaxError(at_, "there is something behind the end of the document");
}

}  // namespace Store
