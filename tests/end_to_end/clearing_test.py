#!/usr/bin/env python3
"""Clears, queues and ACL drops as the users of both programs meet them, on a simulated chip.

  clearing_test.py PROGRAMS [TEST...]    PROGRAMS is the folder that oru-agentd and oru-counters are in
"""

import signal

import harness
from harness import Reader

COUNTERS = ("pkts", "octets", "dropPkts", "dropOctets")


class OnASimulatedChip(Reader, harness.Programs):
    CHIP = ["--chip", "simulated", "--ports", "3", "--seed", "3"]

    def setUp(self):
        super().setUp()
        self.start_agent()
        self.await_interfaces("Ethernet1", "Ethernet2", "Ethernet3")

    def await_traffic(self):
        """Until each port has sent through its queues."""
        def sent():
            shown = self.shown("queues").values()
            return all(each["queues"] and any(queue["counters"]["pkts"] for queue in each["queues"])
                       for each in shown)
        harness.await_that("traffic of all ports", sent)


class Clearing(OnASimulatedChip):
    def test_a_clear_of_one_interface_leaves_the_others_and_all_counts_as_published(self):
        self.await_traffic()
        before = self.shown("interfaces")
        self.command("clear", "Ethernet2")
        after = self.shown("interfaces")
        self.assertIsNotNone(after["Ethernet2"]["cleared"])
        for name in ("Ethernet1", "Ethernet3"):
            self.assertIsNone(after[name]["cleared"])
            self.assertEqual(after[name]["sinceClear"], after[name]["counters"])
        for name in before:
            self.assertGreaterEqual(after[name]["counters"]["outOctets"],
                                    before[name]["counters"]["outOctets"])
        # The clear polls first: what it took away is at least what was shown before.
        cleared = after["Ethernet2"]
        self.assertGreaterEqual(
            cleared["counters"]["outOctets"] - cleared["sinceClear"]["outOctets"],
            before["Ethernet2"]["counters"]["outOctets"])

    def test_counts_are_as_published_until_somebody_asks_for_those_since_the_clear(self):
        self.command("clear", "all")
        note = "Counters were cleared; --since-clear shows the counts since then.\n"
        for what in ("interfaces", "queues"):
            with self.subTest(what):
                as_published = self.command("show", what)
                self.assertIn(note, as_published)
                self.assertNotIn("Cleared", as_published)
                since = self.command("show", what, "--since-clear")
                self.assertNotIn(note, since)
                self.assertIn("Cleared", since)
                self.assertNotIn("never", since)

    def test_a_clear_takes_the_queues_counts_along(self):
        self.await_traffic()
        before = self.shown("queues")["Ethernet1"]
        self.command("clear", "Ethernet1")
        after = self.shown("queues")
        self.assertIsNotNone(after["Ethernet1"]["cleared"])
        self.assertIsNone(after["Ethernet2"]["cleared"])
        for was, now in zip(before["queues"], after["Ethernet1"]["queues"], strict=True):
            for counter in COUNTERS:
                self.assertGreaterEqual(now["counters"][counter] - now["sinceClear"][counter],
                                        was["counters"][counter])
        for queue in after["Ethernet2"]["queues"]:
            self.assertEqual(queue["sinceClear"], queue["counters"])


class ClearingOnLinks(Reader, harness.OnLinks):
    def test_counts_since_a_clear_outlive_the_agent_and_are_exact(self):
        self.add_pair("eth0", "eth1")
        self.listen("eth1")
        self.start_agent()
        self.send("eth0", "eth1", 100, 64)
        self.command("clear", "eth0")
        self.send("eth0", "eth1", 7, 64)
        cleared = self.polled("eth0")["cleared"]
        self.stop_agent(signal.SIGKILL)
        self.start_agent()
        shown = self.polled("eth0")
        self.assertEqual(shown["cleared"], cleared)
        self.assertEqual(shown["counters"]["outUcastPkts"], 107)
        self.assertEqual(shown["sinceClear"]["outUcastPkts"], 7)
        self.assertEqual(shown["sinceClear"]["outOctets"], 7 * 64)
        self.assertIsNone(self.link("eth1")["cleared"])


class ShownQueuesAndDrops(OnASimulatedChip):
    def test_a_port_has_its_queues_and_all_together_are_their_sum(self):
        self.await_traffic()
        for name, interface in self.shown("queues").items():
            with self.subTest(name):
                self.assertEqual(len(interface["queues"]), interface["txQueues"])
                for counter in COUNTERS:
                    self.assertEqual(interface["allQueues"]["counters"][counter],
                                     sum(queue["counters"][counter]
                                         for queue in interface["queues"]))

    def test_drops_grow_and_no_clear_touches_them(self):
        def dropped():
            return self.shown("drops")["Ethernet1"]["aclDropPkts"]
        harness.await_that("drops of access lists", dropped)
        before = dropped()
        self.command("clear", "all")
        self.assertGreaterEqual(dropped(), before)
        harness.await_that("more of them", lambda: dropped() > before)

    def test_what_a_killed_agent_left_is_shown_as_stale(self):
        self.await_traffic()
        self.stop_agent(signal.SIGKILL)
        harness.await_that("a dead agent",
                           lambda: self.show()["agent"]["state"] == "notRunning")
        for what in ("queues", "drops"):
            with self.subTest(what):
                self.assertTrue(all(each["stale"] for each in self.shown(what).values()))
                self.assertIn("stale", self.command("show", what))


if __name__ == "__main__":
    harness.main()
