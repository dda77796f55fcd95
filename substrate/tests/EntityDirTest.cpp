// SPDX-License-Identifier: MIT
/// Directories of entities: creation by type name, mounting, paths.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "substrate/vel/EntityDir.h"
#include "substrate/vel/Exceptions.h"
#include "substrate/vel/TypeRegistry.h"

namespace {

using testing::ThrowsMessage;
using Vel::Any;
using Vel::Entity;
using Vel::EntityDir;
using Vel::makePtr;
using Vel::Ptr;
using Vel::String;

struct Root : Entity {
   using Entity::Entity;
};

constexpr Vel::TypeInfo kRootType{
      .name = "Sample::Root", .newEntityForDir = [](String const& name) { return Ptr<Entity>(makePtr<Root>(name)); }};
constexpr Vel::TypeInfo kRowType{.name = "Sample::Row"};

class EntityDirTest : public testing::Test {
 protected:
   static inline std::array const types_{&kRootType, &kRowType};
   Vel::TypeModule const module_{"Sample", types_};
   Ptr<EntityDir> const dir_ = makePtr<EntityDir>("");
};

TEST_F(EntityDirTest, entitiesAreCreatedByTypeNameAndName) {
   auto const root = dir_->newEntity("Sample::Root", "mpls");
   EXPECT_TRUE(Vel::ptrCast<Root>(root));
   EXPECT_EQ(root->name(), "mpls");
   EXPECT_EQ(root->parent(), dir_.get());
   EXPECT_TRUE(dir_->find("mpls") == root);
}

TEST_F(EntityDirTest, argumentsBeyondTheNameAreRefused) {
   std::array const extra{Any(std::uint64_t{1})};
   EXPECT_THAT([&] { dir_->newEntity("Sample::Root", "mpls", extra); },
               ThrowsMessage<Vel::NewEntityArgsException>(
                     "an entity of type 'Sample::Root' is created in a directory by its name alone, without "
                     "arguments"));
   EXPECT_TRUE(dir_->find("mpls") == nullptr);
}

TEST_F(EntityDirTest, onlyRegisteredEntityTypesAreCreated) {
   EXPECT_THAT([&] { dir_->newEntity("Sample::None", "mpls"); },
               ThrowsMessage<Vel::UnknownTypeException>("no type 'Sample::None' is registered"));
   EXPECT_THAT([&] { dir_->newEntity("Sample::Row", "mpls"); },
               ThrowsMessage<Vel::UnknownTypeException>("type 'Sample::Row' is not an entity type"));
}

TEST_F(EntityDirTest, aNameIsTakenOnce) {
   auto const root = dir_->newEntity("Sample::Root", "mpls");
   EXPECT_THROW(dir_->newEntity("Sample::Root", "mpls"), Vel::MutatorReinstantiatingException);
   EXPECT_THROW(dir_->entityIs(makePtr<Root>("mpls")), Vel::MutatorReinstantiatingException);
   EXPECT_THROW(dir_->entityIs(root), Vel::MutatorReinstantiatingException);
   EXPECT_THROW(dir_->dirIs("mpls"), Vel::MutatorReinstantiatingException);
   EXPECT_THROW(dir_->dirIs("mpls/mplsTeMib"), Vel::MutatorReinstantiatingException);
   EXPECT_TRUE(dir_->find("mpls") == root);
   EXPECT_EQ(root->parent(), dir_.get());
}

TEST_F(EntityDirTest, aMountedEntityMustNotBeNull) {
   EXPECT_THAT([&] { dir_->entityIs(nullptr); }, ThrowsMessage<Vel::MutatorArgNullPointerException>(
                                                       "Vel::EntityDir::entityIs: argument 'entity' must not be null"));
}

TEST_F(EntityDirTest, anEntityIsTakenOutByName) {
   auto const root = dir_->newEntity("Sample::Root", "mpls");
   EXPECT_TRUE(dir_->entityDel(root->name()) == root);
   EXPECT_EQ(root->parent(), nullptr);
   EXPECT_TRUE(dir_->find("mpls") == nullptr);
   EXPECT_TRUE(dir_->entityDel("mpls") == nullptr);
   dir_->entityIs(root);
   EXPECT_TRUE(dir_->find("mpls") == root);
}

TEST_F(EntityDirTest, directoriesOnAPathAreMadeWhereTheyAreAbsent) {
   auto const mpls = dir_->dirIs("snmp/mpls");
   EXPECT_TRUE(dir_->dirIs("snmp/mpls") == mpls);
   EXPECT_TRUE(dir_->dirIs("") == dir_);
   EXPECT_EQ(mpls->name(), "mpls");
   EXPECT_EQ(mpls->parent()->name(), "snmp");
   auto const mib = mpls->newEntity("Sample::Root", "mplsTeMib");
   EXPECT_TRUE(dir_->find("snmp/mpls/mplsTeMib") == mib);
   EXPECT_TRUE(dir_->dirIs("snmp")->find("mpls/mplsTeMib") == mib);
}

TEST_F(EntityDirTest, aPathThatLeadsNowhereFindsNothing) {
   dir_->dirIs("snmp/mpls")->newEntity("Sample::Root", "mplsTeMib");
   for (std::string_view const path :
        {"", "/", "/snmp", "snmp//mpls", "snmp/ip", "mplsTeMib", "snmp/mpls/mplsTeMib/row"}) {
      EXPECT_TRUE(dir_->find(path) == nullptr) << path;
   }
}

TEST_F(EntityDirTest, emptyNamesAreRefused) {
   EXPECT_THROW(dir_->dirIs("snmp//mpls"), Vel::ArgumentException);
   EXPECT_THROW(dir_->dirIs("/snmp"), Vel::ArgumentException);
   EXPECT_THROW(dir_->newEntity("Sample::Root", ""), Vel::ArgumentException);
   EXPECT_THROW(dir_->newEntity("Sample::Root", "snmp/mpls"), Vel::ArgumentException);
   EXPECT_THAT([&] { dir_->entityIs(makePtr<Root>("a/b")); },
               ThrowsMessage<Vel::ArgumentException>("\"a/b\" is not the name of an entity in a directory"));
}

TEST_F(EntityDirTest, entitiesOutliveTheirDirectoryWithoutAParent) {
   auto dir = makePtr<EntityDir>("");
   auto const root = dir->newEntity("Sample::Root", "mpls");
   dir = nullptr;
   EXPECT_EQ(root->parent(), nullptr);
   EXPECT_EQ(root->references(), 1U);
}

TEST_F(EntityDirTest, anEntityWithoutATypeOfItsOwnIsAPlainEntity) {
   EXPECT_EQ(makePtr<Root>("r")->fwkType().name, "Vel::Entity");
   EXPECT_TRUE(makePtr<Root>("r")->fwkType().attributes.empty());
}

}  // namespace
