// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/store/Collection.h"
#include "inputs/rsvp/KelpStatus.h"
#include "inputs/rsvp/LerConfig.h"
#include "inputs/rsvp/LerHiveStatus.h"
#include "substrate/vel/EntityDir.h"

namespace Store {

/// The published state of the head end: documents go in, observable objects come out. docs/state.md describes the
/// documents.
///
/// The objects are mounted in an entity directory, for as long as the store lives:
///
///   state/rsvp/lerConfig      Rsvp::RsvpLerConfig
///   state/rsvp/lerHiveStatus  Rsvp::RsvpLerHiveStatus
///   state/rsvp/kelpStatus     Rsvp::RsvpKelpStatus
///
/// Their tables are always there; the collections in these come with their first entry and go with the last. An entry
/// that changes stays the same object, and only attributes that change notify. All on one thread.
class StateStore {
 public:
   /// Mounts the inputs, empty, below `root`. Throws Vel::MutatorReinstantiatingException where something is mounted
   /// already.
   explicit StateStore(Vel::Ptr<Vel::EntityDir> const& root);
   ~StateStore();
   StateStore(StateStore const&) = delete;
   StateStore& operator=(StateStore const&) = delete;

   Vel::Ptr<Rsvp::RsvpLerConfig const> lerConfig() const { return lerConfig_; }
   Vel::Ptr<Rsvp::RsvpLerHiveStatus const> lerHiveStatus() const { return lerHiveStatus_; }
   Vel::Ptr<Rsvp::RsvpKelpStatus const> kelpStatus() const { return kelpStatus_; }

   /// Applies a merge patch (RFC 7396) of the document, at once; see ChangeSet for doing it in steps. Returns the
   /// number of entries that it added, removed or changed. Throws StateError, and then nothing of it is applied.
   std::size_t applyPatch(std::string patch);

   /// Makes the state equal to a whole document, by applying the difference; the rest as above. Null stands for a
   /// default, and for an entry that is not there.
   std::size_t replace(std::string document);

   /// The state as a document: ids in canonical text and in order, no attribute that has its default, no empty
   /// collection, one entry to a line. `replace` with it changes nothing.
   std::string document() const;

   /// The collections of the document, in the order in which additions are applied.
   std::vector<std::unique_ptr<Collection>> const& collections() const { return collections_; }

 private:
   std::size_t apply(ChangeKind kind, std::string document);

   Vel::Ptr<Vel::EntityDir> dir_;
   Vel::Ptr<Rsvp::RsvpLerConfig> lerConfig_;
   Vel::Ptr<Rsvp::RsvpLerHiveStatus> lerHiveStatus_;
   Vel::Ptr<Rsvp::RsvpKelpStatus> kelpStatus_;
   std::vector<std::unique_ptr<Collection>> collections_;
};

}  // namespace Store
