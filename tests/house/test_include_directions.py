# SPDX-License-Identifier: MIT
# ctest-labels: release-only
"""Who includes whom. The layers lean one way, and the module is reached from outside by dlopen alone."""

import re

import pytest
import tree

# A folder may include itself and the folders behind it here, with all that lies below them. Where several folders of
# the table match a path, the longest counts.
MAY_INCLUDE = {
    "substrate": [],
    "inputs": ["substrate"],
    # The module. Of the host it knows the SNMP framework that it is written against, and nothing else.
    "mib": ["substrate", "inputs", "host/snmp"],
    "hoptable": ["substrate", "inputs", "host/snmp", "mib"],
    "derivation": ["substrate", "inputs", "host/snmp", "mib", "hoptable"],
    "notifications": ["substrate", "inputs", "host/snmp", "mib"],
    "snmp": ["substrate", "inputs", "host/snmp", "mib"],
    "agent": ["substrate", "inputs", "host/snmp", "mib", "hoptable", "derivation", "notifications", "snmp"],
    # Its tests have rows derived.
    "notifications/tests": ["substrate", "inputs", "host/snmp", "mib", "hoptable", "derivation", "notifications", "agent"],
    # The host and the tools: no header of the module.
    "host/snmp": ["substrate", "inputs"],
    "host/loop": ["substrate"],
    "host/tables": ["substrate", "host/snmp", "host/loop"],
    "host/module": ["substrate", "inputs", "host/snmp", "host/loop", "host/tables"],
    # What its tests give to a module comes from the store.
    "host/module/tests": ["substrate", "inputs", "host/snmp", "host/loop", "host/tables", "host/module", "host/store"],
    "host/store": ["substrate", "inputs", "host/snmp"],
    "host/feed": ["substrate", "inputs", "host/snmp", "host/loop", "host/store"],
    "host/publish": ["substrate", "inputs", "host/snmp", "host/loop", "host/store", "host/feed"],
    "host/agentx": ["substrate", "inputs", "host/snmp", "host/loop"],
    "host/notifications": ["substrate", "inputs", "host/snmp", "host/loop", "host/tables", "host/module"],
    "host/daemon": ["substrate", "inputs", "host"],
    "host/dlmod": ["substrate", "inputs", "host"],
    "tools": ["substrate", "inputs", "host/snmp", "host/store", "host/feed"],
    # As outsiders write them, against what is installed.
    "examples": ["substrate", "inputs", "host/snmp", "host/loop", "host/tables", "host/module", "host/store", "host/feed"],
    # Whole-product tests and benchmarks look at everything.
    "tests": [""],
    "bench": [""],
}

# net-snmp stops at the door: what holds and derives the rows knows nothing of it.
WITHOUT_NET_SNMP = ["substrate", "inputs", "mib", "hoptable", "derivation", "notifications"]

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(?:"([^"]+)"|<([^>]+)>)', re.MULTILINE)
COMMENT = re.compile(r"/\*.*?\*/", re.DOTALL)


def below(path, folder):
    return folder == "" or path == folder or path.startswith(folder + "/")


def folder_of(path):
    """The folder of the table that path lies in, or None."""
    return max((folder for folder in MAY_INCLUDE if below(path, folder)), key=len, default=None)


def wrong_includes(root, names):
    """One line for each include that leans the wrong way, in the files names below root."""
    found = []
    for name in names:
        here = folder_of(name)
        if here is None:
            found.append(f"{name}: this folder is not in the table of include directions")
            continue
        # Unit tests stand in the shoes of what they test, and may use what the tests share.
        allowed = [here, *MAY_INCLUDE[here]] + (["tests"] if "/tests/" in name else [])
        source = COMMENT.sub("", (root / name).read_text(encoding="utf-8"))
        for quoted, angled in INCLUDE.findall(source):
            if angled:
                if angled.startswith("net-snmp/") and here in WITHOUT_NET_SNMP:
                    found.append(f"{name}: {here} does not use net-snmp, but includes <{angled}>")
            elif not (root / quoted).is_file():
                found.append(f'{name}: "{quoted}" is not a path from the project root')
            elif not any(below(quoted, folder) for folder in allowed):
                found.append(f'{name}: {here} must not include "{quoted}"')
    return found


