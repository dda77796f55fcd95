// SPDX-License-Identifier: MIT
#include "host/daemon/PublishOptions.h"

#include <fmt/format.h>

#include <charconv>
#include <span>
#include <stdexcept>

#include "host/publish/Access.h"

namespace Daemon {

namespace {

/// The number that all of `text` is, if it lies between the two.
std::optional<unsigned> number(std::string const& text, int base, unsigned least, unsigned most) {
   unsigned value = 0;
   auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
   if (error != std::errc{} || end != text.data() + text.size() || value < least || value > most) return {};
   return value;
}

}  // namespace

void setPublishMode(PublishOptions& options, std::string const& octal) {
   auto const mode = number(octal, 8, 0, 0777);
   if (!mode) throw std::invalid_argument("it must be an octal number up to 0777, such as 0660");
   options.mode = *mode;
}

void setPublishOwner(PublishOptions& options, std::string const& owner) {
   auto const colon = owner.find(':');
   std::string const user = owner.substr(0, colon);
   std::string const group = colon == std::string::npos ? "" : owner.substr(colon + 1);
   if (user.empty() && group.empty()) throw std::invalid_argument("it must be USER, USER:GROUP or :GROUP");
   if (!user.empty()) options.owner = Publish::userFrom(user);
   if (!group.empty()) options.group = Publish::groupFrom(group);
}

void addPublishAllowed(PublishOptions& options, std::string const& who) {
   Publish::Access const tried(std::span(&who, 1));
   options.allowed.push_back(who);
}

void setPublishLongestLine(PublishOptions& options, std::string const& mib) {
   auto const size = number(mib, 10, 1, PublishOptions::kMostLongestLine);
   if (!size)
      throw std::invalid_argument(fmt::format("it must be a number from 1 to {}", PublishOptions::kMostLongestLine));
   options.longestLine = *size;
}

}  // namespace Daemon
