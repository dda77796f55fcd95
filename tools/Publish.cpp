// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tools/Commands.h"
#include "tools/PatchReader.h"
#include "tools/PublishSocket.h"
#include "tools/Terminal.h"
#include "tools/Text.h"

namespace Tools {

namespace {

struct PublishCommand {
   PublishOptions socket;
   std::string file;
   bool replace = false;
   bool verbose = false;
};

constexpr std::string_view kReplace = "{\"$replace\":";

class Input {
 public:
   explicit Input(std::string const& name)
         : name_(name == "-" ? "standard input" : name),
           fd_(name == "-" ? STDIN_FILENO : open(name.c_str(), O_RDONLY | O_CLOEXEC)) {
      if (fd_ < 0) throw std::runtime_error(fmt::format("{}: {}", name_, std::strerror(errno)));
   }
   ~Input() {
      if (fd_ != STDIN_FILENO) close(fd_);
   }
   Input(Input const&) = delete;
   Input& operator=(Input const&) = delete;

   int fd() const { return fd_; }
   std::string const& name() const { return name_; }

 private:
   std::string name_;
   int fd_;
};

// What is wrong with a patch, with its place in the input: mplsted only knows the column of the line that it got.
std::string complaint(Input const& input, Patch const& patch, std::size_t shift, std::string_view error) {
   constexpr std::string_view kColumn = "column ";
   if (error.starts_with(kColumn)) {
      auto const digits = error.substr(kColumn.size());
      std::size_t column = 0;
      auto const end = std::from_chars(digits.data(), digits.data() + digits.size(), column).ptr;
      if (column > shift) {
         return fmt::format("{}: {}{}", input.name(), patch.place(column - shift), std::string_view(end, digits.end()));
      }
   }
   return fmt::format("{}: {}: {}", input.name(), patch.place(), error);
}

std::uint64_t send(PublishSocket& socket, Input const& input, Patch const& patch, bool replace) {
   std::string const line = replace ? fmt::format("{}{}}}", kReplace, patch.asLine()) : patch.asLine();
   try {
      auto const answer = socket.ask(line);
      return answer.value("changed", std::uint64_t{0});
   } catch (Refused const& refusal) {
      throw AgentError(complaint(input, patch, replace ? kReplace.size() : 0, refusal.what()));
   }
}

void publish(PublishCommand const& options) {
   Input const input(options.file);
   PatchReader reader(input.fd());
   std::optional<Patch> patch;
   auto const next = [&] {
      try {
         patch = reader.next();
      } catch (std::system_error const& error) {
         throw std::runtime_error(fmt::format("{}: {}", input.name(), error.code().message()));
      }
   };
   next();
   if (!patch) throw std::invalid_argument(fmt::format("{}: there is nothing in it", input.name()));
   PublishSocket socket(options.socket);
   std::uint64_t patches = 0;
   std::uint64_t entries = 0;
   for (; patch; next()) {
      if (options.replace && patches != 0) {
         throw std::invalid_argument(fmt::format("{}: {}: --replace wants one document", input.name(), patch->place()));
      }
      auto const changed = send(socket, input, *patch, options.replace);
      if (options.verbose) {
         writeAll(STDOUT_FILENO, fmt::format("{}: {} changed\n", patch->place(),
                                             changed == 1 ? "1 entry" : fmt::format("{} entries", changed)));
      }
      ++patches;
      entries += changed;
   }
   writeAll(STDOUT_FILENO, fmt::format("{} published, {} changed\n",
                                       options.replace ? "1 document"
                                       : patches == 1  ? "1 patch"
                                                       : fmt::format("{} patches", patches),
                                       entries == 1 ? "1 entry" : fmt::format("{} entries", entries)));
}

}  // namespace

void addPublish(CLI::App& app) {
   auto* const command = app.add_subcommand("publish", "Send patches or a document to mplsted's socket");
   auto const options = std::make_shared<PublishCommand>();
   command
         ->add_option("FILE", options->file,
                      "Merge patches, one on each line or each on several; - reads the standard input")
         ->type_name("")
         ->required();
   command->add_flag("--replace", options->replace, "It is a whole document: what it does not name goes");
   command->add_flag("-v,--verbose", options->verbose, "Say of each patch how many entries it has changed");
   addPublishOptions(*command, options->socket);
   command->footer(
         "The first patch that is refused ends it; those before it are applied, those behind it are not sent.");
   command->callback([options] { publish(*options); });
}

}  // namespace Tools
