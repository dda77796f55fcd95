// SPDX-License-Identifier: MIT
#include "tools/TunnelNames.h"

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>
#include <type_traits>

#include "inputs/tunnel/TunnelId.h"
#include "substrate/vel/Exceptions.h"

namespace Tools {

namespace {

using Tunnel::TunnelTable::TunnelId;

// A kind of tunnel: the word for it, and the collection of the state that holds the indexes of such tunnels.
struct TunnelKind {
   TunnelId::Type type;
   std::string_view word;
   char const* collection;
};
constexpr std::array kTunnelKinds{
      TunnelKind{TunnelId::Type::rsvpTunnel, "tunnel", "tunnelIndexForTunnelSpecId"},
      TunnelKind{TunnelId::Type::rsvpSubTunnel, "subtunnel", "tunnelIndexForSubTunnelConfigId"}};

template <class Number>
Number toNumber(std::string_view text) {
   Number value = 0;
   auto const end = text.data() + text.size();
   if (auto const [stop, error] = std::from_chars(text.data(), end, value); error != std::errc{} || stop != end) {
      throw std::invalid_argument(
            fmt::format("'{}' is not a number from 0 to {}", text, std::numeric_limits<Number>::max()));
   }
   return value;
}

nlohmann::json parsed(std::string const& file) {
   std::ifstream stream(file);
   std::ostringstream text;
   if (!stream || !(text << stream.rdbuf())) {
      throw std::runtime_error(fmt::format("{}: {}", file, std::strerror(errno)));
   }
   try {
      return nlohmann::json::parse(text.str());
   } catch (nlohmann::json::parse_error const& error) {
      throw std::runtime_error(fmt::format("{}: not JSON at octet {}", file, error.byte));
   }
}

}  // namespace

std::string tunnelText(std::uint64_t tunnelValue) {
   auto const index = static_cast<std::uint32_t>(tunnelValue);
   auto const type = static_cast<std::uint8_t>(tunnelValue >> 56U);
   if (tunnelValue != (std::uint64_t{type} << 56U | index)) return fmt::format("{:#x}", tunnelValue);
   return fmt::format("{}:{}", type, index);
}

std::uint64_t toNumber64(std::string_view text) { return toNumber<std::uint64_t>(text); }

TunnelNames::TunnelNames(std::string const& file) : file_(file) {
   nlohmann::json const state = parsed(file);
   if (!state.is_object()) throw std::runtime_error(fmt::format("{}: not an object", file));
   for (TunnelKind const& kind : kTunnelKinds) {
      auto const found = state.find(kind.collection);
      if (found == state.end()) continue;
      if (!found->is_object()) throw std::runtime_error(fmt::format("{}: {}: not an object", file, kind.collection));
      for (auto const& [text, index] : found->items()) {
         auto const wrong = [&](std::string_view why) {
            throw std::runtime_error(fmt::format("{}: {}: {}", file, kind.collection, why));
         };
         if (!index.is_number_unsigned() || index.get<std::uint64_t>() > std::numeric_limits<std::uint32_t>::max()) {
            wrong(fmt::format("\"{}\": not a number from 0 to {}", text, std::numeric_limits<std::uint32_t>::max()));
         }
         try {
            auto const id = Rsvp::RsvpLerSubTunnelConfigId::fromText(text);
            if (id.isSplit() != (kind.type == TunnelId::Type::rsvpSubTunnel)) {
               wrong(fmt::format("\"{}\" is {}a part of a split tunnel", text, id.isSplit() ? "" : "not "));
            }
            auto const value = TunnelId::convertToTunnelValue(kind.type, index.get<std::uint32_t>());
            values_[id] = value;
            names_[value] = id.valueToStrep();
         } catch (Vel::Exception const& error) {
            wrong(error.what());
         }
      }
   }
}

std::string_view TunnelNames::nameOf(std::uint64_t tunnelValue) const {
   auto const found = names_.find(tunnelValue);
   return found == names_.end() ? std::string_view() : found->second;
}

std::vector<std::uint64_t> TunnelNames::all() const {
   std::vector<std::uint64_t> values;
   for (auto const& [value, name] : names_) values.push_back(value);
   return values;
}

std::uint64_t TunnelNames::valueOf(std::string const& id) const {
   Rsvp::RsvpLerSubTunnelConfigId parsedId;
   try {
      parsedId = Rsvp::RsvpLerSubTunnelConfigId::fromText(id);
   } catch (Vel::Exception const&) {
      throw std::invalid_argument(
            fmt::format("'{}' is not a tunnel: 16:INDEX, 20:INDEX, tunnel INDEX, subtunnel INDEX or an id", id));
   }
   if (file_.empty()) {
      throw std::invalid_argument(fmt::format("'{}' is an id: --state FILE tells which index it has", id));
   }
   auto const found = values_.find(parsedId);
   if (found == values_.end()) throw std::invalid_argument(fmt::format("'{}' has no index in {}", id, file_));
   return found->second;
}

std::uint64_t TunnelNames::take(std::span<std::string const>& words) const {
   if (words.empty()) throw std::invalid_argument("no tunnel is given");
   std::string const& word = words.front();
   words = words.subspan(1);
   for (TunnelKind const& kind : kTunnelKinds) {
      auto const type = fmt::format("{}:", static_cast<std::underlying_type_t<TunnelId::Type>>(kind.type));
      std::string_view index;
      if (word.starts_with(type)) {
         index = std::string_view(word).substr(type.size());
      } else if (word == kind.word) {
         if (words.empty()) throw std::invalid_argument(fmt::format("no index is given behind '{}'", word));
         index = words.front();
         words = words.subspan(1);
      } else {
         continue;
      }
      return TunnelId::convertToTunnelValue(kind.type, toNumber<std::uint32_t>(index));
   }
   return valueOf(word);
}

}  // namespace Tools
