// SPDX-License-Identifier: MIT
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <bitset>
#include <span>

#include "host/store/Closest.h"
#include "host/store/JsonReader.h"
#include "host/store/Names.h"
#include "substrate/vel/Exceptions.h"

namespace Store {

/// Reads a state document or a patch of one: JSON with ids, and with objects of which all members are known by name.
class DocumentReader : public JsonReader {
 public:
   using JsonReader::JsonReader;

   /// The id that names an entry; the place is the entry's.
   template <class Id>
   Id idFrom(std::string_view text) {
      return parsed<Id>(text, [] { return std::string("this"); });
   }

   /// Takes an id that is the value of an attribute.
   template <class Id>
   Id id(std::string_view expected) {
      std::string const value = text(expected);
      return parsed<Id>(value, [&] { return fmt::format("\"{}\"", printable(value)); });
   }

   /// Takes an object: `member(index)` takes the value of the member that has that place in `names`. Refuses other
   /// names, and one that comes a second time. Returns which came.
   static constexpr std::size_t kMostMembers = 8;
   using Present = std::bitset<kMostMembers>;
   template <class F>
   Present members(std::span<std::string_view const> names, std::string_view what, F&& member) {
      Present present;
      object("an object", [&](std::string_view name) {
         std::size_t const index = indexOf(name, names, what);
         if (present.test(index)) refuse("this member is there twice");
         present.set(index);
         member(index);
      });
      return present;
   }

   /// The place of `name` in `names`. Refuses a name that is not there; the reader's place is that of the name.
   std::size_t indexOf(std::string_view name, std::span<std::string_view const> names, std::string_view what) const {
      auto const found = std::ranges::find(names, name);
      if (found != names.end()) return found - names.begin();
      std::string_view const meant = closest(name, names);
      refuse(fmt::format("there is no such {}{}", what,
                         meant.empty() ? "" : fmt::format("; \"{}\" is probably meant", meant)));
   }

   /// Lets go of some of what it has kept of what it read; true when nothing is left. It is then of no more use.
   bool destroySome() { return names_.destroySome(); }

 private:
   // Three octets for each of a name's, when all of it is percent-encoded, and the rest of an LSP request's id.
   static constexpr std::size_t kLongestId = 3 * 1024 + 64;

   /// `subject` gives what the message calls the id.
   template <class Id, class F>
   Id parsed(std::string_view text, F const& subject) {
      if (text.size() > kLongestId) {
         refuse(fmt::format("{} is too long for an id: {} octets, at most {}", subject(), text.size(), kLongestId));
      }
      try {
         return names_.shared(Id::fromText(text));
      } catch (Vel::Exception const& error) {
         // "<text> is not <kind>: <reason>": the text may be long, and the place has it already.
         std::string_view reason = error.what();
         std::string const quoted = fmt::format("\"{}\"", text);
         if (reason.starts_with(quoted)) reason.remove_prefix(quoted.size());
         refuse(subject() + std::string(reason));
      }
   }

   Names names_;
};

}  // namespace Store
