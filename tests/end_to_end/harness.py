"""What the tests of the two programs share: an agent with tables of its own, what the reader makes of
them, and links in a network namespace of their own.

Each test is a program, called with the folder that oru-agentd and oru-counters are in, and the names
of the tests to run, all of them if there are none. Tests with links need to be root; without it they
are skipped, and if nothing else was asked for the exit status is 77.
"""

import ctypes
import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

PROGRAMS = pathlib.Path(".")
PATIENCE = 60.0  # seconds; only a test that fails waits this long
CLONE_NEWNET = 0x40000000
ETH_P_ALL = 3
# The local experimental EtherType: nobody answers it.
EXPERIMENTAL = b"\x88\xb5"


def await_that(what, condition):
    """The first true value that CONDITION answers; a failure that says WHAT after PATIENCE."""
    deadline = time.monotonic() + PATIENCE
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise AssertionError(f"waited {PATIENCE} s in vain for: {what}")
        time.sleep(0.02)  # the programs that are waited for need the processor


class Programs(unittest.TestCase):
    """Tables in a directory of their own, an agent that writes them, and what the reader shows."""

    CHIP = []

    def setUp(self):
        if not os.path.isdir("/dev/shm"):
            self.skipTest("there is no /dev/shm")
        self.tables = tempfile.mkdtemp(prefix="oru-end-to-end-", dir="/dev/shm")
        self.addCleanup(shutil.rmtree, self.tables, ignore_errors=True)
        # A file: whoever writes to a pipe that nobody empties comes to a halt.
        self.said = self.enterContext(tempfile.TemporaryFile("w+"))
        self.agent = None
        self.addCleanup(lambda: self.agent and self.stop_agent(signal.SIGKILL))

    def agent_command(self, *options):
        return [PROGRAMS / "oru-agentd", "--tables", self.tables, *options]

    def start_agent(self, *options):
        self.said.seek(0)
        self.said.truncate()
        self.agent = subprocess.Popen(self.agent_command("--period", "0.05", *self.CHIP, *options),
                                      stderr=self.said)
        def running():
            if self.agent.poll() is not None:
                self.fail("the agent ended: " + self.what_it_said())
            agent = self.show()["agent"]
            return (agent["state"] == "running" and agent["pid"] == self.agent.pid
                    and self.answers())
        await_that("a running agent", running)

    def answers(self):
        """Whether the agent answers requests: by then it has all of its tables."""
        asked = [PROGRAMS / "oru-counters", "--tables", self.tables, "get", "countersSm", "initialized"]
        return subprocess.run(asked, capture_output=True, timeout=PATIENCE, check=False
                              ).returncode == 0

    def stop_agent(self, how):
        """Its exit status, and what it wrote to standard error."""
        self.agent.send_signal(how)
        return self.await_the_agents_end()

    def await_the_agents_end(self):
        """Its exit status, and what it wrote to standard error."""
        status = self.agent.wait(timeout=PATIENCE)
        self.agent = None
        return status, self.what_it_said()

    def what_it_said(self):
        self.said.seek(0)
        return self.said.read()

    def show(self):
        """What the reader shows, whatever it thinks of it."""
        shown = subprocess.run(
            [PROGRAMS / "oru-counters", "--tables", self.tables, "show", "interfaces", "--json"],
            capture_output=True, text=True, timeout=PATIENCE, check=False)
        try:
            return json.loads(shown.stdout)
        except json.JSONDecodeError:
            self.fail(f"no JSON from the reader, exit {shown.returncode}: {shown.stderr}")

    def link(self, name):
        """The shown interface of this name, in the kernel or its own; None if there is none."""
        for interface in self.show()["interfaces"]:
            if name in (interface["kernelName"], interface["name"]):
                return interface
        return None

    def await_interfaces(self, *names):
        """Exactly these are shown, by their names in the kernel or else their own."""
        def shown():
            return sorted(each["kernelName"] or each["name"] for each in self.show()["interfaces"])
        await_that(f"the interfaces {names}", lambda: shown() == sorted(names))

    def polled(self, name):
        """The interface as polled at some time after this call."""
        called = time.time()
        def recent():
            interface = self.link(name)
            return interface and (interface["lastUpdate"] or 0.0) > called and interface
        return await_that(f"a poll of {name}", recent)

    def await_equal(self, found, expected):
        """FOUND() answers what is expected, at the latest after PATIENCE."""
        try:
            return await_that(expected, lambda: found() == expected)
        except AssertionError:
            self.assertEqual(found(), expected)  # tells both
            raise

    def assert_counted(self, name, **counted):
        """These counters come to be so, and stay; every other one that is counted is 0."""
        def flat(counters):
            for counter, value in counters.items():
                if isinstance(value, list):
                    yield from ((f"{counter}[{i}]", one) for i, one in enumerate(value))
                else:
                    yield counter, value
        def found():
            counters = dict(flat(self.polled(name)["counters"]))
            return {each: value for each, value in counters.items() if value}
        self.await_equal(found, counted)
        self.assertEqual(found(), counted)  # with one more poll: no frame is counted once more


