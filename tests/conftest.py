"""Where the tests and the processes that they start find what is tested.

The module is taken from the directory that KVRPC_LIB names, or else from build/lib, and kvrpc_tools
from python/.
"""

import os
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
LIBRARY = Path(os.environ.get("KVRPC_LIB", ROOT / "build" / "lib")).resolve()
PATHS = [str(LIBRARY), str(ROOT / "python")]

sys.path[:0] = PATHS
os.environ["PYTHONPATH"] = os.pathsep.join(
    [*PATHS, *filter(None, [os.environ.get("PYTHONPATH")])])
