// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace TestSupport {

/// A directory that is gone again with the object.
class ScratchDirectory {
 public:
   ScratchDirectory() {
      std::string name = (std::filesystem::temp_directory_path() / "mplste-test-XXXXXX").string();
      if (!mkdtemp(name.data())) throw std::runtime_error("cannot make a directory like " + name);
      path_ = name;
   }
   ~ScratchDirectory() {
      std::error_code ignored;
      std::filesystem::remove_all(path_, ignored);
   }
   ScratchDirectory(ScratchDirectory const&) = delete;
   ScratchDirectory& operator=(ScratchDirectory const&) = delete;

   std::filesystem::path const& path() const { return path_; }

 private:
   std::filesystem::path path_;
};

}  // namespace TestSupport
