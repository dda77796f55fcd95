// SPDX-License-Identifier: MIT
#include "tools/Usage.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string_view>
#include <vector>

#include "host/store/Closest.h"

namespace Tools {

namespace {

using Names = std::vector<std::string>;

Names commandNames(CLI::App const& command) {
   Names names;
   for (CLI::App const* const sub : command.get_subcommands({})) names.push_back(sub->get_name());
   return names;
}

/// With their dashes; those of the command above too, where they may be given behind this one.
Names optionNames(CLI::App const& command) {
   Names names;
   if (command.get_fallthrough()) names = optionNames(*command.get_parent());
   for (CLI::Option const* const option : command.get_options()) {
      for (std::string const& name : option->get_lnames()) names.push_back("--" + name);
   }
   return names;
}

std::string unknown(std::string_view kind, std::string const& word, Names const& names) {
   std::vector<std::string_view> const views(names.begin(), names.end());
   std::string_view const meant = Store::closest(word, views);
   std::string text = fmt::format("there is no {} '{}'", kind, word);
   if (!meant.empty()) return fmt::format("{}, '{}' is probably meant", text, meant);
   if (kind == "command") return fmt::format("{}; there are {}", text, fmt::join(views, ", "));
   return text;
}

/// What is wrong with a word that nothing has taken. `path`: the names of the commands that stand on the line.
std::string surplus(CLI::App const& command, std::string const& path, std::string const& word) {
   if (word.size() > 1 && word[0] == '-') {
      auto const name = word.substr(0, word.find('='));
      auto const names = optionNames(command);
      if (std::ranges::find(names, name) != names.end()) return fmt::format("'{}' belongs behind '{}'", name, path);
      return unknown("option", name, names);
   }
   if (auto const names = commandNames(command); !names.empty()) return unknown("command", word, names);
   return fmt::format("'{}' is one word too many", word);
}

}  // namespace

std::string usageText(CLI::App const& app, CLI::Error const& error) {
   CLI::App const* command = &app;
   std::string path = app.get_name();
   while (!command->get_subcommands().empty()) {
      command = command->get_subcommands().front();
      path += " " + command->get_name();
   }
   std::string text = error.what();
   // Before what is missing: that is missing, mostly, for the word's being wrong.
   if (auto const words = app.remaining(true); !words.empty()) {
      text = surplus(*command, path, words.front());
   } else if (!commandNames(*command).empty()) {
      text = fmt::format("a command is missing; there are {}", fmt::join(commandNames(*command), ", "));
   }
   return fmt::format("{}: see '{} --help'", text, path);
}

}  // namespace Tools
