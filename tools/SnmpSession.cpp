// SPDX-License-Identifier: MIT
#include "tools/SnmpSession.h"

#include <net-snmp/net-snmp-config.h>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <net-snmp/library/large_fd_set.h>
#include <net-snmp/net-snmp-includes.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <system_error>

namespace Tools {

namespace {

using PduPtr = std::unique_ptr<netsnmp_pdu, decltype(&snmp_free_pdu)>;

// Makes the library a quiet guest: no snmp.conf, no MIB files, no state on disk, no alarm signal, no messages.
// init_snmp() is left out on purpose: all it would add for SNMPv2c is reading those files.
void initialiseLibrary() {
   static bool const done = [] {
      for (int flag : {NETSNMP_DS_LIB_DONT_READ_CONFIGS, NETSNMP_DS_LIB_DONT_PERSIST_STATE,
                       NETSNMP_DS_LIB_DISABLE_PERSISTENT_LOAD, NETSNMP_DS_LIB_DISABLE_PERSISTENT_SAVE,
                       NETSNMP_DS_LIB_DONT_LOAD_HOST_FILES, NETSNMP_DS_LIB_ALARM_DONT_USE_SIG}) {
         netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, flag, 1);
      }
      netsnmp_register_loghandler(NETSNMP_LOGHANDLER_NONE, LOG_DEBUG);
      return true;
   }();
   static_cast<void>(done);
}

Value valueOf(netsnmp_variable_list const& variable) {
   switch (variable.type) {
      case SNMP_NOSUCHOBJECT:
         return Absent::noSuchObject;
      case SNMP_ENDOFMIBVIEW:
         return Absent::endOfMibView;
      case ASN_INTEGER:
         return std::int64_t{*variable.val.integer};
      case ASN_COUNTER:
      case ASN_UNSIGNED:
      case ASN_TIMETICKS:
         return std::uint64_t{static_cast<std::uint32_t>(*variable.val.integer)};
      case ASN_COUNTER64:
         return (std::uint64_t{variable.val.counter64->high} << 32) | (variable.val.counter64->low & 0xffffffffU);
      case ASN_OCTET_STR:
      case ASN_IPADDRESS:
         return std::string(reinterpret_cast<char const*>(variable.val.string), variable.val_len);
      default:  // noSuchInstance, and types that none of our columns has.
         return Absent::noSuchInstance;
   }
}

Response responseOf(netsnmp_pdu const& pdu) {
   Response response{pdu.errstat, {}};
   for (auto const* v = pdu.variables; v; v = v->next_variable) {
      response.varBinds.push_back({Oid(v->name, v->name + v->name_length), valueOf(*v)});
   }
   return response;
}

std::string lastError(netsnmp_session& session) {
   int systemError = 0;
   int libraryError = 0;
   char* text = nullptr;
   snmp_error(&session, &systemError, &libraryError, &text);
   std::free(text);  // Says more, but not in one line that reads well.
   return systemError ? std::strerror(systemError) : snmp_api_errstring(libraryError);
}

}  // namespace

std::string dotted(Oid const& oid) { return fmt::format("{}", fmt::join(oid, ".")); }

void waitForInput(int fd, std::chrono::milliseconds limit) {
   pollfd input{fd, POLLIN, 0};
   if (poll(&input, 1, static_cast<int>(limit.count())) < 0 && errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "poll");
   }
}

// The request under way. The library calls back from within snmp_sess_read2() and snmp_sess_timeout().
struct SnmpSession::Exchange {
   enum class State { pending, answered, timedOut, broken };

   State state = State::pending;
   PduPtr response{nullptr, snmp_free_pdu};

   static int callback(int operation, netsnmp_session*, int, netsnmp_pdu* pdu, void* magic) {
      auto& self = *static_cast<Exchange*>(magic);
      switch (operation) {
         case NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE:
            self.response.reset(snmp_clone_pdu(pdu));
            self.state = self.response && pdu->command == SNMP_MSG_RESPONSE ? State::answered : State::broken;
            break;
         case NETSNMP_CALLBACK_OP_TIMED_OUT:
            self.state = State::timedOut;
            break;
         case NETSNMP_CALLBACK_OP_SEND_FAILED:
         case NETSNMP_CALLBACK_OP_DISCONNECT:
         case NETSNMP_CALLBACK_OP_SEC_ERROR:
            self.state = State::broken;
            break;
      }
      return 1;
   }
};

