// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "host/loop/Descriptor.h"

namespace Feed {

/// Notices when the content of a file may have changed (inotify), however that is brought about: rewritten in place,
/// replaced by rename, deleted and made anew, with symbolic links or directories on the way replaced, removed or made.
///
/// It watches the directory entries that lead to the file, those of symbolic links included, not the file itself. A
/// file that is being written counts as changed when its writer closes it. Changes made on another machine (NFS) are
/// not seen.
class PathWatch {
 public:
   /// `path` need not exist. Throws std::system_error when there is no inotify instance to be had.
   explicit PathWatch(std::filesystem::path const& path);
   PathWatch(PathWatch const&) = delete;
   PathWatch& operator=(PathWatch const&) = delete;

   /// The absolute path.
   std::filesystem::path const& path() const { return path_; }

   /// Readable when something may have happened; never blocks. Owned by the watch.
   int descriptor() const { return inotify_; }

   /// What happened since the last call, the strongest of all.
   enum class Change {
      none,
      permissions,  ///< of the file or a directory on the way
      content
   };
   Change take();

   /// Why changes of the file cannot be noticed at present, or an empty text.
   std::string const& problem() const { return problem_; }

 private:
   /// A directory entry on the way to the file.
   struct Step {
      std::filesystem::path dir;
      std::string name;
      bool isFile;  ///< it is the file's own
      bool operator==(Step const&) const = default;
   };

   std::vector<Step> steps() const;
   void arm();
   Change changeOf(int watch, unsigned mask, std::string_view name) const;

   std::filesystem::path const path_;
   Loop::Descriptor const inotify_;
   std::map<int, std::vector<Step>> watches_;
   std::string problem_;
};

}  // namespace Feed
