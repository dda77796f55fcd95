// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>

namespace Daemon {

/// Runs `work` in a copy of this process, which ends with it, and waits: whatever it does to memory is undone. Returns
/// the text of the exception that it threw, if any. Throws std::system_error when there can be no copy, and
/// std::runtime_error when the copy died or took more than a few seconds.
std::optional<std::string> trial(std::function<void()> const& work);

}  // namespace Daemon
