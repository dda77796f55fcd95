// SPDX-License-Identifier: MIT
/// The generic attribute interface and the type registry: how a host that knows no header works with a type.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "substrate/vel/Entity.h"
#include "substrate/vel/Generic.h"
#include "substrate/vel/Mutators.h"
#include "substrate/vel/RbTreeMap.h"
#include "substrate/vel/TypeRegistry.h"

namespace {

using testing::ElementsAre;
using testing::ThrowsMessage;
using Vel::Any;
using Vel::makePtr;
using Vel::Ptr;
using Vel::PtrInterface;
using Vel::String;

/// Has an attribute of each kind.
class Router : public Vel::Entity {
 public:
   using Entity::Entity;
   static Vel::TypeInfo const& typeInfo();
   Vel::TypeInfo const& fwkType() const override { return typeInfo(); }
   static Ptr<Router> RouterIs(String name) { return makePtr<Router>(std::move(name)); }

   std::uint16_t tunnelId() const { return tunnelId_; }
   void tunnelIdIs(std::uint16_t id) { tunnelId_ = id; }

   bool up() const { return up_; }
   void upIs(bool up) { up_ = up; }

   double upSince() const { return upSince_; }
   void upSinceIs(double time) { upSince_ = time; }

   String description() const { return description_; }
   void descriptionIs(String const& text) { description_ = text; }

   Ptr<Router> peer() const { return peer_; }
   Ptr<Router> peerIs(Ptr<Router> const& peer, Ptr<Router const> const& witness) {
      if (!peer) Vel::throwMutatorArgNullPointerException("Sample::Router", "peer", "peer");
      peer_ = peer;
      witness_ = witness;
      return peer;
   }
   Ptr<Router> peerDel() { return std::exchange(peer_, nullptr); }
   Ptr<Router const> witness() const { return witness_; }

   using Hops = Vel::RbTreeMap<std::uint32_t, String>;
   Hops const& hop() const { return hops_; }
   String hopAt(std::uint32_t index) const { return hops_[index]; }
   void hopIs(std::uint32_t index, String const& address) { hops_.insert(index, address); }
   void hopDel(std::uint32_t index) { hops_.erase(index); }

   using Labels = Vel::HashMap2018<String, std::uint32_t>;
   Labels const& label() const { return labels_; }
   void labelIs(String const& name, std::uint32_t value) { labels_.insertOrAssign(name, value); }

   void reset() { tunnelId_ = 0; }

 private:
   std::uint16_t tunnelId_ = 0;
   bool up_ = false;
   double upSince_ = 0;
   String description_;
   Ptr<Router> peer_;
   Ptr<Router const> witness_;
   Hops hops_;
   Labels labels_;
};

Vel::TypeInfo const& Router::typeInfo() {
   using Vel::Generic::keys;
   using Vel::Generic::method;
   static constexpr std::array attributes{
         Vel::AttributeInfo{1, "tunnelId", method<&Router::tunnelId>, method<&Router::tunnelIdIs>},
         Vel::AttributeInfo{2, "up", method<&Router::up>, method<&Router::upIs>},
         Vel::AttributeInfo{3, "upSince", method<&Router::upSince>, method<&Router::upSinceIs>},
         Vel::AttributeInfo{4, "description", method<&Router::description>, method<&Router::descriptionIs>},
         Vel::AttributeInfo{5, "peer", method<&Router::peer>, method<&Router::peerIs>, method<&Router::peerDel>},
         Vel::AttributeInfo{6, "witness", method<&Router::witness>},
         Vel::AttributeInfo{7, "hop", method<&Router::hopAt>, method<&Router::hopIs>, method<&Router::hopDel>,
                            keys<Router, &Router::hop>},
         Vel::AttributeInfo{8, "label", nullptr, method<&Router::labelIs>, nullptr, keys<Router, &Router::label>,
                            nullptr, Vel::Generic::size<Router, &Router::label>},
         Vel::AttributeInfo{0, "reset", nullptr, nullptr, nullptr, nullptr, method<&Router::reset>}};
   static constexpr Vel::TypeInfo type{
         .name = "Sample::Router", .attributes = attributes, .construct = Vel::Generic::constructor<&Router::RouterIs>};
   return type;
}

class GenericTest : public testing::Test {
 protected:
   template <class... Args>
   static std::vector<Any> args(Args... args) {
      return {Any(args)...};
   }
   Vel::GenericResult set(std::string_view attribute, std::vector<Any> const& arguments) {
      return Vel::attributeSet(*router_, attribute, arguments);
   }
   Any get(std::string_view attribute) { return Vel::attributeGet(*router_, attribute).value; }

