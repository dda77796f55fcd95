// SPDX-License-Identifier: MIT
/// How each kind of value stands in the document: `read` takes it from the document, `write` gives what `read` takes.
/// `read` gets the present value, which a merge patch of an object (the active path) changes in part.
#pragma once

#include <limits>
#include <nlohmann/json.hpp>
#include <type_traits>
#include <vector>

#include "host/store/DocumentReader.h"
#include "inputs/rsvp/LerConfig.h"
#include "inputs/rsvp/SubTunnel.h"
#include "substrate/vel/System.h"

namespace Store {

using Json = nlohmann::json;

struct Flag {
   using Value = bool;
   static void read(DocumentReader& in, bool& value) { value = in.boolean(); }
   static Json write(bool value) { return value; }
};

/// An unsigned integer with the range of its type.
template <class T>
struct Number {
   using Value = T;
   static void read(DocumentReader& in, T& value) { value = static_cast<T>(in.integer(std::numeric_limits<T>::max())); }
   static Json write(T value) { return value; }
};

/// Seconds since the epoch.
struct Time {
   using Value = Vel::Seconds;
   static void read(DocumentReader& in, Vel::Seconds& value) { value = in.number(); }
   static Json write(Vel::Seconds value) { return value; }
};

/// How an id is called in messages.
template <class Id>
inline constexpr std::string_view idKind = "";
template <>
inline constexpr std::string_view idKind<Rsvp::RsvpLerPathSpecId> = "a path spec id";
template <>
inline constexpr std::string_view idKind<Rsvp::RsvpLerLspRequestConfigId> = "an LSP request id";
template <>
inline constexpr std::string_view idKind<Rsvp::RsvpSpId> = "an sp id";

template <class Id>
struct IdText {
   using Value = Id;
   static void read(DocumentReader& in, Id& value) { value = in.id<Id>(idKind<Id>); }
   static Json write(Id const& value) { return value.valueToStrep(); }
};

struct PathSpecName {
   using Value = Vel::String;
   static void read(DocumentReader& in, Vel::String& value);
   static Json write(Vel::String const& value) { return Rsvp::nameText(value); }
};

struct PathSpecType {
   using Value = Rsvp::RsvpLerPathSpec::Type;
   static void read(DocumentReader& in, Value& value);
   static Json write(Value value);
};

/// Hop index to hop address; a hop that is null goes.
struct Path {
   using Value = Rsvp::RsvpLerPath;
   static void read(DocumentReader& in, Value& path);
   static Json write(Value const& path);
};

struct Errors {
   using Value = std::vector<Rsvp::RsvpLerLspRequestStatus::Error>;
   static void read(DocumentReader& in, Value& errors);
   static Json write(Value const& errors);
};

}  // namespace Store
