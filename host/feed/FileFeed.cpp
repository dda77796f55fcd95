// SPDX-License-Identifier: MIT
#include "host/feed/FileFeed.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "host/feed/Descriptor.h"

namespace Feed {

namespace {

constexpr std::size_t kLongestName = 4096;

/// Throws std::system_error, or std::runtime_error for a file that is not wanted.
std::string contentOf(std::filesystem::path const& file, std::uintmax_t largest) {
   Descriptor const descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK), "open");
   struct stat status {};
   if (fstat(descriptor, &status) != 0) throw std::system_error(errno, std::generic_category());
   if (!S_ISREG(status.st_mode)) throw std::runtime_error("this is not a regular file");
   auto const tooLarge = [&] {
      throw std::runtime_error("the file is larger than " + std::to_string(largest) + " octets");
   };
   std::string content;
   if (static_cast<std::uintmax_t>(status.st_size) > largest) tooLarge();
   // One octet more than is expected, so that the end shows; a file may also grow while it is read.
   content.resize(static_cast<std::size_t>(status.st_size) + 1);
   std::size_t size = 0;
   for (;;) {
      ssize_t const got = read(descriptor, content.data() + size, content.size() - size);
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) throw std::system_error(errno, std::generic_category());
      if (got == 0) break;
      size += got;
      if (size > largest) tooLarge();
      if (size == content.size()) content.resize(2 * size);
   }
   content.resize(size);
   return content;
}

}  // namespace

FileFeed::FileFeed(Store::StateStore& store, std::string file, Report report, std::uintmax_t largest)
      : store_(store), file_(std::move(file)), report_(std::move(report)), largest_(largest), watch_(file_) {}

bool FileFeed::load() {
   Problem problem;
   unreadable_ = false;
   try {
      std::string document = contentOf(watch_.path(), largest_);
      problem.content = std::hash<std::string>()(document);
      if (document.empty()) throw std::runtime_error("the file is empty");
      store_.replace(std::move(document));
   } catch (std::system_error const& error) {
      unreadable_ = error.code() == std::errc::permission_denied;
      problem.text = error.code().message();
   } catch (std::runtime_error const& error) {
      problem.text = error.what();
   }
   report(fileProblem_, problem);
   report(watchProblem_, {watch_.problem(), 0});
   return problem.text.empty();
}

void FileFeed::handleReadable() {
   bool const barred = unreadable_ || !watch_.problem().empty();
   PathWatch::Change const change = watch_.take();
   if (change == PathWatch::Change::content || (change == PathWatch::Change::permissions && barred)) load();
}

/// Says what is wrong now unless it was said before.
void FileFeed::report(Problem& last, Problem const& now) {
   if (!now.text.empty() && now != last) report_(Store::printable(file_, kLongestName) + ": " + now.text);
   last = now;
}

}  // namespace Feed
