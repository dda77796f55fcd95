// SPDX-License-Identifier: MIT
#include "substrate/trel/Assert.h"

#include <cstdio>
#include <cstdlib>

namespace Trel {

void assertionFailed(std::string_view text, std::source_location where) noexcept {
   std::fprintf(stderr, "%s:%u: %s: Assertion `%.*s' failed.\n", where.file_name(), where.line(), where.function_name(),
                static_cast<int>(text.size()), text.data());
   std::fflush(stderr);
   std::abort();
}

}  // namespace Trel
