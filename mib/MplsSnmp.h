// SPDX-License-Identifier: MIT
/// The MIB data model as a whole: row keys, enumerations, rows, and the container that holds them.
#pragma once

#include "mib/Enums.h"
#include "mib/Keys.h"
#include "mib/LspRequestConfigIdSet.h"
#include "mib/MplsTeMib.h"
#include "mib/MplsTunnelHopTableEntryRsvp.h"
#include "mib/MplsTunnelTableEntryRsvp.h"
#include "mib/SessionAttributesBits.h"
