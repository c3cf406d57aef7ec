# SPDX-License-Identifier: Apache-2.0
"""What a hostile client does to the daemon. Each attack runs in a process of its own as its user.

For use inside scripts/sandbox."""

import array
import collections
import os
import pwd
import random
import select
import signal
import socket
import struct
import sys
import threading
import time
import traceback

from rogue import SOCKET, Gone, message

# How long attackers hold what they have.
HOLDING_SECONDS = 3
# Of the wire format (rpc.capnp): a kind of call, an operation, and kinds of lists.
ENUMERATE = 2
ENUM_INSTANCES = 6
BYTES, POINTERS = 2, 6
# A class with more instances than a portion of an enumeration takes.
BROAD = "alpha/one", "Fuzz_Thing"
# What becomes of a message. One that claims to be longer than it is is waited for.
ANSWERED, ENDED, INCOMPLETE = "answered", "ended the connection", "not complete"
INCOMPLETE_SECONDS = 0.05
# The numbers of pings, which no other call has.
PING_IDS = 0x5EED << 48


def start(user, attack, *arguments):
    """Starts the attack as the user. Returns the process id; the process ends with 0."""
    child = os.fork()
    if child != 0:
        return child
    try:
        account = pwd.getpwnam(user)
        os.setgroups([])
        os.setgid(account.pw_gid)
        os.setuid(account.pw_uid)
        signal.signal(signal.SIGPIPE, signal.SIG_IGN)
        ATTACKS[attack](*arguments)
        os._exit(0)
    except BaseException:
        traceback.print_exc()
        sys.stderr.flush()
    finally:
        os._exit(1)


def connect():
    connection = socket.socket(socket.AF_UNIX)
    connection.settimeout(10)
    connection.connect(SOCKET)
    return connection


def messages_in(data):
    """Takes a stream of messages apart."""
    found, at = [], 0
    while at < len(data):
        last, = struct.unpack_from("<I", data, at)
        sizes = struct.unpack_from(f"<{last + 1}I", data, at + 4)
        end = at + (last + 2 + 1) // 2 * 8 + 8 * sum(sizes)
        found.append(data[at:end])
        at = end
    return found


def lingering():
    """A TCP socket whose last close takes a minute."""
    listening, sending = socket.socket(), socket.socket()
    listening.bind(("127.0.0.1", 0))
    listening.listen()
    sending.connect(listening.getsockname())
    accepted = listening.accept()[0]
    sending.setblocking(False)
    try:
        while True:
            sending.send(b"x" * 65536)
    except BlockingIOError:
        pass
    sending.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 60))
    return sending, (listening, accepted)


def descriptors():
    """Passes sockets that linger, pipes, and as many descriptors as fit, before and behind bytes."""
    kept, refused = [], 0
    for number in range(60):
        if number % 3 == 0:
            passed, others = lingering()
            fds = [passed.detach()]
            kept.append(others)
        elif number % 3 == 1:
            fds = list(os.pipe())
        else:
            fds = [os.open("/dev/null", os.O_RDONLY)] * 253
        try:
            connection = connect()
            connection.send(b"\0" * (number % 2 * 5))
            connection.sendmsg([b"\0"], [(socket.SOL_SOCKET, socket.SCM_RIGHTS,
                                          array.array("i", fds))])
            kept.append(connection)
        except OSError:
            refused += 1
        for fd in set(fds):
            # When the daemon has closed it already, this close takes the minute.
            threading.Thread(target=os.close, args=(fd,), daemon=True).start()
    time.sleep(HOLDING_SECONDS)


def half_messages(count):
    """The halves claim 60 MiB in all, and bring 16 KiB each at most."""
    kept = []
    for number in range(count):
        try:
            connection = connect()
            kept.append(connection)
            half = random.randbytes(random.randrange(1, 16384)) if number % 2 else b""
            connection.sendall(struct.pack("<II", 0, 60 << 20 >> 13) + half)
        except OSError:
            continue  # the quota of the user
    time.sleep(HOLDING_SECONDS)


def pointer(offset, data, pointers):
    return offset << 2 | data << 32 | pointers << 48


