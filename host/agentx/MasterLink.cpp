// SPDX-License-Identifier: MIT
#include "host/agentx/MasterLink.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <new>
#include <system_error>
#include <utility>

#include "host/agentx/MessageCheck.h"

namespace AgentX {

namespace {

/// What is read at once, in octets: some dozens of requests, which take less than a slice of the derivation.
constexpr int kReadAtOnce = 4096;

bool wouldBlock(int error) { return error == EAGAIN || error == EWOULDBLOCK || error == EINTR; }

/// What a transport points to, and net-snmp frees: the link, or null when it has gone.
struct TransportData {
   MasterLink* link;
};
MasterLink*& linkOf(netsnmp_transport* transport) { return static_cast<TransportData*>(transport->data)->link; }

template <class T>
T* zeroed() {
   void* const memory = std::calloc(1, sizeof(T));
   if (!memory) throw std::bad_alloc();
   return static_cast<T*>(memory);
}

}  // namespace

MasterLink::MasterLink(MasterAddress const& address, std::function<void(int error)> connected,
                       Loop::ErrorHandler failed)
      : socket_(::socket(address.address()->sa_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "socket"),
        failed_(std::move(failed)) {
   if (connect(socket_, address.address(), address.length()) != 0 && errno != EINPROGRESS) {
      throw std::system_error(errno, std::generic_category(), "connect");
   }
   writable_ = std::make_unique<Loop::Watch>(
         socket_,
         [this, connected = std::move(connected)] {
            writable_ = nullptr;
            int error = 0;
            socklen_t length = sizeof error;
            getsockopt(socket_, SOL_SOCKET, SO_ERROR, &error, &length);
            connected(error);
         },
         failed_, Loop::Watch::For::writing);
}

MasterLink::~MasterLink() {
   if (!transport_) return;
   // A session without a socket is one that net-snmp removes.
   transport_->sock = -1;
   linkOf(transport_) = nullptr;
}

netsnmp_transport* MasterLink::newTransport() {
   transport_ = zeroed<netsnmp_transport>();
   transport_->data = zeroed<TransportData>();
   transport_->data_length = sizeof(TransportData);
   linkOf(transport_) = this;
   transport_->sock = socket_;
   transport_->flags = NETSNMP_TRANSPORT_FLAG_STREAM;
   transport_->msgMaxSize = MessageLimits::kOctets;
   transport_->f_recv = &MasterLink::receive;
   transport_->f_send = &MasterLink::send;
   transport_->f_close = &MasterLink::close;
   return transport_;
}

int MasterLink::receive(netsnmp_transport* transport, void* buffer, int size, void** /*opaque*/,
                        int* /*opaqueLength*/) noexcept {
   MasterLink* const link = linkOf(transport);
   if (!link) return -1;
   auto const length = recv(link->socket_, buffer, static_cast<std::size_t>(std::min(size, kReadAtOnce)), MSG_DONTWAIT);
   if (length < 0 && wouldBlock(errno)) {
      transport->flags |= NETSNMP_TRANSPORT_FLAG_EMPTY_PKT;
      return 0;
   }
   if (length < 0) link->end_ = std::generic_category().message(errno);
   return static_cast<int>(length);
}

int MasterLink::send(netsnmp_transport* transport, void const* message, int size, void** /*opaque*/,
                     int* /*opaqueLength*/) noexcept {
   // What cannot be sent any more is no error: that the connection has ended will be read, and net-snmp would log each
   // name of the message.
   MasterLink* const link = linkOf(transport);
   if (!link) return size;
   try {
      link->write({static_cast<char const*>(message), static_cast<std::size_t>(size)});
   } catch (std::exception const& error) {
      link->failed_(error.what());
   }
   return size;
}

int MasterLink::close(netsnmp_transport* transport) noexcept {
   // The connection itself is closed by the link.
   if (MasterLink* const link = std::exchange(linkOf(transport), nullptr)) link->transport_ = nullptr;
   transport->sock = -1;
   return 0;
}

void MasterLink::write(std::string_view message) {
   if (kept_.size() + message.size() > kMostKept) {
      end_ = "it does not read what it is sent";
      shutdown(socket_, SHUT_RDWR);  // what comes to be read is the end
      return;
   }
   kept_ += message;
   if (!writable_) writeKept();
}

void MasterLink::writeKept() {
   while (!kept_.empty()) {
      auto const length = ::send(socket_, kept_.data(), kept_.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
      if (length < 0 && wouldBlock(errno)) {
         if (!writable_) {
            writable_ = std::make_unique<Loop::Watch>(
                  socket_, [this] { writeKept(); }, failed_, Loop::Watch::For::writing);
         }
         return;
      }
      // After an error there is an end to be read.
      kept_.erase(0, length < 0 ? std::string::npos : static_cast<std::size_t>(length));
   }
   writable_ = nullptr;
}

void MasterLink::finish(std::chrono::milliseconds limit) {
   auto const deadline = std::chrono::steady_clock::now() + limit;
   auto const await = [&](short events) {
      auto const left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
      pollfd watched{socket_, events, 0};
      return left.count() > 0 && poll(&watched, 1, static_cast<int>(left.count())) > 0;
   };
   while (!kept_.empty() && await(POLLOUT)) writeKept();
   writable_ = nullptr;
   shutdown(socket_, SHUT_WR);
   std::array<char, 4096> ignored{};
   while (await(POLLIN)) {
      auto const length = recv(socket_, ignored.data(), ignored.size(), MSG_DONTWAIT);
      if (length == 0 || (length < 0 && !wouldBlock(errno))) break;
   }
}

}  // namespace AgentX
