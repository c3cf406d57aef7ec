# SPDX-License-Identifier: Apache-2.0
"""Every step of a copy and its swap fails once. The live repository is then as it was, to the byte,
and nothing is left behind."""

import errno
import os
import subprocess

from harness import UNDO_HEAD, read, run, write
from machine import (
    BACKUP, COPY, DATA, DEREGISTER, FENNIK, KEPT, LIVE, PLAY, SAVED, MachineStory,
)

OWCIMOMD_CANNOT_MOVE = "Unable to move {0} to {1}. ::rename set errno = {2}"


class MakingACopy(MachineStory):
    def test_is_refused_while_an_earlier_one_is_there(self):
        os.mkdir(COPY)
        write(COPY + "/precious", b"kept")
        before = self.state()
        self.assert_fennik_failure(
            run(DEREGISTER), 26,
            "An error occured while creating a copy of the repository. "
            f"{COPY} : directory already exists. You should remove this directory and run fennik "
            "again.",
        )
        self.assertEqual(self.state(), before)

    def test_never_removes_what_was_there_before(self):
        for make in (
            lambda: write(COPY, b"a file"),
            lambda: os.symlink("/nonexistent", COPY),
            lambda: os.symlink(LIVE, COPY),
        ):
            self.reset()
            make()
            before = self.state()
            self.assertEqual(run(DEREGISTER).status, 26)
            self.assertEqual(self.state(), before)

    def test_that_fails_is_reported_and_half_a_copy_removed(self):
        self.play("cp", '"$REAL" "$@"; echo cp is unhappy >&2; exit 9')
        self.assert_fennik_failure(
            run(DEREGISTER), 26,
            f"Unable to copy the repository directory. /bin/cp -pR {LIVE} {COPY} Failed with "
            "status message: exited with status 9\n and output cp is unhappy\n\n",
        )
        self.assert_as_before()

    def test_that_has_made_nothing_leaves_nothing_to_remove(self):
        self.play("cp", "echo cannot; exit 9")
        self.play("rm", "echo cannot; exit 9")
        self.assert_fennik_failure(
            run(DEREGISTER), 26,
            f"Unable to copy the repository directory. /bin/cp -pR {LIVE} {COPY} Failed with "
            "status message: exited with status 9\n and output cannot\n\n",
        )
        self.assert_as_before()

    def test_that_is_killed_is_removed(self):
        self.play("cp", f"mkdir {COPY}; echo half > {COPY}/repository.db; kill -9 $$")
        result = run(DEREGISTER)
        self.assertEqual(result.status, 26)
        self.assertIn("killed by signal 9 (Killed)", result.err)
        self.assert_as_before()

    def test_on_a_full_disk_leaves_no_trace(self):
        size = os.path.getsize(LIVE + "/repository.db") * 3 // 2
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={size}", "tiny", DATA], check=True)
        self.addCleanup(subprocess.run, ["umount", DATA], check=True)
        self.reset()
        self.assert_as_before()
        result = run(DEREGISTER)
        self.assertEqual(result.status, 26)
        self.assertIn("No space left on device", result.err)
        self.assert_as_before()

    def test_of_a_link_is_refused(self):
        os.rename(LIVE, DATA + "/elsewhere")
        os.symlink(DATA + "/elsewhere", LIVE)
        before = self.state()
        self.assert_fennik_failure(
            run(DEREGISTER), 26,
            f"Unable to copy the repository directory. /bin/cp -pR {LIVE} {COPY} Failed with "
            "status message: not run\n and output Nothing was copied: the repository directory is "
            "a link.\n",
        )
        self.assertEqual(self.state(), before)

    def test_without_the_account_runs_nothing_as_root(self):
        lines = [line for line in read("/etc/passwd").decode().splitlines(keepends=True)
                 if not line.startswith("owcimomd:")]
        write(PLAY + "/passwd", "".join(lines).encode())
        os.chmod(PLAY + "/passwd", 0o644)
        subprocess.run(["mount", "--bind", PLAY + "/passwd", "/etc/passwd"], check=True)
        self.addCleanup(subprocess.run, ["umount", "/etc/passwd"], check=True)
        result = run(DEREGISTER)
        self.assertEqual(result.status, 21)  # the first program that fails is the init script
        self.assertIn('The account "owcimomd" does not exist', result.err)
        self.assert_as_before()


class Renaming(MachineStory):
    def test_that_fails_is_undone(self):
        for number, names in ((1, (LIVE, BACKUP)), (2, (COPY, LIVE))):
            with self.subTest(names=names):
                self.reset()
                result = self.with_calls(f"rename:error=EIO:when={number}")
                self.assert_fennik_failure(
                    result, 27, OWCIMOMD_CANNOT_MOVE.format(*names, errno.EIO)
                )
                self.assert_as_before()

    def test_that_cannot_be_undone_says_what_to_do(self):
        result = self.with_calls("rename:error=EIO:when=2+")
        self.assert_fennik_failure(
            result, 27, OWCIMOMD_CANNOT_MOVE.format(COPY, LIVE, errno.EIO),
            before=UNDO_HEAD + f"The attempt to rename the file {BACKUP} to {LIVE} failed with "
            f"exit code {errno.EIO}\nOnce the cause of the error has been resolved, to restore KOV "
            "to a valid state you should\nrename the file manually.\n",
        )
        self.assertEqual(os.listdir(DATA), [os.path.basename(BACKUP)])
        self.not_running()
        listing = run([FENNIK, "--list-namespaces", "--name", "sample"])
        self.assert_other_failure(listing, f'rename "{BACKUP}" to "{LIVE}"')
        os.rename(BACKUP, LIVE)
        self.assert_as_before()

    def test_onto_an_old_backup_fails_and_says_what_to_do(self):
        os.mkdir(BACKUP)
        write(BACKUP + "/repository.db", b"old")
        before = self.state()
        self.assert_fennik_failure(
            run(DEREGISTER), 27, OWCIMOMD_CANNOT_MOVE.format(LIVE, BACKUP, errno.ENOTEMPTY),
            cause="Remove it and run fennik again",
        )
        self.assertEqual(self.state(), before)

    def test_onto_an_empty_directory_replaces_it(self):
        os.mkdir(BACKUP)
        self.assert_silent_success(run(DEREGISTER))
        self.assert_done()


