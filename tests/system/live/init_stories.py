# SPDX-License-Identifier: Apache-2.0
"""The init script of the daemon: the exit status and the text of every command, as root and as the
account owcimomd."""

from live import AS_ACCOUNT, CONFIG, DAEMON, INIT, PID_FILE, REPOSITORY, LiveStory

NOT_RUNNING = "owcimomd does not run"
STARTED = r"owcimomd was started \(process \d+\)"
ALREADY = r"owcimomd runs already \(process \d+\)"
RUNS = r"owcimomd runs \(process \d+\)"
STOPPED = "owcimomd was stopped"
STALE = f"{NOT_RUNNING}, but its pid file {PID_FILE} is there"

# Starts another process of the account and writes its id into the pid file.
SOMEBODY_ELSE = (
    f"{AS_ACCOUNT} sleep 1000 & sleep 0.2; pidof sleep >{PID_FILE}; chown owcimomd {PID_FILE};"
)
# Neither root nor the account of the daemon, so it cannot see what the daemon has open.
AS_SOMEBODY_ELSE = "setpriv --reuid=65534 --regid=65534 --clear-groups --"
# Stops the daemon, so that it does not react. The patience is short, so that the test is.
STOPPED_PROCESS = f"kill -STOP $(cat {PID_FILE})"
IMPATIENT = "OWCIMOMD_PATIENCE=1"
# Kills the daemon and waits until it has gone: until then it holds the lock on its pid file.
KILLED = (
    f"killed=$(cat {PID_FILE}); kill -9 $killed;"
    "while kill -0 $killed 2>/dev/null; do sleep 0.05; done"
)