class Reader:
    def command(self, *arguments):
        run = subprocess.run(
            [PROGRAMS / "oru-counters", "--tables", self.tables, *arguments],
            capture_output=True, text=True, timeout=PATIENCE, check=False)
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        return run.stdout

    def dumped(self, table):
        """The table's rows, as they are."""
        return json.loads(self.command("tables", "dump", table, "--json"))["rows"]

    def shown(self, what):
        """By the interfaces' names."""
        everything = json.loads(self.command("show", what, "--json"))
        return {each["kernelName"] or each["name"]: each for each in everything["interfaces"]}


class OnLinks(Programs):
    """In a network namespace in which nothing sends but the test."""

    def setUp(self):
        super().setUp()
        if os.geteuid() != 0:
            self.skipTest("a network namespace of one's own needs root")
        if not shutil.which("ip"):
            self.skipTest("there is no ip(8)")
        self.enter_new_namespace()

    def enter_new_namespace(self):
        libc = ctypes.CDLL(None, use_errno=True)
        if libc.unshare(CLONE_NEWNET) != 0:
            self.skipTest("no network namespace: " + os.strerror(ctypes.get_errno()))
        no_ipv6 = pathlib.Path("/proc/sys/net/ipv6/conf/default/disable_ipv6")
        if no_ipv6.exists():
            try:
                no_ipv6.write_text("1")
            except OSError as error:
                self.skipTest(f"neighbour discovery would send: {error}")

    def ip(self, command):
        subprocess.run(["ip", *command.split()], check=True, timeout=PATIENCE)

    def add_pair(self, one, other, options=""):
        """Two links that are each other's wire, up; the first with options as of ip-link(8)."""
        self.ip(f"link add {one} {options} type veth peer name {other}")
        for link in (one, other):
            self.ip(f"link set {link} arp off up")
        for link in (one, other):
            # The kernel drops what is sent before the link's queues are attached.
            await_that(f"{link} up", lambda link=link: self.kernel_says(link)["operstate"] == "UP")

    def kernel_says(self, link):
        out = subprocess.run(["ip", "-json", "link", "show", link], check=True, timeout=PATIENCE,
                             capture_output=True).stdout
        return json.loads(out)[0]

    def listen(self, link):
        """Takes what arrives: the kernel counts what nobody takes as dropped."""
        listener = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(ETH_P_ALL))
        self.addCleanup(listener.close)
        listener.bind((link, ETH_P_ALL))

    def send(self, link, peer, count, size):
        destination = bytes.fromhex(self.kernel_says(peer)["address"].replace(":", ""))
        source = bytes.fromhex(self.kernel_says(link)["address"].replace(":", ""))
        frame = (destination + source + EXPERIMENTAL).ljust(size, b"\0")
        with socket.socket(socket.AF_PACKET, socket.SOCK_RAW, 0) as sender:
            sender.bind((link, 0))
            for _ in range(count):
                self.assertEqual(sender.send(frame), size)


def main():
    """The tests of the program that was called."""
    if len(sys.argv) < 2:
        sys.exit(sys.modules["__main__"].__doc__)
    global PROGRAMS
    PROGRAMS = pathlib.Path(sys.argv[1]).resolve()
    result = unittest.main(argv=sys.argv[:1] + sys.argv[2:], exit=False).result
    if not result.wasSuccessful():
        sys.exit(1)
    if result.skipped and result.testsRun == len(result.skipped):
        for _, why in result.skipped:
            print(f"skipped: {why}", file=sys.stderr)
        sys.exit(77)
