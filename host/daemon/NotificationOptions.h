// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/notifications/Notifications.h"

namespace Daemon {

/// Notifications and what the scalars say, as the command line and the configuration have it.
struct NotificationOptions {
   /// Whether managers are notified. `automatic`: when there is a receiver, or there may be one: those of an AgentX
   /// master and of a stock snmpd are not known here.
   enum class Send : std::uint8_t { automatic, on, off } send = Send::automatic;
   /// In a second at most; 0: no limit.
   std::uint32_t maxRate = 100;
   /// How information for traffic engineering is distributed.
   std::vector<Notifications::TeDistProto> teDistProto;

   /// What follows for the notifier. `receivers`: whether there is one, or may be.
   Notifications::Settings settings(bool receivers) const;
};

// Each of these sets one option from its text. They throw std::invalid_argument.
/// "on", "off" or "auto".
void setNotifications(NotificationOptions& options, std::string const& value);
void setNotificationMaxRate(NotificationOptions& options, std::string const& perSecond);
/// "ospf", "isis" or "other": one more.
void addTeDistProto(NotificationOptions& options, std::string const& protocol);

}  // namespace Daemon
