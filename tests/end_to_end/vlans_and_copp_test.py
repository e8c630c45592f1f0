#!/usr/bin/env python3
"""VLAN interfaces, the control plane's policing and its policy maps as users meet them, on a simulated
chip that is polled once an hour.

  vlans_and_copp_test.py PROGRAMS [TEST...]    PROGRAMS is the folder that the two are in
"""

import json

import harness
from control_test import (AGENT_FAILED, REFUSED, UNKNOWN_NAME, USAGE, WRONG_ARGUMENTS, Asking)
from harness import await_that

POLICY_MAP = "copp-system-policy"
TYPE = "countersSm/coppTypeSm/0"
MEMBER = f"{TYPE}/coppSm/{POLICY_MAP}"
CLASSES = [f"copp-{name}" for name in ("bgp", "default", "icmp", "ospf", "snmp", "ssh")]


class OnASimulatedChip(Asking):
    CHIP = ["--chip", "simulated", "--ports", "2", "--vlan-interfaces", "2", "--seed", "3",
            "--period", "3600"]

    def setUp(self):
        super().setUp()
        self.start_agent()
        self.await_interfaces("Ethernet1", "Ethernet2")

    def rows(self, what, member):
        return {each["name"]: each
                for each in json.loads(self.well("show", what, "--json"))[member]}

    def vlans(self):
        return self.rows("vlan-interfaces", "interfaces")

    def classes(self):
        return self.rows("copp", "classes")


class VlanInterfaces(OnASimulatedChip):
    def test_they_are_shown_by_themselves(self):
        await_that("both", lambda: sorted(self.vlans()) == ["Vlan10", "Vlan11"])
        for other in ("interfaces", "queues", "drops"):
            self.assertEqual(sorted(self.rows(other, "interfaces")), ["Ethernet1", "Ethernet2"])
        self.assertRegex(self.well("show", "vlan-interfaces", "Vlan11"), r"\nVlan11 +\S+ +up ")

    def test_one_is_polled(self):
        await_that("both", lambda: len(self.vlans()) == 2)
        self.assertEqual(self.well("poll", "Vlan10", "Vlan11"),
                         "polled Vlan10: vlan\npolled Vlan11: vlan\n")
        before = self.vlans()
        self.assertEqual(self.well("poll", "Vlan1?", "--kind", "vlan"),
                         "polled Vlan10: vlan\npolled Vlan11: vlan\n")
        self.assertEqual(self.well("poll", "Vlan10"), "polled Vlan10: vlan\n")
        after = self.vlans()
        self.assertGreater(after["Vlan10"]["lastUpdate"], after["Vlan11"]["lastUpdate"])
        self.assertGreater(after["Vlan11"]["lastUpdate"], before["Vlan11"]["lastUpdate"])
        self.assertGreater(after["Vlan10"]["counters"]["inOctets"],
                           before["Vlan10"]["counters"]["inOctets"])

    def test_they_cannot_be_cleared(self):
        await_that("both", lambda: len(self.vlans()) == 2)
        for name in ("Vlan10", "Cpu"):
            said = self.refused(UNKNOWN_NAME, "clear", "Ethernet1", name)
            self.assertEqual(said, "oru-counters: only Ethernet interfaces can be cleared, which "
                                   f"{name} is not, and nothing was cleared\n")
        self.assertIsNone(self.link("Ethernet1")["cleared"])
        self.assertNotIn("Vlan", self.well("clear", "*"))


class Vlans(OnASimulatedChip):
    def counted(self):
        return {each["vlanId"]: each
                for each in json.loads(self.well("show", "vlans", "--json"))["vlans"]}

    def setUp(self):
        super().setUp()
        await_that("both", lambda: sorted(self.counted()) == [10, 11])
        await_that("a poll of both",
                   lambda: all(each["lastUpdate"] for each in self.counted().values()))

    def test_they_are_shown_by_themselves(self):
        self.assertRegex(self.well("show", "vlans"), r"\n  10  simulated +\d+ ")
        self.assertNotRegex(self.well("show", "vlans", "11-20"), r"\n  10 ")
        self.assertEqual(self.ask("show", "vlans", "11,30")[::2],
                         (UNKNOWN_NAME, "oru-counters: there is no VLAN 30\n"))
        self.assertIn("'4095' is no VLAN", self.refused(USAGE, "show", "vlans", "4095"))

    def test_a_clear_polls_first_and_leaves_totals_and_the_other_vlan(self):
        before = self.counted()
        self.assertRegex(self.well("clear", "vlan", "10"), r"\Acleared VLAN 10 at \S+ \S+\n\Z")
        after = self.counted()
        self.assertGreater(after[10]["cleared"], before[10]["lastUpdate"])
        self.assertGreater(after[10]["counters"]["inOctets"], before[10]["counters"]["inOctets"])
        self.assertEqual(set(after[10]["sinceClear"].values()), {0})
        self.assertIsNone(after[11]["cleared"])
        self.assertEqual(after[11]["sinceClear"], after[11]["counters"])

    def test_what_comes_after_a_clear_is_shown_since_then(self):
        self.assertRegex(self.well("clear", "vlan", "all"), r"\Acleared all 2 VLANs at ")
        def more():
            self.well("invoke", "vlanCountersSm", "handleTime")
            one = self.counted()[10]
            return one["sinceClear"]["inOctets"] and one
        one = await_that("octets since the clear", more)
        self.assertLess(one["sinceClear"]["inOctets"], one["counters"]["inOctets"])
        cleared = one["cleared"]
        self.well("clear", "vlan", "10-11")
        self.assertGreater(self.counted()[10]["cleared"], cleared)

    def test_with_an_unknown_vlan_nothing_is_cleared(self):
        self.assertEqual(self.refused(UNKNOWN_NAME, "clear", "vlan", "10,20-30"),
                         "oru-counters: there is no VLAN 20-30, and nothing was cleared\n")
        self.assertTrue(all(each["cleared"] is None for each in self.counted().values()))

    def test_a_clear_of_interfaces_leaves_them_alone(self):
        self.well("clear", "all")
        self.assertTrue(all(each["cleared"] is None for each in self.counted().values()))

    def test_their_state_machine_is_reached_by_name(self):
        self.assertIn("vlanCountersSm\n", self.well("ls"))
        self.assertIn("pollInterval\tvalue\tget,set\n", self.well("ls", "vlanCountersSm"))
        self.assertEqual(self.well("get", "vlanCountersSm", "pollInterval"), "3600\n")
        self.well("set", "vlanCountersSm", "initialized", "false")
        self.assertIn("initialized is false", self.refused(AGENT_FAILED, "clear", "vlan", "10"))
        self.well("set", "vlanCountersSm", "initialized", "true")
        self.well("clear", "vlan", "10")


