// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>
#include <type_traits>

#include "host/store/AttributeValues.h"
#include "inputs/rsvp/KelpStatus.h"

namespace Store {

/// One attribute of the entries of a collection: its name in the document and what can be done with it.
template <class Entry>
struct Attribute {
   std::string_view name;
   /// Takes the value from the document.
   void (*read)(DocumentReader& in, Entry& entry);
   /// Gives `entry` the value of `other`, and tells its reactors if that changes it; true then.
   bool (*assign)(Entry& entry, Entry const& other);
   /// Sets the attribute alone to its value in `other`, also where `assign` covers several attributes at once.
   void (*reset)(Entry& entry, Entry const& other);
   bool (*same)(Entry const& a, Entry const& b);
   Json (*write)(Entry const& entry);
};

/// A value with a getter and a setter of its own.
template <auto Get, auto Set>
struct Property {
   template <class Entry>
   static auto get(Entry const& entry) {
      return (entry.*Get)();
   }
   template <class Entry, class Value>
   static void set(Entry& entry, Value const& value) {
      (entry.*Set)(value);
   }
   template <class Entry>
   static bool assign(Entry& entry, Entry const& other) {
      if ((entry.*Get)() == (other.*Get)()) return false;
      (entry.*Set)((other.*Get)());
      return true;
   }
};

/// A field of a path's session attribute, which is published as a whole.
template <auto Field>
struct SessionField {
   static auto get(Rsvp::RsvpSpStatus const& status) { return status.sessionAttribute().*Field; }
   template <class Value>
   static void set(Rsvp::RsvpSpStatus& status, Value const& value) {
      Rsvp::RsvpSessionAttribute session = status.sessionAttribute();
      session.*Field = value;
      status.sessionAttributeIs(session);
   }
   static bool assign(Rsvp::RsvpSpStatus& status, Rsvp::RsvpSpStatus const& other) {
      using Whole = Property<&Rsvp::RsvpSpStatus::sessionAttribute, &Rsvp::RsvpSpStatus::sessionAttributeIs>;
      return Whole::assign(status, other);
   }
};

template <class Entry, class Access, class Form>
constexpr Attribute<Entry> attribute(std::string_view name) {
   return {
         .name = name,
         .read =
               [](DocumentReader& in, Entry& entry) {
                  typename Form::Value value = Access::get(entry);
                  Form::read(in, value);
                  Access::set(entry, value);
               },
         .assign = [](Entry& entry, Entry const& other) { return Access::assign(entry, other); },
         .reset = [](Entry& entry, Entry const& other) { Access::set(entry, Access::get(other)); },
         .same = [](Entry const& a, Entry const& b) { return Access::get(a) == Access::get(b); },
         .write = [](Entry const& entry) { return Form::write(Access::get(entry)); },
   };
}

}  // namespace Store
