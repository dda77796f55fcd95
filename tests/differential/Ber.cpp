// SPDX-License-Identifier: MIT
#include "tests/differential/Ber.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <utility>

namespace Differential {

namespace {

void append(Octets& to, Octets const& octets) { to.insert(to.end(), octets.begin(), octets.end()); }

Octets element(std::uint8_t type, Octets const& content) {
   Octets octets{type};
   auto const size = content.size();
   if (size >= 0x80) {
      octets.push_back(0x82);
      octets.push_back(static_cast<std::uint8_t>(size >> 8U));
   }
   octets.push_back(static_cast<std::uint8_t>(size));
   append(octets, content);
   return octets;
}

Octets integer(std::uint32_t value) {
   Octets content;
   for (int shift = 24; shift >= 0; shift -= 8) {
      auto const octet = static_cast<std::uint8_t>(value >> static_cast<unsigned>(shift));
      if (!content.empty() || octet != 0 || shift == 0) content.push_back(octet);
   }
   if ((content.front() & 0x80U) != 0) content.insert(content.begin(), 0);
   return element(0x02, content);
}

void appendSubIdentifier(Octets& to, std::uint64_t value) {
   Octets groups{static_cast<std::uint8_t>(value & 0x7fU)};
   while (value >>= 7U) groups.insert(groups.begin(), static_cast<std::uint8_t>(0x80U | (value & 0x7fU)));
   append(to, groups);
}

Octets objectIdentifier(Name const& name) {
   Octets content;
   appendSubIdentifier(content, name.size() > 1 ? name[0] * 40 + name[1] : 0);
   for (std::size_t n = 2; n < name.size(); ++n) appendSubIdentifier(content, name[n]);
   return element(0x06, content);
}

std::string nameText(Name const& name) { return fmt::format(".{}", fmt::join(name, ".")); }

/// Reads elements one behind the other.
class Reader {
 public:
   explicit Reader(Octets const& octets) : at_(octets.data()), end_(at_ + octets.size()) {}
   Reader(std::uint8_t const* begin, std::uint8_t const* end) : at_(begin), end_(end) {}

   bool atEnd() const { return at_ >= end_; }
   /// The next element's content; its type goes to `type`.
   Reader next(std::uint8_t& type) {
      type = octet();
      std::size_t size = octet();
      if ((size & 0x80U) != 0) {
         std::size_t const octets = size & 0x7fU;
         size = 0;
         for (std::size_t n = 0; n < octets; ++n) size = size << 8U | octet();
      }
      auto const* const begin = at_;
      at_ += std::min(size, static_cast<std::size_t>(end_ - at_));
      return {begin, at_};
   }
   std::uint64_t number() {
      std::uint64_t value = 0;
      while (!atEnd()) value = value << 8U | octet();
      return value;
   }
   Name name() {
      Name name;
      std::uint64_t value = 0;
      while (!atEnd()) {
         std::uint8_t const group = octet();
         value = value << 7U | (group & 0x7fU);
         if ((group & 0x80U) != 0) continue;
         if (name.empty()) {
            name = {value / 40, value % 40};
         } else {
            name.push_back(value);
         }
         value = 0;
      }
      return name;
   }
   Octets octets() { return {std::exchange(at_, end_), end_}; }

 private:
   std::uint8_t octet() { return atEnd() ? std::uint8_t{0} : *at_++; }

   std::uint8_t const* at_;
   std::uint8_t const* end_;
};

}  // namespace

Octets encode(Request const& request) {
   Octets variables;
   for (Name const& name : request.names) {
      Octets variable = objectIdentifier(name);
      append(variable, element(0x05, {}));
      append(variables, element(0x30, variable));
   }
   Octets pdu = integer(request.id);
   append(pdu, integer(request.nonRepeaters));
   append(pdu, integer(request.maxRepetitions));
   append(pdu, element(0x30, variables));
   Octets message = integer(static_cast<std::uint32_t>(request.version));
   append(message, element(0x04, Octets(request.community.begin(), request.community.end())));
   append(message, element(static_cast<std::uint8_t>(request.pdu), pdu));
   return element(0x30, message);
}

std::string text(Request const& request) {
   std::string const pdu = request.pdu == Pdu::get ? "GET"
                           : request.pdu == Pdu::getNext
                                 ? "GETNEXT"
                                 : fmt::format("GETBULK {}/{}", request.nonRepeaters, request.maxRepetitions);
   std::string line = fmt::format("{} {} {}", pdu, request.version == 0 ? "v1" : "v2c", request.community);
   for (Name const& name : request.names) line += " " + nameText(name);
   return line;
}

Answer decode(Octets const& message) {
   std::uint8_t type = 0;
   Reader content = Reader(message).next(type);
   content.next(type);  // version
   content.next(type);  // community
   Reader pdu = content.next(type);
   pdu.next(type);  // request-id
   Answer answer;
   answer.status = pdu.next(type).number();
   answer.index = pdu.next(type).number();
   Reader variables = pdu.next(type);
   while (!variables.atEnd()) {
      Reader variable = variables.next(type);
      Name const name = variable.next(type).name();
      Octets const value = variable.next(type).octets();
      answer.variables.push_back({name, type, value});
   }
   return answer;
}

std::string text(Octets const& message) {
   if (message.empty()) return "no answer\n";
   Answer const answer = decode(message);
   std::string lines = fmt::format("{} octets, error {} at {}\n", message.size(), answer.status, answer.index);
   for (auto const& [name, type, value] : answer.variables) {
      lines += fmt::format("   {} = {:02x} {:02x}\n", nameText(name), type, fmt::join(value, ""));
   }
   return lines;
}

}  // namespace Differential
