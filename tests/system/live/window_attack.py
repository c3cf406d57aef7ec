# SPDX-License-Identifier: Apache-2.0
"""Hostile clients of the window for CIM-XML over HTTP. The stories run this inside the sandbox:

window_attack.py KIND PORT SOCKET"""

import base64
import collections
import os
import re
import socket
import subprocess
import sys
import threading
import time

PORT = int(sys.argv[2])
MIB = 1 << 20
PATIENCE = 60  # seconds
CLASS = '<IPARAMVALUE NAME="ClassName"><CLASSNAME NAME="Story_Car"/></IPARAMVALUE>'


def connect(source="127.0.0.1"):
    return socket.create_connection(("127.0.0.1", PORT), PATIENCE, (source, 0))


def request(method, arguments="", user="games", password="secret"):
    body = (
        '<?xml version="1.0"?><CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="1" '
        f'PROTOCOLVERSION="1.0"><SIMPLEREQ><IMETHODCALL NAME="{method}"><LOCALNAMESPACEPATH>'
        f'<NAMESPACE NAME="story"/></LOCALNAMESPACEPATH>{arguments}</IMETHODCALL></SIMPLEREQ>'
        "</MESSAGE></CIM>"
    )
    credential = base64.b64encode(f"{user}:{password}".encode()).decode()
    head = (
        "POST /cimom HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/xml\r\n"
        f"CIMOperation: MethodCall\r\nCIMMethod: {method}\r\nCIMObject: story\r\n"
        f"Authorization: Basic {credential}\r\nContent-Length: {len(body)}\r\n\r\n"
    )
    return (head + body).encode()


def receive(connection):
    """The status and the whole rest of a response."""
    with connection.makefile("rb") as file:
        line = file.readline()
        if not line:
            return 0, b""
        fields = {}
        while (field := file.readline()) not in (b"\r\n", b""):
            name, value = field.decode("latin1").split(":", 1)
            fields[name.lower()] = value.strip()
        body = b""
        if "content-length" in fields:
            body = file.read(int(fields["content-length"]))
        while "transfer-encoding" in fields and (size := int(file.readline(), 16)):
            body += file.read(size)
            file.readline()
        if "transfer-encoding" in fields:
            file.readline()
        return int(line.split()[1]), body


def ask(data, source="127.0.0.1"):
    with connect(source) as connection:
        connection.sendall(data)
        return receive(connection)


def status(data, source="127.0.0.1"):
    """0 when the connection is lost."""
    try:
        return ask(data, source)[0]
    except OSError:
        return 0


def at_once(count, action):
    results = []
    threads = [
        threading.Thread(target=lambda number=number: results.append(action(number)))
        for number in range(count)
    ]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    counted = sorted(collections.Counter(results).items())
    return ", ".join(f"{result}: {number}" for result, number in counted)


def daemon():
    return subprocess.check_output(["pidof", "owcimomd"], text=True).split()[0]


def processor_seconds():
    with open(f"/proc/{daemon()}/stat", encoding="ascii") as file:
        fields = file.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def flood():
    is_over = threading.Event()

    def send_wrong_ones(number):
        count = 0
        while not is_over.is_set():
            count += 1
            status(request("X", user=f"u{number}-{count}", password="wrong"))

    threads = [threading.Thread(target=send_wrong_ones, args=(i,)) for i in range(100)]
    for thread in threads:
        thread.start()
    time.sleep(2)
    for _ in range(3):
        print("right", status(request("EnumerateInstanceNames", CLASS), "127.0.0.2"))
    is_over.set()
    for thread in threads:
        thread.join()


def tries():
    print(at_once(40, lambda number: status(request("X", password=f"wrong{number}"))))


def forge():
    print("login", status(request("X", user='x" address=9.9.9.9 y="\n\x1b')))


def property_list(size):
    names = "".join(f"<VALUE>{'a' * size}{number}</VALUE>" for number in range(4096))
    return f'<IPARAMVALUE NAME="PropertyList"><VALUE.ARRAY>{names}</VALUE.ARRAY></IPARAMVALUE>'


def contexts():
    opening = request("OpenEnumerateInstances", CLASS + property_list(200))
    opened = 0
    with connect() as connection:
        for _ in range(300):
            connection.sendall(opening)
            opened += b"EnumerationContext" in receive(connection)[1]
    print("opened", opened)


def long_list():
    before = processor_seconds()
    found = ask(request("EnumerateInstances", CLASS + property_list(200)))
    print("list", found[0], found[1].count(b"<VALUE.NAMEDINSTANCE>"))
    print("processor", processor_seconds() - before)


def codings():
    """A body in another coding than chunked hides a second request."""
    hidden = request("X")
    head = b"POST /cimom HTTP/1.%d\r\nHost: localhost\r\nTransfer-Encoding: %s\r\n\r\n"
    rows = ((1, b"xchunked"), (1, b"chunked, gzip"), (1, b"gzip, chunked"), (0, b"chunked"))
    for version, coding in rows:
        with connect() as connection, connection.makefile("rb") as file:
            connection.sendall(head % (version, coding) + hidden)
            connection.shutdown(socket.SHUT_WR)
            print("codings", re.findall(rb"HTTP/1.1 (\d+)", file.read()))


def crowd():
    kept = []

    def come(_):
        connection = connect()
        kept.append(connection)
        connection.sendall(request("X"))
        return receive(connection)[0]

    print(at_once(40, come))
    print("other", status(request("X", user="news")))
    for connection in kept:
        connection.close()
    print("afterwards", status(request("X")))


def large():
    before = processor_seconds()
    print("large", status(request("X", " " * MIB)))
    print("largest", status(request("X", "<!---->" * ((MIB - 1000) // 7))))
    print("processor", processor_seconds() - before)


ATTACKS = {
    "flood": flood,
    "tries": tries,
    "forge": forge,
    "contexts": contexts,
    "list": long_list,
    "codings": codings,
    "crowd": crowd,
    "large": large,
}

if __name__ == "__main__":
    ATTACKS[sys.argv[1]]()
