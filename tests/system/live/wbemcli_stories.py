# SPDX-License-Identifier: Apache-2.0
"""A client that others wrote works with the object manager: each operation that wbemcli has, over
HTTP and over TLS, and its refusals. What is stored is compared before and after."""

import re
import shlex
import shutil
import socket
from dataclasses import dataclass

from live import CONFIG, INIT, LiveStory

# Users that every machine has: one with all rights in the namespace "story", one who may connect
# and has no rights, one who may not connect.
USER, OTHER, STRANGER = "games", "news", "mail"
SCHEMA = """class Car { [Key] uint32 Number; string Color; };
class Truck : Car { uint16 Load; };
class Empty { [Key] string Id; };
class Wheel { [Key] string Id; };
[Association] class CarWheel { [Key] Car REF Whole; [Key] Wheel REF Part; };
instance of Car as $Car { Number = 1; Color = "red"; };
instance of Truck { Number = 2; Color = "blue"; Load = 7; };
instance of Wheel as $Wheel { Id = "w1"; };
instance of CarWheel { Whole = $Car; Part = $Wheel; };
"""
KEYS = "/etc/opt/tarvo/kov/openwbem/owcimomd"
CERTIFICATE = (
    f"umask 77; openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 "
    f"-subj /CN=localhost -addext subjectAltName=DNS:localhost -keyout {KEYS}.key -out {KEYS}.crt "
    f"2>/dev/null; chown owcimomd {KEYS}.key; chmod 644 {KEYS}.crt;")
# Each operation: its arguments behind the URL, with @ for the namespace, and the right it needs.
OPERATIONS = [
    ("gc", "@Car", "read classes"), ("gcd", "@Car", "read classes"),
    ("ec", "@Car", "read classes"), ("ecn", "@Car", "read classes"),
    ("dc", "@Empty", "write classes"), ("gi", "@Car.Number=1", "read instances"),
    ("ei", "@Car", "read instances"), ("ein", "@Car", "read instances"),
    ("gp", "@Car.Number=1 Color", "read instances"),
    # They read the class or the instance first.
    ("ci", "@Car.Number=3 Number=3", "read classes"),
    ("mi", "@Car.Number=1 Color=green", "read instances"),
    ("di", "@Car.Number=1", "write instances"), ("ai", "@Car.Number=1", "read instances"),
    ("ain", "@Car.Number=1", "read instances"), ("ri", "@Car.Number=1", "read instances"),
    ("rin", "@Car.Number=1", "read instances"),
]
DENIED = ("Cim: (2) CIM_ERR_ACCESS_DENIED: access denied: the user \"{}\" may not {} in the "
          "namespace \"{}\"")


def free_port():
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return listener.getsockname()[1]


@dataclass
class Answer:
    status: int
    text: str


def refusal(text):
    return Answer(16, f"*\n* wbemcli: {text}\n*")


class Session(LiveStory):
    """What all stories share, and those that are the same over HTTP and TLS."""

    scheme = "http"
    needed = ("wbemcli",)

    def setUp(self):
        super().setUp()
        self.need_daemon()
        for program in self.needed:
            if shutil.which(program) is None:
                self.skipTest(f"{program} is not installed")
        self.port = free_port()
        self.host = f"localhost:{self.port}"
        with open(f"{self.root}/story.mof", "w", encoding="ascii") as file:
            file.write(SCHEMA)
        self.shell(
            f"echo 'owcimomd.allowed_users = {USER} {OTHER}' >>{CONFIG};"
            f"echo 'owcimomd.http_port = {self.port}' >>{CONFIG};"
            f"for user in {USER} {OTHER}; do echo secret | owpasswd $user; done;"
            f"echo secret | owpasswd {STRANGER} 2>/dev/null;"
            f"fennik --register --name story --username {USER};"
            f"fennik --register-namespace story --name story --username {USER};"
            f"owmofc -n story {self.root}/story.mof >/dev/null;" + self.more_configuration())

    def more_configuration(self):
        return ""

    def grant(self, user, ns, rights):
        mof = f'instance of OpenWBEM_UserACL {{nspace="{ns}"; username="{user}"; capability="{rights}";}};'
        self.shell(f"echo '{mof}' | owmofc -n root/security - >/dev/null")

    def options(self):
        return ""

    def url(self, user=USER, ns="story", password="secret"):
        return f"{self.scheme}://{user}:{password}@{self.host}/{ns}"

    def play(self, *commands):
        """Runs shell commands while the daemon runs. Returns an Answer to each."""
        files = []
        for number, command in enumerate(commands):
            files.append(f"{self.root}/{number}.sh")
            with open(files[-1], "w", encoding="utf-8") as file:
                file.write(command + "\n")
        started, *steps = self.steps(f"{INIT} start", *(f"sh {file}" for file in files))
        self.assertEqual(started.status, 0, started.output)
        return [Answer(step.status, step.output) for step in steps]

    def command(self, line, user=USER, ns="story"):
        """A line of wbemcli, with @ for the URL and colon before an object path."""
        words = [word.replace("@", self.url(user, ns) + ":") for word in line.split(" ")]
        return f"wbemcli {self.options()} {shlex.join(words)}"

    def ask(self, *lines, **options):
        return self.play(*(self.command(line, **options) for line in lines))

    def own(self, path):
        return f"{self.host}/story:{path}"

    def assert_answers(self, *rows, **options):
        """Each row is a line and what it prints, with @ for the host and the namespace."""
        answers = self.ask(*(line for line, _ in rows), **options)
        for (line, text), answer in zip(rows, answers):
            with self.subTest(line=line):
                self.assertEqual(answer, Answer(0, text.replace("@", self.own(""))))

    def assert_refused(self, *rows, **options):
        """Each row is a line and its refusal. What is stored stays as it was."""
        before = self.rows()
        answers = self.ask(*(line for line, _ in rows), **options)
        for (line, text), answer in zip(rows, answers):
            with self.subTest(line=line):
                self.assertEqual(answer, refusal(text))
        self.assertEqual(self.rows(), before)


