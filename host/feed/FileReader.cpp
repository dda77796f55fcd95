// SPDX-License-Identifier: MIT
#include "host/feed/FileReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace Feed {

namespace {

/// Takes a few hundred microseconds to read.
constexpr std::size_t kPiece = std::size_t{256} * 1024;

}  // namespace

// Without O_NONBLOCK the opening of a pipe would wait for somebody at its other end.
FileReader::FileReader(std::filesystem::path const& file, std::uintmax_t largest)
      : descriptor_(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK), "open"), largest_(largest) {
   struct stat status {};
   if (fstat(descriptor_, &status) != 0) throw std::system_error(errno, std::generic_category());
   if (!S_ISREG(status.st_mode)) throw std::runtime_error("this is not a regular file");
   auto const size = static_cast<std::uintmax_t>(status.st_size);
   if (size > largest_) refuseSize();
   // The file may grow while it is read; then the text does too.
   content_.reserve(size + kPiece);
}

bool FileReader::readSome() {
   std::size_t const before = content_.size();
   content_.resize(before + kPiece);
   ssize_t got = 0;
   do {
      got = read(descriptor_, content_.data() + before, kPiece);
   } while (got < 0 && errno == EINTR);
   if (got < 0) throw std::system_error(errno, std::generic_category());
   content_.resize(before + got);
   if (content_.size() > largest_) refuseSize();
   hash_ = hash_ * 31 + std::hash<std::string_view>()(std::string_view(content_).substr(before));
   return got > 0;
}

void FileReader::refuseSize() const {
   throw std::runtime_error("the file is larger than " + std::to_string(largest_) + " octets");
}

}  // namespace Feed
