// SPDX-License-Identifier: MIT
/// Configuration of the head end: path specs by the source that configured them.
///
///   RsvpLerConfig.pathSpecCollTable -> .pathSpecColl[source] -> .pathSpec[id]
#pragma once

#include "inputs/rsvp/Ids.h"
#include "substrate/vel/Entity.h"
#include "substrate/vel/HashMap2018.h"
#include "substrate/vel/Mutators.h"

namespace Rsvp {

/// A path spec: how a path of a tunnel is to be found.
class RsvpLerPathSpec : public Vel::PtrInterface {
 public:
   enum class Type : std::uint8_t { unknown = 0, explicitPath = 1, dynamic = 2 };
   enum : Vel::AttributeId { attrName = 1, attrType };

   explicit RsvpLerPathSpec(RsvpLerPathSpecId id) : id_(std::move(id)), name_(id_.name) {
      hasNotificationActiveIs(true);
   }

   RsvpLerPathSpecId const& id() const { return id_; }
   /// Stored form, with its terminating NUL.
   Vel::String const& name() const { return name_; }
   void nameIs(Vel::String const& name) { Vel::setAttribute(*this, attrName, name_, name); }
   Type type() const { return type_; }
   void typeIs(Type type) { Vel::setAttribute(*this, attrType, type_, type); }

 private:
   RsvpLerPathSpecId id_;
   Vel::String name_;
   Type type_ = Type::unknown;
};

class RsvpLerPathSpecCollForSource : public Vel::PtrInterface {
 public:
   enum : Vel::AttributeId { attrPathSpec = 1 };
   using PathSpecMap = Vel::HashMap2018<RsvpLerPathSpecId, Vel::Ptr<RsvpLerPathSpec const>>;

   RsvpLerPathSpecCollForSource() { hasNotificationActiveIs(true); }

   PathSpecMap const& pathSpec() const { return pathSpec_; }
   void pathSpecIs(RsvpLerPathSpecId const& id, Vel::Ptr<RsvpLerPathSpec const> const& spec) {
      Vel::setMember(*this, attrPathSpec, pathSpec_, id, spec);
   }
   void pathSpecDel(RsvpLerPathSpecId const& id) { Vel::delMember(*this, attrPathSpec, pathSpec_, id); }

 private:
   PathSpecMap pathSpec_;
};

class RsvpLerPathSpecCollTable : public Vel::PtrInterface {
 public:
   enum : Vel::AttributeId { attrPathSpecColl = 1 };
   using PathSpecCollMap = Vel::HashMap2018<RsvpLerTunnelSource, Vel::Ptr<RsvpLerPathSpecCollForSource const>>;

   RsvpLerPathSpecCollTable() { hasNotificationActiveIs(true); }

   PathSpecCollMap const& pathSpecColl() const { return pathSpecColl_; }
   void pathSpecCollIs(RsvpLerTunnelSource source, Vel::Ptr<RsvpLerPathSpecCollForSource const> const& coll) {
      Vel::setMember(*this, attrPathSpecColl, pathSpecColl_, source, coll);
   }
   void pathSpecCollDel(RsvpLerTunnelSource source) { Vel::delMember(*this, attrPathSpecColl, pathSpecColl_, source); }

 private:
   PathSpecCollMap pathSpecColl_;
};

class RsvpLerConfig : public Vel::Entity {
 public:
   enum : Vel::AttributeId { attrPathSpecCollTable = 1 };

   explicit RsvpLerConfig(Vel::String name) : Entity(std::move(name)) { hasNotificationActiveIs(true); }

   Vel::Ptr<RsvpLerPathSpecCollTable const> const& pathSpecCollTable() const { return pathSpecCollTable_; }
   /// May be null.
   void pathSpecCollTableIs(Vel::Ptr<RsvpLerPathSpecCollTable const> const& table) {
      Vel::setAttribute(*this, attrPathSpecCollTable, pathSpecCollTable_, table);
   }

 private:
   Vel::Ptr<RsvpLerPathSpecCollTable const> pathSpecCollTable_;
};

}  // namespace Rsvp
