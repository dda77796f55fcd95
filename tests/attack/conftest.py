# SPDX-License-Identifier: MIT
"""The attacks drive the same programs as the integration tests, with the same helpers."""

import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parents[1] / "integration"))
