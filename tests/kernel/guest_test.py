#!/usr/bin/env python3
"""The guest that the tests of this folder run in.

  guest_test.py [LIBRARY]    the library that its kernel is started with
"""

import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time
import unittest

import guest

PRELOAD = []
PATIENCE = 120.0
OURS = pathlib.Path(__file__).with_name("guest.py")


class Guest(unittest.TestCase):
    def setUp(self):
        missing = guest.what_is_missing()
        if missing:
            self.skipTest(missing)

    @staticmethod
    def start(*arguments, **how):
        return subprocess.Popen([sys.executable, "-B", str(OURS), *PRELOAD, *arguments],
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **how)

    def run_in_it(self, *arguments, **how):
        """The exit status, and what was printed."""
        sut = self.start(*arguments, **how)
        said, _ = sut.communicate(timeout=PATIENCE)
        return sut.returncode, said

    def test_a_command_s_exit_status_and_output_are_handed_out(self):
        self.assertEqual(self.run_in_it("--", "sh", "-c", "echo out; echo err >&2; exit 3"),
                         (3, "out\nerr\n"))
        self.assertEqual(self.run_in_it("--", "printf", "%s;", "a b", "'", '"$HOME'),
                         (0, "a b;';\"$HOME;"))

    def test_a_command_that_is_killed_fails(self):
        status, _ = self.run_in_it("--", "sh", "-c", "kill -9 $$")
        self.assertEqual(status, 128 + signal.SIGKILL)

    def test_it_is_root_of_a_kernel_of_its_own_in_the_same_folder(self):
        with tempfile.TemporaryDirectory() as folder:
            pathlib.Path(folder, "note").write_text("here")
            status, said = self.run_in_it(
                "--", "sh", "-c", "id -u; cat note; uname -r; pwd; touch x", cwd=folder)
            self.assertNotEqual(status, 0)  # read-only
            self.assertRegex(said, r"\A0\nhere\d")
            self.assertIn(f"\n{folder}\n", said)
            self.assertNotIn(os.uname().release, said)

    def test_the_modules_of_its_kernel_are_loaded_when_they_are_needed(self):
        status, said = self.run_in_it("--", "sh", "-e", "-c",
                                      "ip link add one type dummy\n"
                                      "ip link add link one name two type vlan id 10\n"
                                      "ip link add three type bridge vlan_filtering 1\n"
                                      "tc qdisc add dev one clsact\n"
                                      "tc filter add dev one ingress flower action drop\n"
                                      "nft add table bridge t")
        self.assertEqual((status, said), (0, ""))

    def test_one_that_hangs_is_killed_and_reported(self):
        status, said = self.run_in_it("--time-limit", "40", "--", "sh", "-c", "echo busy; sleep 999")
        self.assertEqual(status, guest.HUNG)
        self.assertEqual(said, "busy\nguest: the guest did not end within 40 s; it was killed\n")

    def test_one_that_crashes_is_reported_with_what_its_kernel_said(self):
        status, said = self.run_in_it("--", "sh", "-c", "echo c >/proc/sysrq-trigger; sleep 99")
        self.assertEqual(status, guest.CRASHED)
        self.assertIn("Kernel panic", said)
        self.assertRegex(said, r"\nguest: the guest ended \(status .*\) before its command did\n\Z")

    def test_it_ends_with_the_one_that_runs_it(self):
        with tempfile.TemporaryDirectory() as folder:
            sut = self.start("--", "sh", "-c", "echo busy; sleep 999",
                             env={**os.environ, "TMPDIR": folder})
            self.assertEqual(sut.stdout.readline(), "busy\n")
            self.assertTrue(self.processes_of(folder))
            sut.kill()
            sut.communicate(timeout=PATIENCE)
            deadline = time.monotonic() + PATIENCE
            while self.processes_of(folder) and time.monotonic() < deadline:
                time.sleep(0.05)
            self.assertEqual(self.processes_of(folder), [])

    @staticmethod
    def processes_of(folder):
        """Those whose command line names it."""
        found = []
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                if folder.encode() in (process / "cmdline").read_bytes():
                    found.append(process.name)
            except (FileNotFoundError, ProcessLookupError, PermissionError):
                pass
        return found


