"""Storms on clients that are shared by all: python storm.py KIND SECONDS PORT [SEED]

    handlers    threads call; vettings and signal handlers close, create, call, raise and fork
    processes   pools and processes that fork and spawn, beside threads that call all the time

Each answer is compared with its question. A call may also end as the storm made it end: cut off
twice by others, or refused. The first wrong answer, or a child that hangs or dies, ends the
storm with exit code 1 and the seed; the number of right answers is printed otherwise.
"""

import collections
import concurrent.futures.thread  # in time: a child loads nothing
import faulthandler
import json
import multiprocessing
import os
import random
import signal
import sys
import threading
import time

import kvrpc

THREADS = 6
DEEPEST = 6
MOST_CHILDREN = 4
CHILD_SECONDS = 60
HEAD = b'{"status":0,"message":"ok","result":"'
REFUSED = b'{"status":9,"message":"call is not allowed"}'


class Raised(Exception):
    """What handlers and vettings raise."""


class Wrong(Exception):
    """An answer that is wrong, whatever the storm did."""


class Allow:
    def verify_call(self, name):
        return True


def ended_by_storm(reply, in_child):
    """Returns true if others closed the connection in both attempts, or if a handler forked this
    process in the second one."""
    if reply == REFUSED:
        return True
    error = json.loads(reply).get("rpc_err", {})
    return error.get("re_errno") == 10038 or (in_child and error.get("re_errno") == 10004)


class Storm:
    def __init__(self, seed):
        self.seed = seed
        self.random = random.Random(seed)
        self.clients = [kvrpc.RpcClient("alpha") for _ in range(4)]
        self.process = os.getpid()
        self.results = collections.Counter()
        self.depth = threading.local()
        self.children = {}  # their process ids, and when each must have ended
        self.failure = None

    # ---- one call

    def call(self, client, verifier, quick=True):
        number = self.random.randrange(1 << 30) if quick else -self.random.randrange(1, 8)
        reply = client.call('{"a_zeitstring_1":%d}' % number, verifier)
        if reply == HEAD + b'%d"}' % number:
            self.results["right"] += 1
        elif ended_by_storm(reply, os.getpid() != self.process):
            self.results["ended"] += 1
        else:
            raise Wrong(f"{number}: {reply}")

    def any_client(self):
        return self.random.choice(self.clients)

    # ---- what vettings and handlers do

    def close(self):
        self.any_client().close()

    def create(self):
        os.environ["RPCTRANSPORT"] = self.random.choice(["tcp", "tcp", "udp"])
        self.any_client().create()

    def nest(self):
        self.call(self.any_client(), Whirl(self))

    def nothing(self):
        pass

    def rest(self):
        time.sleep(self.random.random() / 1000)

    def throw(self):
        raise Raised

    def fork(self):
        """Forks. The child continues what was interrupted, until `leave_child` ends it."""
        if len(self.children) < MOST_CHILDREN and os.getpid() == self.process:
            child = os.fork()
            if child != 0:
                self.children[child] = time.monotonic() + CHILD_SECONDS

    def act(self, *actions):
        """Runs one action at random. Depth is bounded, so that each storm ends."""
        depth = getattr(self.depth, "value", 0)
        if depth < DEEPEST:
            self.depth.value = depth + 1
            try:
                self.random.choice(actions)()
            finally:
                self.depth.value = depth

    # ---- children

    def leave_child(self):
        """In a child, calls on the inherited clients, in threads of its own, and exits."""
        if os.getpid() == self.process:
            return
        signal.signal(signal.SIGALRM, signal.SIG_IGN)
        code = 1
        try:
            check_inherited(self.clients)
            code = 0
        except BaseException as error:
            print(f"in a child: {error!r}", file=sys.stderr, flush=True)
        finally:
            os._exit(code)

    def reap(self):
        """Checks each child once: forgets it if it has ended, aborts it if it hangs."""
        for child, deadline in list(self.children.items()):
            hangs = time.monotonic() > deadline
            if hangs:
                os.kill(child, signal.SIGABRT)
            done, status = os.waitpid(child, 0 if hangs else os.WNOHANG)
            if done:
                del self.children[child]
                self.results["children"] += 1
            if done and status != 0:
                self.failure = f"a child {'hangs' if hangs else 'died'}: {status}"

    # ---- the ends

    def finish(self):
        for client in self.clients:
            client.close()
        if self.failure is not None:
            print(f"seed {self.seed}: {self.failure}", file=sys.stderr)
            return 1
        print(json.dumps(self.results))
        return 0


class Whirl:
    """A verifier that acts on other clients in its vettings."""

    def __init__(self, storm):
        self.storm = storm

    def verify_call(self, name):
        storm = self.storm
        storm.act(storm.rest, storm.rest, storm.rest, storm.close, storm.create, storm.nest,
                  storm.nothing, storm.nothing, storm.fork, storm.throw)
        return True


def check_inherited(clients):
    """Calls on all clients from several threads. Raises on a wrong answer."""

    def one(position):
        client = clients[position % len(clients)]
        for number in range(position * 100, position * 100 + 3):
            reply = client.call('{"a_zeitstring_1":%d}' % number, Allow())
            if reply != HEAD + b'%d"}' % number:
                raise Wrong(f"{number}: {reply}")
        return position

    with concurrent.futures.ThreadPoolExecutor(3) as pool:
        assert list(pool.map(one, range(6))) == list(range(6))


