# SPDX-License-Identifier: Apache-2.0
"""Attacks on the other end of the local socket. The stories run this inside the sandbox, as a user
who may not connect, as one who may, or as the account of the daemon:

    attack.py pass SOCKET KIND...      connects once for each kind and passes a descriptor
    attack.py serve SOCKET KIND        takes the daemon's place and passes one with an answer
    attack.py hold SOCKET SIZE COUNT   makes COUNT connections and sends a message of SIZE bytes on
    each, without the last bytes
    attack.py ask SOCKET               sends standard input and prints the readable parts of the
    answer
    attack.py go-on SOCKET CALL CALL   sends the first call, waits for a line on standard input,
                                       and sends the second one

The descriptor is that of a TCP socket whose last close takes a minute, and the receiver has the
last reference. "pass" and "hold" print "ready" when everything is sent, "serve" when it listens.
They run until they are killed."""

import array
import os
import re
import signal
import socket
import struct
import sys
import threading

LINGER_SECONDS = 60
KINDS = {
    "first": (b"", 0),
    "behind": (b"\0" * 5, 0),
    "out-of-band": (b"", socket.MSG_OOB),
    "out-of-band-behind": (b"\0" * 5, socket.MSG_OOB),
}
kept = []


def lingering_socket():
    listening = socket.create_server(("127.0.0.1", 0))
    sending = socket.create_connection(listening.getsockname())
    kept.extend((listening, listening.accept()[0]))
    sending.setblocking(False)
    try:
        while True:
            sending.send(b"x" * 65536)
    except BlockingIOError:
        pass
    sending.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, LINGER_SECONDS))
    return sending


def pass_to(connection, kind):
    before, flags = KINDS[kind]
    passed = lingering_socket()
    try:
        connection.send(before)
        rights = array.array("i", [passed.fileno()])
        connection.sendmsg([b"\0"], [(socket.SOL_SOCKET, socket.SCM_RIGHTS, rights)], flags)
    except OSError as error:
        # The kernel refuses the descriptor, or the other end has gone already.
        print(kind, error.strerror)
        connection.close()
    # If the receiver has closed its descriptor already, this close takes the minute.
    threading.Thread(target=passed.close, daemon=True).start()


def pass_all(path, kinds):
    for kind in kinds:
        connection = socket.socket(socket.AF_UNIX)
        connection.connect(path)
        kept.append(connection)
        pass_to(connection, kind)
    print("ready", flush=True)
    signal.pause()


def serve(path, kind):
    listening = socket.socket(socket.AF_UNIX)
    listening.bind(path)
    os.chmod(path, 0o666)
    listening.listen(5)
    print("ready", flush=True)
    while True:
        connection = listening.accept()[0]
        connection.recv(4096)
        pass_to(connection, kind)
        kept.append(connection)


def readable(answer):
    return re.sub(rb"[^ -~]+", b" ", answer).decode().strip()


def send_unfinished(connection, size):
    """Sends a message without its last bytes. Returns the readable answer, or "" for none."""
    rest = struct.pack("<II", 0, size // 8) + bytes(size - 16)
    try:
        connection.sendall(rest)
    except OSError:
        return readable(connection.recv(4096))
    return ""


def hold(path, size, count):
    for _ in range(count):
        connection = socket.socket(socket.AF_UNIX)
        connection.connect(path)
        kept.append(connection)
        print("told:", send_unfinished(connection, size))
    print("ready", flush=True)
    signal.pause()


def ask(path):
    with socket.socket(socket.AF_UNIX) as connection:
        connection.connect(path)
        try:
            connection.sendall(sys.stdin.buffer.read())
        except OSError:
            pass  # the answer tells why
        print(readable(connection.recv(4096)))


def receive(connection):
    """Reads a message: the number of segments minus one, their sizes in words, and the segments."""
    more = struct.unpack("<I", connection.recv(4, socket.MSG_WAITALL))[0]
    numbers = more + 1 + more % 2
    sizes = struct.unpack(f"<{numbers}I", connection.recv(4 * numbers, socket.MSG_WAITALL))
    return connection.recv(8 * sum(sizes[: more + 1]), socket.MSG_WAITALL)


def go_on(path, first, second):
    with socket.socket(socket.AF_UNIX) as connection:
        connection.connect(path)
        for call in (first, second):
            with open(call, "rb") as file:
                connection.sendall(file.read())
            print("answer:", readable(receive(connection))[-200:], flush=True)
            if call == first:
                print("ready", flush=True)
                sys.stdin.readline()


if __name__ == "__main__":
    mode, target, *words = sys.argv[1:]
    if mode == "pass":
        pass_all(target, words)
    elif mode == "serve":
        serve(target, words[0])
    elif mode == "hold":
        hold(target, int(words[0]), int(words[1]))
    elif mode == "go-on":
        go_on(target, *words)
    else:
        ask(target)
