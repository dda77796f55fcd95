# SPDX-License-Identifier: MIT
# ctest-labels: release-only
"""Links in the documentation lead somewhere."""

import re

import tree

LINK = re.compile(r"\]\(([^)\s]+)\)")
CODE = re.compile(r"```.*?```|`[^`\n]*`", re.DOTALL)


def broken_links(root, names):
    """Relative links in the Markdown files names that lead to no file, or to no heading of it."""
    broken = []
    for name in names:
        for link in LINK.findall(CODE.sub("", (root / name).read_text(encoding="utf-8"))):
            if re.match(r"[a-z][a-z0-9+.-]*:", link):
                continue
            path, _, anchor = link.partition("#")
            target = (root / name).parent / path if path else root / name
            if not target.exists() or (anchor and anchor not in anchors(target)):
                broken.append(f"{name}: {link}")
    return broken


def anchors(target):
    """The anchors that headings have when the file is shown as a page."""
    headings = re.findall(r"^#+ +(.*)$", target.read_text(encoding="utf-8"), re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def test_relative_links_lead_to_files():
    pages = [name for name in tree.files() if name.suffix == ".md"]
    assert pages, "no page found"
    assert not broken_links(tree.ROOT, pages)


def test_a_broken_link_is_found(tmp_path):
    (tmp_path / "docs").mkdir()
    (tmp_path / "README.md").write_text("# Me\n## A `b` c\n")
    (tmp_path / "docs" / "a.md").write_text(
        "[up](../README.md) [there](../README.md#a-b-c) [gone](none.md) [no heading](../README.md#x)\n"
        "[net](https://example.net/) `[code](none.md)`\n")
    assert broken_links(tmp_path, ["docs/a.md"]) == ["docs/a.md: none.md", "docs/a.md: ../README.md#x"]
