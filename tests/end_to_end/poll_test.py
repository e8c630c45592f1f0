#!/usr/bin/env python3
"""Forced updates: polls that a user asks for, on a simulated chip that is polled once an hour.

  poll_test.py PROGRAMS [TEST...]    PROGRAMS is the folder that oru-agentd and oru-counters are in
"""

import json
import signal

import harness
from control_test import NO_AGENT, REFUSED, UNKNOWN_NAME, USAGE, Asking
from harness import await_that


class ForcedUpdates(Asking):
    CHIP = ["--chip", "simulated", "--ports", "3", "--seed", "3", "--period", "3600"]

    def setUp(self):
        super().setUp()
        self.start_agent()
        self.await_interfaces("Ethernet1", "Ethernet2", "Ethernet3")
        await_that("the polls of the start", lambda: all(
            each["lastUpdate"] for each in self.show()["interfaces"]))

    def times(self):
        return {each["name"]: each["lastUpdate"] for each in self.show()["interfaces"]}

    def queues(self, name):
        shown = json.loads(self.well("show", "queues", name, "--json"))
        return shown["interfaces"][0]["queues"]

    def test_an_interface_is_polled_and_the_others_are_not(self):
        before = self.times()
        self.assertEqual(self.well("poll", "Ethernet2"), "polled Ethernet2: port, queue, acl\n")
        after = self.times()
        self.assertGreater(after["Ethernet2"], before["Ethernet2"])
        for name in ("Ethernet1", "Ethernet3"):
            self.assertEqual(after[name], before[name])

    def test_all_interfaces_are_polled(self):
        before = self.times()
        polled = self.well("poll", "all", "--kind", "port")
        for name in ("Ethernet1", "Ethernet2", "Ethernet3"):
            self.assertIn(f"polled {name}: port\n", polled)
            self.assertGreater(self.times()[name], before[name])

    def test_one_kind_alone_is_polled(self):
        queues, times = self.queues("Ethernet1"), self.times()
        def moved():
            self.assertEqual(self.well("poll", "Ethernet1", "--kind", "queue"),
                             "polled Ethernet1: queue\n")
            return self.queues("Ethernet1") != queues
        await_that("other counts of queues", moved)
        self.assertEqual(self.times(), times)

    def test_as_json_it_is_one_object(self):
        self.assertEqual(self.well("poll", "Ethernet[12]", "--json"),
                         '{"ok":true,"polled":[{"name":"Ethernet1","kinds":["port","queue","acl"]},'
                         '{"name":"Ethernet2","kinds":["port","queue","acl"]}]}\n')

    def test_what_cannot_be_polled_is_told_and_nothing_is_polled(self):
        before = self.times()
        for code, text, *arguments in (
                (UNKNOWN_NAME, "there is no interface Ethernet9", "Ethernet1", "Ethernet9"),
                (REFUSED, "Ethernet2 has no poller of kind vlan, but of port, queue, acl",
                 "Ethernet2", "--kind", "vlan")):
            with self.subTest(arguments):
                self.assertEqual(self.refused(code, "poll", *arguments),
                                 f"oru-counters: {text}, and nothing was polled\n")
        self.refused(USAGE, "poll", "Ethernet1", "--kind", "snapshot")
        self.assertEqual(self.times(), before)

    def test_without_an_agent_it_says_so(self):
        self.stop_agent(signal.SIGTERM)
        self.assertIn("no agent answers", self.refused(NO_AGENT, "poll", "all"))


if __name__ == "__main__":
    harness.main()
