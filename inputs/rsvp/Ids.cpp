// SPDX-License-Identifier: MIT
#include "inputs/rsvp/Ids.h"

#include <array>
#include <charconv>
#include <limits>
#include <vector>

#include "inputs/rsvp/NameText.h"

namespace Rsvp {

namespace {

constexpr std::array kSources{Vel::Enumerator{0, "cli"}, Vel::Enumerator{1, "auto"}, Vel::Enumerator{2, "controller"}};
constexpr Vel::EnumType<unsigned int> kSourceType("Rsvp::RsvpLerTunnelSource", kSources);
constexpr std::array kPathSpecTypes{Vel::Enumerator{0, "primary"}, Vel::Enumerator{1, "secondary"}};
constexpr Vel::EnumType<unsigned int> kPathSpecTypeType("Rsvp::RsvpLerPathSpecType", kPathSpecTypes);

[[noreturn]] void refuse(std::string_view text, std::string_view kind, std::string_view why) {
   throw Vel::ParseException(fmt::format("\"{}\" is not {}: {}", text, kind, why));
}

/// A decimal number without sign or leading zeros.
std::uint32_t number(std::string_view digits, std::uint32_t limit, std::string_view text, std::string_view kind) {
   std::uint32_t value = 0;
   auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
   bool const leadingZero = digits.size() > 1 && digits.front() == '0';
   if (error == std::errc::invalid_argument || end != digits.data() + digits.size() || leadingZero) {
      refuse(text, kind, fmt::format("\"{}\" is not a number", digits));
   }
   if (error != std::errc{} || value > limit) {
      throw Vel::RangeException(
            fmt::format("\"{}\" is not {}: {} is out of range (at most {})", text, kind, digits, limit));
   }
   return value;
}

constexpr std::uint32_t kMax32 = std::numeric_limits<std::uint32_t>::max();

struct SourceAndName {
   RsvpLerTunnelSource source;
   Vel::String name;
};

/// "source:name", which is a part of `text`.
SourceAndName sourceAndName(std::string_view part, std::string_view text, std::string_view kind) {
   auto const colon = part.find(':');
   if (colon == std::string_view::npos) refuse(text, kind, "there is no \":\" behind a source");
   std::string_view const source = part.substr(0, colon);
   for (auto const& enumerator : kSources) {
      if (enumerator.name != source) continue;
      std::string name;
      if (std::string const why = decodeName(part.substr(colon + 1), name); !why.empty()) refuse(text, kind, why);
      return {static_cast<RsvpLerTunnelSource>(enumerator.value), storedName(name)};
   }
   refuse(text, kind, fmt::format("\"{}\" is none of the sources cli, auto and controller", source));
}

std::string sourceAndNameText(RsvpLerTunnelSource source, Vel::String const& name) {
   return fmt::format("{}:{}", source, encodeName(nameText(name)));
}

RsvpLerSubTunnelConfigId parseSubTunnel(std::string_view part, std::string_view text, std::string_view kind) {
   auto const hash = part.find('#');
   auto const [source, name] = sourceAndName(part.substr(0, hash), text, kind);
   std::uint32_t index = 0;
   if (hash != std::string_view::npos) {
      index = number(part.substr(hash + 1), kMax32, text, kind);
      if (index == 0) refuse(text, kind, "the parts of a split tunnel are counted from 1");
   }
   return {source, index, name};
}

RsvpLerLspGroupId parseLspGroup(std::string_view part, std::string_view text, std::string_view kind) {
   auto const at = part.find('@');
   if (at == std::string_view::npos) refuse(text, kind, "there is no \"@primary\" or \"@secondary\"");
   std::string_view const type = part.substr(at + 1);
   for (auto const& enumerator : kPathSpecTypes) {
      if (enumerator.name == type) {
         return {parseSubTunnel(part.substr(0, at), text, kind), static_cast<RsvpLerPathSpecType>(enumerator.value)};
      }
   }
   refuse(text, kind, fmt::format("\"{}\" is neither primary nor secondary", type));
}

Lanu::IpGenAddr ip4(std::string_view part, std::string_view text, std::string_view kind) {
   Lanu::IpGenAddr address;
   try {
      address = Lanu::IpGenAddr::fromText(part);
   } catch (Vel::ParseException const& error) {
      refuse(text, kind, error.what());
   }
   if (address.family() != Lanu::IpGenAddr::Family::ipv4) {
      refuse(text, kind, fmt::format("\"{}\" is not an IPv4 address", part));
   }
   return address;
}

}  // namespace

Vel::EnumType<unsigned int> const& velEnumType(RsvpLerTunnelSource) { return kSourceType; }
Vel::EnumType<unsigned int> const& velEnumType(RsvpLerPathSpecType) { return kPathSpecTypeType; }

Vel::String storedName(std::string_view name) {
   return name.empty() ? Vel::String() : Vel::String(std::string(name) + '\0');
}

std::string_view nameText(Vel::String const& stored) {
   std::string_view text = stored.view();
   if (!text.empty() && text.back() == '\0') text.remove_suffix(1);
   return text;
}

std::uint32_t RsvpLerTunnelSpecId::hash(std::uint32_t seed) const {
   Vel::Hasher hasher(seed);
   Vel::mixField(hasher, source);
   Vel::mixField(hasher, tunnelName);
   return hasher.result();
}

std::string RsvpLerTunnelSpecId::valueToStrep() const { return sourceAndNameText(source, tunnelName); }

RsvpLerTunnelSpecId RsvpLerTunnelSpecId::fromText(std::string_view text) {
   auto const [source, name] = sourceAndName(text, text, "a tunnel spec id");
   return {source, name};
}

std::uint32_t RsvpLerSubTunnelConfigId::hash(std::uint32_t seed) const {
   Vel::Hasher hasher(seed);
   Vel::mixField(hasher, source);
   Vel::mixField(hasher, subTunnel);
   Vel::mixField(hasher, tunnelName);
   return hasher.result();
}

std::string RsvpLerSubTunnelConfigId::valueToStrep() const {
   std::string const tunnel = sourceAndNameText(source, tunnelName);
   return isSplit() ? fmt::format("{}#{}", tunnel, subTunnel) : tunnel;
}

RsvpLerSubTunnelConfigId RsvpLerSubTunnelConfigId::fromText(std::string_view text) {
   return parseSubTunnel(text, text, "a sub-tunnel id");
}

std::uint32_t RsvpLerPathSpecId::hash(std::uint32_t seed) const {
   Vel::Hasher hasher(seed);
   Vel::mixField(hasher, source);
   Vel::mixField(hasher, name);
   return hasher.result();
}

std::string RsvpLerPathSpecId::valueToStrep() const {
   return isConfigured() ? sourceAndNameText(source, name) : std::string("none");
}

RsvpLerPathSpecId RsvpLerPathSpecId::fromText(std::string_view text) {
   auto const [source, name] = sourceAndName(text, text, "a path spec id");
   return {source, name};
}

std::uint32_t RsvpLerLspGroupId::hash(std::uint32_t seed) const {
   Vel::Hasher hasher(seed);
   Vel::mixField(hasher, subTunnelConfigId);
   Vel::mixField(hasher, pathSpecType);
   return hasher.result();
}

std::string RsvpLerLspGroupId::valueToStrep() const { return fmt::format("{}@{}", subTunnelConfigId, pathSpecType); }

RsvpLerLspGroupId RsvpLerLspGroupId::fromText(std::string_view text) {
   return parseLspGroup(text, text, "an LSP group id");
}

std::uint32_t RsvpLerLspRequestConfigId::hash(std::uint32_t seed) const {
   Vel::Hasher hasher(seed);
   Vel::mixField(hasher, lspGroupId);
   Vel::mixField(hasher, request);
   return hasher.result();
}

std::string RsvpLerLspRequestConfigId::valueToStrep() const {
   return isSet() ? fmt::format("{}.{}", lspGroupId, request) : std::string("none");
}

RsvpLerLspRequestConfigId RsvpLerLspRequestConfigId::fromText(std::string_view text) {
   constexpr std::string_view kind = "an LSP request id";
   auto const dot = text.rfind('.');
   if (dot == std::string_view::npos) refuse(text, kind, "there is no \".\" before the number of the request");
   RsvpLerLspGroupId const group = parseLspGroup(text.substr(0, dot), text, kind);
   return {group, number(text.substr(dot + 1), kMax32, text, kind)};
}

std::uint32_t RsvpSpId::hash(std::uint32_t seed) const {
   Vel::Hasher hasher(seed);
   Vel::mixField(hasher, session.destination);
   Vel::mixField(hasher, session.tunnelId);
   Vel::mixField(hasher, sender.address);
   Vel::mixField(hasher, sender.lspId);
   return hasher.result();
}

std::string RsvpSpId::valueToStrep() const {
   return fmt::format("{}/{}/{}/{}", session.destination, session.tunnelId, sender.address, sender.lspId);
}

RsvpSpId RsvpSpId::fromText(std::string_view text) {
   constexpr std::string_view kind = "an sp id";
   std::vector<std::string_view> parts;
   for (std::string_view rest = text;;) {
      auto const slash = rest.find('/');
      parts.push_back(rest.substr(0, slash));
      if (slash == std::string_view::npos) break;
      rest.remove_prefix(slash + 1);
   }
   if (parts.size() != 4) refuse(text, kind, "it is not of the form destination/tunnelId/sender/lspId");
   RsvpSpId id;
   id.session.destination = ip4(parts[0], text, kind);
   id.session.tunnelId =
         static_cast<std::uint16_t>(number(parts[1], std::numeric_limits<std::uint16_t>::max(), text, kind));
   id.sender.address = ip4(parts[2], text, kind);
   id.sender.lspId = number(parts[3], kMax32, text, kind);
   return id;
}

}  // namespace Rsvp
