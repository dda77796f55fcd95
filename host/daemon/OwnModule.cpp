// SPDX-License-Identifier: MIT
#include "host/daemon/OwnModule.h"

#include <fmt/format.h>

#include <stdexcept>

namespace Daemon {

std::filesystem::path ownModule() {
   namespace fs = std::filesystem;
   constexpr char const* kFile = "mplsTeStdMIB.so";
   fs::path const program = fs::read_symlink("/proc/self/exe").parent_path();
   fs::path const beside = program / kFile;
   fs::path const installed = (program / MPLSTE_MODULE_DIR / kFile).lexically_normal();
   for (fs::path const& file : {beside, installed}) {
      if (fs::exists(file)) return file;
   }
   throw std::runtime_error(
         fmt::format("there is neither {} nor {}; name the module with --module", beside.string(), installed.string()));
}

}  // namespace Daemon
