#!/usr/bin/env python3
"""What the agent is asked over its socket, with the two programs as their users meet them.

  control_test.py PROGRAMS [TEST...]    PROGRAMS is the folder that the two are in
"""

import json
import os
import pathlib
import re
import signal
import socket
import stat
import subprocess

import harness
from harness import PATIENCE, OnLinks, Programs, await_that

NOBODY = 65534
OK, USAGE, UNKNOWN_NAME, NO_AGENT, NO_PERMISSION, REFUSED, WRONG_ARGUMENTS, AGENT_FAILED = (
    0, 2, 3, 11, 12, 13, 14, 15)


class Asking(Programs):
    def run_reader(self, *arguments, user=None, tables=None):
        return subprocess.run(
            [harness.PROGRAMS / "oru-counters", "--tables", tables or self.tables, *arguments],
            capture_output=True, text=True, timeout=PATIENCE, check=False, user=user,
            extra_groups=None if user is None else [])

    def ask(self, *arguments, **how):
        """Its exit code, what it prints, and the one line that it says."""
        done = self.run_reader(*arguments, **how)
        self.assertLessEqual(done.stderr.count("\n"), 2, done.stderr)
        return done.returncode, done.stdout, done.stderr

    def well(self, *arguments, **how):
        """What it prints, when all is well."""
        code, out, err = self.ask(*arguments, **how)
        self.assertEqual((code, err), (OK, ""), arguments)
        return out

    def refused(self, code, *arguments, **how):
        """What it says, when it ends with CODE and prints nothing."""
        found, out, err = self.ask(*arguments, **how)
        self.assertEqual((found, out), (code, ""), err)
        self.assertRegex(err, r"\Aoru-counters: ")
        return err


