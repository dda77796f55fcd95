// SPDX-License-Identifier: MIT
#include "host/module/Monitor.h"

#include "substrate/vel/Generic.h"

namespace Host {

namespace {

void set(Vel::Entity& entity, std::string_view attribute, Vel::Any const& value) {
   Vel::attributeSet(entity, attribute, {&value, 1});
}

}  // namespace

void Monitor::eventSinkIs(Vel::Ptr<Snmp::TunnelEventSink> const& sink) const {
   set(*entity_, "eventSink", Vel::Ptr<Vel::PtrInterface>(sink));
}

void Monitor::begin() const { Vel::operationInvoke(*entity_, "begin"); }

void Monitor::maxRateIs(std::uint32_t perSecond) const { set(*entity_, "maxRate", std::uint64_t{perSecond}); }

void Monitor::proceed() const { Vel::operationInvoke(*entity_, "proceed"); }

std::uint64_t Monitor::number(std::string_view attribute) const {
   auto const read = Vel::attributeGet(*entity_, attribute);
   auto const* const value = std::any_cast<std::uint64_t>(&read.value);
   return value ? *value : 0;
}

}  // namespace Host
