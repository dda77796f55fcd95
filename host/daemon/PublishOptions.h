// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace Daemon {

/// Publishing over a socket, as the command line and the configuration have it.
struct PublishOptions {
   /// Of the socket; empty: there is none.
   std::string path;
   mode_t mode = 0660;
   std::optional<uid_t> owner;
   std::optional<gid_t> group;
   /// Who may connect, see Publish::Access; empty: root and our own user.
   std::vector<std::string> allowed;
   /// In MiB.
   std::size_t longestLine = 16;
   static constexpr std::size_t kMostLongestLine = 1024;
};

// Each of these sets one option from its text. They throw std::invalid_argument.
void setPublishMode(PublishOptions& options, std::string const& octal);
/// "USER", "USER:GROUP" or ":GROUP", by name or number.
void setPublishOwner(PublishOptions& options, std::string const& owner);
/// One more.
void addPublishAllowed(PublishOptions& options, std::string const& who);
void setPublishLongestLine(PublishOptions& options, std::string const& mib);

}  // namespace Daemon
