# SPDX-License-Identifier: Apache-2.0
"""Standard clients over HTTP: what the protocol asks for at its edges, who gets in, and what an
administrator is told. Requests are sent with curl."""

import os
import re
import shutil
import socket
import sys

from live import CONFIG, DROP_INS, PID_FILE, STATE, LiveStory

USER = "games"
PASSWORDS = "/etc/opt/tarvo/kov/openwbem/owcimomd.passwords"
CARS = """
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride);
class Story_Car { [Key] uint32 Number; string Note; };
"""
FIELDS = {
    "Content-Type": 'application/xml; charset="utf-8"',
    "CIMOperation": "MethodCall",
    "CIMMethod": "EnumerateInstanceNames",
    "CIMObject": "story",
}


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def message(method, parameters="", namespace="story", kind="IMETHODCALL", version="2.0"):
    names = "".join(f'<NAMESPACE NAME="{name}"/>' for name in namespace.split("/"))
    return (
        f'<?xml version="1.0" encoding="utf-8"?><CIM CIMVERSION="{version}" DTDVERSION="2.0">'
        f'<MESSAGE ID="17" PROTOCOLVERSION="1.0"><SIMPLEREQ><{kind} NAME="{method}">'
        f"<LOCALNAMESPACEPATH>{names}</LOCALNAMESPACEPATH>{parameters}</{kind}></SIMPLEREQ>"
        "</MESSAGE></CIM>"
    )


def parameter(name, value):
    return f'<IPARAMVALUE NAME="{name}">{value}</IPARAMVALUE>'


CLASS = parameter("ClassName", '<CLASSNAME NAME="Story_Car"/>')
NAMES = message("EnumerateInstanceNames", CLASS)


class Response:
    def __init__(self, text):
        head, _, self.body = text.replace("\r\n", "\n").partition("\n\n")
        while head.startswith("HTTP/1.1 100"):
            head, _, self.body = self.body.partition("\n\n")
        lines = head.split("\n")
        self.status = int(lines[0].split()[1])
        self.fields = dict(line.split(": ", 1) for line in lines[1:] if ": " in line)

    def __repr__(self):
        return f"{self.status} {self.fields} {self.body}"


