// SPDX-License-Identifier: MIT
// What requests are measured against: an agent of the stock library with the rows of a head end's tunnel table, once in
// net-snmp's own in-memory table (netsnmp_tdata) and once behind a bare handler that takes GETBULK itself, which is the
// floor of the stack, and with a scalar.
//
// Reads rows from a file, a line each: the four components of mplsTunnelTable's index and the name. Serves 23 columns,
// 1 (the name) to 23 (integers), below the enterprise 99999: the scalar at .1.0, the table of tdata at .2, the bare one
// at .3. Prints "ready" when it answers.
#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <span>
#include <string>
#include <utility>
#include <vector>

extern "C" {
void init_vacm_vars(void);
void init_usmUser(void);
}

namespace {

constexpr unsigned kColumns = 23;
using Index = std::array<oid, 4>;

struct Row {
   Index index;
   std::string name;
};

std::vector<Row> rows;  // in order of index

constexpr std::array<oid, 8> object(oid number) { return {1, 3, 6, 1, 4, 1, 99999, number}; }
constexpr auto kScalar = object(1);
constexpr auto kTdata = object(2);
constexpr auto kBare = object(3);

void readRows(char const* file) {
   std::ifstream lines(file);
   for (Row row; lines >> row.index[0] >> row.index[1] >> row.index[2] >> row.index[3] >> row.name;) {
      rows.push_back(row);
   }
   std::ranges::sort(rows, {}, &Row::index);
}

void answer(netsnmp_variable_list& variable, unsigned column, Row const& row) {
   if (column == 1) {
      snmp_set_var_typed_value(&variable, ASN_OCTET_STR, row.name.data(), row.name.size());
   } else {
      snmp_set_var_typed_integer(&variable, ASN_INTEGER, static_cast<long>(column));
   }
}

int scalar(netsnmp_mib_handler* /*handler*/, netsnmp_handler_registration* /*registration*/,
           netsnmp_agent_request_info* info, netsnmp_request_info* requests) {
   if (info->mode == MODE_GET) snmp_set_var_typed_integer(requests->requestvb, ASN_INTEGER, 1);
   return SNMP_ERR_NOERROR;
}

int tdata(netsnmp_mib_handler* /*handler*/, netsnmp_handler_registration* /*registration*/,
          netsnmp_agent_request_info* info, netsnmp_request_info* requests) {
   if (info->mode != MODE_GET) return SNMP_ERR_NOERROR;
   for (auto* request = requests; request; request = request->next) {
      if (request->processed) continue;
      auto const* const row = static_cast<Row const*>(netsnmp_tdata_extract_entry(request));
      if (!row) {
         netsnmp_set_request_error(info, request, SNMP_NOSUCHINSTANCE);
         continue;
      }
      answer(*request->requestvb, netsnmp_extract_table_info(request)->colnum, *row);
   }
   return SNMP_ERR_NOERROR;
}

/// The table without any helper of the library.
class Bare {
 public:
   static int handle(netsnmp_mib_handler* /*handler*/, netsnmp_handler_registration* /*registration*/,
                     netsnmp_agent_request_info* info, netsnmp_request_info* requests) {
      for (auto* request = requests; request; request = request->next) {
         if (info->mode == MODE_GET) {
            get(*info, *request);
         } else {
            next(*request);
         }
      }
      return SNMP_ERR_NOERROR;
   }

 private:
   static constexpr std::size_t kColumnAt = kBare.size() + 1;

   static void get(netsnmp_agent_request_info& info, netsnmp_request_info& request) {
      auto& variable = *request.requestvb;
      auto const* const row =
            variable.name_length == kColumnAt + 5 ? lowerBound(variable.name + kColumnAt + 1, 4) : nullptr;
      if (row && std::equal(row->index.begin(), row->index.end(), variable.name + kColumnAt + 1)) {
         answer(variable, static_cast<unsigned>(variable.name[kColumnAt]), *row);
      } else {
         netsnmp_set_request_error(&info, &request, SNMP_NOSUCHINSTANCE);
      }
   }