class WithoutAGuest(unittest.TestCase):
    # Whether a skip is allowed is what some of these ask.
    ENVIRONMENT = {name: value for name, value in os.environ.items() if name != "ORU_KERNEL_TESTS"}

    def run_with_kernel(self, does, **environment):
        """The exit status and output with this for a kernel."""
        with tempfile.TemporaryDirectory() as folder:
            for name, what in (("linux.uml", does), ("modprobe", "")):
                pathlib.Path(folder, name).write_text(f"#!/bin/sh\n{what}\n")
                pathlib.Path(folder, name).chmod(0o755)
            if not guest.MODULES.is_dir():
                self.skipTest("it would be skipped for its modules")
            done = subprocess.run([sys.executable, "-B", str(OURS), "--", "true"], text=True,
                                  capture_output=True, check=False,
                                  env={**self.ENVIRONMENT, **environment,
                                       "PATH": f"{folder}:{os.environ['PATH']}"})
        return done.returncode, done.stdout

    def test_an_init_that_breaks_is_a_failure(self):
        status, said = self.run_with_kernel("echo Checking...; echo guest: init runs; echo oops")
        self.assertEqual(status, guest.CRASHED)
        self.assertIn("guest: the guest's first process did not come to the command: oops\n", said)

    def test_the_init_says_that_it_runs_before_anything_else(self):
        lines = OURS.with_name("guest_init.sh").read_text().splitlines()
        first = next(line for line in lines if line and not line.startswith("#"))
        self.assertTrue(first.startswith(f'echo "{guest.INIT_RUNS.decode().strip()}"'), first)

    def test_a_skip_is_a_failure_where_the_tests_are_required(self):
        status, said = self.run_with_kernel("echo no ptrace", ORU_KERNEL_TESTS="required")
        self.assertEqual(status, 1)
        self.assertIn("required (ORU_KERNEL_TESTS)", said)

    def test_a_kernel_that_is_not_installed_is_a_reason_to_skip(self):
        with tempfile.TemporaryDirectory() as folder:
            done = subprocess.run([sys.executable, "-B", str(OURS), "--", "true"], text=True,
                                  capture_output=True, check=False, env={"PATH": folder})
        self.assertEqual(done.returncode, guest.SKIPPED)
        self.assertEqual(done.stdout, "skipped: linux.uml is not installed (Debian's package "
                                      "user-mode-linux)\n")

    def test_a_kernel_that_does_not_start_is_a_reason_to_skip_and_its_last_words_are_it(self):
        status, said = self.run_with_kernel("echo Checking...; echo no ptrace; exit 1")
        self.assertEqual(status, guest.SKIPPED)
        self.assertEqual(said, "Checking...\nskipped: the kernel of User-Mode Linux does not "
                                      "start here: no ptrace\n")

    def test_what_cannot_be_skipped_otherwise_is_skipped_when_that_is_said(self):
        done = subprocess.run([sys.executable, "-B", str(OURS), "--skip-because", "it is cold", "--",
                               "false"], text=True, capture_output=True, check=False)
        self.assertEqual((done.returncode, done.stdout), (guest.SKIPPED, "skipped: it is cold\n"))


def main():
    if sys.argv[1:] and os.path.exists(sys.argv[1]):
        PRELOAD[:] = ["--preload", sys.argv.pop(1)]
    result = unittest.main(exit=False).result
    if not result.wasSuccessful():
        sys.exit(1)
    # Those without a guest run anywhere; without the others there is no such kernel here.
    for test, why in result.skipped:
        print(f"skipped: {test.id()}: {why}")
    if result.skipped and os.environ.get("ORU_KERNEL_TESTS") == "required":
        sys.exit(1)
    if result.skipped and len(result.skipped) == result.testsRun:
        sys.exit(77)


if __name__ == "__main__":
    main()
