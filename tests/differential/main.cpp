// SPDX-License-Identifier: MIT
// Random requests to the three tables, each answered by our own driver and by the chain of net-snmp's handlers: the
// answers are the same octets. Where they are not by intent, which docs/requests.md tells, ours are compared with what
// the protocol asks for.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <map>

#include "substrate/trel/Trace.h"
#include "tests/differential/Ber.h"
#include "tests/differential/Steps.h"
#include "tests/differential/TwoWays.h"
#include "tests/differential/World.h"

namespace {

using Differential::Octets;
using Differential::Pdu;
using Way = Differential::TwoWays::Way;

struct Options {
   std::uint64_t seed = 1;
   std::uint64_t requests = 100'000;
   bool cutViews = false;
   bool verbose = false;
};

class Run {
 public:
   explicit Run(Options const& options)
         : options_(options),
           agent_(options.seed % 2 == 0),
           world_(options.seed, agent_.mib(), options.cutViews ? Differential::cutViews() : Differential::wholeViews(),
                  options.cutViews) {}

   bool all() {
      for (std::uint64_t n = 0; n < options_.requests; ++n) {
         if (world_.roll(4) == 0) world_.change();
         auto const request = world_.request();
         auto const message = world_.message(request);
         limit(request, message);
         if (options_.verbose) fmt::print(stderr, "{}: {}\n", n, text(request));
         auto const own = agent_.ask(message, Way::own);
         auto const wrong = compare(request, message, own);
         count(request, own);
         if (wrong.empty()) continue;
         fmt::print(stderr, "seed {}, request {}: {}\nours: {}{}\n", options_.seed, n, text(request),
                    Differential::text(own), wrong);
         return false;
      }
      return true;
   }

   void report() const {
      auto const average = [&](std::uint64_t sum) {
         return static_cast<double>(sum) / static_cast<double>(options_.requests);
      };
      fmt::print("{} requests, all answered alike; {:.1f} tunnel rows, {:.1f} hop rows, {:.1f} variables an answer\n",
                 options_.requests, average(tunnels_), average(hops_), average(variables_));
      for (auto const& [what, number] : answers_) fmt::print("   {:5.1f} % {}\n", 100 * average(number), what);
   }

 private:
   /// What is wrong, for people.
   std::string compare(Differential::Request const& request, Octets const& message, Octets const& own) {
      // What net-snmp makes of repetitions in a view that cuts a table, or in an answer that is too long, is not what
      // RFC 3416 asks for. And of several values that cannot be sent it may meet another one first.
      if (options_.cutViews && request.pdu == Pdu::getBulk) {
         return own.empty() || message != encode(request) ? "" : wrongSteps(agent_, request, own);
      }
      auto const stock = agent_.ask(message, Way::stock);
      if (own == stock) return "";
      auto const isError = [](Octets const& answer) {
         return !answer.empty() && Differential::decode(answer).status != 0;
      };
      // To SNMPv1 net-snmp reports a Counter64 that it has met on its way, where ours reports what really fails.
      if (request.version == 0 && isError(own) && isError(stock)) return "";
      if (request.pdu == Pdu::getBulk && (isError(own) || isError(stock) || isCutShort(own, stock))) {
         return message != encode(request) ? "" : wrongSteps(agent_, request, own);
      }
      return "net-snmp's: " + Differential::text(stock);
   }

   /// A long answer out of several tables may end earlier: each has its share of what can be sent.
   static bool isCutShort(Octets const& own, Octets const& stock) {
      auto const some = Differential::decode(own).variables.size();
      auto const all = Differential::decode(stock).variables.size();
      return stock.size() > kLongest / 8 && some < all && 2 * some > all;
   }

   /// How many variables a GETBULK is answered with, and how long the answer may be. No answer may be so short that
   /// the names asked for fill it: net-snmp's agent then leaves variables unanswered, whoever answers the others.
   void limit(Differential::Request const& request, Octets const& message) {
      int const most[] = {0, 10, 100, options_.cutViews ? -1 : 500};
      netsnmp_ds_set_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_MAX_GETBULKRESPONSES, most[world_.roll(4)]);
      int longest = kLongest;
      if (options_.cutViews && request.pdu == Pdu::getBulk && message == encode(request)) {
         int const chosen = world_.roll(2) == 0 ? 1'472 : 4'000;
         if (chosen > 8 * static_cast<int>(message.size())) longest = chosen;
      }
      netsnmp_ds_set_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_MSG_SEND_MAX, longest);
   }

   void count(Differential::Request const& request, Octets const& own) {
      tunnels_ += agent_.mib().mplsTunnelTable().size();
      hops_ += agent_.mib().mplsTunnelHopTable().size();
      auto const answer = Differential::decode(own);
      variables_ += answer.variables.size();
      std::string const pdu = text(request).substr(0, text(request).find(' '));
      std::string const end = own.empty() ? "no answer" : answer.status != 0 ? "an error" : "values";
      ++answers_[pdu + " with " + end];
   }

   static constexpr int kLongest = 65'507;  // octets of a datagram

   Options const options_;
   Differential::TwoWays agent_;
   Differential::World world_;
   std::uint64_t tunnels_ = 0;
   std::uint64_t hops_ = 0;
   std::uint64_t variables_ = 0;
   std::map<std::string, std::uint64_t> answers_;
};

}  // namespace

int main(int argc, char** argv) {
   Options options;
   CLI::App app("Random requests to our table driver and to net-snmp's handlers");
   app.add_option("--seed", options.seed,
                  "Seed of rows and requests; with an odd one the tables are not the last objects")
         ->capture_default_str();
   app.add_option("--requests", options.requests, "How many requests")->capture_default_str();
   app.add_flag("--cut-views", options.cutViews, "From managers whose view cuts through the tables");
   app.add_flag("--verbose", options.verbose, "Print each request");
   CLI11_PARSE(app, argc, argv);

   // What requests for columns that are not served trace is not of interest here.
   Trel::traceSinkIs({});
   Run run(options);
   if (!run.all()) return 1;
   run.report();
   return 0;
}
