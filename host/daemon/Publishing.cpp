// SPDX-License-Identifier: MIT
#include "host/daemon/Publishing.h"

#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "host/daemon/Options.h"
#include "host/store/Closest.h"

namespace Daemon {

namespace {

constexpr char const* kPart = "publish";

/// How many handles that nothing traces under may have their levels set for later, lest somebody fill the memory.
constexpr std::ptrdiff_t kMostUnknown = 100;

/// A handle that nothing traces under may do so later, when its part is loaded; or its name is misspelt. Throws
/// std::invalid_argument.
void checkHandle(std::vector<Log::Trace> const& traces, std::string const& handle) {
   if (std::ranges::find(traces, handle, &Log::Trace::handle) != traces.end()) return;
   std::vector<std::string_view> known;
   for (auto const& trace : traces) {
      if (trace.exists) known.push_back(trace.handle);
   }
   if (auto const meant = Store::closest(handle, known); !meant.empty()) {
      throw std::invalid_argument(fmt::format("nothing traces under that name, \"{}\" is probably meant", meant));
   }
   if (handle.size() > 100 || std::ssize(traces) - std::ssize(known) >= kMostUnknown) {
      throw std::invalid_argument("nothing traces under that name, but" + tracedNames());
   }
}

std::string toJson(std::vector<Log::Trace> const& traces) {
   using Json = nlohmann::ordered_json;
   Json list = Json::array();
   for (auto const& trace : traces) {
      list.push_back({{"handle", trace.handle}, {"levels", levelsText(trace.levels)}, {"exists", trace.exists}});
   }
   return list.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Publish::Handlers handlersOf(Status& status, Log& log) {
   using Clock = Status::SystemClock;
   using Json = nlohmann::ordered_json;
   return {
         .status = [&status] { return status.json(Clock::now()).dump(-1, ' ', false, Json::error_handler_t::replace); },
         .events =
               [&status](std::optional<std::uint64_t> after) {
                  auto const* const notifier = status.sources().notifier;
                  if (!notifier || !notifier->settings().enabled) {
                     throw std::runtime_error(
                           "there are no notifications; they are on with --notifications on (mplsteNotifications), or "
                           "with a receiver");
                  }
                  auto const& log = notifier->log();
                  if (!after) return log.latest();
                  return log.hasMore(*after) ? log.text(*after) : std::string();
               },
         .trace =
               [&log](std::string const& levels) {
                  auto const trace = parseTrace(levels);
                  checkHandle(log.traces(), trace.handle);
                  log.traceLevelsIs(trace.handle, trace.levels);
               },
         .traces = [&log] { return toJson(log.traces()); },
         .done =
               [&status, &log](Publish::Peer const& peer, Store::ChangeQueue::Outcome const& outcome) {
                  std::string const from = Publish::toText(peer);
                  if (!outcome.refusal) return status.applied(from, outcome.changed, Clock::now());
                  status.refused(from, *outcome.refusal, Clock::now());
                  log.repeatable(spdlog::level::warn, kPart,
                                 fmt::format("refused what {} published: {}", from, *outcome.refusal));
               },
         .complain = [&log](std::string const& line) { log.repeatable(spdlog::level::warn, kPart, line); },
   };
}

// Descriptors for all but publishers: net-snmp's sockets, files, the module's.
constexpr rlim_t kOtherDescriptors = 256;

rlimit descriptorLimit() {
   rlimit limit{};
   if (getrlimit(RLIMIT_NOFILE, &limit) != 0) throw std::system_error(errno, std::generic_category(), "getrlimit");
   return limit;
}

/// As many as are usual, if so many leave enough descriptors for the rest of the process.
std::size_t mostConnections() {
   rlim_t const all = descriptorLimit().rlim_cur;
   return std::min<rlim_t>(Publish::Limits{}.connections, all - std::min(kOtherDescriptors, all / 2));
}

Publish::Server::Options serverOptions(PublishOptions const& options) {
   return {.socket = {options.path, options.mode, options.owner, options.group},
           .access = options.allowed.empty() ? Publish::Access() : Publish::Access(options.allowed),
           .limits = {.longestLine = options.longestLine << 20U, .connections = mostConnections()}};
}

}  // namespace

void makeRoomForPublishers() {
   rlimit limit = descriptorLimit();
   rlim_t const wanted = std::min<rlim_t>(Publish::Limits{}.connections + kOtherDescriptors, limit.rlim_max);
   if (limit.rlim_cur >= wanted) return;
   limit.rlim_cur = wanted;
   setrlimit(RLIMIT_NOFILE, &limit);
}

Publishing::Publishing(PublishOptions const& options, Store::ChangeQueue& queue, Store::StateStore const& store,
                       Status& status, Log& log, Loop::ErrorHandler failed)
      : status_(status),
        server_(serverOptions(options), queue, store, handlersOf(status, log)),
        watch_(
              server_.descriptor(), [this] { server_.handleReadable(); }, std::move(failed)) {
   status_.sources().publish = &server_;
   if (auto* const notifier = status_.sources().notifier) notifier->loggedIs([this] { server_.eventsCame(); });
}

Publishing::~Publishing() {
   status_.sources().publish = nullptr;
   if (auto* const notifier = status_.sources().notifier) notifier->loggedIs(nullptr);
}

}  // namespace Daemon
