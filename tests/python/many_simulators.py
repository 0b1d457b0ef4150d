"""Simulators of many installations in one process: python many_simulators.py COUNT SLOW

The first has the address 127.0.1.1, the next one 127.0.1.2, and so on. All have the same port,
which the line `port N` tells as a base port. The first one does not listen, the second listens and
never answers, and the third answers each call after SLOW seconds.
"""

import socket
import sys

from kvrpc_tools import schema
from kvrpc_tools.simulator import faults
from kvrpc_tools.simulator.server import Dispatcher
from kvrpc_tools.simulator.simulation import Simulation
from kvrpc_tools.simulator.transport import Loop


def main(count, slow):
    interface = schema.load()
    server = interface.servers["lambda"]
    loop = Loop()
    silent = socket.create_server(("127.0.1.2", 0))
    port = silent.getsockname()[1]
    for number in range(3, count + 1):
        listener = socket.create_server((f"127.0.1.{number}", port))
        unused = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        chosen = [faults.parse(f"delay={slow}")] if number == 3 else []
        dispatcher = Dispatcher(interface, Simulation(interface, chosen))
        loop.serve(listener, unused, dispatcher.server(server))
    print("port", port - server.slot, flush=True)
    loop.run()


if __name__ == "__main__":
    main(int(sys.argv[1]), float(sys.argv[2]))
