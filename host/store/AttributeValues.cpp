// SPDX-License-Identifier: MIT
#include "host/store/AttributeValues.h"

#include <array>
#include <charconv>

#include "host/store/Limits.h"
#include "inputs/rsvp/NameText.h"

namespace Store {

namespace {

// In order of Rsvp::RsvpLerPathSpec::Type.
constexpr std::array<std::string_view, 3> kPathSpecTypes{"unknown", "explicit", "dynamic"};

std::uint32_t hopIndex(DocumentReader& in, std::string_view text) {
   std::uint32_t index = 0;
   auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), index);
   // No leading zero also means that the index is not 0.
   bool const whole = error == std::errc{} && end == text.data() + text.size() && text.front() != '0';
   if (!whole) in.refuse("a hop index is a number from 1 to 4294967295, without leading zeros");
   return index;
}

Lanu::IpGenAddr hopAddress(DocumentReader& in) {
   constexpr std::string_view expected = "an IP address";
   std::string const text = in.text(expected);
   try {
      return Lanu::IpGenAddr::fromText(text);
   } catch (Vel::ParseException const&) {
      in.refuse(fmt::format("expected {} but found \"{}\"", expected, printable(text)));
   }
}

}  // namespace

void PathSpecName::read(DocumentReader& in, Vel::String& value) {
   std::string const name = in.text();
   if (name.empty()) in.refuse("the name is empty");
   if (name.size() > Rsvp::kMaxNameLength) {
      in.refuse(fmt::format("the name is longer than {} octets", Rsvp::kMaxNameLength));
   }
   if (name.find('\0') != std::string::npos) in.refuse("the name holds a NUL character");
   // The name is nearly always that of the id, whose string it then goes on sharing.
   if (name != Rsvp::nameText(value)) value = Rsvp::storedName(name);
}

void PathSpecType::read(DocumentReader& in, Value& value) {
   constexpr std::string_view expected = R"("unknown", "explicit" or "dynamic")";
   std::string const text = in.text(expected);
   auto const found = std::ranges::find(kPathSpecTypes, text);
   if (found == kPathSpecTypes.end()) {
      in.refuse(fmt::format("expected {} but found \"{}\"", expected, printable(text)));
   }
   value = static_cast<Value>(found - kPathSpecTypes.begin());
}

Json PathSpecType::write(Value value) { return kPathSpecTypes.at(static_cast<std::size_t>(value)); }

void Path::read(DocumentReader& in, Value& path) {
   std::vector<std::uint32_t> seen;
   in.object("an object of hop indices and addresses", [&](std::string_view name) {
      std::uint32_t const index = hopIndex(in, name);
      if (seen.size() == kMostHopsNamed) in.refuse(fmt::format("more than {} hops are named", kMostHopsNamed));
      seen.push_back(index);
      if (in.takeNull()) {
         path.hopDel(index);
      } else {
         path.hopIs(index, hopAddress(in));
      }
   });
   std::ranges::sort(seen);
   auto const twice = std::ranges::adjacent_find(seen);
   if (twice != seen.end()) in.refuse(fmt::format("hop {} is there twice", *twice));
   if (path.hop().size() > kMostHops) {
      in.refuse(fmt::format("the path has {} hops, at most {}", path.hop().size(), kMostHops));
   }
}

Json Path::write(Value const& path) {
   Json hops = Json::object();
   for (auto const& hop : path.hop()) hops[std::to_string(hop.key())] = hop.value().valueToStrep();
   return hops;
}

void Errors::read(DocumentReader& in, Value& errors) {
   constexpr std::array<std::string_view, 2> names{"code", "value"};
   errors.clear();
   in.array("an array of errors", [&] {
      if (errors.size() == kMostErrors) in.refuse(fmt::format("there are more than {} errors", kMostErrors));
      Rsvp::RsvpLerLspRequestStatus::Error error;
      auto const present = in.members(names, "member of an error", [&](std::size_t index) {
         if (index == 0) {
            Number<std::uint8_t>::read(in, error.code);
         } else {
            Number<std::uint16_t>::read(in, error.value);
         }
      });
      if (present.count() != names.size()) in.refuse("an error has both a code and a value");
      errors.push_back(error);
   });
}

Json Errors::write(Value const& errors) {
   Json written = Json::array();
   for (auto const& error : errors) written.push_back({{"code", error.code}, {"value", error.value}});
   return written;
}

}  // namespace Store
