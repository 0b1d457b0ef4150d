"""These tests need what `make win32` and tools/win32-root make; tools/win32-tests runs them."""

import os
import sys
from pathlib import Path

collect_ignore_glob = [] if os.environ.get("KVRPC_WIN32") else ["test_*.py"]
sys.path.append(str(Path(__file__).parent))  # at the end, because fcntl.py here is for Windows only
