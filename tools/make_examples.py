#!/usr/bin/env python3
"""Makes the example calls of the reference against the simulator.

    make_examples.py OUTPUT

OUTPUT is tools/reference/examples.json: the argument, the call text and the reply by procedure.
Needs the module. The simulator is new and its clock is stopped, so that each run writes the same
file. Each example begins with the same state.
"""

import contextlib
import json
import os
import subprocess
import sys
import tempfile
from pathlib import Path

TOOLS = Path(__file__).resolve().parent
sys.path[:0] = [str(TOOLS), str(TOOLS.parent / "python")]

from reference.arguments import WITHOUT_EXAMPLE, Arguments  # noqa: E402

from kvrpc_tools.conversion import conversion  # noqa: E402
from kvrpc_tools.meanings import meanings  # noqa: E402
from kvrpc_tools.schema import own  # noqa: E402
from kvrpc_tools.simulator.fixture import environment  # noqa: E402
from kvrpc_tools.testing import Simulator  # noqa: E402
from kvrpc_tools.transport import Allow, ModuleTransport  # noqa: E402

TOKEN = "examples"
NOW = 1767607200.0  # 5 January 2026, 10:00 UTC
SIMULATOR = f"""
import time
time.time = lambda: {NOW}
from kvrpc_tools.simulator.__main__ import main
main(["--control", "{TOKEN}"])
"""
# The calls before each example: they make a session, two documents, a job, and directory entries.
PREPARED = """
    a_login_1 a_mk_dok_1 a_mk_dok_1 a_put_page_1 a_put_log_1 a_send_new_1 a_put_sig_1 o_put_tele_1
    a_put_tebul_1 a_put_tgroup_1 a_put_tgroupl_1 a_put_muser_1 a_put_gwuser_1 a_put_reply_addr_1
    a_query_tebu_1 a_subscribe_1 t_put_flag_1 a_put_scan_1 t_reserve_1 s_open_page_1
    o_put_user_1
""".split()


@contextlib.contextmanager
def simulator():
    """Starts a simulator whose clock is stopped, and sets the environment to reach it."""
    paths = os.pathsep.join(str(path) for path in sys.path)
    with subprocess.Popen([sys.executable, "-u", "-c", SIMULATOR], stdout=subprocess.PIPE,
                          env={**os.environ, "PYTHONPATH": paths, "TZ": "UTC"},
                          encoding="utf-8") as process:
        try:
            said = _ports(process.stdout)
            os.environ.clear()
            os.environ.update(environment(said["KORVEXRPCPORT"]))
            yield Simulator(said["KORVEXRPCPORT"], said["CONTROL"], TOKEN)
        finally:
            process.terminate()


def _ports(output):
    """Returns the ports that the simulator prints, by name."""
    said = {}
    while "KORVEXRPCPORT" not in said:
        name, _, value = next(output).strip().partition("=")
        if value:
            said[name] = int(value)
    return said


def calls_of(schema):
    """Yields each procedure that has an example, with its argument and its call text."""
    arguments = Arguments(schema, meanings())
    for procedure in schema.procedures.values():
        if procedure.name not in WITHOUT_EXAMPLE:
            argument = arguments.of(procedure)
            text = conversion(procedure.server, procedure.name).call_text(argument)
            yield procedure, argument, text


def examples(started, state):
    """Returns the examples by procedure. `state` is a file for the state that each begins with."""
    schema = own()
    calls = {procedure.name: (argument, text) for procedure, argument, text in calls_of(schema)}
    connections = {server.name: ModuleTransport(server.name)
                   for server in schema.servers.values() if server.procedures}

    def reply(name):
        return connections[schema.procedures[name].server].call(calls[name][1], Allow())

    for name in PREPARED:
        reply(name)
    started.save(state)
    found = {}
    for name, (argument, text) in sorted(calls.items()):
        started.load(state)
        found[name] = {"argument": argument, "call": text, "reply": json.loads(reply(name))}
    return found


def main(output):
    before = dict(os.environ)
    try:
        with simulator() as started:
            with tempfile.TemporaryDirectory() as directory:
                found = examples(started, Path(directory) / "state.json")
            started.close()
    finally:
        os.environ.clear()
        os.environ.update(before)
    rows = (f"{json.dumps(name)}:{json.dumps(each, ensure_ascii=False, separators=(',', ':'))}"
            for name, each in sorted(found.items()))
    Path(output).write_bytes(("{\n" + ",\n".join(rows) + "\n}\n").encode())


if __name__ == "__main__":
    main(*sys.argv[1:])
