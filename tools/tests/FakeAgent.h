// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>

#include "tools/SnmpClient.h"

namespace Tools {

/// An agent in memory that answers GET and GETBULK as RFC 3416 says, and misbehaves when told to.
class FakeAgent : public SnmpClient {
 public:
   std::map<Oid, Value> variables;
   /// Called before each request with its number, counted from 1.
   std::function<void(int)> onRequest = [](int) {};
   /// Requests for more variables than this are answered with `tooBig`.
   std::size_t limit = 1000;
   /// Requests that come upon this name are answered with `genErr`.
   Oid broken;
   /// Whether GET of a name without a value is answered with `noSuchInstance`, and not with `noSuchObject`.
   bool servesTables = true;
   int requests = 0;

   std::string const& agent() const override { return agent_; }

   Response get(std::vector<Oid> const& names) override {
      onRequest(++requests);
      Response response;
      for (auto const& name : names) {
         auto const at = variables.find(name);
         auto const absent = servesTables ? Absent::noSuchInstance : Absent::noSuchObject;
         response.varBinds.push_back({name, at == variables.end() ? Value{absent} : at->second});
      }
      return response;
   }

   Response getBulk(std::vector<Oid> const& names, int repetitions) override {
      onRequest(++requests);
      if (names.size() * static_cast<std::size_t>(repetitions) > limit) return {1, {}};
      Response response;
      auto from = names;
      for (int i = 0; i < repetitions; ++i) {
         for (auto& name : from) {
            auto const next = variables.upper_bound(name);
            if (next != variables.end() && next->first == broken) return {5, {}};
            if (next != variables.end()) name = next->first;
            response.varBinds.push_back({name, next == variables.end() ? Value{Absent::endOfMibView} : next->second});
         }
      }
      return response;
   }

 private:
   std::string const agent_ = "the agent";
};

}  // namespace Tools
