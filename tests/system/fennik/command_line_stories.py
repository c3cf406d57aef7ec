# SPDX-License-Identifier: Apache-2.0
"""The command line: how it is read, what a run carries out and prints, and how it ends."""

import os
import signal
import subprocess

from harness import FENNIK, Result, Story, read, run, usage

USAGE_TAIL = """\
Option Dependencies:

 Product Registration:
  --register --name <productName> --username <userName>
  --deregister --name <productName>
  --list-registered-products
    Note: --username can be called more than once, and refers to the ability to connect, not acl
          entries (done in registerNamespace)

 owcimomd configuration:
  --remove-owcimomd-config --name <productName>
  --get-owcimomd-config --name <productName>
  --set-owcimomd-config <cfg_file_path> --name <productName>
    Note: If <cfg_file_path> is "-" the config file is read from stdin.

 Provider Registration:
  --list-providers --name <productName>
  --register-providers <provider_list_path> --name <productName>
    Note: If <provider_file_path> is "-" the provider sources are read from stdin.
    Note: All previous providers that aren't part of the new set will be removed.

 Namespace Registration:
  --register-namespace <namespace> --name <productName> --username <userName> --ro-username <userName>
    Note: <namespace> must begin with <productName>
    Note: --register-namespace can be called more than once
    Note: --username/ro-username can be called more than once

  --deregister-namespace <namespace> --name <productName> --username <userName>
  --list-namespaces --name <productName>
"""

OPTIONS = """help version name username register deregister list-registered-products
set-owcimomd-config remove-owcimomd-config get-owcimomd-config register-providers list-providers
register-namespace deregister-namespace list-namespaces dump-product-state restore-product-state
log-file kov-build-system-dest-dir ro-username""".split()


class UsageText(Story):
    def test_frames_the_option_list(self):
        self.assertTrue(usage().startswith("Usage: fennik [options]\n\n"))
        self.assertTrue(usage().endswith("\n\n" + USAGE_TAIL))

    def test_lists_the_options_in_the_order_of_the_table(self):
        listing = usage()[: -len(USAGE_TAIL)]
        places = [listing.find("--" + name) for name in OPTIONS]
        self.assertNotIn(-1, places)
        self.assertEqual(places, sorted(places))
        self.assertIn("Show help about options.", listing)

    def test_no_line_of_the_listing_is_wider_than_eighty(self):
        listing = usage()[: -len(USAGE_TAIL)]
        self.assertLessEqual(max(map(len, listing.splitlines())), 80)


class NoOperation(Story):
    def test_is_an_error_after_the_lock_was_taken(self):
        for words in ([], ["--version"], ["-v"], ["--name", "sample"], ["stray", "words"]):
            with self.subTest(words=words):
                result = self.fennik(*words)
                self.assertEqual(result, Result(1, "", "No options supplied.\n" + usage()))
                self.assertTrue(os.path.exists(self.tree.lock_file))
                os.unlink(self.tree.lock_file)

    def test_with_only_a_log_file_is_the_same_error(self):
        log = self.tree.directory + "/log"
        result = self.fennik("--log-file", log)
        self.assertEqual(result, Result(1, "", "No options supplied.\n" + usage()))
        self.assertTrue(os.path.exists(log))

    def test_is_looked_for_after_the_repository_was_opened(self):
        os.unlink(self.tree.repository + "/repository.db")
        self.assert_other_failure(self.fennik(), self.tree.repository, "CIMException")


class Help(Story):
    def test_wins_over_an_operation_and_takes_no_lock(self):
        for word in ("--help", "-h"):
            result = self.fennik("--register", "--name", "sample", "--username", "u", word)
            self.assertEqual(result, Result(0, "", usage()))
        self.assertFalse(os.path.exists(self.tree.lock_file))

    def test_needs_no_root(self):
        result = run(self.as_nobody(FENNIK, "--help", "--list-registered-products"))
        self.assertEqual(result, Result(0, "", usage()))