class AskedOverTheSocket(Asking):
    CHIP = ["--chip", "simulated", "--ports", "4", "--seed", "3"]
    PORT = "countersSm/portCountersSm/Ethernet2"

    def test_values_are_read_and_set(self):
        self.start_agent()
        self.assertEqual(self.well("get", "countersSm", "counterPollPeriod"), "0.05\n")
        self.assertEqual(self.well("set", self.PORT, "counterPollPeriod", "0.2"), "")
        self.assertEqual(self.well("get", self.PORT, "counterPollPeriod"), "0.2\n")
        self.assertEqual(self.well("get", self.PORT, "intfId"), "Ethernet2\n")

    def test_what_there_is_is_listed(self):
        self.start_agent()
        self.assertEqual(self.well("ls"), "countersSm\nvlanCountersSm\n")
        attributes = [line.split("\t") for line in self.well("ls", "countersSm").splitlines()]
        self.assertIn(["counterPollPeriod", "value", "get,set"], attributes)
        self.assertIn(["portCountersSm", "collection", "ls"], attributes)
        self.assertIn(["updateCounters", "operation", "invoke", "2"], attributes)
        keys = "".join(f"Ethernet{i}\n" for i in range(1, 5))
        self.assertEqual(self.well("ls", "countersSm", "portCountersSm"), keys)
        self.assertEqual(self.well("ls", "countersSm/portCountersSm"), keys)

    def test_operations_are_invoked(self):
        self.start_agent("--trace", "7,8", "--period", "3600")
        self.assertEqual(self.well("invoke", self.PORT, "updateCounters"), "")
        self.assertEqual(self.well("invoke", "countersSm", "updateCounters", "1", "Ethernet3"), "")
        self.assertEqual(self.well("invoke", "countersSm", "handleIntf", "Ethernet99"), "")
        await_that("the traces", lambda: "type: 1, intf: Ethernet3" in self.what_it_said() and
                   "handleIntf(Ethernet99)" in self.what_it_said())

    def test_the_answer_of_the_agent_is_printed_as_json(self):
        self.start_agent()
        answer = json.loads(self.well("get", "countersSm", "initialized", "--json"))
        self.assertEqual(answer, {"ok": True, "value": "true"})
        code, out, err = self.ask("get", "countersSm", "nonsense", "--json")
        self.assertEqual(code, REFUSED)
        self.assertEqual(json.loads(out)["error"]["code"], "unknownPath")
        self.assertIn("nonsense", err)

    def test_clear_all_shows_everything_as_from_zero(self):
        self.start_agent("--period", "3600")
        def octets():
            self.well("invoke", self.PORT, "updateCounters")
            return self.link("Ethernet2")["counters"]["inOctets"]
        await_that("octets", octets)
        self.assertRegex(self.well("clear", "all"), r"\Acleared all 4 interfaces at \S+ \S+\n\Z")
        for interface in self.show()["interfaces"]:
            self.assertEqual(interface["sinceClear"]["inOctets"], 0)

    def test_clear_takes_names_and_patterns(self):
        self.start_agent()
        out = self.well("clear", "Ethernet2", "Ethernet[34]")
        self.assertEqual(re.findall(r"^cleared (\S+) at ", out, re.M),
                         ["Ethernet2", "Ethernet3", "Ethernet4"])

    def test_a_clear_with_an_unknown_name_clears_nothing(self):
        self.start_agent()
        await_that("octets", lambda: self.polled("Ethernet1")["counters"]["inOctets"])
        said = self.refused(UNKNOWN_NAME, "clear", "Ethernet1", "Ethernet77")
        self.assertIn("Ethernet77", said)
        one = self.link("Ethernet1")
        self.assertEqual(one["sinceClear"]["inOctets"], one["counters"]["inOctets"])

    def test_what_there_is_not_is_refused(self):
        self.start_agent()
        for arguments in (["get", "nothing", "x"], ["get", "countersSm", "x"],
                          ["get", "countersSm/portCountersSm/Ethernet9", "intfId"],
                          ["invoke", "countersSm", "handleNothing"],
                          ["set", "countersSm", "writerConfig", "1"],
                          ["ls", "countersSm", "intfId"], ["ls", "countersSm/x"]):
            with self.subTest(arguments):
                self.refused(REFUSED, *arguments)

    def test_wrong_arguments_are_refused_and_the_agent_goes_on(self):
        self.start_agent()
        for arguments in (["set", "countersSm", "counterPollPeriod", "soon"],
                          ["set", "countersSm", "counterPollPeriod", "nan"],
                          ["set", self.PORT, "initialized", "maybe"],
                          ["invoke", "countersSm", "handleIntf"],
                          ["invoke", "countersSm", "handleIntf", "Ethernet1", "Ethernet2"],
                          ["invoke", "countersSm", "updateCounters", "4", "Ethernet1"],
                          ["invoke", "countersSm", "updateCounters", "5", "Ethernet1"],
                          ["invoke", "countersSm", "updateCounters", "x", "Ethernet1"],
                          ["invoke", "countersSm", "doClearCounters", "x" * 66000]):
            with self.subTest(arguments[:4]):
                self.refused(WRONG_ARGUMENTS, *arguments)
        self.assertIsNone(self.agent.poll())
        self.polled("Ethernet1")

    def test_wrong_usage_is_told(self):
        for arguments in (["clear"], ["clear", "all", "Ethernet1"], ["get"], ["get", "countersSm"],
                          ["set", "countersSm", "x"], ["invoke", "countersSm"], ["ls", "a", "b", "c"],
                          ["ls", "--timeout", "0"]):
            with self.subTest(arguments):
                self.assertIn("--help", self.refused(USAGE, *arguments))

    def test_help_tells_examples_and_exit_codes(self):
        for command in ("clear", "poll", "get", "ls", "invoke", "set"):
            self.assertRegex(self.well(command, "--help"), rf"Examples:\n  oru-counters {command}")
        shown = self.well("--help")
        for code in range(11, 16):
            self.assertRegex(shown, rf"(?m)^ {code}  \S")

    def test_without_an_agent_nobody_answers(self):
        self.assertIn("oru-agentd --tables", self.refused(NO_AGENT, "ls"))
        self.refused(NO_AGENT, "clear", "Ethernet1")
        self.refused(NO_AGENT, "ls", tables=self.tables + "/nowhere")
        code, out, _ = self.ask("ls", "--json")
        self.assertEqual((code, json.loads(out)["ok"]), (NO_AGENT, False))

    def test_the_socket_goes_with_the_agent(self):
        path = pathlib.Path(self.tables, "control")
        self.start_agent()
        self.assertTrue(path.is_socket())
        self.assertEqual(stat.S_IMODE(path.stat().st_mode), 0o666)
        self.stop_agent(signal.SIGTERM)
        self.assertFalse(path.exists())

    def test_a_killed_agents_socket_is_taken_over(self):
        self.start_agent()
        self.stop_agent(signal.SIGKILL)
        self.assertTrue(pathlib.Path(self.tables, "control").is_socket())
        self.refused(NO_AGENT, "ls")
        self.start_agent()
        self.assertEqual(self.well("ls"), "countersSm\nvlanCountersSm\n")

    def test_a_second_agent_leaves_the_firsts_socket(self):
        self.start_agent()
        second = subprocess.run(self.agent_command(*self.CHIP), capture_output=True, text=True,
                                timeout=PATIENCE, check=False)
        self.assertEqual(second.returncode, 1)
        self.assertEqual(self.well("ls"), "countersSm\nvlanCountersSm\n")

    def test_a_stopped_agent_is_not_waited_for_for_ever(self):
        self.start_agent()
        self.agent.send_signal(signal.SIGSTOP)
        self.addCleanup(lambda: self.agent and self.agent.send_signal(signal.SIGCONT))
        self.assertIn("did not answer", self.refused(AGENT_FAILED, "ls", "--timeout", "0.3"))
        # Its queue of newcomers is full, too.
        waiting = []
        self.addCleanup(lambda: [each.close() for each in waiting])
        for _ in range(100):
            client = socket.socket(socket.AF_UNIX)
            client.setblocking(False)
            try:
                client.connect(self.tables + "/control")
            except BlockingIOError:
                client.close()
                break
            waiting.append(client)
        self.assertIn("no more clients", self.refused(AGENT_FAILED, "ls", "--timeout", "0.3"))

    def test_another_user_may_read_and_not_write(self):
        if os.geteuid() != 0:
            self.skipTest("another user needs root")
        os.chmod(self.tables, 0o755)
        if self.run_reader("--version", user=NOBODY).returncode != 0:
            self.skipTest("another user may not run the program where it is")
        self.start_agent()
        self.assertEqual(self.well("get", "countersSm", "initialized", user=NOBODY), "true\n")
        self.assertEqual(self.well("ls", user=NOBODY), "countersSm\nvlanCountersSm\n")
        # Nor does it learn where things lie in the agent.
        self.assertEqual(self.well("get", "countersSm", "ocsd", user=NOBODY),
                         "Oru::OruCommonSmData\n")
        for arguments in (["clear", "all"], ["clear", "Ethernet1"], ["poll", "Ethernet1"],
                          ["set", "countersSm", "counterPollPeriod", "1"],
                          ["invoke", "countersSm", "handleIntf", "Ethernet1"]):
            self.refused(NO_PERMISSION, *arguments, user=NOBODY)
        os.chmod(self.tables, 0o700)
        self.refused(NO_PERMISSION, "ls", user=NOBODY)

    def test_the_tables_are_listed_and_verified_beside_the_socket(self):
        self.start_agent()
        self.assertNotIn("control", self.well("tables", "list"))
        files = json.loads(self.well("tables", "list", "--json"))["files"]
        self.assertIn(("control", "controlSocket"), [(each["file"], each["kind"]) for each in files])
        self.well("tables", "verify")

    def test_a_directory_with_a_long_name_has_its_socket(self):
        self.tables = str(pathlib.Path(self.tables, "d" * 150))
        os.mkdir(self.tables)
        self.start_agent()
        self.assertEqual(self.well("ls"), "countersSm\nvlanCountersSm\n")

    def test_it_is_asked_by_hand(self):
        self.start_agent()
        with socket.socket(socket.AF_UNIX) as client:
            client.settimeout(PATIENCE)
            client.connect(self.tables + "/control")
            stream = client.makefile("rw", encoding="utf-8")
            for request, answer in (
                    ('{"op":"ls"}', {"ok": True, "names": ["countersSm", "vlanCountersSm"]}),
                    ('{"op":"get","path":"countersSm","attribute":"initialized"}',
                     {"ok": True, "value": "true"})):
                stream.write(request + "\n")
                stream.flush()
                self.assertEqual(json.loads(stream.readline()), answer)


