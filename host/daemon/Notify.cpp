// SPDX-License-Identifier: MIT
#include "host/daemon/Notify.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <ctime>

#include "host/daemon/Log.h"

namespace Daemon {

Notify::Notify() {
   if (char const* const name = std::getenv("NOTIFY_SOCKET")) socket_ = name;
   unsetenv("NOTIFY_SOCKET");
}

void Notify::ready(std::string_view status) const { send(fmt::format("READY=1\nSTATUS={}", oneLine(status))); }

void Notify::status(std::string_view status) const { send(fmt::format("STATUS={}", oneLine(status))); }

void Notify::reloading() const {
   timespec now{};
   clock_gettime(CLOCK_MONOTONIC, &now);
   send(fmt::format("RELOADING=1\nMONOTONIC_USEC={}", now.tv_sec * 1000000LL + now.tv_nsec / 1000));
}

void Notify::stopping() const { send("STOPPING=1"); }

void Notify::send(std::string_view assignments) const {
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   // Nothing that is cut short, and no notation that we do not know.
   if (socket_.empty() || socket_.size() >= sizeof address.sun_path || (socket_[0] != '/' && socket_[0] != '@')) return;
   socket_.copy(address.sun_path, socket_.size());
   if (socket_[0] == '@') address.sun_path[0] = '\0';  // the name is all that follows, without an end
   auto const length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + socket_.size());

   int const socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
   if (socket < 0) return;
   sendto(socket, assignments.data(), assignments.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
          reinterpret_cast<sockaddr const*>(&address), length);
   close(socket);
}

}  // namespace Daemon
