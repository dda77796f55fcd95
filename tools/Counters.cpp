// SPDX-License-Identifier: MIT
#include <fmt/format.h>
#include <pwd.h>
#include <signal.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>
#include <optional>
#include <span>

#include "inputs/tallies/Segment.h"
#include "inputs/tallies/writer/tallies_writer.h"
#include "tools/Commands.h"
#include "tools/Print.h"
#include "tools/Terminal.h"
#include "tools/Text.h"
#include "tools/TunnelNames.h"

namespace Tools {

namespace {

struct CounterOptions {
   std::string name = TALLIES_DEFAULT_NAME;
   std::string state;
   std::string owner;
   std::uint32_t capacity = 0;
   std::vector<std::string> words;  // The tunnels, and for set and add the numbers behind.
   bool json = false;
   bool all = false;
   std::uint64_t rate = 1000;  // Packets per second.
   std::uint64_t size = 800;   // Octets per packet.
   std::uint64_t count = 0;    // 0: without end.

   TunnelNames tunnelNames() const { return state.empty() ? TunnelNames() : TunnelNames(state); }
};

// How often `run` counts.
constexpr unsigned kUpdatesPerSecond = 10;

void check(CounterOptions const& options, tallies_status status) {
   if (status == TALLIES_OK) return;
   int const reason = errno;
   throw std::runtime_error(
         fmt::format("counter segment {}: {}", options.name,
                     status == TALLIES_SYSTEM ? std::strerror(reason) : tallies_status_text(status)));
}

struct Close {
   void operator()(tallies_writer* writer) const { tallies_writer_close(writer); }
};
using Writer = std::unique_ptr<tallies_writer, Close>;

Writer openWriter(CounterOptions const& options) {
   tallies_options const wanted{.capacity = options.capacity, .mode = 0, .replace = 0};
   tallies_writer* writer = nullptr;
   check(options, tallies_writer_open(options.name.c_str(), &wanted, &writer));
   return Writer(writer);
}

// set and add: `change` is what the library calls it.
void change(CounterOptions const& options, decltype(tallies_writer_set)* change) {
   std::span<std::string const> words(options.words);
   auto const tunnel = options.tunnelNames().take(words);
   if (words.size() != 2) throw std::invalid_argument("behind the tunnel, two numbers: PACKETS BYTES");
   auto const packets = toNumber64(words[0]);
   auto const bytes = toNumber64(words[1]);
   check(options, change(openWriter(options).get(), tunnel, packets, bytes));
}

std::vector<std::uint64_t> tunnelsOf(CounterOptions const& options, TunnelNames const& names) {
   std::vector<std::uint64_t> tunnels;
   for (std::span<std::string const> words(options.words); !words.empty();) tunnels.push_back(names.take(words));
   return tunnels;
}

void remove(CounterOptions const& options) {
   if (options.all != options.words.empty()) throw std::invalid_argument("either tunnels, or --all");
   if (options.all) return check(options, tallies_unlink(options.name.c_str()));
   auto const tunnels = tunnelsOf(options, options.tunnelNames());
   // Not to be made for this.
   if (!Tallies::Segment::open(options.name, geteuid())) check(options, TALLIES_ABSENT);
   auto const writer = openWriter(options);
   for (auto const tunnel : tunnels) {
      if (tallies_writer_find(writer.get(), tunnel, nullptr, nullptr) == TALLIES_ABSENT) {
         throw NotFound(fmt::format("counter segment {}: no tunnel {}", options.name, tunnelText(tunnel)));
      }
   }
   for (auto const tunnel : tunnels) tallies_writer_remove(writer.get(), tunnel);
}

std::optional<uid_t> userOf(std::string const& owner) {
   if (owner.empty()) return {};
   if (passwd const* const user = getpwnam(owner.c_str())) return user->pw_uid;
   if (owner.find_first_not_of("0123456789") == std::string::npos) {
      auto const number = toNumber64(owner);
      if (number < static_cast<uid_t>(-1)) return static_cast<uid_t>(number);
   }
   throw std::invalid_argument(fmt::format("there is no user '{}'", owner));
}

void list(CounterOptions const& options) {
   auto const names = options.tunnelNames();
   auto const segment = Tallies::Segment::open(options.name, userOf(options.owner));
   if (!segment) throw NotFound(fmt::format("counter segment {}: not there", options.name));
   auto const contents = segment->contents();

   if (options.json) {
      JsonList json("counters");
      for (auto const& [tunnel, counter] : contents.lines) {
         Json row{{"tunnel", tunnelText(tunnel)}};
         if (!options.state.empty()) {
            auto const name = names.nameOf(tunnel);
            row["name"] = name.empty() ? Json() : Json(name);
         }
         row["packets"] = counter.packets;
         row["bytes"] = counter.bytes;
         json.add(row);
      }
      json.print();
   } else {
      using Align = TextTable::Align;
      TextTable table({{"TUNNEL"}, {"NAME"}, {"PACKETS", Align::right}, {"BYTES", Align::right}});
      for (auto const& [tunnel, counter] : contents.lines) {
         auto const name = names.nameOf(tunnel);
         table.add({{tunnelText(tunnel)},
                    {name.empty() ? "-" : escaped(name)},
                    {fmt::to_string(counter.packets)},
                    {fmt::to_string(counter.bytes)}});
      }
      auto lines = table.lines(false);
      lines.insert(lines.end(), {"", counted(contents.lines.size(), "tunnel")});
      printLines(lines);
   }
   if (!contents.damaged.empty()) {
      auto const others = contents.damaged.size() - 1;
      throw std::runtime_error(
            fmt::format("{}{}", contents.damaged.front().what(), others ? fmt::format(", and {} more", others) : ""));
   }
}

// The signals that end `run`, which arrive in `wait` only.
class EndSignals {
 public:
   EndSignals() {
      sigemptyset(&set_);
      for (int const signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&set_, signal);
      sigprocmask(SIG_BLOCK, &set_, &before_);
   }
   ~EndSignals() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
   EndSignals(EndSignals const&) = delete;
   EndSignals& operator=(EndSignals const&) = delete;