SnmpSession::SnmpSession(AgentOptions options, Wait wait)
      : options_(std::move(options)), wait_(std::move(wait)), exchange_(std::make_unique<Exchange>()) {
   initialiseLibrary();
   netsnmp_session session;
   snmp_sess_init(&session);
   session.version = SNMP_VERSION_2c;
   session.peername = const_cast<char*>(options_.address.c_str());
   session.community = reinterpret_cast<u_char*>(const_cast<char*>(options_.community.data()));
   session.community_len = options_.community.size();
   session.timeout = std::lround(options_.timeout * 1e6);
   session.retries = options_.retries;
   handle_ = snmp_sess_open(&session);
   if (!handle_) {
      // A host that nobody knows, or what is no address at all.
      if (session.s_snmp_errno == SNMPERR_BAD_ADDRESS && session.s_errno == 0) {
         throw AgentError(
               fmt::format("cannot resolve {}: no such host is known here; --agent is udp:HOST:PORT, tcp:HOST:PORT or "
                           "unix:PATH",
                           options_.address));
      }
      throw AgentError(fmt::format(
            "cannot reach {} ({}): is the agent running there? --agent is udp:HOST:PORT, tcp:HOST:PORT or unix:PATH",
            options_.address, lastError(session)));
   }
}

SnmpSession::~SnmpSession() { snmp_sess_close(handle_); }

Response SnmpSession::get(std::vector<Oid> const& names) { return ask(SNMP_MSG_GET, names, 0); }

Response SnmpSession::getBulk(std::vector<Oid> const& names, int repetitions) {
   return ask(SNMP_MSG_GETBULK, names, repetitions);
}

Response SnmpSession::ask(int command, std::vector<Oid> const& names, int repetitions) {
   PduPtr pdu(snmp_pdu_create(command), snmp_free_pdu);
   if (!pdu) throw std::bad_alloc();
   if (command == SNMP_MSG_GETBULK) {
      pdu->non_repeaters = 0;
      pdu->max_repetitions = repetitions;
   }
   for (auto const& name : names) {
      std::vector<oid> const wide(name.begin(), name.end());
      snmp_add_null_var(pdu.get(), wide.data(), wide.size());
   }
   exchange_->state = Exchange::State::pending;
   exchange_->response.reset();
   if (!snmp_sess_async_send(handle_, pdu.get(), Exchange::callback, exchange_.get())) {
      throw AgentError(fmt::format("cannot send to {} ({}): check --agent and the way to that host", agent(),
                                   lastError(*snmp_sess_session(handle_))));
   }
   static_cast<void>(pdu.release());  // The session's now.
   awaitResponse();
   return responseOf(*exchange_->response);
}

void SnmpSession::awaitResponse() {
   netsnmp_large_fd_set readable;
   netsnmp_large_fd_set_init(&readable, FD_SETSIZE);
   std::unique_ptr<netsnmp_large_fd_set, decltype(&netsnmp_large_fd_set_cleanup)> const cleanup(
         &readable, netsnmp_large_fd_set_cleanup);
   while (exchange_->state == Exchange::State::pending) {
      int count = 0;
      int block = 1;
      timeval untilTimeout{};
      NETSNMP_LARGE_FD_ZERO(&readable);
      snmp_sess_select_info2(handle_, &count, &readable, &untilTimeout, &block);
      auto const* transport = snmp_sess_transport(handle_);
      int const fd = transport ? transport->sock : -1;
      if (fd < 0) {
         exchange_->state = Exchange::State::broken;
         break;
      }
      // Rounded up, so that the time has really passed when the wait is over.
      wait_(fd, std::chrono::milliseconds(untilTimeout.tv_sec * 1000 + untilTimeout.tv_usec / 1000 + 1));
      pollfd input{fd, POLLIN, 0};
      if (poll(&input, 1, 0) > 0) snmp_sess_read2(handle_, &readable);
      if (exchange_->state == Exchange::State::pending) snmp_sess_timeout(handle_);
   }
   if (exchange_->state == Exchange::State::timedOut) {
      throw AgentError(
            fmt::format("no answer from {} within {:g} s: is the agent running there, and may this community read? "
                        "See --agent, --community and --timeout",
                        agent(), options_.timeout * (options_.retries + 1)));
   }
   if (exchange_->state == Exchange::State::broken) {
      throw AgentError(
            fmt::format("{} broke off the exchange: is an SNMP agent listening there? See --agent", agent()));
   }
}

}  // namespace Tools
