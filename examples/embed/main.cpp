// SPDX-License-Identifier: MIT
// A host of its own: runs the MIB module in an SNMP agent, and prints what a manager sees before and after a change.
//    embed ADDRESS STATE PATCH, such as: embed udp:127.0.0.1:11163 headend.json switchover.json
#include <arpa/inet.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/loop/NetSnmp.h"
#include "host/loop/TaskRunner.h"
#include "host/module/Module.h"
#include "host/store/StateStore.h"

namespace {

std::vector<oid> const kTunnelName{1, 3, 6, 1, 2, 1, 10, 166, 3, 2, 2, 1, 5};  // mplsTunnelName
std::vector<oid> const kHopAddress{1, 3, 6, 1, 2, 1, 10, 166, 3, 2, 4, 1, 5};  // mplsTunnelHopIpAddr

/// net-snmp's agent library, which lets managers on this machine read the MIB with the community "public".
struct Agent {
   Agent() {
      setenv("MIBS", "", 1);  // numeric OIDs do
      netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
      netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 1);
      netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_DONT_LOG_TCPWRAPPERS_CONNECTS, 1);
      init_agent("embed");
      char access[] = "rocommunity public 127.0.0.1 .1.3.6.1.2.1.10.166";
      netsnmp_config_remember(access);  // as if it stood in a configuration file
      init_snmp("embed");
   }
   ~Agent() { snmp_shutdown("embed"); }  // and of all sessions
};

/// A manager. While it waits for an answer it serves the agent's socket, too: they are in one process.
netsnmp_session* openManager(std::string address) {
   u_char community[] = "public";
   netsnmp_session session;
   snmp_sess_init(&session);
   session.version = SNMP_VERSION_2c;
   session.peername = address.data();
   session.community = community;
   session.community_len = sizeof community - 1;
   if (auto* const opened = snmp_open(&session)) return opened;
   throw std::runtime_error("cannot open a session to " + address);
}

std::string addressText(std::string const& octets) {
   char text[INET6_ADDRSTRLEN] = "";
   return inet_ntop(octets.size() == 4 ? AF_INET : AF_INET6, octets.data(), text, sizeof text);
}

/// Prints the rows of a column, "index = value".
void show(char const* title, std::vector<oid> const& column, netsnmp_session* manager) {
   std::printf("%s:\n", title);
   netsnmp_variable_list* rows = nullptr;
   snmp_varlist_add_variable(&rows, column.data(), column.size(), ASN_NULL, nullptr, 0);
   int const error = netsnmp_query_walk(rows, manager);
   for (auto const* row = rows; row && row->type == ASN_OCTET_STR; row = row->next_variable) {
      for (std::size_t i = column.size(); i < row->name_length; ++i) std::printf("%lu ", row->name[i]);
      std::string const octets(row->val.string, row->val.string + row->val_len);
      std::printf("= %s\n", (column == kHopAddress ? addressText(octets) : octets).c_str());
   }
   snmp_free_varbind(rows);
   if (error != SNMP_ERR_NOERROR) throw std::runtime_error("the agent does not answer");
}

std::string contentOf(char const* file) {
   std::ifstream stream(file);
   if (!stream) throw std::runtime_error(std::string("cannot read ") + file);
   return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace

int main(int argc, char** argv) try {
   if (argc != 4) return std::fputs("usage: embed ADDRESS STATE PATCH\n", stderr), 2;
   // What is made first goes last. The agent comes first: all else is registered with it.
   Agent const agent;
   if (netsnmp_agent_listen_on(argv[1]) < 0) throw std::runtime_error(std::string("cannot listen on ") + argv[1]);

   // The module does its longer work in tasks. In net-snmp's loop they take turns with the requests.
   Loop::TaskRunner const tasks;

   // The inputs. This store fills them from documents; a host that knows them sets them itself. All counters read 0.
   auto const root = Vel::makePtr<Vel::EntityDir>("");
   Store::StateStore store(root);
   store.replace(contentOf(argv[2]));
   auto const counters = Vel::makePtr<Tallies::CounterTable>("mplsTunnelCounterTable");

   // The module, loaded with dlopen. From now on it follows the inputs, and its tables answer.
   Host::Module const module(MODULE, root, {store.lerConfig(), store.lerHiveStatus(), store.kelpStatus(), counters});

   // The tables fill up in tasks: when none is left, they are what the inputs say.
   tasks.settle();
   auto* const manager = openManager(argv[1]);
   show("Tunnels before", kTunnelName, manager);
   show("Hops before", kHopAddress, manager);

   // A change of the inputs is all that it takes to have other rows.
   store.applyPatch(contentOf(argv[3]));
   tasks.settle();
   show("Tunnels after", kTunnelName, manager);
   show("Hops after", kHopAddress, manager);
   // A host that is there for others stays in the loop now: while (!ended) agent_check_and_process(1);
   return 0;
} catch (std::exception const& error) {
   std::fprintf(stderr, "embed: %s\n", error.what());
   return 1;
}
