// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "host/feed/PathWatch.h"
#include "host/store/StateStore.h"

namespace Feed {

/// Keeps the store equal to a state file (`--state FILE`): a whole document, read again whenever the file changes.
///
/// A file that is missing, cannot be read or is refused is reported, once, and changes nothing.
class FileFeed {
 public:
   /// Gets one line: the file's name, the place in it and what is wrong.
   using Report = std::function<void(std::string const& line)>;

   /// A file that is larger is refused, unread. The limit of the MIB, 65,535 tunnels, takes some 50 MB.
   static constexpr std::uintmax_t kLargest = std::uintmax_t{1} << 30U;

   /// Does not read the file yet. `store` outlives the feed. Throws std::system_error when files cannot be watched.
   FileFeed(Store::StateStore& store, std::string file, Report report, std::uintmax_t largest = kLargest);

   /// Reads the file and makes the state equal to it. False when it is missing or bad.
   bool load();

   /// To be watched by the host's loop; when it is readable, `handleReadable` is to be called.
   int descriptor() const { return watch_.descriptor(); }
   void handleReadable();

   std::string const& file() const { return file_; }

 private:
   /// What is wrong, or an empty text, and the hash of the content that it is wrong with.
   struct Problem {
      std::string text;
      std::size_t content = 0;
      bool operator==(Problem const&) const = default;
   };
   void report(Problem& last, Problem const& now);

   Store::StateStore& store_;
   std::string const file_;
   Report const report_;
   std::uintmax_t const largest_;
   PathWatch watch_;
   Problem fileProblem_;
   Problem watchProblem_;
   bool unreadable_ = false;  // for want of permission
};

}  // namespace Feed
