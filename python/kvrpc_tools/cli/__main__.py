"""The command `python -m kvrpc_tools.cli`, for a tree that is not installed."""

import sys

from . import main

sys.exit(main())
