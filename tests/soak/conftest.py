# SPDX-License-Identifier: MIT
"""The soak drives the same programs as the integration tests and the attacks, with the same helpers."""

import sys
from pathlib import Path

TESTS = Path(__file__).parents[1]
sys.path[:0] = [str(TESTS / "integration"), str(TESTS / "attack")]