   static constexpr std::uint64_t kNumber = 7;
   Ptr<Router> router_ = makePtr<Router>("R1");
   Any const self_ = Ptr<PtrInterface>(router_);
};

TEST_F(GenericTest, attributesAreSetAndReadByName) {
   EXPECT_TRUE(set("tunnelId", args(std::uint64_t{12})).known());
   EXPECT_EQ(router_->tunnelId(), 12);
   EXPECT_EQ(std::any_cast<std::uint64_t>(get("tunnelId")), 12U);
   set("up", args(true));
   EXPECT_TRUE(std::any_cast<bool>(get("up")));
   set("upSince", args(2.5));
   EXPECT_EQ(std::any_cast<double>(get("upSince")), 2.5);
   set("description", args(String("core")));
   EXPECT_EQ(std::any_cast<String>(get("description")), "core");
}

TEST_F(GenericTest, aSetterWithoutAResultGivesNothing) { EXPECT_FALSE(set("up", args(true)).value.has_value()); }

TEST_F(GenericTest, membersOfACollectionAreReachedByKey) {
   for (std::uint64_t const index : {2U, 1U}) set("hop", args(index, String("10.0.0.1")));
   auto const key = args(std::uint64_t{1});
   EXPECT_EQ(std::any_cast<String>(Vel::attributeGet(*router_, "hop", key).value), "10.0.0.1");
   auto const all = std::any_cast<std::vector<Any>>(Vel::attributeKeys(*router_, "hop").value);
   ASSERT_EQ(all.size(), 2U);
   EXPECT_EQ(std::any_cast<std::uint64_t>(all[0]), 1U);
   EXPECT_EQ(std::any_cast<std::uint64_t>(all[1]), 2U);
   EXPECT_TRUE(Vel::attributeDel(*router_, "hop", key).known());
   EXPECT_EQ(router_->hop().size(), 1U);
}

TEST_F(GenericTest, theKeysOfAHashMapAreListedToo) {
   EXPECT_TRUE(std::any_cast<std::vector<Any>>(Vel::attributeKeys(*router_, "label").value).empty());
   set("label", args(String("gold"), std::uint64_t{16}));
   auto const all = std::any_cast<std::vector<Any>>(Vel::attributeKeys(*router_, "label").value);
   ASSERT_EQ(all.size(), 1U);
   EXPECT_EQ(std::any_cast<String>(all[0]), "gold");
}

TEST_F(GenericTest, theMembersOfACollectionAreCounted) {
   EXPECT_EQ(std::any_cast<std::uint64_t>(Vel::attributeSize(*router_, "label").value), 0U);
   set("label", args(String("gold"), std::uint64_t{16}));
   EXPECT_EQ(std::any_cast<std::uint64_t>(Vel::attributeSize(*router_, "label").value), 1U);
   EXPECT_FALSE(Vel::attributeSize(*router_, "tunnelId").known());
}

TEST_F(GenericTest, operationsAreInvokedByName) {
   router_->tunnelIdIs(5);
   EXPECT_TRUE(Vel::operationInvoke(*router_, "reset").known());
   EXPECT_EQ(router_->tunnelId(), 0);
}

TEST_F(GenericTest, whatATypeDoesNotOfferIsAnUnknownAttribute) {
   EXPECT_FALSE(Vel::attributeGet(*router_, "noSuch").known());
   EXPECT_FALSE(Vel::attributeGet(*router_, "").known());
   EXPECT_FALSE(Vel::attributeGet(*router_, "reset").known());
   EXPECT_FALSE(set("witness", args(self_)).known());
   EXPECT_FALSE(Vel::attributeDel(*router_, "tunnelId").known());
   EXPECT_FALSE(Vel::attributeKeys(*router_, "peer").known());
   EXPECT_FALSE(Vel::operationInvoke(*router_, "tunnelId").known());
   struct Plain : PtrInterface {};
   EXPECT_FALSE(Vel::attributeGet(*makePtr<Plain>(), "name").known());
}

TEST_F(GenericTest, theNumberOfArgumentsIsTested) {
   EXPECT_THAT([&] { set("tunnelId", {}); },
               ThrowsMessage<Vel::ArgumentException>("1 arguments are needed but 0 were given"));
   EXPECT_THAT([&] { set("tunnelId", args(kNumber, kNumber)); },
               ThrowsMessage<Vel::ArgumentException>("1 arguments are needed but 2 were given"));
   auto const one = args(kNumber);
   EXPECT_THROW(Vel::attributeGet(*router_, "tunnelId", one), Vel::ArgumentException);
   EXPECT_THROW(Vel::operationInvoke(*router_, "reset", one), Vel::ArgumentException);
   EXPECT_EQ(router_->tunnelId(), 0);
}

TEST_F(GenericTest, theTypesOfArgumentsAreTested) {
   EXPECT_THAT([&] { set("tunnelId", args(String("7"))); },
               ThrowsMessage<Vel::ArgumentException>("argument 1 is of the wrong type"));
   EXPECT_THAT([&] { set("hop", args(kNumber, kNumber)); },
               ThrowsMessage<Vel::ArgumentException>("argument 2 is of the wrong type"));
   EXPECT_THROW(set("tunnelId", args(7)), Vel::ArgumentException);  // numbers travel as 64 bits
   EXPECT_THROW(set("tunnelId", args(true)), Vel::ArgumentException);
   EXPECT_THROW(set("tunnelId", {Any()}), Vel::ArgumentException);
   EXPECT_THROW(set("up", args(kNumber)), Vel::ArgumentException);
   EXPECT_THROW(set("upSince", args(kNumber)), Vel::ArgumentException);
   EXPECT_THROW(set("description", args(kNumber)), Vel::ArgumentException);
   EXPECT_THROW(set("description", {Any()}), Vel::ArgumentException);
   EXPECT_TRUE(router_->hop().empty());
}

TEST_F(GenericTest, aNumberThatDoesNotFitIsOutOfRange) {
   EXPECT_THAT([&] { set("tunnelId", args(std::uint64_t{65536})); },
               ThrowsMessage<Vel::RangeException>("argument 1: 65536 is out of range (at most 65535)"));
   set("tunnelId", args(std::uint64_t{65535}));
   EXPECT_EQ(router_->tunnelId(), 65535);
}

TEST_F(GenericTest, pointersTravelAsPointersToTheBase) {
   auto const result = set("peer", args(self_, Ptr<PtrInterface const>(router_)));
   EXPECT_TRUE(router_->peer() == router_);
   EXPECT_TRUE(router_->witness() == router_);
   EXPECT_TRUE(std::any_cast<Ptr<PtrInterface>>(result.value) == router_);
   EXPECT_TRUE(std::any_cast<Ptr<PtrInterface const>>(get("witness")) == router_);
   EXPECT_TRUE(std::any_cast<Ptr<PtrInterface>>(Vel::attributeDel(*router_, "peer").value) == router_);
   EXPECT_TRUE(std::any_cast<Ptr<PtrInterface>>(get("peer")) == nullptr);
   set("peer", args(self_, self_));  // a writable pointer serves where a read-only one is wanted
   EXPECT_TRUE(router_->witness() == router_);
   router_->peerDel();
   router_->peerIs(makePtr<Router>("R2"), nullptr);
}

TEST_F(GenericTest, aPointerToAnotherTypeOrAReadOnlyOneIsRefused) {
   Any const entity = Ptr<PtrInterface>(makePtr<Vel::Entity>("E"));
   EXPECT_THAT([&] { set("peer", args(entity, self_)); },
               ThrowsMessage<Vel::ArgumentException>("argument 1 is of the wrong type"));
   EXPECT_THROW(set("peer", args(self_, entity)), Vel::ArgumentException);
   EXPECT_THROW(set("peer", args(Ptr<PtrInterface const>(router_), self_)), Vel::ArgumentException);
   EXPECT_THROW(set("peer", args(kNumber, self_)), Vel::ArgumentException);
   EXPECT_TRUE(router_->peer() == nullptr);
}

TEST_F(GenericTest, nothingAndNullAreNullPointers) {
   for (Any const& null : {Any(), Any(Ptr<PtrInterface>())}) {
      EXPECT_THAT([&] { set("peer", args(null, self_)); }, ThrowsMessage<Vel::MutatorArgNullPointerException>(
                                                                 "Sample::Router::peerIs: argument 'peer' must not be "
                                                                 "null"));
      set("peer", args(self_, null));
      EXPECT_TRUE(router_->peer() == router_);
      EXPECT_TRUE(router_->witness() == nullptr);
      router_->peerDel();
   }
   set("peer", args(self_, Ptr<PtrInterface const>()));
   EXPECT_TRUE(router_->witness() == nullptr);
   router_->peerDel();
}

TEST_F(GenericTest, whatIsReadMayBeReadOnly) {
   router_->tunnelIdIs(5);
   set("label", args(String("gold"), std::uint64_t{16}));
   PtrInterface const& published = *router_;
   EXPECT_EQ(std::any_cast<std::uint64_t>(Vel::attributeGet(published, "tunnelId").value), 5U);
   EXPECT_EQ(std::any_cast<std::vector<Any>>(Vel::attributeKeys(published, "label").value).size(), 1U);
   EXPECT_EQ(std::any_cast<std::uint64_t>(Vel::attributeSize(published, "label").value), 1U);
}

/// A type that is based on another one.
class EdgeRouter : public Router {
 public:
   using Router::Router;
   Vel::TypeInfo const& fwkType() const override {
      static constexpr auto attributes =
            Vel::Generic::readOnly({{"customers", Vel::Generic::method<&EdgeRouter::customers>},
                                    {"upSince", Vel::Generic::method<&EdgeRouter::upSinceBoot>}},
                                   9);
      static Vel::TypeInfo const type{
            .name = "Sample::EdgeRouter", .attributes = attributes, .base = &Router::typeInfo()};
      return type;
   }
   std::uint32_t customers() const { return 3; }
   double upSinceBoot() const { return 1.5; }
};

TEST_F(GenericTest, aTypeHasTheAttributesOfItsBaseBesidesItsOwn) {
   auto const edge = makePtr<EdgeRouter>("E1");
   EXPECT_EQ(std::any_cast<std::uint64_t>(Vel::attributeGet(*edge, "customers").value), 3U);
   EXPECT_TRUE(Vel::attributeSet(*edge, "tunnelId", args(std::uint64_t{12})).known());
   EXPECT_EQ(edge->tunnelId(), 12);
   EXPECT_EQ(std::any_cast<double>(Vel::attributeGet(*edge, "upSince").value), 1.5);  // its own goes first
   EXPECT_FALSE(Vel::attributeGet(*edge, "noSuch").known());
   EXPECT_FALSE(Vel::attributeSet(*edge, "customers", args(kNumber)).known());
}

TEST_F(GenericTest, attributesThatAreOnlyReadAreNumberedInTheirOrder) {
   auto const edge = makePtr<EdgeRouter>("E1");
   auto const attributes = edge->fwkType().attributes;
   ASSERT_EQ(attributes.size(), 2U);
   EXPECT_EQ(attributes[0].id, 9);
   EXPECT_EQ(attributes[1].id, 10);
}

/// Claims a type that is another's.
struct Impostor : PtrInterface {
   Vel::TypeInfo const& fwkType() const override { return Router::typeInfo(); }
};

TEST_F(GenericTest, anObjectThatIsNotOfTheTypeThatItNamesIsAProgrammingError) {
   auto const impostor = makePtr<Impostor>();
   EXPECT_DEATH(Vel::attributeGet(*impostor, "tunnelId"),
                "Assertion `the attributes of a type are members of its class' failed");
   EXPECT_DEATH(Vel::operationInvoke(*impostor, "reset"),
                "Assertion `the attributes of a type are members of its class' failed");
   EXPECT_DEATH(Vel::attributeKeys(*impostor, "hop"),
                "Assertion `the attributes of a type are members of its class' failed");
}

class TypeRegistryTest : public testing::Test {
 protected:
   static Vel::TypeRegistry const& registry() { return Vel::TypeRegistry::instance(); }
   static inline std::array const types_{&Router::typeInfo()};
};

TEST_F(TypeRegistryTest, aModuleAnnouncesItsTypesForAsLongAsItIsLoaded) {
   EXPECT_THROW(registry().type("Sample::Router"), Vel::UnknownTypeException);
   {
      Vel::TypeModule const module("Sample", types_);
      EXPECT_EQ(&registry().type("Sample::Router"), &Router::typeInfo());
   }
   EXPECT_THAT([] { registry().type("Sample::Router"); },
               ThrowsMessage<Vel::UnknownTypeException>("no type 'Sample::Router' is registered"));
}

TEST_F(TypeRegistryTest, modulesAreListedInOrderOfRegistration) {
   auto const before = registry().moduleNames().size();
   Vel::TypeModule const first("HopTableHelper", {});
   Vel::TypeModule const second("Agent", types_);
   auto names = registry().moduleNames();
   names.erase(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(before));
   EXPECT_THAT(names, ElementsAre("HopTableHelper", "Agent"));
}

TEST_F(TypeRegistryTest, objectsAreConstructedByTypeName) {
   Vel::TypeModule const module("Sample", types_);
   std::array const name{Any(String("R9"))};
   auto const made = std::any_cast<Ptr<PtrInterface>>(registry().construct("Sample::Router", name));
   EXPECT_EQ(Vel::ptrCast<Router>(made)->name(), "R9");
   EXPECT_THROW(registry().construct("Sample::Router", {}), Vel::ArgumentException);
   std::array const number{Any(std::uint64_t{9})};
   EXPECT_THROW(registry().construct("Sample::Router", number), Vel::ArgumentException);
   EXPECT_THROW(registry().construct("Sample::Switch", name), Vel::UnknownTypeException);
}

TEST_F(TypeRegistryTest, aTypeWithoutAStaticConstructorIsNotConstructed) {
   static constexpr Vel::TypeInfo kAbstract{.name = "Sample::Abstract"};
   std::array const types{&kAbstract};
   Vel::TypeModule const module("Sample", types);
   EXPECT_THAT([] { registry().construct("Sample::Abstract", {}); },
               ThrowsMessage<Vel::UnknownTypeException>("type 'Sample::Abstract' has no static constructor"));
}

}  // namespace
