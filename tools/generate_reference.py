#!/usr/bin/env python3
"""Writes the reference: the whole interface as one HTML page that needs no other file.

    generate_reference.py SCHEMA OUTPUT
"""

import json
import sys
from pathlib import Path

TOOLS = Path(__file__).resolve().parent
sys.path[:0] = [str(TOOLS), str(TOOLS.parent / "python")]

from reference.page import page  # noqa: E402

from kvrpc_tools.meanings import Meanings  # noqa: E402
from kvrpc_tools.schema import load  # noqa: E402


def main(source, output):
    schema = load(source)
    examples = json.loads((TOOLS / "reference" / "examples.json").read_text(encoding="utf-8"))
    text = page(schema, Meanings(schema), examples)
    Path(output).write_bytes(text.encode("utf-8"))


if __name__ == "__main__":
    main(*sys.argv[1:])