class Window(LiveStory):
    def setUp(self):
        super().setUp()
        self.need_daemon()
        if shutil.which("curl") is None:
            self.skipTest("curl is not installed")
        self.port = free_port()
        self.config = f"{self.root}{CONFIG}"
        self.configure(f"owcimomd.http_port = {self.port}")
        self.script = ""
        with open(f"{self.root}/cars.mof", "w", encoding="ascii") as file:
            file.write(CARS)
            for number in range(3):
                file.write(f'instance of Story_Car {{ Number = {number}; Note = "a car"; }};\n')
        self.shell(
            f"""set -e
            fennik --register --name story --username {USER}
            fennik --register-namespace story --name story --username {USER}
            owmofc -n story {self.root}/cars.mof >/dev/null
            echo secret | owpasswd {USER} 2>/dev/null"""
        )

    def configure(self, *lines):
        with open(self.config, "a", encoding="utf-8") as file:
            file.write("".join(f"{line}\n" for line in lines))

    def curl(self, body=NAMES, fields=None, user=f"{USER}:secret", options="", scheme="http"):
        """Adds a request to those that responses() sends."""
        number = self.script.count("curl ")
        path = f"{self.root}/request{number}"
        with open(path, "w", encoding="utf-8") as file:
            file.write(body)
        given = {**FIELDS, **(fields or {})}
        headers = " ".join(f"-H '{name}: {value}'" for name, value in given.items() if value)
        login = f"-u '{user}'" if user else ""
        self.script += (
            f"curl -s -k -i {login} {headers} --data-binary @{path} {options} "
            f"{scheme}://127.0.0.1:{self.port}/cimom\nprintf '\\036'\n"
        )

    def responses(self, start="tarvo-owcimomd_init start >/dev/null"):
        output = self.shell(f"{start}\n{self.script}")
        return [Response(text) for text in output.split("\x1e")[:-1]]

    def response(self, *args, **kwargs):
        self.curl(*args, **kwargs)
        return self.responses()[-1]

    def assert_names(self, response, count=3):
        self.assertEqual(response.status, 200, response)
        self.assertEqual(response.body.count("<INSTANCENAME "), count, response)

    def test_nobody_is_served_until_a_port_is_configured(self):
        with open(self.config, "w", encoding="utf-8"):
            pass
        self.curl()
        output = self.sandbox("sh", "-c", f"tarvo-owcimomd_init start; {self.script} true")
        self.assertNotIn("HTTP/", output.out)

    def test_request_is_answered_as_the_standard_has_it(self):
        response = self.response()
        self.assert_names(response)
        self.assertEqual(response.fields["Content-Type"], 'application/xml; charset="utf-8"')
        self.assertEqual(response.fields["CIMOperation"], "MethodResponse")
        self.assertEqual(int(response.fields["Content-Length"]), len(response.body.encode()))
        self.assertIn('<MESSAGE ID="17"', response.body)
        self.assertIn('<IMETHODRESPONSE NAME="EnumerateInstanceNames">', response.body)

    def test_clients_may_speak_in_many_ways(self):
        prefix = {"CIMOperation": "", "CIMMethod": "", "CIMObject": "",
                  "Man": "http://www.dmtf.org/cim/mapping/http/v1.0 ; ns=73",
                  "73-CIMOperation": "MethodCall", "73-CIMMethod": "EnumerateInstanceNames",
                  "73-CIMObject": "story"}
        self.curl(fields=prefix, options="-X M-POST")
        self.curl(options="-0")
        self.curl(fields={"Transfer-Encoding": "chunked"})
        self.curl(fields={"Expect": "100-continue"})
        self.curl(fields={"TE": "trailers"})
        responses = self.responses()
        for response in responses:
            self.assert_names(response)
        self.assertEqual(responses[0].fields["73-CIMOperation"], "MethodResponse")
        self.assertEqual(responses[1].fields["Connection"], "close")

    def test_options_say_what_is_supported(self):
        response = self.response(user=None, options="-X OPTIONS")
        self.assertEqual(response.status, 200)
        self.assertEqual(response.fields["Allow"], "OPTIONS, POST, M-POST")
        self.assertEqual(response.fields["57-CIMProtocolVersion"], "1.4")

    def test_what_is_no_request_is_refused_with_a_status(self):
        rows = [
            (dict(options="-X GET"), 405, None),
            (dict(fields={"Content-Type": "text/plain"}), 415, None),
            (dict(fields={"Content-Type": "text/xml; charset=latin1"}), 415, None),
            (dict(fields={"Accept": "text/html"}), 406, None),
            (dict(fields={"CIMOperation": "Other"}), 400, "unsupported-operation"),
            (dict(fields={"CIMMethod": "GetClass"}), 400, "header-mismatch"),
            (dict(fields={"CIMObject": "other"}), 400, "header-mismatch"),
            (dict(fields={"CIMBatch": "x"}), 501, "multiple-requests-unsupported"),
            (dict(fields={"CIMProtocolVersion": "2.0"}), 501, "unsupported-protocol-version"),
            (dict(body="<CIM"), 400, "request-not-well-formed"),
            (dict(body="<CIM/>"), 400, "request-not-valid"),
            (dict(body=message("EnumerateInstanceNames", CLASS, version="3.0")), 501,
             "unsupported-cim-version"),
            (dict(fields={"Content-Length": "99999999"}), 413, None),
            (dict(options="-X M-POST"), 510, None),
        ]
        for arguments, _, _ in rows:
            self.curl(**arguments)
        for (arguments, status, error), response in zip(rows, self.responses(), strict=True):
            with self.subTest(arguments=arguments):
                self.assertEqual(response.status, status, response)
                self.assertEqual(response.fields.get("CIMError"), error, response)

    def test_instance_is_changed_by_its_path_alone(self):
        changed = (
            '<VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME="Story_Car"><KEYBINDING NAME="Number">'
            '<KEYVALUE VALUETYPE="numeric">2</KEYVALUE></KEYBINDING></INSTANCENAME>'
            '<INSTANCE CLASSNAME="Story_Car"><PROPERTY NAME="Note" TYPE="string">'
            "<VALUE>new &amp; red</VALUE></PROPERTY></INSTANCE></VALUE.NAMEDINSTANCE>")
        self.curl(message("ModifyInstance", parameter("ModifiedInstance", changed)),
                  {"CIMMethod": "ModifyInstance"})
        self.curl(message("EnumerateInstances", CLASS), {"CIMMethod": "EnumerateInstances"})
        modified, listed = self.responses()
        self.assertNotIn("ERROR", modified.body)
        self.assertEqual(listed.body.count("<VALUE>new &amp; red</VALUE>"), 1, listed)
        self.assertEqual(listed.body.count("<VALUE>a car</VALUE>"), 2, listed)

    def test_failure_of_an_operation_is_a_response(self):
        rows = [
            (message("EnumerateInstanceNames", parameter("ClassName", '<CLASSNAME NAME="None"/>')),
             {}, "5"),
            (message("EnumerateInstanceNames"), {}, "4"),
            (message("EnumerateInstanceNames", CLASS, "nowhere"), {"CIMObject": "nowhere"}, "2"),
            (message("ExecQuery"), {"CIMMethod": "ExecQuery"}, "7"),
            (message("Nonsense"), {"CIMMethod": "Nonsense"}, "7"),
        ]
        for body, fields, _ in rows:
            self.curl(body, fields)
        for (body, _, code), response in zip(rows, self.responses(), strict=True):
            with self.subTest(body=body):
                self.assertEqual(response.status, 200, response)
                self.assertIn(f'<ERROR CODE="{code}"', response.body)

    def test_nobody_else_gets_in(self):
        self.shell(f"""set -e
            echo owcimomd.allowed_users = news >>{CONFIG}
            echo other | owpasswd news 2>/dev/null
            sed -n 's/^games:/root:/p' {PASSWORDS} >>{PASSWORDS}
            sed -n 's/^games:/owcimomd:/p' {PASSWORDS} >>{PASSWORDS}""")
        for user in (None, f"{USER}:wrong", f"{USER}:", "nobody:secret", "root:secret",
                     "owcimomd:secret", "news:secret", "no\x01body:x"):
            self.curl(user=user)
        for response in self.responses():
            self.assertEqual(response.status, 401, response)
            self.assertEqual(response.fields["WWW-Authenticate"],
                             'Basic realm="owcimomd", charset="UTF-8"')
            self.assertEqual(response.body,
                             "A user and a password are needed that owpasswd has registered.\n")

    def test_rights_are_those_of_the_socket(self):
        self.shell(f"""set -e
            echo owcimomd.allowed_users = news >>{CONFIG}
            echo other | owpasswd news 2>/dev/null""")
        response = self.response(user="news:other")
        self.assertEqual(response.status, 200)
        self.assertIn('<ERROR CODE="2"', response.body)
        self.assertIn("may not read instances in the namespace", response.body)

    def test_user_who_may_not_connect_is_refused_with_the_right_password_too(self):
        self.shell("echo other | owpasswd news 2>/dev/null")
        response = self.response(user="news:other")
        self.assertIn('<ERROR CODE="2"', response.body)
        self.assertIn("may not connect", response.body)

    def test_wrong_passwords_are_limited(self):
        for _ in range(10):
            self.curl(user=f"{USER}:wrong")
        self.curl()
        self.curl(user="news:wrong")
        statuses = [response.status for response in self.responses()]
        self.assertEqual(statuses, [401] * 10 + [503, 401])

    def test_password_counts_as_soon_as_it_is_changed(self):
        self.curl()
        self.script += f"echo new | owpasswd {USER} 2>/dev/null\n"
        self.curl()
        self.curl(user=f"{USER}:new")
        self.assertEqual([response.status for response in self.responses()], [200, 401, 200])

    def test_every_thread_is_confined(self):
        self.curl()
        self.script += "grep -h '^Seccomp:' /proc/$(cat " + PID_FILE + ")/task/*/status\n"
        output = self.shell("tarvo-owcimomd_init start >/dev/null\n" + self.script + "true")
        response, confinement = output.split("\x1e")
        self.assert_names(Response(response))
        if not confinement:
            self.skipTest("this kernel has no seccomp")
        self.assertEqual(confinement, "Seccomp:\t2\n" * 2)

    def test_changes_and_refusals_are_logged(self):
        log = f"{STATE}/log"
        self.configure(f"owcimomd.log_file = {log}")
        car = ('<INSTANCE CLASSNAME="Story_Car"><PROPERTY NAME="Number" TYPE="uint32">'
               "<VALUE>9</VALUE></PROPERTY></INSTANCE>")
        self.curl(message("CreateInstance", parameter("NewInstance", car)),
                  {"CIMMethod": "CreateInstance"})
        self.curl(user="no\nbody:secret")
        created = self.responses()[0]
        self.assertIn('<INSTANCENAME CLASSNAME="Story_Car">', created.body)
        with open(self.root + log, encoding="utf-8") as file:
            text = file.read()
        self.assertRegex(text, r'audit: done user="games" uid=\d+ operation=createInstance '
                               r'namespace="story" object="Story_Car.Number=9"\n')
        self.assertRegex(text, r'audit: refused user="no\\nbody" address=127.0.0.1 '
                               r"operation=login\n")
        self.assertNotIn("secret", text)

    def test_enumeration_is_pulled_in_portions(self):
        opening = message(
            "OpenEnumerateInstances",
            CLASS + parameter("MaxObjectCount", "<VALUE>1</VALUE>"))
        opened = self.response(opening, {"CIMMethod": "OpenEnumerateInstances"})
        self.assertEqual(opened.body.count("<VALUE.INSTANCEWITHPATH>"), 1, opened)
        # A context belongs to its daemon, so the rest is in one sandbox with the opening.
        send = (f"curl -s -u {USER}:secret -H 'Content-Type: text/xml' -H 'CIMOperation: MethodCall' "
                f"-H 'CIMObject: story' http://127.0.0.1:{self.port}/ ")
        pulling = message(
            "PullInstancesWithPath",
            parameter("EnumerationContext", "<VALUE>CONTEXT</VALUE>")
            + parameter("MaxObjectCount", "<VALUE>5</VALUE>"))
        for name, text in (("open", opening), ("pull", pulling)):
            with open(f"{self.root}/{name}.xml", "w", encoding="utf-8") as file:
                file.write(text)
        output = self.shell(f"""set -e
            tarvo-owcimomd_init start >/dev/null
            {send} -H 'CIMMethod: OpenEnumerateInstances' --data-binary @{self.root}/open.xml \
                >{self.root}/opened
            context=$(sed -n 's/.*EnumerationContext[^>]*><VALUE>\\([0-9a-f]*\\).*/\\1/p' \
                {self.root}/opened)
            sed "s/CONTEXT/$context/" {self.root}/pull.xml >{self.root}/pull
            {send} -H 'CIMMethod: PullInstancesWithPath' --data-binary @{self.root}/pull
            printf '\\036'
            {send} -H 'CIMMethod: PullInstancesWithPath' --data-binary @{self.root}/pull""")
        rest, again = output.split("\x1e")
        self.assertEqual(rest.count("<VALUE.INSTANCEWITHPATH>"), 2, rest)
        self.assertRegex(rest, r'EndOfSequence"[^>]*><VALUE>TRUE')
        self.assertIn('<ERROR CODE="21"', again)

    def test_right_that_is_withdrawn_ends_what_is_pulled(self):
        output = self.connections("""
import re, subprocess
def call(method, *parameters):
    values = "".join(f'<IPARAMVALUE NAME="{name}">{value}</IPARAMVALUE>'
                     for name, value in parameters)
    FIELDS["CIMMethod"] = method
    connection = connect()
    request(connection, body=MESSAGE.replace("@name@", method).replace("@values@", values))
    return BODIES[-1]
opened = call("OpenEnumerateInstances", ("ClassName", '<CLASSNAME NAME="Story_Car"/>'),
              ("MaxObjectCount", "<VALUE>1</VALUE>"))
context = re.search('"EnumerationContext"[^>]*><VALUE>([0-9a-f]+)', opened)[1]
pull = lambda: call("PullInstancesWithPath", ("EnumerationContext", f"<VALUE>{context}</VALUE>"),
                    ("MaxObjectCount", "<VALUE>1</VALUE>"))
print(opened.count("<VALUE.INSTANCEWITHPATH>"), pull().count("<VALUE.INSTANCEWITHPATH>"))
acl = 'instance of OpenWBEM_UserACL { nspace = "story"; username = "games"; capability = "w"; };'
subprocess.run(["owmofc", "-n", "root/security", "-"], input=acl.encode(), check=True,
               stdout=subprocess.DEVNULL)
refused = pull()
print(refused.count("<VALUE.INSTANCEWITHPATH>"), re.findall('ERROR CODE="[0-9]+"', refused))""")
        self.assertEqual(output, "1 1\n0 ['ERROR CODE=\"2\"']\n")

    def test_large_enumeration_comes_in_chunks_that_make_one_document(self):
        with open(f"{self.root}/many.mof", "w", encoding="ascii") as file:
            for number in range(1000, 6000):
                file.write(f'instance of Story_Car {{ Number = {number}; Note = "{"x" * 100}"; }};\n')
        self.shell(f"owmofc -n story {self.root}/many.mof >/dev/null")
        response = self.response(message("EnumerateInstances", CLASS),
                                 {"CIMMethod": "EnumerateInstances"})
        self.assertEqual(response.fields.get("Transfer-Encoding"), "chunked")
        self.assertEqual(response.body.count("<VALUE.NAMEDINSTANCE>"), 5003)
        self.assertTrue(response.body.rstrip().endswith("</MESSAGE></CIM>"), response.body[-200:])

    def test_control_character_fails_the_enumeration_and_names_the_property(self):
        with open(f"{self.root}/odd.mof", "w", encoding="ascii") as file:
            file.write('instance of Story_Car { Number = 77; Note = "a\\x0001b"; };\n')
        self.shell(f"owmofc -n story {self.root}/odd.mof >/dev/null")
        response = self.response(message("EnumerateInstances", CLASS),
                                 {"CIMMethod": "EnumerateInstances"})
        self.assertIn('<ERROR CODE="1"', response.body)
        self.assertIn("Note", response.body)

    def make_certificate(self):
        if shutil.which("openssl") is None:
            self.skipTest("openssl is not installed")
        directory = "/etc/opt/tarvo/kov/openwbem"
        self.shell(f"""set -e
            openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=localhost \
                -keyout {directory}/key.pem -out {directory}/certificate.pem 2>/dev/null
            chgrp owcimomd {directory}/key.pem; chmod 640 {directory}/key.pem""")
        self.configure(f"owcimomd.tls_certificate = {directory}/certificate.pem",
                       f"owcimomd.tls_key = {directory}/key.pem")

    def test_with_a_certificate_clients_speak_tls_alone(self):
        self.make_certificate()
        self.curl(scheme="https")
        self.curl(scheme="https", options="--tls-max 1.1 --ciphers DEFAULT@SECLEVEL=0")
        output = self.sandbox("sh", "-c", f"tarvo-owcimomd_init start >/dev/null; {self.script} "
                              f"{self.script.replace('https:', 'http:')} true")
        parts = output.out.split("\x1e")
        self.assert_names(Response(parts[0]))
        self.assertEqual(parts[1:], [""] * 4)

    def test_other_addresses_need_tls(self):
        self.configure("owcimomd.http_address = 0.0.0.0")
        result = self.sandbox("sh", "-c", "tarvo-owcimomd_init start; tarvo-owcimomd_init status")
        self.assertIn("nobody is served over HTTP: the address 0.0.0.0 needs TLS, so "
                      "owcimomd.tls_certificate and owcimomd.tls_key must be set", result.err)
        self.assertIn("owcimomd runs", result.out)
        self.make_certificate()
        self.curl(scheme="https")
        self.assert_names(self.responses()[0])

    def test_settings_that_cannot_be_used_are_told_and_local_clients_are_served(self):
        rows = [
            (["owcimomd.http_address = here"],
             '"here" as owcimomd.http_address is not an IP address'),
            (["owcimomd.tls_key = /none"],
             "owcimomd.tls_certificate and owcimomd.tls_key must be set both or not at all"),
            (["owcimomd.tls_key = /none", "owcimomd.tls_certificate = /none"],
             'the file "/none" (owcimomd.tls_certificate) cannot be read: No such file or '
             "directory"),
            (["owcimomd.tls_key = /etc/passwd", "owcimomd.tls_certificate = /etc/passwd"],
             'the certificate "/etc/passwd" and the key "/etc/passwd" cannot be used'),
            (["owcimomd.http_address = 192.0.2.1", "owcimomd.tls_key = /etc/passwd",
              "owcimomd.tls_certificate = /etc/passwd"], "nobody is served over HTTP: "),
        ]
        with open(self.config, encoding="utf-8") as file:
            usual = file.read()
        for lines, text in rows:
            with self.subTest(lines=lines):
                with open(self.config, "w", encoding="utf-8") as file:
                    file.write(usual)
                self.configure(*lines)
                result = self.sandbox(
                    "sh", "-c", "tarvo-owcimomd_init start; fennik --list-registered-products")
                self.assertIn(text, result.err)
                self.assertEqual(result.out.splitlines()[-1], "story")

    def test_key_of_another_certificate_is_told(self):
        self.make_certificate()
        self.shell("openssl genpkey -quiet -algorithm RSA -out /etc/opt/tarvo/kov/openwbem/key.pem")
        result = self.sandbox("sh", "-c", "tarvo-owcimomd_init start; tarvo-owcimomd_init status")
        self.assertIn("nobody is served over HTTP: the certificate "
                      '"/etc/opt/tarvo/kov/openwbem/certificate.pem" and the key '
                      '"/etc/opt/tarvo/kov/openwbem/key.pem" cannot be used: they do not belong '
                      "together", result.err)
        self.assertIn("owcimomd runs", result.out)

    def test_product_cannot_open_the_window(self):
        with open(f"{self.root}{DROP_INS}/evil.conf", "w", encoding="ascii") as file:
            file.write("owcimomd.http_port = 1\nowcimomd.http_address = 0.0.0.0\n")
        os.chmod(f"{self.root}{DROP_INS}/evil.conf", 0o644)
        self.curl()
        self.assert_names(self.responses()[0])
        result = self.sandbox("tarvo-owcimomd_init", "start")
        self.assertEqual(len(re.findall("only the main file says who is served", result.err)), 2)

    def connections(self, text):
        """Runs Python code in the sandbox that has connect() and request(connection, user)."""
        script = f"""
import base64, http.client, sys
FIELDS = {FIELDS!r}
MESSAGE = {message("@name@", "@values@")!r}
BODIES = []
def connect(source=None):
    return http.client.HTTPConnection("127.0.0.1", {self.port}, timeout=20, source_address=source)
def request(connection, user="{USER}:secret", body={NAMES!r}):
    login = base64.b64encode(user.encode()).decode()
    headers = dict(FIELDS, Authorization="Basic " + login)
    connection.request("POST", "/cimom", body, headers)
    response = connection.getresponse()
    BODIES.append(response.read().decode())
    return response.status
{text}"""
        path = f"{self.root}/connections.py"
        with open(path, "w", encoding="utf-8") as file:
            file.write(script)
        return self.shell(f"tarvo-owcimomd_init start >/dev/null; {sys.executable} {path}")

    def test_strangers_make_room_for_users(self):
        output = self.connections("""
strangers = [connect() for _ in range(300)]
for one in strangers:
    one.connect()
print(request(connect()))""")
        self.assertEqual(output, "200\n")

    def test_flood_from_one_address_leaves_who_comes_from_another(self):
        output = self.connections("""
user = connect()
user.connect()
strangers = [connect(("127.0.0.2", 0)) for _ in range(300)]
for one in strangers:
    one.connect()
print(request(user))""")
        self.assertEqual(output, "200\n")

    def test_refusal_arrives_though_nobody_reads_the_request(self):
        output = self.connections("""
for _ in range(20):
    print(request(connect(), "nobody:x", "x" * 8000000), end=" ")""")
        # The first ten are wrong passwords, the others too many.
        self.assertEqual(output, "401 " * 10 + "503 " * 10)
