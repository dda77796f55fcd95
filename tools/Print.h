// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace Tools {

using Json = nlohmann::ordered_json;

/// Writes the lines to stdout. Throws `std::system_error` when that cannot be done.
void printLines(std::vector<std::string> const& lines);

/// {"KEY":[...]} with one line a row, so that programs may read it whole and people may grep it.
class JsonList {
 public:
   explicit JsonList(std::string_view key);

   void add(Json const& row);
   bool empty() const { return empty_; }
   /// Writes the list to stdout. Throws `std::system_error` when that cannot be done.
   void print() const;

 private:
   std::string text_;
   bool empty_ = true;
};

}  // namespace Tools
