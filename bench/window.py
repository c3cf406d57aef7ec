# SPDX-License-Identifier: Apache-2.0
"""Measures the two doors of the object manager against each other: the DMTF schema's classes and
many instances over HTTP, as curl receives them, and over the local socket, as owshow prints them.
What the daemon itself takes for either is its own row: there only the encodings differ."""

import os
import shutil
import socket
import subprocess

import saving
from products import write
from programs import INIT, LIVE, PROGRAMS, WORK, fail, output, ratio, run
from tracing import daemon_pid

NAMESPACE = "dmtf/cimv2"
# All instances are of subclasses.
TOP_CLASS = "CIM_LogicalDevice"
CLASSES = 1438
RUNS = 5
# A user that every machine has: root may not use HTTP.
USER = "games"
LIMIT = 2.0
MESSAGE = """<?xml version="1.0" encoding="utf-8"?>
<CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="1" PROTOCOLVERSION="1.0"><SIMPLEREQ>
<IMETHODCALL NAME="{method}"><LOCALNAMESPACEPATH><NAMESPACE NAME="dmtf"/><NAMESPACE NAME="cimv2"/>
</LOCALNAMESPACEPATH>{arguments}</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>"""
DEEP = '<IPARAMVALUE NAME="DeepInheritance"><VALUE>TRUE</VALUE></IPARAMVALUE>'
OF_TOP = f'<IPARAMVALUE NAME="ClassName"><CLASSNAME NAME="{TOP_CLASS}"/></IPARAMVALUE>'


def open_window(fresh, *files):
    """Returns the port."""
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        port = listener.getsockname()[1]
    fresh.put_back()
    with open("/etc/opt/tarvo/kov/openwbem/openwbem.conf", "a", encoding="ascii") as file:
        file.write(f"owcimomd.http_port = {port}\n")
    run(LIVE.fennik("register", "--name", "dmtf", "--username", USER))
    run(LIVE.fennik("register-namespace", NAMESPACE, "--name", "dmtf", "--username", USER))
    subprocess.run([PROGRAMS + "/sbin/owpasswd", USER], input=b"secret\n", check=True)
    for file in files:
        run(LIVE.owmofc(NAMESPACE, file))
    return port


def curl(port, method, arguments):
    path = f"{WORK}/{method}.xml"
    write(path, MESSAGE.format(method=method, arguments=arguments))
    return [shutil.which("curl"), "--silent", "--show-error", "--fail", "--user", USER + ":secret",
            "--data-binary", "@" + path, "-H", "Content-Type: application/xml", "-H",
            "CIMOperation: MethodCall", "-H", f"CIMMethod: {method}", "-H",
            f"CIMObject: {NAMESPACE}", f"http://127.0.0.1:{port}/cimom"]


def owshow(*words):
    return [PROGRAMS + "/bin/owshow", "-n", NAMESPACE, "--mof", *words]


def daemon_seconds():
    with open(f"/proc/{daemon_pid()}/schedstat", encoding="ascii") as text:
        return int(text.read().split()[0]) / 1e9


def compared(what, over_http, over_socket, count, element, keyword):
    """Both commands in turn: the time of each, and that of the daemon's main thread."""
    found = output(over_http).count(f"<{element} "), output(over_socket).count(keyword)
    if found != (count, count):
        fail(f"{found} instead of {count} {what} are enumerated")
    taken = []
    for _ in range(RUNS):
        for command in (over_http, over_socket):
            before = daemon_seconds()
            taken.append((run(command).wall, daemon_seconds() - before))
    http, local = ([min(column) for column in zip(*taken[start::2])] for start in (0, 1))
    return [ratio(f"CIM-XML: {count} {what}, curl / owshow", http[0], local[0], LIMIT),
            ratio(f"CIM-XML: {count} {what}, in the daemon, HTTP / socket", http[1], local[1],
                  LIMIT)]


def rows(fresh, top):
    if shutil.which("curl") is None:
        fail("curl is not installed")
    path = os.path.join(WORK, "instances.mof")
    write(path, "".join(saving.instances()))
    port = open_window(fresh, top, path)
    run([INIT, "start"])
    found = [
        *compared("classes", curl(port, "EnumerateClasses", DEEP), owshow("--classes"), CLASSES,
                  "CLASS", "\nclass "),
        *compared("instances", curl(port, "EnumerateInstances", OF_TOP),
                  owshow("--instances", TOP_CLASS), saving.INSTANCES, "INSTANCE", "instance of "),
    ]
    run([INIT, "stop"])
    return found
