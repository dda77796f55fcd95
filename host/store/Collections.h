// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "host/store/Collection.h"
#include "inputs/rsvp/KelpStatus.h"
#include "inputs/rsvp/LerConfig.h"
#include "inputs/rsvp/LerHiveStatus.h"

namespace Store {

/// Gives the inputs their empty collections, and returns these as the collections of the document, in the order in
/// which additions are applied.
std::vector<std::unique_ptr<Collection>> collectionsOf(Rsvp::RsvpLerConfig& config, Rsvp::RsvpLerHiveStatus& status,
                                                       Rsvp::RsvpKelpStatus& kelpStatus);

}  // namespace Store
