// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "tools/SnmpClient.h"

namespace Tools {

/// Where the agent is and how patient to be with it.
struct AgentOptions {
   std::string address = "udp:127.0.0.1:11161";  ///< net-snmp transport syntax; mplsted listens here by default.
   std::string community = "public";
   double timeout = 1;  ///< Seconds to wait for an answer before asking again.
   int retries = 3;     ///< How often to ask again.
};

/// Returns when `fd` is readable or `limit` has passed; may return early. It may throw to give up the request under
/// way. With `fd` -1 it only waits.
using Wait = std::function<void(int fd, std::chrono::milliseconds limit)>;

/// A `Wait` that does nothing but wait.
void waitForInput(int fd, std::chrono::milliseconds limit);

/// A session with one agent over SNMPv2c. It reads no configuration and loads no MIB files, and the library's own
/// log messages go nowhere: what goes wrong is in the exceptions.
/// A session whose `wait` has thrown is only good for being destroyed.
class SnmpSession final : public SnmpClient {
 public:
   /// Throws `AgentError` when the address cannot be understood, resolved or connected to.
   explicit SnmpSession(AgentOptions options, Wait wait = waitForInput);
   ~SnmpSession() override;

   std::string const& agent() const override { return options_.address; }
   Response get(std::vector<Oid> const& names) override;
   Response getBulk(std::vector<Oid> const& names, int repetitions) override;

 private:
   struct Exchange;

   Response ask(int command, std::vector<Oid> const& names, int repetitions);
   void awaitResponse();

   AgentOptions const options_;
   Wait const wait_;
   std::unique_ptr<Exchange> exchange_;  // Has an address of its own: the library keeps a pointer to it.
   void* handle_ = nullptr;
};

}  // namespace Tools
