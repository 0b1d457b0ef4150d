"""A thread that was vetting and vanished, in a fork or at the interpreter's exit, left the client
with a pointer into its stack: the next call, close or create crashed."""

import os
import sys

import pytest
from echo import run_echo

pytestmark = pytest.mark.skipif(sys.platform == "win32", reason="Windows has no fork")

VETTING_THREADS = """
    class Patient:
        def __init__(self):
            self.vetting = threading.Event()
            self.goes_on = threading.Event()
        def verify_call(self, name):
            self.vetting.set()
            self.goes_on.wait(30)
            return True

    def start_vetting(client, count=4):
        patients = [Patient() for _ in range(count)]
        for patient in patients:
            threading.Thread(target=call, args=(client, 1, patient)).start()
            patient.vetting.wait(20)
        return patients
"""

# What a child does in a thread of its own, whose stack may be where the vanished one was.
ACTIONS = {
    "close": "client.close()",
    "create": "client.create()",
    "call": "assert call(client, 7) == 7",
    "close and call": "client.close(); assert call(client, 7) == 7",
}


@pytest.mark.parametrize("action", ACTIONS)
def test_a_child_of_a_process_whose_threads_vet(run_script, action):
    output = run_echo(run_script, VETTING_THREADS + f"""
    client = connect()
    patients = start_vetting(client)

    def scribble(depth=50):
        return depth and scribble(depth - 1)

    def act():
        scribble()
        {ACTIONS[action]}
        done.append(True)

    def child():
        threads = [threading.Thread(target=act) for _ in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        return 0 if len(done) == 4 else 1

    done = []
    print([wait_for(spawn(child)) for _ in range(5)])
    for patient in patients:
        patient.goes_on.set()
    """)
    assert output == "[0, 0, 0, 0, 0]\n"


def test_a_process_pool_beside_a_thread_that_polls(run_script):
    output = run_echo(run_script, """
    import concurrent.futures, multiprocessing

    class Slow:
        def verify_call(self, name):
            time.sleep(0.02)
            return True

    client = connect()
    stop = threading.Event()

    def poll():
        while not stop.is_set():
            call(client, 1, Slow())

    def work():
        with concurrent.futures.ThreadPoolExecutor(4) as pool:
            numbers = list(pool.map(lambda number: call(client, number), range(8)))
        sys.exit(0 if numbers == list(range(8)) else 1)

    poller = threading.Thread(target=poll)
    poller.start()
    codes = []
    for _ in range(5):
        child = multiprocessing.get_context("fork").Process(target=work)
        child.start()
        child.join(20)
        codes.append(child.exitcode)
    stop.set()
    poller.join()
    print(codes)
    """)
    assert output == "[0, 0, 0, 0, 0]\n"


def test_a_client_that_is_closed_while_the_interpreter_ends(run_script):
    """While the interpreter ends, a daemon thread that asks for its lock is ended and the stack
    unmapped. What the thread owned leaks, in CPython and in this module."""
    output = run_echo(run_script, """
    class Restless:
        started = 0
        def verify_call(self, name):
            Restless.started += 1
            while True:
                time.sleep(0.001)

    class Closing:
        def __init__(self, client):
            self.client = client
        def __del__(self):
            time.sleep(0.2)
            self.client.close()
            self.client.create()
            self.client.close()
            print("closed", flush=True)

    closing = Closing(kvrpc.RpcClient("alpha"))
    for _ in range(10):
        threading.Thread(target=call, args=(closing.client, 1, Restless()), daemon=True).start()
    while Restless.started < 10:
        time.sleep(0.001)
    sys.modules["kept"] = closing
    del closing
    """, environment={"ASAN_OPTIONS": f"{os.environ.get('ASAN_OPTIONS', '')}:detect_leaks=0"})
    assert output == "closed\n"