class Init(LiveStory):
    """As root, like at boot."""

    AS = ""

    def init(self, command, environment=""):
        words = ["env", environment] if environment else []
        return " ".join([*self.AS.split(), *words, INIT, command])

    def assert_init(self, *rows):
        """Runs commands of the script. Each row is a command, its status and its text."""
        self.assert_steps(*[(self.init(command), *rest) for command, *rest in rows])

    def setUp(self):
        super().setUp()
        self.need_daemon()

    def test_starts_and_stops(self):
        self.assert_init(
            ("status", 3, NOT_RUNNING),
            ("start", 0, STARTED),
            ("status", 0, RUNS),
            ("stop", 0, STOPPED),
            ("status", 3, NOT_RUNNING),
        )

    def test_start_returns_when_the_daemon_answers_and_stop_when_it_has_gone(self):
        self.assert_steps(
            (f"{self.init('start')} && {DAEMON} --ping", 0, ".*"),
            (f"{self.init('stop')} && ! pidof owcimomd && ! {DAEMON} --ping", 0, ".*"),
            # The repository is not locked any more.
            ("owdeletenamespace nosuch", 1, '.*"nosuch".*'),
        )

    def test_starting_twice_and_stopping_twice_is_no_failure(self):
        self.assert_init(
            ("start", 0, STARTED), ("start", 0, ALREADY), ("stop", 0, STOPPED),
            ("stop", 0, NOT_RUNNING),
        )

    def test_two_starts_at_once_start_one_daemon(self):
        start = self.init("start")
        out = self.shell(
            f"for n in 1 2 3 4; do ({start} >/dev/null 2>&1; echo $?) & done; wait; pidof owcimomd | wc -w"
        )
        self.assertEqual(out.split(), ["0"] * 4 + ["1"])

    def test_restarts(self):
        pid = f"cat {PID_FILE}"
        self.assert_steps(
            (self.init("try-restart"), 0, ""),
            (self.init("restart"), 0, f"{NOT_RUNNING}\n{STARTED}"),
            (f"a=$({pid}); {self.init('restart')}; b=$({pid}); test $a != $b", 0,
             f"{STOPPED}\n{STARTED}"),
            (self.init("force-reload"), 0, f"{STOPPED}\n{STARTED}"),
            (self.init("try-restart"), 0, f"{STOPPED}\n{STARTED}"),
        )

    def test_runs_the_daemon_as_the_account_without_groups(self):
        out = self.shell(
            f"{self.init('start')} >/dev/null; grep -E '^(Uid|Gid|Groups):' /proc/$(cat {PID_FILE})/status;"
            "id -u owcimomd"
        )
        *lines, account = [line.split() for line in out.splitlines()]
        for name, *ids in lines:
            self.assertLessEqual(set(ids), set(account), name)

    def test_daemon_holds_nothing_of_its_caller(self):
        out = self.shell(
            f"exec 7</etc/passwd; {self.init('start')} >/tmp/h-out.$$ 2>&1; cat /tmp/h-out.$$;"
            f"rm /tmp/h-out.$$; ls -l /proc/$(cat {PID_FILE})/fd"
        )
        self.assertNotIn("/etc/passwd", out)
        self.assertNotIn("h-out", out)

    def test_killed_daemon_leaves_a_pid_file_that_is_no_obstacle(self):
        self.assert_steps(
            (f"{self.init('start')}; {KILLED}", 0, STARTED),
            (self.init("status"), 1, STALE),
            (self.init("start"), 0, STARTED),
            (self.init("status"), 0, RUNS),
            (KILLED, 0, ""),
            (self.init("stop"), 0, NOT_RUNNING),
            (self.init("status"), 3, NOT_RUNNING),
        )

    def test_lock_on_another_file_is_not_that_of_the_pid_file(self):
        status = f"{AS_SOMEBODY_ELSE} {INIT} status"
        self.assert_steps(
            (f"{self.init('start')}; mv {PID_FILE} {PID_FILE}-away", 0, STARTED),
            (f"cp -p {PID_FILE}-away {PID_FILE}; {self.init('status')}", 1, STALE),
            (status, 1, STALE),
            (f"mv {PID_FILE}-away {PID_FILE}; {self.init('status')}", 0, RUNS),
            (status, 0, RUNS),
        )

    def test_pid_file_that_is_open_is_not_locked(self):
        self.assert_steps(
            (f"touch {PID_FILE}; chown owcimomd {PID_FILE};"
             f"{AS_ACCOUNT} sleep 1000 <{PID_FILE} >/dev/null 2>&1 & sleep 0.2;"
             f"pidof sleep >{PID_FILE}; {self.init('status')}", 1, STALE),
        )

    def test_daemon_runs_whoever_may_look_at_it(self):
        other_group = AS_ACCOUNT.replace("--regid=owcimomd", "--regid=65534")
        self.assertNotEqual(other_group, AS_ACCOUNT)
        self.assert_steps(
            (self.init("start"), 0, STARTED),
            (f"{other_group} {INIT} status", 0, RUNS),
            (f"{other_group} {INIT} stop", 0, STOPPED),
            (self.init("status"), 3, NOT_RUNNING),
        )

    def test_process_of_somebody_else_is_left_alone(self):
        out = self.shell(
            f"{SOMEBODY_ELSE} {self.init('status')}; echo $?; {self.init('stop')}; echo $?;"
            f"{SOMEBODY_ELSE} {self.init('start')}; echo $?; pidof sleep | wc -w"
        )
        self.assertEqual([word for word in out.split() if word.isdigit()], ["1", "0", "0", "2"])

    def test_what_is_no_number_in_the_pid_file_is_nobody(self):
        for content in ("", "-1", "1 2", "0", "99999999999999999999", "$(touch /tmp/x)", "\\377"):
            with self.subTest(content=content):
                self.assert_steps(
                    (f"printf \"%b\" \"{content}\" >{PID_FILE}; {self.init('status')}", 1,
                     f".*{STALE}"),
                    (f"chown owcimomd {PID_FILE}; {self.init('start')}", 0, STARTED),
                )

    def test_pipe_in_place_of_the_pid_file_is_not_waited_for(self):
        self.assert_steps(
            (f"rm -f {PID_FILE}; mkfifo {PID_FILE}; {self.init('status')}", 1, f".*{STALE}"),
        )

    def test_daemon_that_does_not_end_is_killed(self):
        self.assert_steps(
            (f"{self.init('start')}; {STOPPED_PROCESS}", 0, STARTED),
            (self.init("stop", IMPATIENT), 0,
             r"owcimomd \(process \d+\) did not end within 1 seconds and was killed"),
            (self.init("status"), 3, NOT_RUNNING),
            (self.init("start"), 0, STARTED),
        )

    def test_daemon_that_is_started_meanwhile_is_left_alone(self):
        out = self.shell(
            f"{self.init('start')} >/dev/null; {STOPPED_PROCESS}; old=$(cat {PID_FILE});"
            f"{self.init('stop', 'OWCIMOMD_PATIENCE=30')} & script=$!; sleep 1; kill -STOP $script;"
            f"{KILLED}; {self.AS} {DAEMON}; new=$(cat {PID_FILE}); kill -CONT $script;"
            f"wait $script; echo $?; sleep 0.5; test $new != $old && kill -0 $new && {DAEMON} --ping"
        )
        self.assertEqual(out, "owcimomd was stopped\n0\n")

    def test_daemon_that_does_not_answer_is_no_success(self):
        self.assert_steps(
            (f"{self.init('start')}; {STOPPED_PROCESS}", 0, STARTED),
            (self.init("start", IMPATIENT), 1,
             r"owcimomd runs already \(process \d+\) but does not answer"),
            (KILLED, 0, ""),
        )

    def test_configuration_that_cannot_be_read(self):
        self.assert_steps(
            (self.init("start"), 0, STARTED),
            (f"chmod 600 {CONFIG}; {self.init('restart')}", 6,
             f"the configuration {CONFIG} cannot be read by owcimomd"),
            # The daemon was not stopped, because a new one could not start.
            (self.init("status"), 0, RUNS),
            (self.init("stop"), 0, STOPPED),
            (self.init("start"), 6, f"the configuration {CONFIG} cannot be read by owcimomd"),
            (f"rm {CONFIG}; {self.init('start')}", 6,
             f"there is no configuration {CONFIG}; run kov-setup"),
        )

    def test_daemon_that_cannot_start_says_why(self):
        self.assert_steps(
            (f"mv {REPOSITORY} {REPOSITORY}-away; {self.init('start')}", 1,
             f".*{REPOSITORY}.*\nowcimomd could not be started \\(exit status 1\\)"),
            (self.init("status"), 3, NOT_RUNNING),
        )

    def test_daemon_that_is_not_there_or_does_not_stay(self):
        self.replace(DAEMON, "#!/bin/sh\nexit 0\n")
        self.assert_init(("start", 1, "owcimomd ended right after it was started"))
        self.assert_steps(
            (f"rm {DAEMON}; {self.init('start')}", 5, f"{DAEMON} is not installed"),
            (self.init("status"), 3, NOT_RUNNING),
        )

    def test_unknown_command_is_a_usage_error(self):
        usage = f"usage: {INIT} {{start|stop|restart|try-restart|force-reload|status}}"
        for words in ("", "reload", "start stop", "--help"):
            with self.subTest(words=words):
                self.assert_steps((self.init(words), 2, usage.replace("|", r"\|")))


