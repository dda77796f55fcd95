// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "host/feed/FileReader.h"
#include "host/feed/PathWatch.h"
#include "host/store/ChangeQueue.h"

namespace Feed {

/// Keeps the store equal to a state file (`--state FILE`): a whole document, read again whenever the file changes.
/// Read, checked and applied in slices of tasks.
///
/// A file that is missing, cannot be read or is refused is reported, once, and changes nothing.
class FileFeed {
 public:
   /// Who is told what. All may be called from within `load` and from the tasks of this thread's scheduler; none may
   /// destroy the feed.
   struct Events {
      /// The state has become equal to the file; so many entries had to change for that.
      std::function<void(std::size_t changed)> loaded;
      /// One line: the file's name, the place in it and what is wrong.
      std::function<void(std::string const& line)> refused;
      /// One line: changes of the file may go unnoticed, and why.
      std::function<void(std::string const& line)> unwatched;
   };

   /// A file that is larger is refused, unread. The limit of the MIB, 65,535 tunnels, takes some 50 MB.
   static constexpr std::uintmax_t kLargest = std::uintmax_t{1} << 30U;

   /// Does not read the file yet. `queue` outlives the feed, or is not run any more. Throws std::system_error when
   /// files cannot be watched.
   FileFeed(Store::ChangeQueue& queue, std::string file, Events events, std::uintmax_t largest = kLargest);

   /// Begins to make the state equal to the file. While the file is still being loaded it is read once more behind
   /// that.
   void load() { begin(Load::always); }
   /// The same, unless the file is still what was loaded last: then what others have changed of the state since stays.
   void reload() { begin(Load::whenChanged); }

   /// To be watched by the host's loop; when it is readable, `handleReadable` is to be called.
   int descriptor() const { return watch_.descriptor(); }
   void handleReadable();

   std::string const& file() const { return file_; }

 private:
   enum class Load { always, whenChanged };

   /// What is wrong, or an empty text, and the hash of the content that it is wrong with.
   struct Problem {
      std::string text;
      std::size_t content = 0;
      bool operator==(Problem const&) const = default;
   };

   void begin(Load load);
   void read(Orb::Task& task);
   void add(std::string document, std::size_t content);
   void finish(Problem const& problem);
   void report(Problem& last, Problem const& now, std::function<void(std::string const& line)> const& tell);

   Store::ChangeQueue& queue_;
   std::string const file_;
   Events const events_;
   std::uintmax_t const largest_;
   PathWatch watch_;
   Vel::Ptr<Orb::Task> const task_;
   std::unique_ptr<FileReader> reader_;
   bool loading_ = false;
   Load load_ = Load::always;
   bool changedMeanwhile_ = false;
   std::optional<std::size_t> loaded_;  // the hash of the content that was loaded last
   Problem fileProblem_;
   Problem watchProblem_;
   bool unreadable_ = false;  // for want of permission
};

}  // namespace Feed
