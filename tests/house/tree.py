# SPDX-License-Identifier: MIT
"""What the house tests share: where the tree is, what is in it, and the rules of merging patches."""

import importlib.machinery
import importlib.util
import json
import os
import subprocess
import sys
from pathlib import Path

ROOT = Path(os.environ.get("MPLSTE_SOURCE_DIR", Path(__file__).resolve().parents[2]))

CPP = {".h", ".hpp", ".c", ".cpp"}
LEFT_OUT = {".git", "build", "__pycache__"}


def git(*arguments):
    """The output of git in the tree, or None where the tree is not a checkout (an unpacked release)."""
    if not (ROOT / ".git").exists():
        return None
    # The tree may belong to another user than the one who runs the tests, in a container say.
    command = ["git", "-c", f"safe.directory={ROOT}", "-C", str(ROOT), *arguments]
    return subprocess.run(command, check=True, capture_output=True, encoding="utf-8").stdout


def files():
    """Every file of the project, as paths relative to the root, in order."""
    listed = git("ls-files", "-z", "--cached", "--others", "--exclude-standard")
    if listed is None:
        names = (path.relative_to(ROOT) for path in ROOT.rglob("*"))
    else:
        names = (Path(name) for name in listed.split("\0") if name)
    return sorted({name for name in names if not LEFT_OUT & set(name.parts) and (ROOT / name).is_file()})


def text(name):
    return (ROOT / name).read_text(encoding="utf-8", errors="replace")


def is_cpp(name):
    return name.suffix in CPP


def interpreter(name):
    """The interpreter that a script names in its first line, or an empty text."""
    with open(ROOT / name, "rb") as file:
        first = file.readline().decode("utf-8", "replace")
    return first[2:].strip() if first.startswith("#!") else ""


def is_source(name):
    return is_cpp(name) or name.suffix in {".py", ".sh"} or bool(interpreter(name))


def example(name):
    return json.loads(text(Path("examples") / name))


def merged(target, patch):
    """The merge that scripts/merge-patch does."""
    path = str(ROOT / "scripts" / "merge-patch")
    loader = importlib.machinery.SourceFileLoader("merge_patch", path)
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("merge_patch", loader))
    sys.dont_write_bytecode = True
    loader.exec_module(module)
    return module.merged(target, patch)
