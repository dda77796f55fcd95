// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "host/agentx/MasterAddress.h"
#include "host/loop/Descriptor.h"
#include "host/loop/NetSnmp.h"
#include "host/loop/Watch.h"

namespace AgentX {

/// A connection to an AgentX master, from the attempt on, on which nothing ever waits for the master: what it does not
/// take at once is kept and written when it does.
class MasterLink {
 public:
   /// What is kept for a master that does not read, in octets; with more the connection ends.
   static constexpr std::size_t kMostKept = std::size_t{16} << 20U;

   /// Begins to connect. Calls `connected` from the event loop with 0, or with an errno. Throws std::system_error when
   /// it cannot even begin. `failed` takes what goes wrong in our own code.
   MasterLink(MasterAddress const& address, std::function<void(int error)> connected, Loop::ErrorHandler failed);
   /// Closes the connection. The session that uses it is then taken off by net-snmp's event loop.
   ~MasterLink();
   MasterLink(MasterLink const&) = delete;
   MasterLink& operator=(MasterLink const&) = delete;

   /// The connection for a session of net-snmp, once it is made. Owned by who takes it; taken at most once.
   netsnmp_transport* newTransport();

   /// Why the connection has ended.
   std::string const& end() const { return end_; }

   /// Writes what is kept, tells the master that nothing follows, and waits for it to close the connection, for no
   /// longer than `limit`. For the end of the process.
   void finish(std::chrono::milliseconds limit);

 private:
   static int receive(netsnmp_transport* transport, void* buffer, int size, void** opaque, int* opaqueLength) noexcept;
   static int send(netsnmp_transport* transport, void const* message, int size, void** opaque,
                   int* opaqueLength) noexcept;
   static int close(netsnmp_transport* transport) noexcept;

   void write(std::string_view message);
   void writeKept();

   Loop::Descriptor const socket_;
   Loop::ErrorHandler const failed_;
   std::unique_ptr<Loop::Watch> writable_;
   std::string kept_;
   std::string end_ = "it has closed the connection";
   netsnmp_transport* transport_ = nullptr;
};

}  // namespace AgentX
