# SPDX-License-Identifier: MIT
# ctest-labels: release-only
"""The schemas of the published state: what they accept, and what they refuse and why."""

import json
import re

import jsonschema
import pytest
import tree

REQUEST = "cli:to-paris@primary.1"
SP = "10.0.0.9/12/10.0.0.1/1"


def validator(name):
    path = tree.ROOT / "docs" / name
    schema = json.loads(path.read_text())
    jsonschema.Draft202012Validator.check_schema(schema)
    return jsonschema.Draft202012Validator(
        schema,
        resolver=jsonschema.RefResolver(base_uri=path.as_uri(), referrer=schema),
        format_checker=jsonschema.FormatChecker(),
    )


DOCUMENT = validator("state.schema.json")
PATCH = validator("state-patch.schema.json")


def test_the_example_head_end_is_a_document():
    DOCUMENT.validate(tree.example("headend.json"))


def test_every_other_example_is_a_patch_that_leaves_a_document():
    patches = [path.name for path in (tree.ROOT / "examples").glob("*.json") if path.name != "headend.json"]
    assert "switchover.json" in patches
    for name in patches:
        PATCH.validate(tree.example(name))
        DOCUMENT.validate(tree.merged(tree.example("headend.json"), tree.example(name)))


def test_the_examples_in_the_text_are_what_they_are_said_to_be():
    first, document, patch = (json.loads(block) for page in ("README.md", "docs/state.md")
                              for block in re.findall(r"```json\n(.*?)```", tree.text(page), re.DOTALL))
    DOCUMENT.validate(first)
    DOCUMENT.validate(document)
    PATCH.validate(patch)
    assert not DOCUMENT.is_valid(patch), "a patch with null is not a document"


def test_the_text_names_every_attribute_and_collection():
    page = tree.text("docs/state.md")
    for collection, schema in DOCUMENT.schema["properties"].items():
        assert re.search(rf"^###.*`{collection}`: by", page, re.MULTILINE), collection
        for attribute in schema["additionalProperties"].get("properties", {}):
            assert f"| `{attribute}` |" in page or f"| `{attribute}` " in page, attribute


def loosened(schema):
    """What the patch schema has to say where the document schema says schema."""
    if "$ref" in schema:
        return {"anyOf": [{"$ref": "state.schema.json" + schema["$ref"]}, {"type": "null"}]}
    result = {"type": ["object", "null"]}
    if "propertyNames" in schema:
        result["propertyNames"] = {"$ref": "state.schema.json" + schema["propertyNames"]["$ref"]}
    if "properties" in schema:
        result["properties"] = {name: loosened(value) for name, value in schema["properties"].items()}
    if "maxProperties" in schema:   # as many to be removed and as many to come
        result["maxProperties"] = 2 * schema["maxProperties"]
    more = schema["additionalProperties"]
    result["additionalProperties"] = loosened(more) if more else False
    return result


def test_the_patch_schema_is_the_document_schema_with_null_allowed():
    for name, schema in DOCUMENT.schema["properties"].items():
        assert PATCH.schema["properties"][name] == loosened(schema), name
    assert PATCH.schema["properties"].keys() == DOCUMENT.schema["properties"].keys()


