// SPDX-License-Identifier: MIT
#include "tools/Text.h"

#include <fmt/format.h>
#include <locale.h>
#include <wchar.h>
#include <wctype.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <iterator>
#include <utility>

namespace Tools {

namespace {

// Switches the thread to a UTF-8 locale, so that names are shown alike whatever the user's locale is.
class Utf8Locale {
 public:
   Utf8Locale() : before_(uselocale(instance())) {}
   ~Utf8Locale() { uselocale(before_); }
   Utf8Locale(Utf8Locale const&) = delete;
   Utf8Locale& operator=(Utf8Locale const&) = delete;

 private:
   static locale_t instance() {
      static locale_t const locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{});
      return locale;  // Null, should there be no such locale, leaves the current one in use.
   }

   locale_t before_;
};

// Calls `character(bytes, code)` for each character and `invalid(byte)` for each byte that belongs to none.
template <typename Character, typename Invalid>
void forEachCharacter(std::string_view text, Character character, Invalid invalid) {
   while (!text.empty()) {
      wchar_t code = 0;
      mbstate_t state{};
      std::size_t const length = mbrtowc(&code, text.data(), text.size(), &state);
      if (length > text.size()) {  // (size_t)-1 or -2: malformed or cut off.
         invalid(static_cast<unsigned char>(text[0]));
         text.remove_prefix(1);
      } else {
         std::size_t const taken = length == 0 ? 1 : length;  // 0: a NUL character.
         character(text.substr(0, taken), code);
         text.remove_prefix(taken);
      }
   }
}

// Format characters that are printable by the book, yet are invisible or reorder what stands around them.
bool isDeceptive(wchar_t code) {
   static constexpr std::array<std::pair<wchar_t, wchar_t>, 7> ranges{{{0xad, 0xad},
                                                                       {0x61c, 0x61c},
                                                                       {0x200b, 0x200f},
                                                                       {0x2028, 0x202e},
                                                                       {0x2060, 0x206f},
                                                                       {0xfeff, 0xfeff},
                                                                       {0xe0000, 0xe007f}}};
   return std::any_of(ranges.begin(), ranges.end(),
                      [code](auto const& range) { return code >= range.first && code <= range.second; });
}

}  // namespace

std::string escaped(std::string_view text) {
   Utf8Locale const utf8;
   std::string result;
   forEachCharacter(
         text,
         [&](std::string_view bytes, wchar_t code) {
            if (code == L'\\') {
               result += "\\\\";
            } else if (iswprint(static_cast<wint_t>(code)) && wcwidth(code) >= 0 && !isDeceptive(code)) {
               result += bytes;
            } else if (code < 0x80) {
               result += fmt::format("\\x{:02x}", static_cast<unsigned>(code));
            } else {
               result += fmt::format("\\u{{{:x}}}", static_cast<unsigned>(code));
            }
         },
         [&](unsigned char byte) { result += fmt::format("\\x{:02x}", byte); });
   return result;
}

std::size_t displayWidth(std::string_view text) {
   Utf8Locale const utf8;
   std::size_t width = 0;
   forEachCharacter(
         text, [&](std::string_view, wchar_t code) { width += static_cast<std::size_t>(std::max(wcwidth(code), 0)); },
         [&](unsigned char) { ++width; });
   return width;
}

std::string duration(std::uint64_t seconds) {
   auto const days = seconds / 86400;
   auto const clock = fmt::format("{:02}:{:02}:{:02}", seconds / 3600 % 24, seconds / 60 % 60, seconds % 60);
   return days ? fmt::format("{}d {}", days, clock) : clock;
}

std::string scaled(double rate) {
   static constexpr std::array prefixes{"", "k", "M", "G", "T", "P", "E"};
   std::size_t prefix = 0;
   // From 999.5 on three digits round to 1000, which the next prefix writes as 1.00.
   while (rate >= 999.5 && prefix + 1 < prefixes.size()) {
      rate /= 1000;
      ++prefix;
   }
   if (prefix == 0)
      return rate < 9.95 && rate != std::floor(rate) ? fmt::format("{:.1f}", rate) : fmt::format("{:.0f}", rate);
   int const decimals = rate < 9.995 ? 2 : rate < 99.95 ? 1 : 0;
   return fmt::format("{:.{}f}{}", rate, decimals, prefixes[prefix]);
}

std::string counted(std::uint64_t number, std::string_view noun) {
   return fmt::format("{} {}{}", number, noun, number == 1 ? "" : "s");
}

std::string styled(std::string_view text, Style style, bool colour) {
   static constexpr std::array codes{"", "33", "31"};
   if (!colour || style == Style::plain) return std::string(text);
   return fmt::format("\x1b[{}m{}\x1b[0m", codes[static_cast<std::size_t>(style)], text);
}

std::vector<std::string> TextTable::lines(bool colour) const {
   std::vector<std::size_t> widths;
   for (auto const& heading : headings_) widths.push_back(displayWidth(heading.text));
   for (auto const& row : rows_) {
      assert(row.size() == headings_.size());
      for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], displayWidth(row[i].text));
   }

   std::vector<std::string> result;
   auto const add = [&](auto const& cellAt) {
      std::string line;
      std::string gap;  // Written only in front of text, so that no line ends in blanks.
      for (std::size_t i = 0; i < headings_.size(); ++i) {
         Cell const& cell = cellAt(i);
         std::string const padding(widths[i] - displayWidth(cell.text), ' ');
         bool const right = headings_[i].align == Align::right;
         if (right) gap += padding;
         if (!cell.text.empty()) {
            line += gap + styled(cell.text, cell.style, colour);
            gap.clear();
         }
         if (!right) gap += padding;
         gap += "  ";
      }
      result.push_back(std::move(line));
   };

   if (std::any_of(headings_.begin(), headings_.end(), [](auto const& heading) { return !heading.text.empty(); })) {
      add([&](std::size_t i) { return Cell{headings_[i].text}; });
   }
   for (auto const& row : rows_) add([&](std::size_t i) { return row[i]; });
   return result;
}

}  // namespace Tools
