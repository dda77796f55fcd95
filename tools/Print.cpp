// SPDX-License-Identifier: MIT
#include "tools/Print.h"

#include <fmt/format.h>
#include <unistd.h>

#include "tools/Terminal.h"

namespace Tools {

void printLines(std::vector<std::string> const& lines) {
   std::string text;
   for (auto const& line : lines) text += line + '\n';
   writeAll(STDOUT_FILENO, text);
}

JsonList::JsonList(std::string_view key) : text_(fmt::format("{{\"{}\":[", key)) {}

void JsonList::add(Json const& row) {
   text_ += empty_ ? "\n" : ",\n";
   text_ += row.dump(-1, ' ', false, Json::error_handler_t::replace);
   empty_ = false;
}

void JsonList::print() const { writeAll(STDOUT_FILENO, text_ + "\n]}\n"); }

}  // namespace Tools
