// SPDX-License-Identifier: MIT
#include "tools/TraceText.h"

#include <array>
#include <string_view>

#include "tools/Text.h"

namespace Tools {

namespace {

struct Level {
   std::string_view handle;
   char level;
   std::string_view shows;
};

// docs/mplsted.md has the same.
constexpr std::array kLevels{
      Level{"MplsSnmp", '5', "hops of a path spec of no known type"},
      Level{"MplsSnmp", '8', "the numbers of hop lists are made ready"},
      Level{"MplsSnmpAgent", '8', "the tables are set up"},
      Level{"MplsSnmpAgent", '9', "what turns the state into rows is set up"},
      Level{"RsvpSnmpSm", '0', "state that no correct publisher causes"},
      Level{"RsvpSnmpSm", '9', "how each change of the state becomes a change of rows, and where it ends"},
      Level{"Tallies", '0', "counters that are damaged, or are not who they should be"},
      Level{"Tallies", '1', "the counter segment is attached or detached"},
      Level{"mplsTeStdMIB", '0', "values that cannot be read, columns that are not served"},
      Level{"mplsTeStdMIB", '1', "each table's registration, with its OID"},
      Level{"mplsTeStdMIB", '2', "each request, with its column and its row"},
      Level{"mplsTeStdMIB", '8', "each table that is ready"},
};

}  // namespace

std::vector<std::string> traceLines(Json const& traces) {
   TextTable table({{"HANDLE"}, {"IN FORCE"}, {"LEVEL"}, {"SHOWS"}});
   for (auto const& trace : traces) {
      auto const handle = trace.value("handle", "");
      std::vector<Cell> first{{escaped(handle)}, {escaped(trace.value("levels", ""))}};
      auto const add = [&](std::string level, std::string_view shows) {
         table.add({first[0], first[1], {std::move(level)}, {std::string(shows)}});
         first = {{""}, {""}};
      };
      for (auto const& level : kLevels) {
         if (level.handle == handle) add({level.level}, level.shows);
      }
      if (!first[0].text.empty()) add("-", trace.value("exists", true) ? "" : "nothing traces under that name so far");
   }
   return table.lines(false);
}

}  // namespace Tools