class Copp(OnASimulatedChip):
    def test_the_cpu_port_is_polled_for_its_classes(self):
        before = self.classes()
        self.assertEqual(sorted(before), CLASSES)
        self.assertEqual(self.well("poll", "Cpu"), "polled Cpu: cpu\n")
        after = self.classes()
        for name in CLASSES:
            self.assertEqual(after[name]["policyMap"], POLICY_MAP)
            self.assertGreater(after[name]["lastUpdate"], before[name]["lastUpdate"])

    def test_a_clear_resets_classes_and_leaves_their_totals(self):
        self.well("poll", "Cpu")
        before = self.classes()
        self.assertRegex(self.well("clear", "copp", "copp-ssh", "copp-b*"),
                         r"\Areset copp-bgp at \S+ \S+\nreset copp-ssh at \S+ \S+\n\Z")
        after = self.classes()
        for name in CLASSES:
            one = after[name]
            if name in ("copp-bgp", "copp-ssh"):
                self.assertGreater(one["lastReset"], before[name]["lastUpdate"])
                self.assertEqual(one["sinceReset"], {"pkts": 0, "octets": 0})
                self.assertGreaterEqual(one["counters"]["pkts"], before[name]["counters"]["pkts"])
            else:
                self.assertIsNone(one["lastReset"])
                self.assertEqual(one["sinceReset"], one["counters"])
        def more():
            self.well("poll", "Cpu")
            one = self.classes()["copp-ssh"]
            return one["sinceReset"]["pkts"] and one
        one = await_that("packets since the reset", more)
        self.assertLess(one["sinceReset"]["pkts"], one["counters"]["pkts"])
        self.assertEqual(self.refused(UNKNOWN_NAME, "clear", "copp", "copp-ssh", "telnet"),
                         "oru-counters: there is no class telnet, and nothing was reset\n")

    def test_policy_maps_are_watched_by_name(self):
        listed = ("ls", TYPE, "coppSm")
        self.assertEqual(self.well(*listed), POLICY_MAP + "\n")  # the agent has it watched
        self.well("invoke", TYPE, "coppSmDel", POLICY_MAP)
        self.assertEqual(self.well(*listed), "")
        self.assertEqual(self.refused(REFUSED, "clear", "copp", "copp-ssh"),
                         f"oru-counters: policy map {POLICY_MAP} of class copp-ssh is not watched, and "
                         "nothing was reset\n")
        for arguments, text in (
                (["nope"], f"there is no policy map nope input; there are: {POLICY_MAP} input"),
                ([POLICY_MAP, "output"],
                 f"there is no policy map {POLICY_MAP} output; there are: {POLICY_MAP} input")):
            self.assertEqual(self.refused(WRONG_ARGUMENTS, "invoke", TYPE, "coppSmIs", *arguments),
                             f"oru-counters: {text}\n")
        self.assertEqual(self.well(*listed), "")
        for _ in range(2):
            self.well("invoke", TYPE, "coppSmIs", POLICY_MAP)
            self.assertEqual(self.well(*listed), POLICY_MAP + "\n")
        self.assertEqual(self.well("get", MEMBER, "name"), POLICY_MAP + "\n")
        self.well("invoke", MEMBER, "handleClass", "copp-snmp")
        self.assertIsNotNone(self.classes()["copp-snmp"]["lastReset"])
        self.assertIsNone(self.classes()["copp-ssh"]["lastReset"])
        self.well("invoke", MEMBER, "handleInitialized")
        self.assertTrue(all(each["lastReset"] for each in self.classes().values()))
        for end in ("coppSmDelAll", "doPrepareToDie"):
            self.well("invoke", TYPE, "coppSmIs", POLICY_MAP)
            self.well("invoke", TYPE, end)
            self.assertEqual(self.well(*listed), "")

    def test_the_name_of_the_systems_policy_map_is_read_and_set(self):
        self.assertEqual(self.well("get", TYPE, "coppPMapName"), POLICY_MAP + "\n")
        self.well("set", TYPE, "coppPMapName", "other")
        self.assertEqual(self.well("get", TYPE, "coppPMapName"), "other\n")


if __name__ == "__main__":
    harness.main()
