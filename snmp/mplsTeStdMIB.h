// SPDX-License-Identifier: MIT
/// Registration of the tables of MPLS-TE-STD-MIB (RFC 3812) with net-snmp: mplsTunnelTable
/// (1.3.6.1.2.1.10.166.3.2.2), mplsTunnelHopTable (.4) and mplsTunnelPerfTable (.9).
///
/// Loading the module puts it on the host's list of automatic registrations (Snmp::AutoRegistree), whose initHandler
/// calls init_mplsTeStdMIB. The functions below are what the module exports.
///
/// REQUIRES, for the default context: an MplsSnmp::MplsTeMib at "snmp/mpls/mplsTeMib" below the agent's root, which
/// lives until the tables are unregistered; without one the process is stopped. All calls come from the agent's thread.
#pragma once

#include "host/snmp/SnmpUtil.h"
#include "substrate/vel/String.h"

/// Registers the tables in a context and tells the host so. Only the default context "" has tables. REQUIRES: they are
/// not registered yet.
[[gnu::visibility("default")]] void init_mplsTeStdMIB(Vel::String context);

/// The three steps of init_mplsTeStdMIB. The configuration is not consulted.
[[gnu::visibility("default")]] void initialize_table_mplsTunnelTable(Vel::Ptr<Snmp::Config const> config,
                                                                     Vel::String context);
[[gnu::visibility("default")]] void initialize_table_mplsTunnelHopTable(Vel::Ptr<Snmp::Config const> config,
                                                                        Vel::String context);
[[gnu::visibility("default")]] void initialize_table_mplsTunnelPerfTable(Vel::Ptr<Snmp::Config const> config,
                                                                         Vel::String context);

/// Takes the tables of a context from net-snmp and tells the host so. To be called before the agent shuts down, which
/// would free the registrations itself. A context without tables is fine.
[[gnu::visibility("default")]] void unregister_mplsTeStdMIB(Vel::String context);
