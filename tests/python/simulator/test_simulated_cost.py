"""What calls cost, in seconds of the processor, so that other processes do not count."""

import os
import time

from kvrpc_tools.simulator import rpc
from kvrpc_tools.simulator.server import Dispatcher
from kvrpc_tools.simulator.simulation import Simulation

SMALL, LARGE = 2_000, 20_000
SLOWER = 5 if "KVRPC_SANITIZED" in os.environ else 1


def cost_of_an_entry(schema, codec, count):
    """Lists so many entries. Returns the seconds for each."""
    installation = Simulation(schema).installation
    for number in range(count):
        installation.run("a_put_tele_1", {"telid": f"t{number:06}", "comment": "", "tsi": "",
                                          "phone": "030", "intern": False, "nettype": 1})
    start = time.process_time()
    rows = installation.run("a_get_tele_1", 0)
    data = codec.encode(schema.procedures["a_get_tele_1"].result, rows)
    assert len(data) > 100 * count
    return (time.process_time() - start) / count


def test_a_list_takes_time_in_proportion_to_its_length(schema, codec):
    ratios = [cost_of_an_entry(schema, codec, LARGE) / cost_of_an_entry(schema, codec, SMALL)
              for _ in range(2)]
    assert min(ratios) < 4  # measured as 1.0 up to 100,000; a square would be 10


def test_a_small_call_is_cheap(schema):
    """Measured as 13 microseconds; the command serves 20,000 such calls a second."""
    server = schema.servers["lambda"]
    answer = Dispatcher(schema, Simulation(schema)).server(server).answer
    number = schema.procedures["l_version_1"].number
    message = rpc.build_call(rpc.Call(1, rpc.RPC_VERSION, server.program, 1, number, b""))
    start, calls = time.process_time(), 2_000
    for _ in range(calls):
        assert answer(message, "tcp").message
    assert (time.process_time() - start) / calls < 200e-6 * SLOWER