def test_every_include_leans_the_right_way():
    names = [name.as_posix() for name in tree.files() if tree.is_cpp(name)]
    assert names, "no C++ file found"
    assert not wrong_includes(tree.ROOT, names)


@pytest.fixture
def scratch(tmp_path):
    """A function that checks one file holding one line, in a tree with one header in every folder."""
    for folder in MAY_INCLUDE:
        (tmp_path / folder).mkdir(parents=True)
        (tmp_path / folder / "Thing.h").write_text("#pragma once\n")

    def check(name, line):
        (tmp_path / name).parent.mkdir(parents=True, exist_ok=True)
        (tmp_path / name).write_text(f"#pragma once\n{line}\nint x;\n")
        return wrong_includes(tmp_path, [name])

    return check


@pytest.mark.parametrize("name, line, reason", [
    ("substrate/vel/A.h", '#include "inputs/Thing.h"', "the substrate knows nothing of RSVP"),
    ("inputs/rsvp/A.h", '#include "mib/Thing.h"', "the inputs know nothing of the MIB"),
    ("mib/A.cpp", '#include "derivation/Thing.h"', "rows do not know where they come from"),
    ("hoptable/A.cpp", '#include "derivation/Thing.h"', "hop work is used by the derivation, not the other way round"),
    ("derivation/A.cpp", '  #  include "snmp/Thing.h"', "the derivation knows nothing of requests"),
    ("notifications/A.cpp", '#include "derivation/Thing.h"', "what is told of rows does not ask where they come from"),
    ("snmp/A.cpp", '#include "host/store/Thing.h"', "the module uses host/snmp and nothing else of the host"),
    ("agent/A.cpp", '#include "host/daemon/Thing.h"', "the module uses host/snmp and nothing else of the host"),
    ("host/snmp/A.h", '#include "mib/Thing.h"', "the SNMP framework serves any module"),
    ("host/daemon/A.cpp", '#include "agent/Thing.h"', "the daemon loads the module with dlopen"),
    ("host/loop/A.cpp", '#include "host/store/Thing.h"', "the loop serves whatever runs in it"),
    ("host/module/A.cpp", '#include "agent/Thing.h"', "a host loads the module with dlopen"),
    ("host/module/A.cpp", '#include "host/store/Thing.h"', "where a module's inputs come from is the host's affair"),
    ("host/publish/A.cpp", '#include "host/daemon/Thing.h"', "publishing serves any host"),
    ("host/agentx/A.cpp", '#include "host/daemon/Thing.h"', "a subagent serves whatever is registered, in any host"),
    ("host/feed/A.cpp", '#include "mib/Thing.h"', "a feed writes to the store, not to the MIB"),
    ("tools/A.cpp", '#include "snmp/Thing.h"', "the command line is a client"),
    ("mib/tests/A.cpp", '#include "agent/Thing.h"', "unit tests obey the rules of their folder"),
    ("mib/A.cpp", '#include "Thing.h"', "includes are written from the root"),
    ("mib/A.cpp", '#include "../substrate/Thing.h"', "includes are written from the root"),
    ("mib/A.cpp", "#include <net-snmp/net-snmp-config.h>", "rows know nothing of net-snmp"),
    ("elsewhere/A.cpp", "", "a new folder is entered in the table first"),
])
def test_a_forbidden_include_is_found(scratch, name, line, reason):
    assert len(scratch(name, line)) == 1, reason


@pytest.mark.parametrize("name, line", [
    ("inputs/rsvp/A.h", '#include "substrate/Thing.h"'),
    ("derivation/A.cpp", '#include "hoptable/Thing.h"'),
    ("mib/A.cpp", '#include "host/snmp/Thing.h"'),
    ("snmp/A.cpp", "#include <net-snmp/net-snmp-config.h>"),
    ("host/daemon/A.cpp", '#include "host/feed/Thing.h"'),
    ("mib/tests/A.cpp", '#include "tests/Thing.h"'),
    ("mib/A.cpp", '// #include "agent/Thing.h"'),
    ("mib/A.cpp", '/*\n#include "agent/Thing.h"\n*/'),
    ("mib/A.cpp", "#include <map>"),
])
def test_an_allowed_include_is_let_through(scratch, name, line):
    assert scratch(name, line) == []
