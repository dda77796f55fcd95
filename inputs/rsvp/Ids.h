// SPDX-License-Identifier: MIT
/// The identifiers of the RSVP-TE head end, as its agent publishes them. All are plain values with equality, order and
/// hash; their text form is the one of the published state document.
///
///   tunnel spec          source:tunnel
///   sub-tunnel config    source:tunnel, or source:tunnel#n for a part of a split tunnel
///   path spec            source:name
///   LSP group            <sub-tunnel>@primary, <sub-tunnel>@secondary
///   LSP request config   <LSP group>.n
///   sp id                destination/tunnelId/sender/lspId
///
/// Inside names "%", "#", "@" and control characters are percent-encoded. `fromText` throws Vel::ParseException (or
/// Vel::RangeException for a number that is too large) with a message that quotes the text, control characters and
/// all, and says what is wrong with it.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "inputs/lanu/IpGenAddr.h"
#include "substrate/vel/EnumType.h"
#include "substrate/vel/Hasher.h"
#include "substrate/vel/String.h"

namespace Rsvp {

using Vel::operator<<;  // ids print their text form

/// Who configured a tunnel.
enum class RsvpLerTunnelSource : std::uint8_t { cli = 0, autoTunnel = 1, controller = 2 };
Vel::EnumType<unsigned int> const& velEnumType(RsvpLerTunnelSource);

/// Which of a tunnel's two path specs: 0 is the primary one.
enum class RsvpLerPathSpecType : std::uint8_t { primary = 0, secondary = 1 };
Vel::EnumType<unsigned int> const& velEnumType(RsvpLerPathSpecType);

/// A name as the publisher stores it: the text and one terminating NUL. The empty name is stored empty.
Vel::String storedName(std::string_view name);
/// The text of a stored name, without its terminating NUL.
std::string_view nameText(Vel::String const& stored);

struct RsvpLerTunnelSpecId {
   RsvpLerTunnelSource source = RsvpLerTunnelSource::cli;
   Vel::String tunnelName;  ///< stored form

   bool operator==(RsvpLerTunnelSpecId const&) const = default;
   auto operator<=>(RsvpLerTunnelSpecId const&) const = default;
   std::uint32_t hash(std::uint32_t seed = Vel::hashSeed32) const;
   std::string valueToStrep() const;
   static RsvpLerTunnelSpecId fromText(std::string_view text);
};

struct RsvpLerSubTunnelConfigId {
   RsvpLerTunnelSource source = RsvpLerTunnelSource::cli;
   std::uint32_t subTunnel = 0;  ///< 0: the whole tunnel; from 1: the part of a split tunnel
   Vel::String tunnelName;       ///< stored form

   bool isSplit() const { return subTunnel != 0; }
   RsvpLerTunnelSpecId tunnelSpecId() const { return {source, tunnelName}; }

   bool operator==(RsvpLerSubTunnelConfigId const&) const = default;
   auto operator<=>(RsvpLerSubTunnelConfigId const&) const = default;
   std::uint32_t hash(std::uint32_t seed = Vel::hashSeed32) const;
   std::string valueToStrep() const;
   static RsvpLerSubTunnelConfigId fromText(std::string_view text);
};

/// A default-made id stands for "not configured".
struct RsvpLerPathSpecId {
   RsvpLerTunnelSource source = RsvpLerTunnelSource::cli;
   Vel::String name;  ///< stored form

   bool isConfigured() const { return *this != RsvpLerPathSpecId(); }

   bool operator==(RsvpLerPathSpecId const&) const = default;
   auto operator<=>(RsvpLerPathSpecId const&) const = default;
   std::uint32_t hash(std::uint32_t seed = Vel::hashSeed32) const;
   /// "none" when not configured.
   std::string valueToStrep() const;
   static RsvpLerPathSpecId fromText(std::string_view text);
};

/// The LSPs that are signalled for one path spec of a sub-tunnel.
struct RsvpLerLspGroupId {
   RsvpLerSubTunnelConfigId subTunnelConfigId;
   RsvpLerPathSpecType pathSpecType = RsvpLerPathSpecType::primary;

   bool operator==(RsvpLerLspGroupId const&) const = default;
   auto operator<=>(RsvpLerLspGroupId const&) const = default;
   std::uint32_t hash(std::uint32_t seed = Vel::hashSeed32) const;
   std::string valueToStrep() const;
   static RsvpLerLspGroupId fromText(std::string_view text);
};

/// One request for an LSP. A default-made id stands for "no LSP".
struct RsvpLerLspRequestConfigId {
   RsvpLerLspGroupId lspGroupId;
   std::uint32_t request = 0;

   RsvpLerSubTunnelConfigId const& subTunnelConfigId() const { return lspGroupId.subTunnelConfigId; }
   RsvpLerPathSpecType pathSpecType() const { return lspGroupId.pathSpecType; }
   bool isSet() const { return *this != RsvpLerLspRequestConfigId(); }

   bool operator==(RsvpLerLspRequestConfigId const&) const = default;
   auto operator<=>(RsvpLerLspRequestConfigId const&) const = default;
   std::uint32_t hash(std::uint32_t seed = Vel::hashSeed32) const;
   /// "none" when not set.
   std::string valueToStrep() const;
   static RsvpLerLspRequestConfigId fromText(std::string_view text);
};

/// An RSVP session with its sender (RFC 3209 LSP_TUNNEL_IPv4): one signalled path. Both addresses are IPv4, since the
/// MIB's LSR ids have 32 bits.
struct RsvpSpId {
   struct Session {
      Lanu::IpGenAddr destination;
      std::uint16_t tunnelId = 0;
      bool operator==(Session const&) const = default;
      auto operator<=>(Session const&) const = default;
   };
   struct Sender {
      Lanu::IpGenAddr address;
      std::uint32_t lspId = 0;
      bool operator==(Sender const&) const = default;
      auto operator<=>(Sender const&) const = default;
   };

   Session session;
   Sender sender;

   bool operator==(RsvpSpId const&) const = default;
   auto operator<=>(RsvpSpId const&) const = default;
   std::uint32_t hash(std::uint32_t seed = Vel::hashSeed32) const;
   std::string valueToStrep() const;
   static RsvpSpId fromText(std::string_view text);
};

}  // namespace Rsvp
