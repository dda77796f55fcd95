// SPDX-License-Identifier: MIT
#include "host/notifications/EventLog.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace Notifications {

void EventLog::add(std::string json) {
   ++last_;
   events_.push_back(std::move(json));
   if (events_.size() > most_) events_.pop_front();
}

std::string EventLog::text(std::uint64_t after) const {
   after = std::min(after, last_);
   std::uint64_t const gone = last_ - events_.size();  // the number of the latest that is not here any more
   std::uint64_t const missed = gone > after ? gone - after : 0;
   std::uint64_t number = after + missed;
   std::string text = "\"events\":[";
   for (std::size_t n = 0; n < kMostInAnswer && number < last_; ++n, ++number) {
      if (n != 0) text += ',';
      text += events_[number - gone];
   }
   return fmt::format("{}],\"last\":{},\"missed\":{}", text, number, missed);
}

std::string EventLog::latest() const { return text(last_ - std::min(events_.size(), kMostInAnswer)); }

}  // namespace Notifications
