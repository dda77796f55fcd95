// SPDX-License-Identifier: MIT
#include "tools/PublishSocket.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>

namespace Tools {

void addPublishOptions(CLI::App& command, PublishOptions& options) {
   command.add_option("--socket", options.path, "Where mplsted listens to publishers (mplsted --publish)")
         ->envname("MPLSTE_SOCKET")
         ->type_name("PATH")
         ->capture_default_str();
   command.add_option("--timeout", options.timeout, "Seconds to wait for mplsted")
         ->type_name("SECONDS")
         ->check(CLI::Range(0.01, 3600.0).description(""))
         ->capture_default_str();
}

PublishSocket::PublishSocket(PublishOptions const& options) : path_(options.path), fd_(-1) {
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   if (path_.empty() || path_.size() >= sizeof address.sun_path) {
      throw std::invalid_argument(
            fmt::format("--socket '{}': a path has 1 to {} octets", path_, sizeof address.sun_path - 1));
   }
   std::memcpy(address.sun_path, path_.c_str(), path_.size() + 1);
   fd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
   double whole = 0;
   double const fraction = std::modf(options.timeout, &whole);
   timeval const limit{.tv_sec = static_cast<time_t>(whole), .tv_usec = static_cast<suseconds_t>(fraction * 1e6)};
   setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
   setsockopt(fd_, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
   if (connect(fd_, reinterpret_cast<sockaddr const*>(&address), sizeof address) != 0) {
      int const error = errno;
      close(fd_);
      fail(error);
   }
}

PublishSocket::~PublishSocket() { close(fd_); }

void PublishSocket::waitForever() {
   timeval const never{};
   setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &never, sizeof never);
}

void PublishSocket::fail(int error) const {
   switch (error) {
      case ENOENT:
      case ECONNREFUSED:
         throw NobodyListens(fmt::format("{}: no mplsted listens there; does one run with --publish?", path_));
      case EACCES:
         throw Closed(fmt::format("{}: {}", path_, std::strerror(error)));
      case EAGAIN:
      case ETIMEDOUT:
         throw AgentError(fmt::format("{}: mplsted does not answer", path_));
      case 0:
      case ECONNRESET:
      case EPIPE:
         throw AgentError(fmt::format("{}: mplsted has ended the connection", path_));
      default:
         throw AgentError(fmt::format("{}: {}", path_, std::strerror(error)));
   }
}

/// False when nobody takes it; then there may be an answer that says why.
bool PublishSocket::send(std::string_view text) {
   while (!text.empty()) {
      auto const sent = ::send(fd_, text.data(), text.size(), MSG_NOSIGNAL);
      if (sent >= 0) {
         text.remove_prefix(static_cast<std::size_t>(sent));
      } else if (errno == EPIPE || errno == ECONNRESET) {
         return false;
      } else if (errno != EINTR) {
         fail(errno);
      }
   }
   return true;
}

std::string PublishSocket::receive() {
   std::array<char, 1U << 16U> piece;
   std::size_t searched = 0;
   while (true) {
      auto const end = received_.find('\n', searched);
      if (end != std::string::npos) {
         std::string rest = received_.substr(end + 1);
         received_.resize(end);
         return std::exchange(received_, std::move(rest));
      }
      searched = received_.size();
      auto const count = recv(fd_, piece.data(), piece.size(), 0);
      if (count == 0) fail(0);
      if (count < 0 && errno != EINTR) fail(errno);
      if (count > 0) received_.append(piece.data(), static_cast<std::size_t>(count));
   }
}

std::string PublishSocket::exchange(std::string_view line) {
   if (send(line)) send("\n");
   return receive();
}

nlohmann::ordered_json PublishSocket::ask(std::string_view line) { return answerFrom(exchange(line)); }

nlohmann::ordered_json answerFrom(std::string_view line) {
   auto answer = nlohmann::ordered_json::parse(line, nullptr, false);
   if (!answer.is_object() || !answer.contains("ok")) throw AgentError("what answers there is no mplsted");
   if (answer["ok"] == true) return answer;
   auto const error = answer.find("error");
   throw Refused(error != answer.end() && error->is_string() ? error->get<std::string>() : "mplsted refuses");
}

}  // namespace Tools
