// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Tools {

/// `text` fit for a terminal: printable UTF-8 stays as it is, a backslash is doubled, and whatever could steer the
/// terminal or hide (control characters, bidirectional overrides, invisible characters, bytes that are no UTF-8) is
/// written as \xNN or \u{N}. Does not depend on the user's locale.
std::string escaped(std::string_view text);

/// How many terminal cells an `escaped()` text takes: 2 for a wide character, 0 for a combining one.
std::size_t displayWidth(std::string_view text);

/// A time span as "04:05:06", from one day on as "3d 04:05:06".
std::string duration(std::uint64_t seconds);

/// A rate in three significant digits and a decimal prefix: "0", "7.5", "999", "1.25k", "12.3M".
std::string scaled(double rate);

/// "1 tunnel", "2 tunnels".
std::string counted(std::uint64_t number, std::string_view noun);

enum class Style { plain, warning, bad };

/// `text` in the colour of `style`; `style` plain or `colour` false leaves it as it is.
std::string styled(std::string_view text, Style style, bool colour);

struct Cell {
   std::string text;  ///< Must be `escaped()`.
   Style style = Style::plain;
};

/// Rows of cells under headings, aligned by display width, two blanks between columns.
class TextTable {
 public:
   enum class Align { left, right };
   struct Heading {
      std::string text;
      Align align = Align::left;
   };

   /// With empty headings only, no heading line is written.
   explicit TextTable(std::vector<Heading> headings) : headings_(std::move(headings)) {}

   /// REQUIRES: as many cells as headings.
   void add(std::vector<Cell> cells) { rows_.push_back(std::move(cells)); }

   bool empty() const { return rows_.empty(); }

   /// The lines, without line ends and trailing blanks; the heading line is the first.
   std::vector<std::string> lines(bool colour) const;

 private:
   std::vector<Heading> headings_;
   std::vector<std::vector<Cell>> rows_;
};

}  // namespace Tools
