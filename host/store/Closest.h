// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <string_view>

namespace Store {

/// The one of `names` that `name` was probably meant to be: it differs only in case, or in one letter that is wrong,
/// missing or too many, or in two neighbours that are swapped. Empty when there is none.
std::string_view closest(std::string_view name, std::span<std::string_view const> names);

}  // namespace Store
