// SPDX-License-Identifier: MIT
// A host of its own: runs the MIB module in an SNMP agent, and asks this agent for its rows before and after a change.
//    embed STATE PATCH
#include <arpa/inet.h>
#include <dlfcn.h>
#include <net-snmp/net-snmp-config.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include "host/snmp/HandlerRegistration.h"
#include "host/snmp/SnmpUtil.h"
#include "host/store/StateStore.h"
#include "inputs/tallies/CounterTable.h"
#include "substrate/orb/TaskScheduler.h"
#include "substrate/vel/Generic.h"
#include "substrate/vel/TypeRegistry.h"

extern "C" void init_vacm_vars(void);  // net-snmp does not declare it

namespace {

using Column = std::array<oid, 13>;
constexpr Column kTunnelName{1, 3, 6, 1, 2, 1, 10, 166, 3, 2, 2, 1, 5};  // mplsTunnelName
constexpr Column kHopAddress{1, 3, 6, 1, 2, 1, 10, 166, 3, 2, 4, 1, 5};  // mplsTunnelHopIpAddr

/// net-snmp's agent library, which answers the community "public" on a free port of loopback.
class SnmpLibrary {
 public:
   SnmpLibrary() {
      setenv("MIBS", "", 1);  // numeric OIDs do
      netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
      netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 1);
      netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_DONT_LOG_TCPWRAPPERS_CONNECTS, 1);
      init_agent("embed");
      init_vacm_vars();
      std::string access = "rocommunity public 127.0.0.1 .1.3.6.1.2.1.10.166";
      netsnmp_config_remember(access.data());  // as if it stood in a configuration file
      init_snmp("embed");
      auto* const transport = netsnmp_transport_open_server("embed", "udp:127.0.0.1:0");
      sockaddr_in bound{};
      socklen_t length = sizeof bound;
      if (!transport || getsockname(transport->sock, reinterpret_cast<sockaddr*>(&bound), &length) != 0 ||
          netsnmp_register_agent_nsap(transport) == 0) {
         throw std::runtime_error("cannot listen on loopback");
      }
      address_ = "udp:127.0.0.1:" + std::to_string(ntohs(bound.sin_port));
   }
   ~SnmpLibrary() { snmp_shutdown("embed"); }

   std::string const& address() const { return address_; }

 private:
   std::string address_;
};

/// Runs the tasks of this thread in net-snmp's event loop, a slice between two requests. The eventfd is readable for as
/// long as there is work, so that the loop does not sleep then, and sleeps otherwise.
class TaskLoop {
 public:
   TaskLoop() {
      scheduler_->wakeIs([this] { eventfd_write(wakeUp_, 1); });
      register_readfd(wakeUp_, &TaskLoop::run, this);
   }
   ~TaskLoop() {
      unregister_readfd(wakeUp_);
      scheduler_->wakeIs(nullptr);
      close(wakeUp_);
   }
   /// Returns when all that has been published is in the tables.
   void settle() const {
      while (scheduler_->hasWork()) agent_check_and_process(1);
   }

 private:
   static void run(int wakeUp, void* self) {
      auto& scheduler = *static_cast<TaskLoop*>(self)->scheduler_;
      scheduler.runSlice(std::chrono::milliseconds(2));
      eventfd_t count = 0;
      if (!scheduler.hasWork()) eventfd_read(wakeUp, &count);
   }

   Vel::Ptr<Orb::TaskScheduler> scheduler_ = Orb::TaskSchedulerRoot::findOrCreateScheduler();
   int wakeUp_ = eventfd(1, EFD_CLOEXEC | EFD_NONBLOCK);
};

/// The MIB module: loaded, with its entities below `root`, its inputs, and its tables in the default context.
class Module {
 public:
   Module(char const* file, Vel::Ptr<Vel::EntityDir> const& root, Store::StateStore const& store)
         : library_(dlopen(file, RTLD_NOW | RTLD_LOCAL)), dir_(root->dirIs("snmp/mpls")) {
      if (!library_) throw std::runtime_error(dlerror());
      SnmpUtil::agentRootIs(root);
      auto const mib = dir_->newEntity("MplsSnmp::MplsTeMib", "mplsTeMib");
      auto const helper = Vel::TypeRegistry::instance().construct("MplsSnmp::HopTableHelper", {});
      auto const counters = Vel::makePtr<Tallies::CounterTable>("mplsTunnelCounterTable");  // all read as 0
      root_ = dir_->newEntity("MplsSnmp::Root", "mplsTeRoot");
      std::array<Vel::Any, 6> const inputs{Vel::Ptr<Vel::PtrInterface>(mib),
                                           helper,
                                           Vel::Ptr<Vel::PtrInterface const>(store.lerConfig()),
                                           Vel::Ptr<Vel::PtrInterface const>(store.lerHiveStatus()),
                                           Vel::Ptr<Vel::PtrInterface const>(store.kelpStatus()),
                                           Vel::Ptr<Vel::PtrInterface const>(counters)};
      Vel::attributeSet(*root_, "rsvpTeSnmpAgent", inputs);
      for (auto* const registration : Snmp::AutoRegistree::registrations()) registration->initHandler("");
   }
   ~Module() {
      Vel::attributeDel(*root_, "rsvpTeSnmpAgent");
      auto const unregister = dlsym(library_, "_Z23unregister_mplsTeStdMIBN3Vel6StringE");
      reinterpret_cast<void (*)(Vel::String)>(unregister)("");
      root_ = nullptr;
      for (char const* const name : {"mplsTeRoot", "mplsTeMib"}) dir_->entityDel(name);
      SnmpUtil::agentRootIs(nullptr);
      dlclose(library_);
   }

