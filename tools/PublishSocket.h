// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "tools/Commands.h"

namespace CLI {
class App;
}

namespace Tools {

/// Where mplsted listens to publishers, and how long to wait for it.
struct PublishOptions {
   std::string path = "/run/mplste/publish.sock";
   double timeout = 30;  ///< seconds in which nothing moves
};

/// --socket and --timeout. `options` must outlive the parsing.
void addPublishOptions(CLI::App& command, PublishOptions& options);

/// mplsted has refused what it was asked for. The text is its own.
class Refused : public AgentError {
 public:
   using AgentError::AgentError;
};

/// No mplsted listens at the socket.
class NobodyListens : public AgentError {
 public:
   using AgentError::AgentError;
};

/// We have no right to the socket.
class Closed : public AgentError {
 public:
   using AgentError::AgentError;
};

/// A connection to mplsted's socket (docs/state.md): one line each way at a time.
class PublishSocket {
 public:
   /// Throws AgentError, with NobodyListens and Closed.
   explicit PublishSocket(PublishOptions const& options);
   ~PublishSocket();
   PublishSocket(PublishSocket const&) = delete;
   PublishSocket& operator=(PublishSocket const&) = delete;

   /// Sends a line, given without its end, and returns the line that answers it, as it is.
   /// Throws AgentError when none comes.
   std::string exchange(std::string_view line);

   /// The same, and the answer as JSON. Throws Refused when it is no.
   nlohmann::ordered_json ask(std::string_view line);

   /// Answers are awaited for as long as the connection lasts from now on.
   void waitForever();

 private:
   [[noreturn]] void fail(int error) const;
   bool send(std::string_view text);
   std::string receive();

   std::string const path_;
   int fd_;
   std::string received_;  // behind the last answer
};

/// The answer in `line`. Throws Refused, and AgentError when it is none.
nlohmann::ordered_json answerFrom(std::string_view line);

}  // namespace Tools
