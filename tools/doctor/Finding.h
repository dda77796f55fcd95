// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace Tools::Doctor {

/// What one check has found.
struct Finding {
   bool good = true;
   std::string what;
   /// What mends it, line by line: what to type, or to write into which file. Empty when it is good.
   std::vector<std::string> remedy{};
};

using Findings = std::vector<Finding>;

}  // namespace Tools::Doctor