class RemovingTheBackup(MachineStory):
    def assert_removal_failed(self, result, status="exited with status 1", output="cannot\n"):
        self.assert_fennik_failure(
            result, 28,
            f"Unable to remove temporary directory: /bin/rm -rf {BACKUP} \n {status} \n {output}",
        )
        self.assert_as_before()
        self.assertEqual(os.lstat(LIVE + "/repository.db").st_nlink, 1)
        self.assertEqual(self.namespaces(), ["sample/a", "sample/b"])

    def test_that_fails_puts_the_old_repository_back(self):
        self.play_rm("echo cannot; exit 1")
        self.assert_removal_failed(run(DEREGISTER))

    def test_that_has_removed_the_file_and_fails_puts_it_back(self):
        self.play_rm('"$REAL" "$2/repository.db"; echo cannot; exit 1')
        self.assert_removal_failed(run(DEREGISTER))

    def test_that_has_removed_everything_and_fails_puts_it_back(self):
        self.play_rm('"$REAL" "$@"; echo cannot; exit 1')
        self.assert_removal_failed(run(DEREGISTER))

    def test_that_is_killed_puts_it_back(self):
        self.play_rm('"$REAL" "$2/repository.db"; kill -9 $$')
        self.assert_removal_failed(run(DEREGISTER), "killed by signal 9 (Killed)", "")

    def test_puts_back_every_file_of_it(self):
        write(LIVE + "/note", b"by hand")
        os.symlink("note", LIVE + "/link")
        self.before = self.state()
        self.play_rm('"$REAL" "$@"; echo cannot; exit 1')
        self.assert_removal_failed(run(DEREGISTER))

    def test_starts_the_daemon_again(self):
        self.play_rm('"$REAL" "$@"; echo cannot; exit 1')
        self.running(0, 0)
        self.assertEqual(run(DEREGISTER).status, 28)
        self.assertEqual(self.calls(), ["status", "status", "stop", "start"])

    def test_that_cannot_be_undone_says_what_to_do(self):
        self.play_rm('"$REAL" "$2/repository.db"; echo cannot; exit 1')
        result = self.with_calls("renameat:error=EIO")
        self.assertEqual(result.status, 28)
        head = UNDO_HEAD + f"The attempt to put back the files of {BACKUP} failed with error:\n"
        self.assertTrue(result.err.startswith(head), result.err)
        self.assertIn(f"move the files in {KEPT} into the repository directory.", result.err)
        os.rename(KEPT + "/repository.db", LIVE + "/repository.db")
        os.rmdir(KEPT)
        self.assert_as_before()

    def test_of_the_copy_that_fails_is_told(self):
        self.play("rm", "echo cannot; exit 1")
        result = self.with_calls("rename:error=EIO:when=1")
        head = UNDO_HEAD + f"The attempt to delete the directory: {COPY}\nexited with status 1\n"
        self.assertTrue(result.err.startswith(head + "cannot\n\nOnce the cause of"), result.err)
        self.assertIn("you should\ndelete the directory and its contents.\n", result.err)
        self.assertIn("An error has occurred.", result.err)
        self.assertEqual(result.status, 27)


class EverySystemCall(MachineStory):
    """Every system call of a kind fails in turn. The run succeeds, or everything is as it was."""

    def check(self, call, error):
        """Fails each such call in turn. Returns the statuses of the failed runs."""
        failures = set()
        for number, result in self.every(call, f"error={error}"):
            with self.subTest(call=call, number=number):
                if result.status == 0:
                    self.assert_done()
                    continue
                failures.add(result.status)
                self.assertIn("An error has occurred.\n", result.err)
                self.assert_as_before()
        self.assertNotEqual(failures, set(), "no failure was noticed")
        return failures

    def test_that_syncs(self):
        # These sync the changes, the copy and the new names.
        statuses = self.check("fsync", "EIO") | self.check("fdatasync", "EIO")
        self.assertEqual(statuses, {1, 26, 27})

    def test_that_writes(self):
        self.check("pwrite64", "ENOSPC")

    def test_that_renames(self):
        self.check("rename", "EACCES")

    def test_that_makes_second_names(self):
        self.assertEqual(self.check("linkat", "EPERM"), {28})

    def test_that_makes_directories(self):
        self.assertEqual(self.check("mkdirat", "ENOSPC"), {28})

    def test_that_starts_programs(self):
        for call in ("clone", "clone3", "vfork"):
            for number, result in self.every(call, "error=EAGAIN"):
                with self.subTest(call=call, number=number):
                    if result.status != 0:
                        # When rm cannot be started, the copy may stay, and the message says so.
                        self.assertEqual(read(LIVE + "/repository.db"),
                                         read(SAVED + "/repository/repository.db"))