 private:
   void* library_;
   Vel::Ptr<Vel::EntityDir> dir_;
   Vel::Ptr<Vel::Entity> root_;
};

/// A manager in the same event loop: prints the rows of a column, "index = value".
class Walk {
 public:
   Walk(std::string address, Column const& column) : column_(column) {
      snmp_session session;
      snmp_sess_init(&session);
      session.version = SNMP_VERSION_2c;
      session.peername = address.data();
      session.community = reinterpret_cast<u_char*>(community_);
      session.community_len = sizeof community_ - 1;
      session.callback = &Walk::answered;
      session.callback_magic = this;
      session_ = snmp_open(&session);
      if (!session_) throw std::runtime_error("cannot open a session to " + address);
      ask(column_.data(), column_.size());
      while (asking_) agent_check_and_process(1);
      snmp_close(session_);
   }

 private:
   void ask(oid const* name, std::size_t length) {
      snmp_pdu* const pdu = snmp_pdu_create(SNMP_MSG_GETNEXT);
      snmp_add_null_var(pdu, name, length);
      asking_ = snmp_send(session_, pdu) != 0;
      if (!asking_) snmp_free_pdu(pdu);
   }
   static int answered(int operation, snmp_session*, int, snmp_pdu* pdu, void* self) {
      auto& walk = *static_cast<Walk*>(self);
      walk.asking_ = false;
      netsnmp_variable_list const* const row = pdu ? pdu->variables : nullptr;
      if (operation != NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE || pdu->errstat != SNMP_ERR_NOERROR || !row ||
          snmp_oidtree_compare(walk.column_.data(), walk.column_.size(), row->name, row->name_length) != 0 ||
          row->type != ASN_OCTET_STR) {
         return 1;  // the end of the column
      }
      for (std::size_t i = walk.column_.size(); i < row->name_length; ++i) std::printf("%lu ", row->name[i]);
      char address[INET6_ADDRSTRLEN] = "";
      if (walk.column_ == kHopAddress) {
         inet_ntop(row->val_len == 4 ? AF_INET : AF_INET6, row->val.string, address, sizeof address);
         std::printf("= %s\n", address);
      } else {
         std::printf("= %.*s\n", static_cast<int>(row->val_len), row->val.string);
      }
      walk.ask(row->name, row->name_length);
      return 1;
   }

   Column const& column_;
   char community_[7] = "public";
   snmp_session* session_ = nullptr;
   bool asking_ = false;
};

std::string contentOf(char const* file) {
   std::ifstream stream(file);
   if (!stream) throw std::runtime_error(std::string("cannot read ") + file);
   return {std::istreambuf_iterator<char>(stream), {}};
}

void show(char const* title, std::string const& address) {
   std::printf("Tunnels %s:\n", title);
   Walk(address, kTunnelName);
   std::printf("Hops %s:\n", title);
   Walk(address, kHopAddress);
}

}  // namespace

int main(int argc, char** argv) {
   if (argc != 3) return std::fputs("usage: embed STATE PATCH\n", stderr), 2;
   try {
      // What is made first goes last.
      SnmpLibrary const snmp;
      TaskLoop const tasks;
      auto const root = Vel::makePtr<Vel::EntityDir>("");
      Store::StateStore store(root);
      store.replace(contentOf(argv[1]));
      Module const module(MODULE, root, store);

      tasks.settle();
      show("before", snmp.address());
      store.applyPatch(contentOf(argv[2]));
      tasks.settle();
      show("after", snmp.address());
      return 0;
   } catch (std::exception const& error) {
      std::fprintf(stderr, "embed: %s\n", error.what());
      return 1;
   }
}