# collection, what stands in it
ACCEPTED = [
    ("pathSpec", {"cli:gold": {}}),
    ("pathSpec", {"auto:a:b/c d.é": {"name": "x", "type": "dynamic"}}),
    ("pathSpec", {"controller:video%40prime%25%23%0a%0A": {"type": "unknown"}}),
    ("pathSpec", {"cli:" + "n" * 1024: {"name": "n" * 1024}}),
    ("subTunnelConfig", {"cli:to-rome#1": {}, "cli:to-rome#4294967295": {}}),
    ("subTunnelConfig", {"cli:a": {"primaryPathSpec": None, "secondaryPathSpec": "auto:x", "fastReroute": False}}),
    ("subTunnelStatus", {"cli:a": {"pathChanges": 0, "stateTransitions": 4294967295, "activeLsp": None}}),
    ("subTunnelStatus", {"cli:a": {"activeLsp": "cli:a@secondary.4294967295"}}),
    ("subTunnelStatus", {"cli:a.4294967296": {"activeLsp": "cli:a.4294967296@secondary.0"}}),
    ("subTunnelStatus", {"cli:a": {"activePath": {}}}),
    ("subTunnelStatus", {"cli:a": {"activePath": {"1": "0.0.0.0", "2": "255.255.255.255", "4294967295": "10.0.0.1"}}}),
    ("subTunnelStatus", {"cli:a": {"activePath": {"1": "2001:db8::1", "2": "::", "3": "::ffff:10.0.0.1"}}}),
    ("subTunnelStatus", {"cli:a": {"activePath": {str(index): "10.0.0.1" for index in range(1, 257)}}}),
    ("lspRequestStatus", {"cli:to-rome#2@secondary.7": {"errors": []}}),
    ("lspRequestStatus", {REQUEST: {"errors": [{"code": 1, "value": 2}] * 64}}),
    ("lspRequestStatus", {REQUEST: {"errors": [{"code": 255, "value": 65535}, {"code": 0, "value": 0}]}}),
    ("spIdForLspRequestConfigId", {REQUEST: "255.255.255.255/65535/0.0.0.0/4294967295"}),
    ("spIdForLspRequestConfigId", {REQUEST: "10.0.0.9/0/10.0.0.1/0"}),
    ("spStatus", {SP: {"setupPriority": 65535, "holdingPriority": 255, "upSince": 0}}),
    ("spStatus", {SP: {"excludeAny": 4294967295, "includeAny": 4294967295, "includeAll": 4294967295}}),
    ("spStatus", {SP: {"upSince": 1700000000.25}}),
    ("tunnelIndexForTunnelSpecId", {"cli:to-paris": 4294967295}),
    ("tunnelIndexForSubTunnelConfigId", {"cli:to-paris": 0, "cli:to-rome#2": 1}),
]


@pytest.mark.parametrize("collection, content", ACCEPTED)
def test_accepted(collection, content):
    DOCUMENT.validate({collection: content})
    PATCH.validate({collection: content})


