// SPDX-License-Identifier: MIT
/// What differs between the five keyed streams: their texts and the numbers of the temporaries that their trace lines
/// quote.
#pragma once

#include <string_view>

namespace MplsSnmp {

struct StreamTexts {
   std::string_view from;  ///< format of the line for an event, with the key and the value as arguments
   std::string_view addCase;
   std::string_view deleteCase;
   int oldValue;  ///< numbers of the temporaries of the flatten step
   int newValue;
   int value;
   int ambiguityGate;  ///< numbers inside the row tail
   int hopIndex;
   int dynamicCast;
};

inline constexpr StreamTexts kStsStream{
      .from =
            "stsStream = from( rsvpLerStatus.subTunnelStatusCollTable.subTunnelStatusColl[].subTunnelStatus[]"
            ".activeLsp ): tunnelSpecId={} subTunnelConfigId={} activeLspOpt={}",
      .addCase = "stsStream add case",
      .deleteCase = "stsStream delete case",
      .oldValue = 6,
      .newValue = 7,
      .value = 8,
      .ambiguityGate = 16,
      .hopIndex = 20,
      .dynamicCast = 587};

inline constexpr StreamTexts kStcStream{
      .from =
            "stcStream = from( rsvpLerStatus.subTunnelConfigCollTable.subTunnelConfigColl[].subTunnelConfig[] ): "
            "tunnelSpecId={} subTunnelConfigId={} subTunnelConfigOpt={}",
      .addCase = "stcStream add case",
      .deleteCase = "stcStream delete case",
      .oldValue = 33,
      .newValue = 34,
      .value = 35,
      .ambiguityGate = 43,
      .hopIndex = 47,
      .dynamicCast = 913};

inline constexpr StreamTexts kLrsStream{
      .from =
            "lrsStream = from( rsvpLerStatus.lspRequestStatusCollTable.lspRequestStatusColl[].lspRequestStatus[] ): "
            "lspGroupId={} lspRequestConfigId={} lspRequestStatusOpt={}",
      .addCase = "lrsStream add case",
      .deleteCase = "lrsStrea delete case",  // filters on this line have always had to spell it so
      .oldValue = 60,
      .newValue = 61,
      .value = 62,
      .ambiguityGate = 70,
      .hopIndex = 74,
      .dynamicCast = 1280};

inline constexpr StreamTexts kSpsStream{.from =
                                              "spsStream = from( rsvpKelpStatus.spStatusColl.spStatus[] ): "
                                              "spId={} spStatusOpt={}",
                                        .addCase = "spsStream add case",
                                        .deleteCase = "spsStream delete case",
                                        .oldValue = 87,
                                        .newValue = 88,
                                        .value = 89,
                                        .ambiguityGate = 97,
                                        .hopIndex = 101,
                                        .dynamicCast = 1616};

/// Its cases are those of the update of the rows that follows the update of the reverse index.
inline constexpr StreamTexts kSpidStream{
      .from =
            "spidStream = from( rsvpLerStatus.spIdMap.spIdForLspRequestConfigId[] ): "
            "lspRequestConfigId={} spIdOpt={}",
      .addCase = "spidUpdateStream add case",
      .deleteCase = "spidUpdateStream delete case",
      .oldValue = 114,
      .newValue = 115,
      .value = 116,
      .ambiguityGate = 121,
      .hopIndex = 128,
      .dynamicCast = 233};

}  // namespace MplsSnmp