class OverHttp(Session):
    def test_classes_are_read(self):
        self.assert_answers(
            ("gc @Truck", "@Truck Number=,Color=,Load="),
            ("gcd @Wheel", '<CLASS NAME="Wheel"><PROPERTY NAME="Id" TYPE="string"></PROPERTY></CLASS>'),
            ("ec @Car", "@Truck Number=,Color=,Load="),
            ("ecn @", "@Car\n@Truck\n@CarWheel\n@Empty\n@Wheel"),
            ("ecn @Car", "@Truck"))
        self.assert_refused(
            ("gc @None", 'Cim: (6) CIM_ERR_NOT_FOUND: not found: there is no class "None"'),
            ("ec @None", 'Cim: (5) CIM_ERR_INVALID_CLASS: invalid class: there is no class "None"'),
            ("ecn @None", 'Cim: (5) CIM_ERR_INVALID_CLASS: invalid class: there is no class "None"'))

    def test_instances_are_read(self):
        self.assert_answers(
            # gi prints its own question, with each key in quotes.
            ("gi @Car.Number=1", '@Car.Number="1" Number=1,Color="red"'),
            ("gi @Truck.Number=2 Load", '@Truck.Number="2" Load=7'),
            ("ei @Truck", '@Truck.Number=2 Number=2,Color="blue",Load=7'),
            ("ein @Car", "@Car.Number=1\n@Truck.Number=2"),
            ("ein @Empty", ""),
            ("gp @Car.Number=1 Color", "red"),
            ("-t ei @Truck Number,Load", "@Truck.Number=2 Number#=2,Load=7"),
            ("-nl gi @Car.Number=1", '@Car.Number="1"\n-Number=1\n-Color="red"'))
        no_class = 'Cim: (5) CIM_ERR_INVALID_CLASS: invalid class: there is no class "None"'
        self.assert_refused(
            ("gi @Car.Number=9", "Cim: (6) CIM_ERR_NOT_FOUND: not found: there is no instance Car.Number=9"),
            ("gi @None.Number=9", no_class), ("ei @None", no_class), ("ein @None", no_class),
            ("gp @Car.Number=1 Wheels", "Cim: (12) CIM_ERR_NO_SUCH_PROPERTY: no such property: "
             'an instance of Car has no property "Wheels"'))

    def test_associations_are_walked(self):
        wheel = '@Wheel.Id="w1"'
        link = '@CarWheel.Whole=story:Car.Number=1,Part=story:Wheel.Id="w1"'
        self.assert_answers(
            ("ain @Car.Number=1", wheel), ("ai @Car.Number=1", wheel + ' Id="w1"'),
            ("ain -ac CarWheel -arc Wheel -ar Whole -arr Part @Car.Number=1", wheel),
            ("ain -ar Part @Car.Number=1", ""), ("ain -arr Whole @Car.Number=1", ""),
            ("ain -arc Car @Car.Number=1", ""), ("ain -ac Wheel @Car.Number=1", ""),
            ("rin @Car.Number=1", link), ("rin -ar Part @Car.Number=1", ""),
            ("ri -arc CarWheel -ar Whole @Car.Number=1",
             link + ' Whole=story:Car.Number=1,Part=story:Wheel.Id="w1"'),
            ('ain @Wheel.Id="w1"', "@Car.Number=1"))

    def test_an_instance_is_created_changed_and_deleted(self):
        show = "owshow -n story --instances Car; owshow story:Car.Number=3"
        found = self.play(
            show, self.command('ci @Car.Number=3 Number=3,Color="green"'), show,
            self.command('ci @Car.Number=3 Number=3'),
            self.command('mi @Car.Number=3 Color="white"'), show,
            self.command('mi @Car.Number=9 Color="white"'),
            self.command('mi @Car.Number=3 Wheels=4'),
            self.command("ci @None.Number=3 Number=3"), show,
            self.command("di @Car.Number=3"), self.command("di @Car.Number=3"),
            self.command("di @None.Number=3"), show)
        others = "story:Car.Number=1\n"
        mof = "story:Car.Number=3\nstory:Truck.Number=2\ninstance of Car\n{{\n    Number = 3;\n    Color = \"{}\";\n}};"
        before = found[0]
        self.assertEqual(before.status, 1)
        self.assertIn(others + "story:Truck.Number=2\n", before.text)
        no_class = refusal('Cim: (5) CIM_ERR_INVALID_CLASS: invalid class: there is no class "None"')
        missing = refusal("Cim: (6) CIM_ERR_NOT_FOUND: not found: there is no instance Car.Number={}")
        self.assertEqual(found[1:], [
            Answer(0, self.own("Car.Number=3")), Answer(0, others + mof.format("green")),
            refusal("Cim: (11) CIM_ERR_ALREADY_EXISTS: already exists: the instance Car.Number=3 exists already"),
            Answer(0, ""), Answer(0, others + mof.format("white")),
            Answer(16, missing.text.format(9)),
            refusal("Cmd Exception: Undefined attribute(s) specified: Wheels"),
            refusal('Cim: (6) CIM_ERR_NOT_FOUND: not found: there is no class "None"'), Answer(0, others + mof.format("white")),
            Answer(0, ""), Answer(16, missing.text.format(3)), no_class, before])

    def test_an_association_is_created(self):
        created, walked = self.ask(
            'ci @CarWheel.Whole=Car.Number=2,Part=Wheel.Id="w1" Whole=Truck.Number=2,Part=Wheel.Id="w1"',
            'ain @Wheel.Id="w1"')
        self.assertEqual(created.status, 0, created.text)
        self.assertEqual(walked.text, f"{self.own('Car.Number=1')}\n{self.own('Truck.Number=2')}")

    def test_a_class_is_deleted(self):
        show = "owshow -n story --classes"
        found = self.play(show, self.command("dc @Car"), self.command("dc @Wheel"),
                          self.command("dc @None"), show, self.command("dc @Empty"), show)
        self.assertEqual(found[0].text, "Car\nCarWheel\nEmpty\nTruck\nWheel")
        for answer, code in zip(found[1:4], ("(8) CIM_ERR_CLASS_HAS_CHILDREN",
                                             "(9) CIM_ERR_CLASS_HAS_INSTANCES",
                                             "(6) CIM_ERR_NOT_FOUND")):
            self.assertEqual(answer.status, 16)
            self.assertIn(f"wbemcli: Cim: {code}: ", answer.text)
        self.assertEqual(found[4:], [found[0], Answer(0, ""), Answer(0, "Car\nCarWheel\nTruck\nWheel")])

    def test_what_is_not_supported_changes_nothing(self):
        refused = "Cim: (7) CIM_ERR_NOT_SUPPORTED: not supported: "
        self.assert_refused(
            ("sp @Car.Number=1 Color=green", refused + 'this server has no method "SetProperty"'),
            ("cm @Car.Number=1 Stop", refused + "no class has a method that can be called"))
        self.assert_answers(
            ("cmx @Car.Number=1 Stop", '<METHODRESPONSE NAME="Stop"><ERROR CODE="7" DESCRIPTION='
             '"not supported: no class has a method that can be called"/></METHODRESPONSE>'))

    def test_the_object_manager_is_found_by_the_usual_names(self):
        self.grant(USER, "root", "r")
        spaces = r'(.*,Name="(root|root/security|kov|story)"\n?){4}'
        for ns in ("root", "interop", "root/interop"):
            names, manager, profile = self.ask(
                "ein @CIM_Namespace", "ein @CIM_ObjectManager", "ein @CIM_RegisteredProfile", ns=ns)
            self.assertRegex(names.text, rf"\A{spaces}\Z")
            self.assertRegex(manager.text, r'\A[^\n]*,Name="owcimomd"\Z')
            self.assertRegex(profile.text, r'\A[^\n]*InstanceID="KOV:[^\n]*"\Z')

    def test_each_operation_is_refused_without_its_right(self):
        self.assert_refused(
            *((f"{operation} {line}", DENIED.format(OTHER, right, "story"))
              for operation, line, right in OPERATIONS), user=OTHER)

    def test_each_change_is_refused_to_who_may_only_read(self):
        self.grant(OTHER, "story", "rR")
        self.assert_refused(
            *((line, DENIED.format(OTHER, f"write {what}", "story")) for line, what in (
                ("ci @Car.Number=3 Number=3", "instances"), ("di @Car.Number=1", "instances"),
                ("mi @Car.Number=1 Color=green", "instances"), ("dc @Empty", "classes"))), user=OTHER)
        self.assert_answers(("gp @Car.Number=1 Color", "red"), user=OTHER)

    def test_each_operation_is_refused_to_who_may_not_connect(self):
        before = self.rows()
        for answer in self.ask(*(f"{operation} {line}" for operation, line, _ in OPERATIONS),
                               user=STRANGER):
            self.assertEqual(answer.status, 16)
            self.assertRegex(answer.text, rf"\(2\) CIM_ERR_ACCESS_DENIED: .*{STRANGER}")
        self.assertEqual(self.rows(), before)

    def test_who_says_no_right_password_is_refused(self):
        wrong = refusal("Http Exception: Invalid username/password.")
        line = f"wbemcli {self.options()} ein {{}}:Car"
        answers = self.play(*(line.format(url) for url in (
            self.url(password="guess"), self.url("root"), self.url("owcimomd"), self.url("nobody"),
            f"{self.scheme}://{self.host}/story", self.url())))
        self.assertEqual(answers[:5], [wrong] * 4 + [refusal("Http Exception: Username/password required.")])
        self.assertEqual(answers[5].status, 0)

    def test_a_namespace_that_is_not_there_is_refused_like_one_of_others(self):
        for ns in ("elsewhere", "root/security"):
            self.assert_refused(("ein @Car", DENIED.format(USER, "read instances", ns)), ns=ns)

    def test_text_that_xml_cannot_hold_is_named(self):
        self.shell("echo 'instance of Truck { Number = 4; Color = \"a\\x1bz\"; };' |"
                   "owmofc -n story - >/dev/null")
        told = ('Cim: (1) CIM_ERR_FAILED: failed: property "Color" of instance of class "Truck" cannot '
                "be sent as XML: it has a character at byte 2 that XML cannot hold")
        self.assert_refused(("gi @Truck.Number=4", told), ("ei @Truck", told))
        self.assert_answers(("ein @Truck", "@Truck.Number=2\n@Truck.Number=4"),
                            ("gi @Truck.Number=4 Load", '@Truck.Number="4" Load='))

    def test_many_instances_are_read(self):
        text = "".join(f'instance of Truck {{ Number = {number}; Color = "{"x" * 100}"; }};\n'
                       for number in range(10, 3010))
        with open(f"{self.root}/many.mof", "w", encoding="ascii") as file:
            file.write(text)
        self.shell(f"owmofc -n story {self.root}/many.mof >/dev/null")
        plain, chunked, names = self.ask("ei @Truck", "-cte ei @Truck", "ein @Truck")
        lines = plain.text.splitlines()
        self.assertEqual(len(lines), 3001)
        self.assertIn(self.own(f'Truck.Number=3009 Number=3009,Color="{"x" * 100}",Load='), lines)
        self.assertEqual((chunked.status, sorted(chunked.text.splitlines())), (0, sorted(lines)))
        self.assertEqual(names.text.splitlines(), [line.split(" ")[0] for line in lines])


class OverTls(OverHttp):
    scheme = "https"
    needed = ("wbemcli", "openssl")

    def more_configuration(self):
        return (CERTIFICATE + f"echo owcimomd.tls_certificate = {KEYS}.crt >>{CONFIG};"
                f"echo owcimomd.tls_key = {KEYS}.key >>{CONFIG};")

    def options(self):
        return f"-cacert {KEYS}.crt"

    def test_a_certificate_that_is_not_trusted_is_refused(self):
        url = self.url() + ":Car"
        unknown, unchecked, plain, trusted = self.play(
            f"wbemcli ein {url}", f"wbemcli -noverify ein {url}",
            f"wbemcli ein {url.replace('https', 'http')}", self.command("ein @Car"))
        self.assertEqual(unknown.status, 16)
        self.assertRegex(unknown.text, re.compile("Http Exception: .*certificate"))
        self.assertEqual(unchecked, trusted)
        self.assertEqual(trusted.status, 0)
        self.assertEqual(plain.status, 16)
        self.assertIn("Http Exception: ", plain.text)