# why, collection, what stands in it
REFUSED = [
    ("an unknown collection", "pathSpecs", {}),
    ("a collection that is not an object", "pathSpec", []),
    ("a path of too many hops", "subTunnelStatus",
     {"cli:a": {"activePath": {str(index): "10.0.0.1" for index in range(1, 514)}}}),
    ("too many errors", "lspRequestStatus", {REQUEST: {"errors": [{"code": 1, "value": 2}] * 65}}),
    ("an entry that is not an object", "pathSpec", {"cli:gold": "explicit"}),
    ("an unknown attribute", "pathSpec", {"cli:gold": {"hops": 3}}),
    ("an unknown path spec type", "pathSpec", {"cli:gold": {"type": "loose"}}),
    ("a path spec type as number", "pathSpec", {"cli:gold": {"type": 1}}),
    ("a name that is a number", "pathSpec", {"cli:gold": {"name": 7}}),
    ("an empty name", "pathSpec", {"cli:gold": {"name": ""}}),
    ("a name that holds NUL", "pathSpec", {"cli:gold": {"name": "a\0b"}}),
    ("a name attribute that is too long", "pathSpec", {"cli:gold": {"name": "n" * 1025}}),
    ("an id without a source", "pathSpec", {"gold": {}}),
    ("an id from an unknown source", "pathSpec", {"file:gold": {}}),
    ("a source in capitals", "pathSpec", {"CLI:gold": {}}),
    ("an id with an empty name", "pathSpec", {"cli:": {}}),
    ("an id with a name that is too long", "pathSpec", {"cli:" + "n" * 1025: {}}),
    ("a bare percent sign in a name", "pathSpec", {"cli:100%": {}}),
    ("percent-encoding with a wrong digit", "pathSpec", {"cli:a%4g": {}}),
    ("an encoded NUL in a name", "pathSpec", {"cli:a%00": {}}),
    ("a bare @ in a name", "pathSpec", {"cli:video@prime": {}}),
    ("a bare # in a path spec's name", "pathSpec", {"cli:gold#1": {}}),
    ("a bare control character in a name", "pathSpec", {"cli:a\tb": {}}),
    ("a bare delete character in a name", "pathSpec", {"cli:a\x7fb": {}}),
    ("a split number of 0", "subTunnelConfig", {"cli:to-rome#0": {}}),
    ("a split number with a leading zero", "subTunnelConfig", {"cli:to-rome#01": {}}),
    ("a split number beyond 32 bits", "subTunnelConfig", {"cli:to-rome#4294967296": {}}),
    ("a split number of eleven digits", "subTunnelConfig", {"cli:to-rome#10000000000": {}}),
    ("a split number that is missing", "subTunnelConfig", {"cli:to-rome#": {}}),
    ("fast reroute as text", "subTunnelConfig", {"cli:a": {"fastReroute": "true"}}),
    ("a path spec in use that is no id", "subTunnelConfig", {"cli:a": {"primaryPathSpec": "gold"}}),
    ("a path spec in use that is empty", "subTunnelConfig", {"cli:a": {"primaryPathSpec": ""}}),
    ("up as number", "subTunnelStatus", {"cli:a": {"up": 1}}),
    ("a negative count", "subTunnelStatus", {"cli:a": {"pathChanges": -1}}),
    ("a count beyond 32 bits", "subTunnelStatus", {"cli:a": {"stateTransitions": 4294967296}}),
    ("a count with a fraction", "subTunnelStatus", {"cli:a": {"pathChanges": 1.5}}),
    ("a count as text", "subTunnelStatus", {"cli:a": {"pathChanges": "3"}}),
    ("an active LSP that names a group only", "subTunnelStatus", {"cli:a": {"activeLsp": "cli:a@primary"}}),
    ("an active LSP of an unknown group", "subTunnelStatus", {"cli:a": {"activeLsp": "cli:a@tertiary.1"}}),
    ("an active LSP without a group", "subTunnelStatus", {"cli:a": {"activeLsp": "cli:a.1"}}),
    ("a request number with a leading zero", "subTunnelStatus", {"cli:a": {"activeLsp": "cli:a@primary.01"}}),
    ("a request number beyond 32 bits", "subTunnelStatus", {"cli:a": {"activeLsp": "cli:a@primary.4294967296"}}),
    ("an active path that is an array", "subTunnelStatus", {"cli:a": {"activePath": ["10.0.0.2"]}}),
    ("a hop index of 0", "subTunnelStatus", {"cli:a": {"activePath": {"0": "10.0.0.2"}}}),
    ("a hop index with a leading zero", "subTunnelStatus", {"cli:a": {"activePath": {"01": "10.0.0.2"}}}),
    ("a hop index with a sign", "subTunnelStatus", {"cli:a": {"activePath": {"+1": "10.0.0.2"}}}),
    ("a hop index beyond 32 bits", "subTunnelStatus", {"cli:a": {"activePath": {"4294967296": "10.0.0.2"}}}),
    ("a hop address out of range", "subTunnelStatus", {"cli:a": {"activePath": {"1": "10.0.0.256"}}}),
    ("a hop address of three parts", "subTunnelStatus", {"cli:a": {"activePath": {"1": "10.0.2"}}}),
    ("a hop address with a leading zero", "subTunnelStatus", {"cli:a": {"activePath": {"1": "10.0.0.02"}}}),
    ("a hop address with a prefix length", "subTunnelStatus", {"cli:a": {"activePath": {"1": "10.0.0.2/32"}}}),
    ("an IPv6 hop address with two gaps", "subTunnelStatus", {"cli:a": {"activePath": {"1": "1::2::3"}}}),
    ("an IPv6 hop address with a zone", "subTunnelStatus", {"cli:a": {"activePath": {"1": "fe80::1%eth0"}}}),
    ("a hop address that is a name", "subTunnelStatus", {"cli:a": {"activePath": {"1": "paris"}}}),
    ("a request status under a tunnel's id", "lspRequestStatus", {"cli:to-paris": {}}),
    ("a request of split number 0", "lspRequestStatus", {"cli:to-rome#0@primary.1": {}}),
    ("a request of a split number beyond 32 bits", "lspRequestStatus", {"cli:to-rome#4294967296@primary.1": {}}),
    ("errors that are not an array", "lspRequestStatus", {REQUEST: {"errors": {"code": 25, "value": 3}}}),
    ("an error without a value", "lspRequestStatus", {REQUEST: {"errors": [{"code": 25}]}}),
    ("an error without a code", "lspRequestStatus", {REQUEST: {"errors": [{"value": 3}]}}),
    ("an error with a text", "lspRequestStatus", {REQUEST: {"errors": [{"code": 25, "value": 3, "text": "x"}]}}),
    ("an error code beyond 8 bits", "lspRequestStatus", {REQUEST: {"errors": [{"code": 256, "value": 3}]}}),
    ("an error value beyond 16 bits", "lspRequestStatus", {REQUEST: {"errors": [{"code": 25, "value": 65536}]}}),
    ("an sp id for a tunnel", "spIdForLspRequestConfigId", {"cli:to-paris": SP}),
    ("an sp id that is a number", "spIdForLspRequestConfigId", {REQUEST: 12}),
    ("an sp id without an LSP id", "spIdForLspRequestConfigId", {REQUEST: "10.0.0.9/12/10.0.0.1"}),
    ("an sp id with an IPv6 destination", "spIdForLspRequestConfigId", {REQUEST: "2001:db8::9/12/10.0.0.1/1"}),
    ("an sp id with an address out of range", "spStatus", {"10.0.0.9/12/10.0.300.1/1": {}}),
    ("an sp id with a short address", "spStatus", {"10.0.9/12/10.0.0.1/1": {}}),
    ("an sp id with an address with a leading zero", "spStatus", {"10.0.0.09/12/10.0.0.1/1": {}}),
    ("an sp id with a tunnel id beyond 16 bits", "spStatus", {"10.0.0.9/65536/10.0.0.1/1": {}}),
    ("an sp id with a tunnel id with a leading zero", "spStatus", {"10.0.0.9/012/10.0.0.1/1": {}}),
    ("an sp id with an LSP id beyond 32 bits", "spStatus", {"10.0.0.9/12/10.0.0.1/4294967296": {}}),
    ("an sp id with a fifth part", "spStatus", {SP + "/1": {}}),
    ("a setup priority beyond 16 bits", "spStatus", {SP: {"setupPriority": 65536}}),
    ("a holding priority beyond 8 bits", "spStatus", {SP: {"holdingPriority": 256}}),
    ("a negative priority", "spStatus", {SP: {"holdingPriority": -1}}),
    ("a mask beyond 32 bits", "spStatus", {SP: {"includeAll": 4294967296}}),
    ("a mask as text", "spStatus", {SP: {"includeAny": "0xff"}}),
    ("an up-since before the epoch", "spStatus", {SP: {"upSince": -0.5}}),
    ("an up-since as text", "spStatus", {SP: {"upSince": "2024-05-01T00:00:00Z"}}),
    ("a tunnel index for one part of a split tunnel", "tunnelIndexForTunnelSpecId", {"cli:to-rome#2": 40}),
    ("a tunnel index beyond 32 bits", "tunnelIndexForTunnelSpecId", {"cli:to-paris": 4294967296}),
    ("a negative tunnel index", "tunnelIndexForSubTunnelConfigId", {"cli:to-rome#2": -1}),
    ("a tunnel index in an object", "tunnelIndexForSubTunnelConfigId", {"cli:to-rome#2": {"index": 40}}),
]


