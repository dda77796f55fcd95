// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

namespace Daemon {

/// The module that belongs to the running program: beside it where it was built, else where it is installed,
/// which is known by its place relative to the program.
/// Throws std::runtime_error, naming both places, when it is in neither.
std::filesystem::path ownModule();

}  // namespace Daemon
