# SPDX-License-Identifier: Apache-2.0
"""What a hostile process does to the other end of the local socket. The stories run this inside the
sandbox, as a stranger or as the account of the daemon:

    attack.py pass SOCKET KIND...      connects once for each kind and passes a descriptor
    attack.py serve SOCKET KIND        takes the daemon's place and passes one with an answer

The descriptor is that of a TCP socket whose last close takes a minute, and the receiver has the
last reference. It prints "ready" when everything is sent, and goes on until it is killed."""

import array
import os
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
        # The kernel refuses it, or the other end has gone already.
        print(kind, error.strerror)
        connection.close()
    # Where the receiver has been quicker, this is the close that takes a minute.
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


if __name__ == "__main__":
    if sys.argv[1] == "pass":
        pass_all(sys.argv[2], sys.argv[3:])
    serve(sys.argv[2], sys.argv[3])