   /// All repetitions of a GETBULK, or the one of a GETNEXT.
   static void next(netsnmp_request_info& request) {
      auto const& asked = *request.requestvb;
      bool const hasColumn = asked.name_length > kColumnAt;
      auto column = hasColumn ? std::max<oid>(asked.name[kColumnAt], 1) : 1;
      auto const* row = hasColumn ? behind(asked.name + kColumnAt + 1, asked.name_length - kColumnAt - 1) : rows.data();
      for (;;) {
         if (row == rows.data() + rows.size()) {
            ++column;
            row = rows.data();
         }
         auto& variable = *request.requestvb;
         if (column > kColumns) return;
         std::array<oid, kColumnAt + 5> name;
         std::ranges::copy(kBare, name.begin());
         name[kBare.size()] = 1;
         name[kColumnAt] = column;
         std::ranges::copy(row->index, name.begin() + kColumnAt + 1);
         snmp_set_var_objid(&variable, name.data(), name.size());
         answer(variable, static_cast<unsigned>(column), *row++);
         if (request.repeat <= 0 || !variable.next_variable) return;
         --request.repeat;
         request.requestvb = variable.next_variable;
         request.requestvb->type = ASN_NULL;
      }
   }

   static Row const* lowerBound(oid const* index, std::size_t length) {
      auto const isBefore = [&](Row const& row, oid const* wanted) {
         return std::lexicographical_compare(row.index.begin(), row.index.end(), wanted, wanted + length);
      };
      return rows.data() + (std::lower_bound(rows.begin(), rows.end(), index, isBefore) - rows.begin());
   }
   static Row const* behind(oid const* index, std::size_t length) {
      auto const* const row = lowerBound(index, length);
      bool const isIt =
            row != rows.data() + rows.size() && length == 4 && std::ranges::equal(row->index, std::span(index, 4));
      return isIt ? row + 1 : row;
   }
};

template <std::size_t N>
netsnmp_handler_registration* registration(char const* name, Netsnmp_Node_Handler* handler,
                                           std::array<oid, N> const& root) {
   return netsnmp_create_handler_registration(name, handler, root.data(), root.size(), HANDLER_CAN_RONLY);
}

void registerTdata() {
   auto* const table = netsnmp_tdata_create_table("yardstickTdata", 0);
   for (Row& row : rows) {
      auto* const entry = netsnmp_tdata_create_row();
      entry->data = &row;
      for (oid const component : row.index) {
         netsnmp_tdata_row_add_index(entry, ASN_UNSIGNED, &component, sizeof component);
      }
      netsnmp_tdata_add_row(table, entry);
   }
   auto* const info = SNMP_MALLOC_TYPEDEF(netsnmp_table_registration_info);
   netsnmp_table_helper_add_indexes(info, ASN_UNSIGNED, ASN_UNSIGNED, ASN_UNSIGNED, ASN_UNSIGNED, 0);
   info->min_column = 1;
   info->max_column = kColumns;
   netsnmp_tdata_register(registration("yardstickTdata", &tdata, kTdata), table, info);
}

void registerAll() {
   std::array<oid, kScalar.size() + 1> instance{};
   std::ranges::copy(kScalar, instance.begin());
   netsnmp_register_instance(registration("yardstickScalar", &scalar, instance));
   registerTdata();
   auto* const bare = registration("yardstickBare", &Bare::handle, kBare);
   bare->modes |= HANDLER_CAN_GETBULK;
   netsnmp_register_handler(bare);
}

}  // namespace

int main(int argc, char** argv) {
   if (argc != 4 || (std::string(argv[1]) != "listen" && std::string(argv[1]) != "agentx")) {
      std::fputs("usage: yardstick listen|agentx ADDRESS ROWS\n", stderr);
      return 2;
   }
   bool const isSubagent = std::string(argv[1]) == "agentx";
   readRows(argv[3]);
   setenv("MIBS", "", 1);
   for (int const flag : {NETSNMP_DS_LIB_DONT_READ_CONFIGS, NETSNMP_DS_LIB_DONT_PERSIST_STATE,
                          NETSNMP_DS_LIB_DISABLE_PERSISTENT_LOAD, NETSNMP_DS_LIB_DISABLE_PERSISTENT_SAVE}) {
      netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, flag, 1);
   }
   netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, isSubagent ? 1 : 0);
   netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_DONT_LOG_TCPWRAPPERS_CONNECTS, 1);
   if (isSubagent) netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET, argv[2]);
   snmp_enable_stderrlog();
   init_agent("yardstick");
   if (!isSubagent) {
      init_vacm_vars();
      init_usmUser();
      char access[] = "rocommunity public 127.0.0.1";
      netsnmp_config_remember(access);
   }
   registerAll();
   init_snmp("yardstick");
   if (!isSubagent) {
      auto* const transport = netsnmp_transport_open_server("snmp", argv[2]);
      if (!transport || netsnmp_register_agent_nsap(transport) == 0) return 1;
   }
   std::puts("ready");
   std::fflush(stdout);
   for (;;) agent_check_and_process(1);
}