class InitAsTheAccount(Init):
    """As the account, like fennik runs it."""

    AS = AS_ACCOUNT


class InitAsSomebodyElse(LiveStory):
    AS = AS_SOMEBODY_ELSE

    def test_tells_whether_the_daemon_runs_and_does_nothing_else(self):
        self.need_daemon()
        self.assert_steps(
            (f"{self.AS} {INIT} status", 3, NOT_RUNNING),
            (f"{self.AS} {INIT} start", 4, "only root and owcimomd may start owcimomd"),
            (f"{INIT} start", 0, STARTED),
            (f"{self.AS} {INIT} status", 0, RUNS),
            (f"{self.AS} {INIT} stop", 4, "only root and owcimomd may stop owcimomd"),
            (f"{self.AS} {INIT} restart", 4, "only root and owcimomd may restart owcimomd"),
        )

    def test_without_the_account_nothing_runs(self):
        hide = "sed /^owcimomd:/d /etc/passwd >/mnt/passwd; mount --bind /mnt/passwd /etc/passwd;"
        self.assert_steps(
            (f"mount -t tmpfs x /mnt; {hide} {INIT} status", 3,
             f'{NOT_RUNNING}: there is no account "owcimomd"'),
            (f"{INIT} stop", 0, f'{NOT_RUNNING}: there is no account "owcimomd"'),
            (f"{INIT} start", 6, 'there is no account "owcimomd" to run as; run kov-setup'),
        )

    def test_an_account_with_a_root_id_runs_nothing(self):
        refusal = 'the account "owcimomd" has root\'s user or group id'
        for ids in ("0:4802", "4801:0"):
            with self.subTest(ids=ids):
                change = (f"sed s/^owcimomd:x:[^:]*:[^:]*:/owcimomd:x:{ids}:/ /etc/passwd "
                          ">/mnt/passwd; mount --bind /mnt/passwd /etc/passwd;")
                self.assert_steps(
                    (f"mount -t tmpfs x /mnt; {change} {INIT} start", 6, refusal),
                    (f"{INIT} status", 4, refusal),
                    ("mount -t tmpfs x /var/opt/tarvo/kov; /opt/tarvo/kov/sbin/kov-setup", 1,
                     'kov-setup: error: The account "owcimomd" has root\'s user or group id, and '
                     "nothing is run as root; give it ids of its own"),
                )