class Parsing(Story):
    def test_unknown_option_is_named_before_the_usage(self):
        result = self.fennik("--frob")
        self.assertEqual((result.status, result.out), (1, ""))
        self.assertTrue(result.err.startswith("Invalid option: "), result.err)
        self.assertIn("frob", result.err.splitlines()[0])
        self.assertTrue(result.err.endswith("\n" + usage()))

    def test_abbreviations_are_unknown_options(self):
        result = self.fennik("--list-registered")
        self.assertTrue(result.err.startswith("Invalid option: "), result.err)
        self.assertEqual(result.status, 1)

    def test_missing_argument_is_named_before_the_usage(self):
        result = self.fennik("--name")
        self.assertEqual((result.status, result.out), (1, ""))
        self.assertTrue(result.err.startswith("Argument not specified for option: "), result.err)
        self.assertIn("name", result.err.splitlines()[0])
        self.assertTrue(result.err.endswith("\n" + usage()))

    def test_argument_may_begin_with_a_dash(self):
        self.register("--odd", "--name", "-u")
        self.assertEqual(
            self.fennik("--list-registered-products"), Result(0, "--odd\n", "")
        )

    def test_parser_errors_take_no_lock(self):
        self.fennik("--frob")
        self.assertFalse(os.path.exists(self.tree.lock_file))


class RequiredValues(Story):
    def test_missing_ones_end_with_the_usage_alone(self):
        name = ["--name", "sample"]
        for words in (
            ["--register", *name],
            ["--register", "--username", "u"],
            ["--deregister"],
            ["--set-owcimomd-config", "/x"],
            ["--remove-owcimomd-config"],
            ["--get-owcimomd-config"],
            ["--register-providers", "/x"],
            ["--list-providers"],
            ["--register-namespace", "sample", *name],
            ["--register-namespace", "sample", "--username", "u"],
            ["--deregister-namespace", "sample"],
            ["--list-namespaces"],
        ):
            with self.subTest(words=words):
                self.assert_usage_alone(self.fennik(*words))


class Dispatch(Story):
    def test_first_operation_in_the_fixed_order_is_the_only_one(self):
        result = self.fennik(
            "--list-namespaces", "--register", "--name", "sample", "--username", "u"
        )
        self.assert_silent_success(result)
        result = self.fennik("--list-namespaces", "--list-registered-products", "--name", "x")
        self.assertEqual(result, Result(0, "sample\n", ""))

    def test_last_destination_given_counts(self):
        result = run([FENNIK, "--kov-build-system-dest-dir", "/nonexistent"]
                     + self.tree.command("--list-registered-products")[1:])
        self.assertEqual(result, Result(0, "", ""))


class StandardOutput(Story):
    def test_that_cannot_be_written_is_an_error(self):
        self.register()
        with open("/dev/full", "wb") as full:
            done = subprocess.run(
                self.tree.command("--list-registered-products"),
                stdout=full, stderr=subprocess.PIPE, timeout=60, check=False,
            )
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"No space left on device", done.stderr)

    def test_whose_reader_has_gone_ends_the_listing_quietly(self):
        self.register()
        reader, writer = os.pipe()
        os.close(reader)
        done = subprocess.run(
            self.tree.command("--list-registered-products"),
            stdout=writer, stderr=subprocess.PIPE, timeout=60, check=False,
        )
        os.close(writer)
        self.assertEqual((done.returncode, done.stderr), (-signal.SIGPIPE, b""))

    def test_closed_reader_is_an_error_where_the_signal_is_ignored(self):
        self.register("sample")
        reader, writer = os.pipe()
        os.close(reader)
        done = subprocess.run(
            ["sh", "-c", "trap '' PIPE; exec \"$@\"", "sh",
             *self.tree.command("--list-registered-products")],
            stdout=writer, stderr=subprocess.PIPE, timeout=60, check=False,
        )
        os.close(writer)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"Unable to write to standard output: 32(Broken pipe)", done.stderr)

    def test_that_is_closed_gets_into_no_file(self):
        self.register()
        before = self.tree.state()
        command = ["sh", "-c", 'exec "$@" <&- >&- 2>&-', "sh"]
        result = run(command + self.tree.command("--list-registered-products"))
        self.assertEqual(result.status, 1)
        self.assertEqual(self.tree.state(), before)
        self.assertRegex(read(self.tree.lock_file), rb"\A\d+\n\Z")
