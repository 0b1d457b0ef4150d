"""These tests need what `make win32` and tools/win32-root make; tools/win32-tests runs them."""

import os

collect_ignore_glob = [] if os.environ.get("KVRPC_WIN32") else ["test_*.py"]
