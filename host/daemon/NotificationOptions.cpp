// SPDX-License-Identifier: MIT
#include "host/daemon/NotificationOptions.h"

#include <charconv>
#include <stdexcept>

namespace Daemon {

Notifications::Settings NotificationOptions::settings(bool receivers) const {
   using enum Notifications::TeDistProto;
   return {.enabled = send == Send::on || (send == Send::automatic && receivers),
           .maxRate = maxRate,
           .teDistProto = teDistProto.empty() ? std::vector{other} : teDistProto};
}

void setNotifications(NotificationOptions& options, std::string const& value) {
   using enum NotificationOptions::Send;
   if (value != "on" && value != "off" && value != "auto") throw std::invalid_argument("it must be on, off or auto");
   options.send = value == "on" ? on : value == "off" ? off : automatic;
}

void setNotificationMaxRate(NotificationOptions& options, std::string const& perSecond) {
   std::uint32_t rate = 0;
   auto const* const end = perSecond.data() + perSecond.size();
   auto const [stopped, error] = std::from_chars(perSecond.data(), end, rate);
   if (error != std::errc() || stopped != end) {
      throw std::invalid_argument("it must be a number of notifications per second, or 0 for no limit");
   }
   options.maxRate = rate;
}

void addTeDistProto(NotificationOptions& options, std::string const& protocol) {
   using enum Notifications::TeDistProto;
   if (protocol != "ospf" && protocol != "isis" && protocol != "other") {
      throw std::invalid_argument("it must be ospf, isis or other");
   }
   options.teDistProto.push_back(protocol == "ospf" ? ospf : protocol == "isis" ? isis : other);
}

}  // namespace Daemon
