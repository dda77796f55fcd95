// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace CLI {
class App;
class Error;
}  // namespace CLI

namespace Tools {

/// What is wrong with the command line that `app` refused with `error`, and where help is: it names the first word that
/// is not known, what was probably meant by it, and the subcommand whose help tells more.
std::string usageText(CLI::App const& app, CLI::Error const& error);

}  // namespace Tools
