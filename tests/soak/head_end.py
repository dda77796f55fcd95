# SPDX-License-Identifier: MIT
"""The head end of the soak: its published state, how that changes at random, and what its tables must show."""

import copy
import random

from support.tree import ROOT, TABLES

TUNNELS = 300
# An up time that stands still: it has not begun.
UP_SINCE = 4102444800


def requests(number):
    return f"cli:t{number}@primary.1", f"cli:t{number}@secondary.1"


def session(number, lsp):
    return f"10.9.{number // 256}.{number % 256}/{number}/192.0.2.1/{lsp}"


def path(number, turn):
    return {str(hop): f"10.{turn % 256}.{number % 256}.{hop}" for hop in range(1, 2 + (number + turn) % 5)}


def document():
    state = {name: {} for name in ("pathSpec", "subTunnelConfig", "subTunnelStatus", "lspRequestStatus",
                                   "spIdForLspRequestConfigId", "spStatus")}
    for number in range(1, TUNNELS + 1):
        tunnel = f"cli:t{number}"
        for spec in (f"p{number}", f"s{number}"):
            state["pathSpec"][f"cli:{spec}"] = {"name": spec, "type": "explicit"}
        state["subTunnelConfig"][tunnel] = {"primaryPathSpec": f"cli:p{number}", "secondaryPathSpec": f"cli:s{number}"}
        state["subTunnelStatus"][tunnel] = {"up": True, "activeLsp": requests(number)[0], "activePath": path(number, 0)}
        for lsp, request in enumerate(requests(number), 1):
            state["lspRequestStatus"][request] = {}
            state["spIdForLspRequestConfigId"][request] = session(number, lsp)
            state["spStatus"][session(number, lsp)] = {"setupPriority": lsp, "upSince": UP_SINCE}
    return state


def merge_into(state, patch):
    """RFC 7396, in place."""
    for name, value in patch.items():
        if value is None:
            state.pop(name, None)
        elif isinstance(value, dict):
            merge_into(state.setdefault(name, {}), value)
        else:
            state[name] = value


class Churn:
    """Patches as publishers would send them, and the state that they lead to."""

    def __init__(self, seed):
        self.chance = random.Random(seed)
        self.base = document()
        self.state = copy.deepcopy(self.base)
        self.turn = 0

    def next(self):
        number = self.chance.randint(1, TUNNELS)
        self.turn += 1
        patch = self.chance.choice((self.counts, self.counts, self.switch, self.reroute, self.reroute, self.come_and_go,
                                    self.come_and_go, self.rename, self.nothing))(number)
        merge_into(self.state, patch)
        return patch

    def back(self):
        """The document as it was at first."""
        self.state = copy.deepcopy(self.base)
        return self.state

    def status(self, number, **attributes):
        # To a tunnel that has gone only what it consists of comes back.
        known = f"cli:t{number}" in self.state["subTunnelStatus"]
        return {"subTunnelStatus": {f"cli:t{number}": attributes}} if known else {}

    def counts(self, number):
        return self.status(number, pathChanges=self.turn % 2**32, up=self.chance.random() < 0.5)

    def switch(self, number):
        return self.status(number, activeLsp=self.chance.choice((*requests(number), None)))

    def reroute(self, number):
        hops = dict.fromkeys(self.state["subTunnelStatus"].get(f"cli:t{number}", {}).get("activePath", {}))
        return self.status(number, activePath=hops | path(number, self.turn))

    def come_and_go(self, number):
        collection = self.chance.choice(list(self.base))
        names = {"pathSpec": [f"cli:p{number}", f"cli:s{number}"], "subTunnelConfig": [f"cli:t{number}"],
                 "subTunnelStatus": [f"cli:t{number}"], "lspRequestStatus": requests(number),
                 "spIdForLspRequestConfigId": requests(number), "spStatus": [session(number, 1), session(number, 2)]}
        name = self.chance.choice(names[collection])
        there = name in self.state[collection]
        return {collection: {name: None if there else copy.deepcopy(self.base[collection][name])}}

    def rename(self, number):
        name = f"cli:p{number}"
        return {"pathSpec": {name: {"name": f"p{number}-{self.turn % 7}"}}} if name in self.state["pathSpec"] else {}

    def nothing(self, number):
        return {"pathSpec": {f"cli:nobody{number}": None}}


def rows(variables):
    """What a walk has found, row by row, without what a fresh start may number in another way: {index: columns} of the
    tunnels, with the hop lists in place of their numbers."""
    tables = {name: {} for name in TABLES}
    for oid, value in variables.items():
        for name, root in TABLES.items():
            if oid.startswith(root + ".1."):
                column, _, index = oid[len(root) + 3:].partition(".")
                tables[name].setdefault(index, {})[int(column)] = value
    hops = {}
    for index, columns in tables["hop"].items():
        hop_list, _, hop = index.partition(".")
        hops.setdefault(int(hop_list), {})[hop] = columns
    found = {}
    for index, columns in tables["tunnel"].items():
        hop_list = columns.pop(20)[1]
        found[index] = columns, hops.pop(hop_list, {}), tables["perf"].pop(index)
    assert not hops and not tables["perf"], "rows that belong to no tunnel"
    return found


def walked(manager):
    return rows(manager.walk(ROOT))