   // Whether one came before `due`.
   bool wait(std::chrono::steady_clock::time_point due) const {
      using namespace std::chrono;
      auto const left = std::max(duration_cast<nanoseconds>(due - steady_clock::now()), nanoseconds(0)).count();
      timespec const limit{.tv_sec = left / 1'000'000'000, .tv_nsec = left % 1'000'000'000};
      return sigtimedwait(&set_, nullptr, &limit) > 0;
   }

 private:
   sigset_t set_{};
   sigset_t before_{};
};

void run(CounterOptions const& options) {
   using Clock = std::chrono::steady_clock;
   auto const names = options.tunnelNames();
   auto const tunnels = options.words.empty() ? names.all() : tunnelsOf(options, names);
   if (tunnels.empty()) throw std::invalid_argument("no tunnel is given, and --state FILE tells of none");
   EndSignals const end;
   auto const writer = openWriter(options);
   writeAll(STDOUT_FILENO, fmt::format("counting {} in {}\n", counted(tunnels.size(), "tunnel"), options.name));

   std::uint64_t part = 0;  // Of a packet, in kUpdatesPerSecond-ths: what the rate left over so far.
   auto due = Clock::now();
   for (std::uint64_t updates = 0; options.count == 0 || updates < options.count; ++updates) {
      if (end.wait(due)) return;
      due = std::max(due, Clock::now() - std::chrono::seconds(1)) + std::chrono::milliseconds(1000) / kUpdatesPerSecond;
      part += options.rate;
      auto const packets = part / kUpdatesPerSecond;
      part %= kUpdatesPerSecond;
      for (auto const tunnel : tunnels) {
         check(options, tallies_writer_add(writer.get(), tunnel, packets, packets * options.size));
      }
      if (tallies_writer_check(writer.get()) == TALLIES_ABSENT) {
         throw std::runtime_error(fmt::format("counter segment {}: was removed or replaced", options.name));
      }
   }
}

}  // namespace

void addCounters(CLI::App& app) {
   auto* counters =
         app.add_subcommand("counters", "Write and list the packets and bytes of tunnels (mplsted --counters)");
   counters->require_subcommand(1);
   auto const options = std::make_shared<CounterOptions>();
   counters->add_option("--name", options->name, "The counter segment's name in shared memory")
         ->envname("MPLSTE_COUNTERS")
         ->type_name("NAME")
         ->capture_default_str();
   counters->add_option("--state", options->state, "A state document, for tunnels to be called by their ids")
         ->type_name("FILE");

   auto const command = [&](char const* name, char const* what, void (*work)(CounterOptions const&)) {
      auto* const sub = counters->add_subcommand(name, what)->fallthrough();
      sub->footer("--name NAME and --state FILE may be given here too: see 'mplste counters --help'.");
      sub->callback([options, work] {
         options->name = Tallies::Segment::checkedName(options->name);
         work(*options);
      });
      return sub;
   };
   auto const tunnels = [&](CLI::App* sub, char const* what) {
      return sub->add_option("TUNNEL", options->words, what)->type_name("");
   };
   auto const capacity = [&](CLI::App* sub) {
      sub->add_option("--capacity", options->capacity,
                      fmt::format("Tunnels that a new segment has room for (else {})", +TALLIES_DEFAULT_CAPACITY))
            ->type_name("N")
            ->check(CLI::Range(1, 1 << 20).description(""));
   };
   constexpr char const* numbers = "16:INDEX, 20:INDEX, tunnel INDEX, subtunnel INDEX or an id; then PACKETS and BYTES";
   constexpr char const* many = "16:INDEX, 20:INDEX, tunnel INDEX, subtunnel INDEX or an id, as many as you like";

   auto* const set = command("set", "Set a tunnel's counter",
                             [](CounterOptions const& given) { change(given, tallies_writer_set); });
   auto* const add = command("add", "Add to a tunnel's counter",
                             [](CounterOptions const& given) { change(given, tallies_writer_add); });
   for (auto* const sub : {set, add}) {
      tunnels(sub, numbers)->required();
      capacity(sub);
   }

   auto* const lists = command("list", "List all counters", list);
   lists->add_flag("--json", options->json, "Write JSON for programs");
   lists->add_option("--owner", options->owner, "Whose segment it must be (else this user's or root's)")
         ->type_name("USER");

   auto* const removal = command("remove", "Remove tunnels, or the whole segment", remove);
   tunnels(removal, many);
   removal->add_flag("--all", options->all, "The whole segment");

   auto* const running = command("run", "Count made-up traffic until Ctrl-C", run);
   tunnels(running, "The tunnels; without any, all of --state FILE");
   capacity(running);
   running->add_option("--rate", options->rate, "Packets per second of each tunnel")
         ->type_name("N")
         ->check(CLI::Range(std::uint64_t{0}, std::uint64_t{1'000'000'000'000}).description(""))
         ->capture_default_str();
   running->add_option("--size", options->size, "Bytes per packet")
         ->type_name("N")
         ->check(CLI::Range(std::uint64_t{0}, std::uint64_t{65535}).description(""))
         ->capture_default_str();
   running
         ->add_option("--count", options->count,
                      fmt::format("End after so many updates, {} a second (0: never)", kUpdatesPerSecond))
         ->type_name("N")
         ->capture_default_str();
}

}  // namespace Tools
