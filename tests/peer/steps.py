"""Runs the steps of a script: builds the bytes of a message and sends them."""

import socket
import struct
import time

from peer import messages

LAST_FRAGMENT = 0x80000000


def wrong_id(call):
    return bytes([call[0], call[1], call[2], call[3] ^ 0x55])


def message_bytes(step, call, before):
    """Returns the message of a step in answer to `call`; `before` is the call before it."""
    chosen = step.get("id", "own")
    identity = {"own": call[:4], "before": before[:4], "wrong": wrong_id(call)}[chosen]
    (procedure,) = struct.unpack(">I", call[20:24])
    reply = step.get("reply")
    if reply is None:
        reply = messages.success(messages.RESULTS.get(procedure, b""))
    return identity + bytes.fromhex(reply)


def framed(step, message):
    """Returns the message as a record, in the fragments that the step asks for."""
    size = step.get("fragment") or max(len(message), 1)
    record = b""
    for start in range(0, max(len(message), 1), size):
        part = message[start:start + size]
        last = LAST_FRAGMENT if start + size >= len(message) else 0
        record += b"\0" * 4 * step.get("empty", 0) + struct.pack(">I", last | len(part)) + part
    return record


def reset(connection):
    """Makes the next close of the connection a reset."""
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))


def write_in_pieces(connection, data, step):
    size = step.get("piece") or max(len(data), 1)
    for start in range(0, len(data), size):
        if start:
            time.sleep(step.get("pause", 0))
        connection.sendall(data[start:start + size])


def answer_stream(connection, step, call, before):
    """Runs a step on a connection. Returns false if the step ends the connection."""
    time.sleep(step.get("delay", 0))
    data = bytes.fromhex(step["raw"]) if "raw" in step else framed(
        step, message_bytes(step, call, before))
    for _ in range(step.get("times", 1)):
        write_in_pieces(connection, data[:step.get("cut", len(data))], step)
    if step.get("then") == "reset":
        time.sleep(0.002)  # A reset that overtakes the bytes would discard them.
        reset(connection)
    return "then" not in step


def answer_datagram(sock, address, step, call, before):
    time.sleep(step.get("delay", 0))
    data = bytes.fromhex(step["raw"]) if "raw" in step else message_bytes(step, call, before)
    sender = socket.socket(socket.AF_INET, socket.SOCK_DGRAM) if step.get("stranger") else sock
    for _ in range(step.get("times", 1)):
        sender.sendto(data[:step.get("cut", len(data))], address)
        time.sleep(step.get("pause", 0))
    if sender is not sock:
        sender.close()
