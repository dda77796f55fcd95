// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "host/loop/Timer.h"
#include "host/module/Monitor.h"
#include "host/notifications/EventLog.h"
#include "host/notifications/Scalars.h"

namespace Notifications {

/// How notifications get to managers.
struct Delivery {
   /// Whether another one may be sent now; asked again and again until it is so.
   std::function<bool()> hasRoom;
   /// Sends one: snmpTrapOID.0 and what follows it. Waits for nobody.
   std::function<void(netsnmp_variable_list& variables)> send;
};

/// Through net-snmp's agent library to the receivers that are configured in it, our own agent's or a stock snmpd's.
Delivery toSinks();

/// What is configured.
struct Settings {
   bool enabled = false;         ///< mplsTunnelNotificationEnable
   std::uint32_t maxRate = 100;  ///< mplsTunnelNotificationMaxRate: in a second at most; 0: no limit
   std::vector<TeDistProto> teDistProto{};
};

/// Notifies managers of what a module says of its tunnels, keeps the latest for those who ask for them, and serves the
/// scalars. Nobody waits for a manager: what cannot be sent waits in the module, which keeps no more of it than one
/// change for each tunnel.
class Notifier {
 public:
   /// `monitor`'s module outlives this. Throws std::runtime_error when the scalars cannot be served.
   Notifier(Host::Monitor monitor, Delivery delivery, Settings settings, Loop::ErrorHandler failed = Loop::logError);
   ~Notifier();
   Notifier(Notifier const&) = delete;
   Notifier& operator=(Notifier const&) = delete;

   /// The first state is there, and not worth a notification. Called again, it changes nothing.
   void begin();

   Settings const& settings() const { return settings_; }
   void settingsAre(Settings settings);

   EventLog const& log() const { return log_; }
   /// Who is told that the log has more.
   void loggedIs(std::function<void()> logged) { logged_ = std::move(logged); }

   Host::Monitor const& monitor() const { return monitor_; }

 private:
   class Sink;

   bool hasRoom();
   void take(Snmp::TunnelEvent const& event);
   void proceedAfter(std::chrono::nanoseconds time);
   void listen();

   Host::Monitor const monitor_;
   Delivery const delivery_;
   Settings settings_;
   bool begun_ = false;
   bool listening_ = false;
   EventLog log_;
   std::function<void()> logged_;
   Loop::Timer timer_;
   Vel::Ptr<Sink> const sink_;
   Scalars const scalars_;
};

}  // namespace Notifications