@pytest.mark.parametrize("why, collection, content", REFUSED, ids=[why for why, *_ in REFUSED])
def test_refused(why, collection, content):
    assert not DOCUMENT.is_valid({collection: content}), f"a document with {why} passes"
    assert not PATCH.is_valid({collection: content}), f"a patch with {why} passes"


@pytest.mark.parametrize("whole", [None, [], "", 1, True])
def test_only_an_object_is_a_document_or_a_patch(whole):
    assert not DOCUMENT.is_valid(whole)
    assert not PATCH.is_valid(whole)


# what is removed or set back, collection, content: fine in a patch, not in a document
ONLY_IN_A_PATCH = [
    ("a collection", "spStatus", None),
    ("an entry", "pathSpec", {"cli:gold": None}),
    ("an attribute", "pathSpec", {"cli:gold": {"name": None}}),
    ("a number", "spStatus", {SP: {"upSince": None}}),
    ("a flag", "subTunnelConfig", {"cli:a": {"fastReroute": None}}),
    ("the active path", "subTunnelStatus", {"cli:a": {"activePath": None}}),
    ("a hop", "subTunnelStatus", {"cli:a": {"activePath": {"2": None}}}),
    ("the errors", "lspRequestStatus", {REQUEST: {"errors": None}}),
    ("an sp id", "spIdForLspRequestConfigId", {REQUEST: None}),
    ("a tunnel index", "tunnelIndexForTunnelSpecId", {"cli:to-paris": None}),
]


@pytest.mark.parametrize("what, collection, content", ONLY_IN_A_PATCH, ids=[what for what, *_ in ONLY_IN_A_PATCH])
def test_a_patch_removes_with_null(what, collection, content):
    PATCH.validate({collection: content})
    assert not DOCUMENT.is_valid({collection: content}), f"a document with null for {what} passes"


@pytest.mark.parametrize("content", [
    {REQUEST: {"errors": [None]}},
    {REQUEST: {"errors": [{"code": None, "value": 3}]}},
])
def test_there_is_no_null_inside_an_array(content):
    assert not PATCH.is_valid({"lspRequestStatus": content})


def test_a_malformed_id_is_refused_in_a_removal_too():
    assert not PATCH.is_valid({"pathSpec": {"gold": None}})
