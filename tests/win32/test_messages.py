"""What the module writes on standard error with its own C runtime: the same texts, with the line
ends of Windows.
"""

import pytest
from wine import run


@pytest.mark.parametrize(("text", "message"), [
    ("a", "syntax error near character 3"),
    ("a b ", "syntax error near character 4"),
    ("x:1;ab", "syntax error near character 8"),
    ("127.0.0.1:1x", "number expected near character 11"),
])
def test_a_faulty_map_is_told(text, message):
    code, _, errors = run("lib", f"""
import os, kvrpc
os.environ.update(KORVEXRPCMAP={text!r}, KORVEXRPCPORT="1")
try:
    kvrpc.RpcClient("lambda", "127.0.0.1")
except kvrpc.ClntCreateError as error:
    raise SystemExit(0 if "10061" in error.message else error.message)
""")
    assert (code, errors.decode()) == (0, f"bad KORVEXRPCMAP: {message}\n")
