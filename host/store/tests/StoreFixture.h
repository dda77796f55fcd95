// SPDX-License-Identifier: MIT
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <string_view>

#include "host/store/ChangeSet.h"
#include "host/store/StateStore.h"

namespace Store {

using Json = nlohmann::json;

inline std::string example(std::string_view name) {
   std::ifstream file(std::string(EXAMPLES_DIR "/") + std::string(name));
   EXPECT_TRUE(file) << name;
   return (std::ostringstream() << file.rdbuf()).str();
}

/// A store with nothing in it.
class StoreTest : public ::testing::Test {
 protected:
   Json state() const { return Json::parse(store.document()); }

   std::size_t apply(ChangeKind kind, std::string text) {
      return kind == ChangeKind::patch ? store.applyPatch(std::move(text)) : store.replace(std::move(text));
   }
   std::size_t patch(Json const& document) { return store.applyPatch(document.dump()); }
   std::size_t replace(Json const& document) { return store.replace(document.dump()); }

   /// The message with which a document is refused, or an empty one when it is taken. It is one line, and what refused
   /// it changed nothing.
   std::string refusal(std::string text, ChangeKind kind = ChangeKind::patch) {
      std::string const before = store.document();
      try {
         apply(kind, std::move(text));
      } catch (StateError const& error) {
         std::string const message = error.what();
         EXPECT_EQ(store.document(), before) << message;
         EXPECT_EQ(message.find_first_of("\n\r\x1b"), std::string::npos) << message;
         EXPECT_NO_THROW((void)Json(message).dump()) << "not UTF-8";
         EXPECT_LT(message.size(), 1500U) << message;
         return message;
      }
      return {};
   }

   std::size_t count(std::string_view name) const {
      for (auto const& collection : store.collections()) {
         if (collection->name() == name) return collection->size();
      }
      ADD_FAILURE() << "no collection " << name;
      return 0;
   }

   Rsvp::RsvpLerSubTunnelStatus const* subTunnelStatus(std::string_view text) const {
      auto const id = Rsvp::RsvpLerSubTunnelConfigId::fromText(text);
      auto const coll = store.lerHiveStatus()->subTunnelStatusCollTable()->subTunnelStatusColl()[id.tunnelSpecId()];
      return coll ? coll->subTunnelStatus()[id].get() : nullptr;
   }
   Rsvp::RsvpLerSubTunnelConfig const* subTunnelConfig(std::string_view text) const {
      auto const id = Rsvp::RsvpLerSubTunnelConfigId::fromText(text);
      auto const coll = store.lerHiveStatus()->subTunnelConfigCollTable()->subTunnelConfigColl()[id.tunnelSpecId()];
      return coll ? coll->subTunnelConfig()[id].get() : nullptr;
   }
   Rsvp::RsvpLerPathSpec const* pathSpec(std::string_view text) const {
      auto const id = Rsvp::RsvpLerPathSpecId::fromText(text);
      auto const coll = store.lerConfig()->pathSpecCollTable()->pathSpecColl()[id.source];
      return coll ? coll->pathSpec()[id].get() : nullptr;
   }
   Rsvp::RsvpLerLspRequestStatus const* lspRequestStatus(std::string_view text) const {
      auto const id = Rsvp::RsvpLerLspRequestConfigId::fromText(text);
      auto const coll = store.lerHiveStatus()->lspRequestStatusCollTable()->lspRequestStatusColl()[id.lspGroupId];
      return coll ? coll->lspRequestStatus()[id].get() : nullptr;
   }
   Rsvp::RsvpSpStatus const* spStatus(std::string_view text) const {
      return store.kelpStatus()->spStatusColl()->spStatus()[Rsvp::RsvpSpId::fromText(text)].get();
   }

   Vel::Ptr<Vel::EntityDir> root = Vel::makePtr<Vel::EntityDir>("root");
   StateStore store{root};
};

}  // namespace Store
