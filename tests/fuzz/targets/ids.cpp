// SPDX-License-Identifier: MIT
// Ids, names and addresses from any text: what is read is written and read again as the same.
#include <arpa/inet.h>

#include <array>
#include <nlohmann/json.hpp>
#include <string>

#include "inputs/rsvp/Ids.h"
#include "inputs/rsvp/NameText.h"
#include "substrate/vel/Exceptions.h"
#include "tests/fuzz/targets/Fuzz.h"

namespace {

using Fuzz::check;

template <class Id>
void readId(std::string_view text) {
   Id id;
   try {
      id = Id::fromText(text);
   } catch (Vel::Exception const& error) {
      std::string const quoted = '"' + std::string(text) + '"';
      check(std::string_view(error.what()).starts_with(quoted.c_str()), "a message quotes the text", error.what());
      return;
   }
   std::string const canonical = id.valueToStrep();
   Id const again = Id::fromText(canonical);
   check(again == id && (again <=> id) == 0, "the canonical text is that of the same id", canonical);
   check(again.hash() == id.hash(), "equal ids have equal hashes", canonical);
   check(again.valueToStrep() == canonical, "there is one canonical text", canonical);
   check(canonical.size() <= text.size(), "the canonical text is the shortest", canonical);
}

/// The octets of the address that the C library reads, or none.
std::string addressOctets(std::string const& text) {
   if (text.find('\0') != std::string::npos) return {};
   std::array<char, 16> octets{};
   if (inet_pton(AF_INET, text.c_str(), octets.data()) == 1) return {octets.data(), 4};
   if (inet_pton(AF_INET6, text.c_str(), octets.data()) == 1) return {octets.data(), 16};
   return {};
}

void readAddress(std::string const& text) {
   std::string const expected = addressOctets(text);
   try {
      auto const address = Lanu::IpGenAddr::fromText(text);
      check(address.octets() == expected, "an address is what the C library reads", text);
      std::string const canonical = address.valueToStrep();
      check(Lanu::IpGenAddr::fromText(canonical) == address, "its text is that of the same address", canonical);
   } catch (Vel::Exception const&) {
      check(expected.empty(), "an address that the C library reads is taken", text);
   }
}

/// Whether the JSON library, which either replaces or leaves out what is none, finds nothing to do.
bool isUtf8(std::string const& text) {
   using Json = nlohmann::json;
   Json const json = text;
   return json.dump(-1, ' ', false, Json::error_handler_t::replace) ==
          json.dump(-1, ' ', false, Json::error_handler_t::ignore);
}

void readName(std::string const& name) {
   std::string decoded;
   bool const good = Rsvp::decodeName(Rsvp::encodeName(name), decoded).empty();
   bool const expected =
         !name.empty() && name.size() <= Rsvp::kMaxNameLength && name.find('\0') == std::string::npos && isUtf8(name);
   check(good == expected, "a name is taken when it is UTF-8 of a good length without NUL", name);
   check(!good || decoded == name, "a name that is encoded is decoded to itself", name);
   (void)Rsvp::decodeName(name, decoded);
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   std::string const text(Fuzz::textOf(data, size));
   readId<Rsvp::RsvpLerTunnelSpecId>(text);
   readId<Rsvp::RsvpLerSubTunnelConfigId>(text);
   readId<Rsvp::RsvpLerPathSpecId>(text);
   readId<Rsvp::RsvpLerLspGroupId>(text);
   readId<Rsvp::RsvpLerLspRequestConfigId>(text);
   readId<Rsvp::RsvpSpId>(text);
   readAddress(text);
   readName(text);
   return 0;
}
