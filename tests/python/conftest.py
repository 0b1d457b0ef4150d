"""What the tests of kvrpc_tools share."""

import sys
from pathlib import Path

sys.path.append(str(Path(__file__).resolve().parents[1] / "e2e"))  # for port_111
