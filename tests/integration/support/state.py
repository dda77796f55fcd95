# SPDX-License-Identifier: MIT
"""Published states for tests: the example head end, and changes of it."""

import json

from support.mplsted import HEAD_END, SOURCE

STATE = json.loads(HEAD_END.read_text(encoding="utf-8"))
# The secondary LSP of the tunnel to Paris becomes the active one.
SWITCH_OVER = json.loads((SOURCE / "examples" / "switchover.json").read_text(encoding="utf-8"))


def merged(document, patch):
    """RFC 7396."""
    if not isinstance(patch, dict):
        return patch
    result = dict(document) if isinstance(document, dict) else {}
    for name, value in patch.items():
        if value is None:
            result.pop(name, None)
        else:
            result[name] = merged(result.get(name), value)
    return result