def request(operation, namespace, cls="", name="", count=0):
    """An enumeration (rpc.capnp) that asks for `count` properties of the same name."""
    text = padded(namespace)
    class_at = 7 + len(text) // 8
    text += padded(cls)
    # A Call has two words of data and a pointer, a Request one and nine.
    words = [pointer(0, 2, 1), 1, ENUMERATE, pointer(0, 1, 9), operation | 0b11111 << 16]
    pointers = [0] * 9
    pointers[0] = list_pointer(8, BYTES, len(namespace) + 1)
    pointers[1] = list_pointer(class_at, BYTES, len(cls) + 1)
    names = b""
    if count > 0:
        one = padded(name)
        pointers[3] = list_pointer(5 + len(text) // 8, POINTERS, count)
        table = [list_pointer(count - 1 + number * (len(one) // 8 - 1), BYTES, len(name) + 1)
                 for number in range(count)]
        names = struct.pack(f"<{count}Q", *table) + one * count
    words += pointers
    body = struct.pack(f"<{len(words)}Q", *words) + text + names
    return struct.pack("<II", 0, len(body) // 8) + body


def padded(text):
    encoded = text.encode() + b"\0"
    return encoded + b"\0" * (-len(encoded) % 8)


def list_pointer(offset, kind, count):
    return 1 | offset << 2 | kind << 32 | count << 35


def opened(text):
    """Opens enumerations with the same call until a connection may have no more. Returns the
    connection."""
    connection = connect()
    connection.settimeout(0.5)
    try:
        for _ in range(256):
            connection.sendall(text)
            message(connection)
    except (OSError, Gone):
        pass  # it has been sent away
    return connection


def nested(depth):
    """Pointers to pointers, each to the next."""
    words = [pointer(0, 0, 1)] * depth
    return struct.pack(f"<II{depth}Q", 0, depth, *words)


def expensive():
    """Long lists of properties, deep nesting, and broad enumerations that are left open; the answers of
    some are read, so that many are open, and those of others are not."""
    kept = [opened(request(ENUM_INSTANCES, *BROAD, "Notes", 900)) for _ in range(6)]
    deep = [nested(10_000), nested(1_000_000)]
    long = [request(ENUM_INSTANCES, *BROAD, "n" * 8000, 4096),
            request(ENUM_INSTANCES, *BROAD, "n", 4096),
            request(ENUM_INSTANCES, *BROAD, "n", 500_000)]
    broad = request(ENUM_INSTANCES, *BROAD) * 300
    for number in range(12):
        for text in (broad, long[number % len(long)], deep[number % len(deep)]):
            try:
                connection = connect()
                kept.append(connection)
                connection.settimeout(0.5)
                connection.sendall(text)
            except OSError:
                continue  # it is told and sent away, or is not read from
    time.sleep(HOLDING_SECONDS)


def mutate(text, choice):
    """A mutation of a message. Most keep the frame, so that the content is read."""
    if choice.random() < 0.05:
        return choice.randbytes(choice.randrange(1, 200))
    changed = bytearray(text)
    for _ in range(choice.choice((1, 1, 2, 4, 16))):
        first = 0 if choice.random() < 0.03 else 8
        at = choice.randrange(min(first, len(changed) - 1), len(changed))
        way = choice.randrange(5)
        if way == 0:
            changed[at] ^= 1 << choice.randrange(8)
        elif way == 1:
            changed[at] = choice.choice((0, 1, 0x7F, 0x80, 0xFF, choice.randrange(256)))
        elif way == 2 and len(changed) >= 16:
            word = at // 8 * 8
            changed[word:word + 8] = choice.choice((
                bytes(8), b"\xff" * 8, choice.randbytes(8),
                struct.pack("<Q", pointer(choice.randrange(1 << 30), choice.randrange(8),
                                          choice.randrange(8)) | choice.randrange(4)),
                bytes(changed[choice.randrange(0, len(changed) - 7) // 8 * 8:][:8])))
        elif way == 3:
            other = choice.randrange(len(changed) + 1)
            size = min(choice.choice((1, 4, 8)), len(changed) - max(at, other))
            changed[at:at + size] = changed[other:other + size]
        else:
            changed[at:at + 4] = struct.pack("<I", choice.choice((0, 1, 0xFFFF, 1 << 29, 1 << 31)))[
                :len(changed[at:at + 4])]
    return bytes(changed)


def mutated(messages, count, seed):
    """Sends each message with a ping behind it, and waits for the answer to that, or for the end of the
    connection. Prints how many came to which end."""
    choice = random.Random(f"{seed} {os.getuid()}")
    # A stranger is told the same whatever it says: most messages are the other user's.
    tenth = max(count // 10, 1)
    count = tenth if os.getuid() == pwd.getpwnam("nobody").pw_uid else count - tenth
    ends, connection = collections.Counter(), None
    for number in range(count):
        connection = connection or connect()
        end = end_of(connection, mutate(choice.choice(messages), choice), PING_IDS + number)
        ends[end] += 1
        if end != ANSWERED:
            connection.close()
            connection = None
    print(", ".join(f"{number} {end}" for end, number in ends.items()), flush=True)


def end_of(connection, text, number):
    """What becomes of a message."""
    expected, received = struct.pack("<Q", number), b""
    # A Call has two words of data; the kind of a ping is 0.
    ping = struct.pack("<II4Q", 0, 4, pointer(0, 2, 1), number, 0, 0)
    try:
        connection.sendall(text + ping)
        while select.select([connection], [], [], INCOMPLETE_SECONDS)[0]:
            part = connection.recv(1 << 16)
            if not part:
                return ENDED
            received = received[-8:] + part
            if expected in received:
                return ANSWERED
    except OSError:
        return ENDED
    return INCOMPLETE


ATTACKS = {attack.__name__: attack for attack in (descriptors, half_messages, expensive, mutated)}
