# SPDX-License-Identifier: Apache-2.0
"""A hostile program that has put itself between the daemon and its clients, as the account owcimomd can,
and serves the daemon's socket in one of the ways below. It runs as root here, so that the daemon lets
it do what the client may do.

For use inside scripts/sandbox."""

import array
import os
import random
import signal
import socket
import struct
import time
import traceback

from installation import DATA, WORK

RECORDED = WORK + "/recorded"
SOCKET, REAL = DATA + "/owcimomd.sock", DATA + "/real.sock"
# The answers of the wire format (rpc.capnp), as words of 8 bytes: an Answer has two words of data
# and three pointers: to a failure, an object and a portion.
ANSWER = 2 << 32 | 3 << 48
# A pointer to a portion behind itself, which is not the last one and has no objects.
PORTION = 1 << 32 | 1 << 48
# Kinds of calls, and the operations that change something.
CARRY_OUT, SYNC, STORE = 1, 5, 6
CHANGES = (3, 4, 5, 9, 10, 11, 14, 15)


def answer(number, portion=0):
    """An answer to the call of that number."""
    words = [ANSWER, number, 0, 0, 0, portion, 0, 0]
    return struct.pack(f"<II{len(words)}Q", 0, len(words), *words)


class Gone(Exception):
    """The client has closed the connection."""


def receive(connection, size):
    data = b""
    while len(data) < size:
        part = connection.recv(size - len(data))
        if not part:
            raise Gone
        data += part
    return data


def message(connection):
    """Reads a message. Returns its head, which has the sizes of its segments, and its body."""
    head = receive(connection, 8)
    last, size = struct.unpack("<II", head)
    if last > 0:
        more = receive(connection, (last + 1) // 2 * 8)
        size += sum(struct.unpack_from(f"<{last}I", more))
        head += more
    return head, receive(connection, 8 * size)


def call(connection):
    """Reads a call. Returns its number."""
    return struct.unpack_from("<Q", message(connection)[1], 8)[0]


def is_change(head, body):
    """Whether the message is a call that changes something. A call of several segments has a large
    object, so it is one."""
    words = struct.unpack(f"<{len(body) // 8}Q", body)
    kind, pointer = words[2] & 0xFFFF, 1 + (words[0] >> 32 & 0xFFFF)
    if kind != CARRY_OUT or len(head) > 8:
        return kind in (CARRY_OUT, SYNC, STORE)
    request = pointer + 1 + (words[pointer] >> 2 & 0x3FFFFFFF)
    return words[request] & 0xFFFF in CHANGES


def daemon():
    connection = socket.socket(socket.AF_UNIX)
    connection.connect(REAL)
    return connection


def silent(connection):
    while True:
        call(connection)


def silent_at_changes(connection):
    """The daemon makes them, but its answer is kept back."""
    real = daemon()
    while True:
        head, body = message(connection)
        real.sendall(head + body)
        reply = b"".join(message(real))
        if not is_change(head, body):
            connection.sendall(reply)


def garbled_changes(connection):
    """The daemon makes them, but its answer has no content."""
    real = daemon()
    while True:
        head, body = message(connection)
        real.sendall(head + body)
        reply = b"".join(message(real))
        number = struct.unpack_from("<Q", body, 8)[0]
        connection.sendall(answer(number) if is_change(head, body) else reply)


def other_answers(connection):
    """Each answer is that to the call before."""
    real, before = daemon(), (answer(0)[:8], answer(0)[8:])
    while True:
        real.sendall(b"".join(message(connection)))
        reply = message(real)
        connection.sendall(before[0] + before[1][:8] + reply[1][8:16] + before[1][16:])
        before = reply


def deaf(connection):
    del connection
    time.sleep(3600)


def noise(connection):
    call(connection)
    while True:
        connection.sendall(random.randbytes(4096))


def byte_by_byte(connection):
    """Begins an answer of 16 MiB."""
    call(connection)
    connection.sendall(struct.pack("<II", 0, 2 << 20))
    while True:
        connection.sendall(b"\0")
        time.sleep(0.05)


def half(connection):
    connection.sendall(answer(call(connection))[:20])


def closes(connection):
    call(connection)


def wrong_number(connection):
    while True:
        connection.sendall(answer(call(connection) + 1))


def empty(connection):
    """Every change succeeds, and nothing is ever found."""
    while True:
        connection.sendall(answer(call(connection)))


def without_end(connection):
    while True:
        connection.sendall(answer(call(connection), portion=PORTION))


def random_content(connection):
    while True:
        sound = bytearray(answer(call(connection), portion=PORTION))
        for _ in range(3):
            sound[random.randrange(24, len(sound))] = random.randrange(256)
        connection.sendall(sound)


def descriptors(connection):
    call(connection)
    ends = array.array("i", [end.fileno() for end in socket.socketpair()])
    connection.sendmsg([answer(1)], [(socket.SOL_SOCKET, socket.SCM_RIGHTS, ends)])
    silent(connection)


def recording(connection):
    """Records the calls."""
    real = daemon()
    while True:
        text = b"".join(message(connection))
        with open(RECORDED, "ab") as file:
            file.write(text)
        real.sendall(text)
        connection.sendall(b"".join(message(real)))


def answer_to_ping():
    """Pings the daemon, as a client of its own. Returns the answer."""
    with socket.socket(socket.AF_UNIX) as connection:
        connection.connect(SOCKET)
        # A Call has two words of data; the kind of a ping is 0.
        connection.sendall(struct.pack("<II4Q", 0, 4, 2 << 32 | 1 << 48, 1, 0, 0))
        return message(connection)


WAYS = {way.__name__: way for way in (silent, silent_at_changes, garbled_changes, other_answers, deaf, noise, byte_by_byte, half, closes, wrong_number,
                                      empty, without_end, random_content, descriptors)}
# Accepts nobody.
UNACCEPTING = "unaccepting"
# Is not hostile.
RECORDING = "recording"


class Rogue:
    """While it is entered, the rogue sits at the socket. The daemon runs."""

    def __init__(self, way):
        self.way, self.pid = way, None

    def __enter__(self):
        ready, told = os.pipe()
        self.pid = os.fork()
        if self.pid == 0:
            os.setsid()
            random.seed(self.way)
            try:
                self.serve(told)
            except BaseException:
                traceback.print_exc()
            finally:
                os._exit(1)
        os.close(told)
        assert os.read(ready, 1) == b"r", "the rogue has ended"
        os.close(ready)
        return self

    def __exit__(self, *_):
        os.killpg(self.pid, signal.SIGKILL)
        os.waitpid(self.pid, 0)
        os.rename(REAL, SOCKET)

    def serve(self, told):
        signal.signal(signal.SIGPIPE, signal.SIG_IGN)
        os.rename(SOCKET, REAL)
        listening = socket.socket(socket.AF_UNIX)
        listening.bind(SOCKET)
        os.chmod(SOCKET, 0o666)
        listening.listen(0)
        os.write(told, b"r")
        self.accept(listening)

    def accept(self, listening):
        if self.way == UNACCEPTING:
            filling = []
            while True:  # keeps its own queue full
                filling.append(socket.socket(socket.AF_UNIX))
                filling[-1].connect(SOCKET)
        while True:
            connection, _ = listening.accept()
            if os.fork() == 0:
                try:
                    (recording if self.way == RECORDING else WAYS[self.way])(connection)
                except (Gone, OSError):
                    pass
                os._exit(0)
            connection.close()
