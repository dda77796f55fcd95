# SPDX-License-Identifier: MIT
"""What the schemas take is taken by mplsted, and what they refuse is refused: patches that are nearly right, over the
publishing socket."""

import json
import random
from pathlib import Path

import jsonschema
from live.target import SANITIZER_OPTIONS, SEED, length
from support.mplsted import SOURCE, Mplsted
from support.publisher import Publisher
from support.state import STATE

PATCHES = length("MPLSTE_ATTACK_PATCHES", 1500)

IDS = ["cli:a", "auto:b", "controller:%40x", "cli:a#1", "cli:a#4294967295", "cli:a@primary.1", "cli:a#2@secondary.0",
       "10.0.0.9/12/10.0.0.1/1", "255.255.255.255/65535/0.0.0.0/4294967295"]
# Without those that a schema cannot tell: octets that are no UTF-8; and a line end at the end, which Python takes for one.
ODD_IDS = ["", "cli", "cli:", ":a", "none", "CLI:a", "cli:a#0", "cli:a#01", "cli:a#4294967296", "cli:a#", "cli:a#1#2",
           "cli:a@", "cli:a@primary", "cli:a@tertiary.1", "cli:a@primary.", "cli:a@primary.01", "cli:a@primary.4294967296",
           "cli:a@b", "cli:%", "cli:%4", "cli:%zz", "cli:%00", "cli:%C3%A9", "cli:\x01", "cli:\x7f",
           "cli:é", "cli:a b", " cli:a", "cli:a ", "10.0.0.9/12/10.0.0.1", "10.0.0.9/65536/10.0.0.1/1",
           "10.0.0.9/012/10.0.0.1/1", "10.0.0.256/1/10.0.0.1/1", "10.0.0/1/10.0.0.1/1", "::1/1/10.0.0.1/1",
           "10.0.0.9/1/10.0.0.1/4294967296", "10.0.0.9/1/10.0.0.1/1/1", "10.0.0.9/-1/10.0.0.1/1", "a:b:c", "cli:b:c",
           "cli:" + "n" * 1024, "cli:" + "n" * 1025]
TEXTS = ["", "x", "explicit", "dynamic", "unknown", "Explicit", "10.0.0.1", "2001:db8::1", "::ffff:10.0.0.1", "::", "1::2::3",
         "fe80::1%eth0", "10.0.0.01", "10.0.0.1/32", "a\x00b", "n" * 1024, "n" * 1025, "\x1f", "é"]
NUMBERS = [0, 1, 3, 7, 25, 255, 256, 65535, 65536, 2**32 - 1, 2**32, 2**64, -1, 0.5, 1760000000.25, 1e300, -0.5]
HOPS = ["1", "2", "4294967295", "4294967296", "0", "01", "-1", "", "a", "1.0", "+1", " 1"]
ATTRIBUTES = sorted({name for entries in STATE.values() for entry in entries.values() if isinstance(entry, dict)
                     for name in entry} | {"code", "value", "nonsense", ""})


def validator(name):
    path = Path(SOURCE) / "docs" / name
    schema = json.loads(path.read_text(encoding="utf-8"))
    return jsonschema.Draft202012Validator(
        schema, resolver=jsonschema.RefResolver(base_uri=path.as_uri(), referrer=schema),
        format_checker=jsonschema.FormatChecker())


class Patches:
    def __init__(self, seed):
        self.chance = random.Random(seed)

    def identifier(self):
        return self.chance.choice(IDS if self.chance.random() < 0.6 else ODD_IDS)

    def anything(self, depth=0):
        chance = self.chance
        kind = chance.randrange(8 if depth < 2 else 6)
        if kind < 6:
            return chance.choice((None, True, False, chance.choice(NUMBERS), chance.choice(TEXTS), self.identifier()))
        if kind == 6:
            return [self.anything(depth + 1) for _ in range(chance.randrange(3))]
        return {chance.choice(ATTRIBUTES): self.anything(depth + 1) for _ in range(chance.randrange(3))}

    def value(self, good):
        """One like `good`, or another."""
        chance = self.chance
        if chance.random() < 0.35:
            return self.anything()
        if isinstance(good, bool):
            return chance.choice((True, False, None))
        if isinstance(good, (int, float)):
            return chance.choice(NUMBERS)
        if isinstance(good, str):
            return self.identifier() if chance.random() < 0.5 else chance.choice(TEXTS)
        if isinstance(good, list):
            return [{"code": chance.choice(NUMBERS), "value": chance.choice(NUMBERS)} for _ in range(chance.randrange(3))]
        return {chance.choice(HOPS): chance.choice((*TEXTS, None)) for _ in range(chance.randrange(3))}

    def next(self):
        """A patch made of the example head end: most of it stays as it is, and one or two things become others."""
        chance = self.chance
        patch = {}
        for name in chance.sample(list(STATE), chance.choice((1, 1, 2))):
            entries = chance.sample(sorted(STATE[name].items()), 1)
            patch[name] = {self.identifier() if chance.random() < 0.4 else key: self.changed(entry)
                           for key, entry in entries}
        if chance.random() < 0.03:
            patch[chance.choice(("nonsense", "", "pathSpecs", "$status"))] = {}
        if chance.random() < 0.03:
            patch[chance.choice(list(STATE))] = self.anything()
        return patch

    def changed(self, entry):
        if not isinstance(entry, dict):
            return self.value(entry) if self.chance.random() < 0.7 else entry
        entry = dict(entry)
        if entry and self.chance.random() < 0.7:
            name = self.chance.choice(sorted(entry))
            entry[name] = self.value(entry[name])
        if self.chance.random() < 0.05:
            entry[self.chance.choice(ATTRIBUTES)] = self.anything()
        return entry if self.chance.random() < 0.95 else self.anything()


def test_mplsted_takes_what_the_schema_of_patches_takes(tmp_path):
    schema, patches = validator("state-patch.schema.json"), Patches(SEED)
    path, taken = tmp_path / "publish.sock", 0
    with Mplsted(tmp_path, "--publish", path, file=False, **SANITIZER_OPTIONS), Publisher(path) as publisher:
        for number in range(PATCHES):
            patch = patches.next()
            expected = schema.is_valid(patch)
            if number % 100 == 0:
                publisher.changed({"$replace": STATE})
            if next(iter(patch)) == "$status":
                continue
            answer = publisher.ask(patch)
            assert answer["ok"] is expected, f"patch {number} of seed {SEED}: {json.dumps(patch)}\n{answer}"
            taken += expected
    assert PATCHES / 5 < taken < PATCHES * 4 / 5, "both kinds are tried"
    print(f"summary: {PATCHES} patches of seed {SEED}, {taken} taken")