class ClearedOnLinks(Asking, OnLinks):
    def test_a_clear_counts_what_was_sent_just_before_it(self):
        self.add_pair("eth0", "eth1")
        self.listen("eth1")
        self.start_agent("--period", "3600")
        sent = 0
        for _ in range(20):
            self.send("eth0", "eth1", 10, 100)
            sent += 10
            self.well("clear", "eth0")
            link = self.link("eth0")
            self.assertEqual(link["counters"]["outUcastPkts"], sent)
            self.assertEqual(link["sinceClear"]["outUcastPkts"], 0)
        self.send("eth0", "eth1", 7, 100)
        name = self.link("eth0")["name"]
        self.well("invoke", "countersSm", "updateCounters", "1", name)
        self.assertEqual(self.link("eth0")["sinceClear"]["outUcastPkts"], 7)
        self.assertEqual(self.link("eth0")["counters"]["outUcastPkts"], sent + 7)

    def test_rows_that_are_kept_are_cleared_too(self):
        self.add_pair("eth0", "eth1")
        self.listen("eth1")
        self.start_agent("--keep-counters")
        self.send("eth0", "eth1", 10, 100)
        self.polled("eth0")
        self.ip("link del eth0")
        await_that("eth0 not present", lambda: self.link("eth0")["operState"] == "notPresent")
        self.well("clear", "eth0")
        self.assertEqual(self.link("eth0")["counters"]["outUcastPkts"], 10)
        self.assertEqual(self.link("eth0")["sinceClear"]["outUcastPkts"], 0)


if __name__ == "__main__":
    harness.main()
