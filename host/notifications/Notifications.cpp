// SPDX-License-Identifier: MIT
#include "host/notifications/Notifications.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "host/notifications/EventText.h"
#include "host/notifications/InformLoad.h"
#include "host/notifications/Variables.h"

namespace Notifications {

namespace {

/// After which receivers without room are looked at again.
constexpr std::chrono::milliseconds kRoomAgain(100);

}  // namespace

Delivery toSinks() {
   return {.hasRoom = [load = std::make_shared<InformLoad>()] { return load->hasRoom(); },
           .send = [](netsnmp_variable_list& variables) { send_v2trap(&variables); }};
}

/// What the module holds of us; somebody may hold it for longer.
class Notifier::Sink : public Snmp::TunnelEventSink {
 public:
   explicit Sink(Notifier* owner) : owner_(owner) {}
   void end() { owner_ = nullptr; }

   bool hasRoom() override { return owner_ && owner_->hasRoom(); }
   void take(Snmp::TunnelEvent const& event) override {
      if (owner_) owner_->take(event);
   }
   void proceedAfter(std::chrono::nanoseconds time) override {
      if (owner_) owner_->proceedAfter(time);
   }

 private:
   Notifier* owner_;
};

Notifier::Notifier(Host::Monitor monitor, Delivery delivery, Settings settings, Loop::ErrorHandler failed)
      : monitor_(std::move(monitor)),
        delivery_(std::move(delivery)),
        settings_(std::move(settings)),
        timer_([this] { monitor_.proceed(); }, std::move(failed)),
        sink_(Vel::makePtr<Sink>(this)),
        scalars_({.configured = [this] { return static_cast<std::uint32_t>(monitor_.configured()); },
                  .active = [this] { return static_cast<std::uint32_t>(monitor_.active()); },
                  .teDistProto = [this] { return settings_.teDistProto; },
                  .maxRate = [this] { return settings_.maxRate; },
                  .enabled = [this] { return settings_.enabled; }}) {
   listen();
}

Notifier::~Notifier() {
   monitor_.eventSinkIs(nullptr);
   sink_->end();
}

void Notifier::begin() {
   if (!std::exchange(begun_, true) && settings_.enabled) monitor_.begin();
}

void Notifier::settingsAre(Settings settings) {
   settings_ = std::move(settings);
   listen();
}

void Notifier::listen() {
   monitor_.maxRateIs(settings_.maxRate);
   if (std::exchange(listening_, settings_.enabled) == settings_.enabled) return;
   monitor_.eventSinkIs(settings_.enabled ? sink_ : nullptr);
   if (settings_.enabled && begun_) monitor_.begin();
}

bool Notifier::hasRoom() {
   if (delivery_.hasRoom()) return true;
   timer_.start(kRoomAgain);
   return false;
}

void Notifier::take(Snmp::TunnelEvent const& event) {
   delivery_.send(*variablesOf(event));
   log_.add(eventJson(event, std::chrono::system_clock::now()));
   if (logged_) logged_();
}

void Notifier::proceedAfter(std::chrono::nanoseconds time) {
   timer_.start(std::max<std::chrono::nanoseconds>(time, std::chrono::nanoseconds(1)));
}

}  // namespace Notifications