# ---- kinds

def repeat_together(together, storm, stop, step):
    """Repeats a step between two meetings at a barrier."""
    together.wait()
    repeat(storm, stop, step)
    together.wait()


def meeting_of(threads):
    """Returns the barrier for the start and the end of threads that fork.

    A thread that starts or ends takes locks of a sanitizer's runtime, and a child that is forked at
    that moment inherits them locked for ever. So the threads begin and end together there. Without
    a sanitizer nobody waits for another, because the module must bear forks at those moments too.
    """
    return threading.Barrier(threads if "KVRPC_SANITIZED" in os.environ else 1)


def repeat(storm, stop, step):
    """Repeats a step until the storm is over."""
    try:
        while not stop.is_set() and storm.failure is None:
            try:
                step()
            except Raised:
                storm.results["raised"] += 1
            storm.leave_child()
    except BaseException as error:
        if os.getpid() != storm.process:
            print(f"in a child: {error!r}", file=sys.stderr, flush=True)
            os._exit(1)
        storm.failure = repr(error)


def handlers(storm, seconds):
    def on_alarm(number, frame):
        if frame.f_code is not Storm.call.__code__:
            return  # the interpreter's own code, such as Thread.start, bears no exception or fork
        storm.act(storm.nothing, storm.nothing, storm.close, storm.create, storm.nest, storm.throw,
                  storm.fork, storm.rest)

    sys.excepthook = sys.unraisablehook = lambda *arguments: None  # of vettings that raise
    stop = threading.Event()
    together = meeting_of(THREADS + 1)
    others = [threading.Thread(target=repeat_together, args=(
        together, storm, stop, lambda: storm.call(storm.any_client(), Whirl(storm))))
        for _ in range(THREADS)]
    for each in others:
        each.start()
    signal.signal(signal.SIGALRM, on_alarm)
    deadline = time.monotonic() + seconds

    def step():
        signal.setitimer(signal.ITIMER_REAL, storm.random.random() / 200 + 1e-6)
        storm.call(storm.any_client(), Whirl(storm), quick=storm.random.random() < 0.3)
        storm.leave_child()
        storm.reap()
        if time.monotonic() > deadline:
            stop.set()

    together.wait()
    repeat(storm, stop, step)
    signal.setitimer(signal.ITIMER_REAL, 0)
    signal.signal(signal.SIGALRM, signal.SIG_IGN)
    stop.set()
    together.wait()
    for each in others:
        each.join()
    while storm.children:
        storm.reap()
        time.sleep(0.01)


def work(clients):
    check_inherited(clients)
    for client in clients:
        client.close()
    return os.getpid()


def work_on_inherited(_):
    return work(the_storm.clients)


def work_on_own(_):
    return work([kvrpc.RpcClient("alpha") for _ in range(2)])


def process_of(storm, context, target):
    child = context.Process(target=target, args=(0,))
    child.start()
    child.join(CHILD_SECONDS)
    if child.exitcode is None:
        os.kill(child.pid, signal.SIGABRT)  # faulthandler tells where it hangs
        child.join(CHILD_SECONDS)
        child.kill()
        raise Wrong("a process hangs")
    if child.exitcode != 0:
        raise Wrong(f"a process ended with {child.exitcode}")


def pool_of(storm, context, target):
    with context.Pool(2) as pool:
        assert storm.process not in pool.map_async(target, range(4), 1).get(CHILD_SECONDS)


def executor_of(storm, context, target):
    with concurrent.futures.ProcessPoolExecutor(2, context) as pool:
        assert storm.process not in pool.map(target, range(4), timeout=CHILD_SECONDS)


def ways_to_start():
    """Returns functions that start processes and wait for them.

    Pools start threads in the middle of their forks. A thread that starts allocates, and a child
    of that moment inherits AddressSanitizer's allocator locked for ever. So it gets no pools.
    """
    if "libasan" in os.environ.get("LD_PRELOAD", ""):
        return [process_of]
    return [process_of, pool_of, executor_of]


def processes(storm, seconds):
    stop = threading.Event()
    resting = type("Resting", (), {"verify_call": lambda self, name: storm.rest() or True})()
    others = [threading.Thread(target=repeat, args=(
        storm, stop, lambda: storm.call(storm.any_client(), resting))) for _ in range(2)]
    for each in others:
        each.start()
    deadline = time.monotonic() + seconds

    def step():
        forked = storm.random.random() < 0.85
        context = multiprocessing.get_context("fork" if forked else "spawn")
        start = storm.random.choice(ways_to_start())
        start(storm, context, work_on_inherited if forked else work_on_own)
        storm.results["groups"] += 1
        if time.monotonic() > deadline:
            stop.set()

    repeat(storm, stop, step)
    stop.set()
    for each in others:
        each.join()


def main(kind, seconds, port, seed=None):
    global the_storm
    faulthandler.dump_traceback_later(2 * float(seconds) + CHILD_SECONDS + 30, exit=True)
    os.environ["KORVEXRPCPORT"] = port
    os.environ["ALPHAHOST"] = "127.0.0.1"
    the_storm = Storm(int(seed or random.randrange(1 << 30)))
    {"handlers": handlers, "processes": processes}[kind](the_storm, float(seconds))
    return the_storm.finish()


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
