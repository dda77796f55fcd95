# SPDX-License-Identifier: MIT
"""Malformed SNMP messages over UDP and TCP, to mplsted."""

from live.snmp_attack import ACCESS, Attack
from live.target import SANITIZER_OPTIONS
from support.mplsted import Mplsted

# Our own agent serves nothing that can be written: whoever may write, may write anywhere.
ACCESS_TO_ALL = ACCESS.replace(" .1.3.6.1.2.1\n", "\n")


def test_mplsted_survives_malformed_messages(tmp_path):
    with Mplsted(tmp_path, access=ACCESS_TO_ALL, listen=("udp:127.0.0.1:0", "tcp:127.0.0.1:0"),
                 **SANITIZER_OPTIONS) as mplsted:
        udp, tcp = mplsted.ready()[2]
        Attack(mplsted.process, udp, ("127.0.0.1", int(tcp.split(":")[2]))).run()
