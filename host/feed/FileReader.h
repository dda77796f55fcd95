// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include "host/loop/Descriptor.h"

namespace Feed {

/// Reads a regular file in steps, since a large one takes longer than others should wait.
class FileReader {
 public:
   /// Throws std::system_error when the file cannot be opened, and std::runtime_error when it is larger than `largest`
   /// octets or no regular file.
   FileReader(std::filesystem::path const& file, std::uintmax_t largest);

   /// Reads one piece; false at the end of the file. Throws as the constructor does.
   bool readSome();

   /// What was read so far.
   std::string take() { return std::move(content_); }
   /// A hash of that.
   std::size_t hash() const { return hash_; }

 private:
   [[noreturn]] void refuseSize() const;

   Loop::Descriptor const descriptor_;
   std::uintmax_t const largest_;
   std::string content_;
   std::size_t hash_ = 0;
};

}  // namespace Feed
