#!/usr/bin/env python3
"""VLAN interfaces: links of kind vlan, exact in the reader.

  vlan_interfaces_test.py PROGRAMS [TEST...]
"""

import json
import signal

from links import HEADER, TAG_SIZE, WithVlans

import harness
from harness import Reader, await_that

PARENT, WIRE = "eth0", "eth1"


class OnVlans(Reader, WithVlans):
    """eth0, whose wire ends in eth1, may have VLAN links; what is sent to them is sent at eth1."""

    def setUp(self):
        super().setUp()
        self.add_pair(PARENT, WIRE)
        self.listen(PARENT)
        self.listen(WIRE)

    def add_vlan(self, vlan, parent=PARENT, name=None):
        name = self.add_vlan_link(parent, vlan, name)
        self.listen(name)
        return name

    def receive(self, vlan, count, size, wire=WIRE, parent=PARENT):
        """So many frames of the VLAN come in at the parent; size is without the tag."""
        self.send_frames(wire, self.address(parent), count, size + TAG_SIZE, vlan)

    def transmit(self, link, count, size):
        """So many frames go out of the VLAN link; size is without the tag."""
        self.send_frames(link, "02:00:00:00:00:01", count, size)

    def vlans(self):
        shown = json.loads(self.command("show", "vlan-interfaces", "--json"))
        return {each["name"]: each for each in shown["interfaces"]}

    def totals(self, name):
        """Frames in, their octets, frames out, their octets; None where the interface is not shown."""
        shown = self.vlans().get(name)
        if shown is None or shown["counters"] is None:
            return None
        counters = shown["counters"]
        def sums(way):
            kinds = ("Ucast", "Multicast", "Broadcast")
            return (sum(counters[f"{way}{kind}Pkts"] or 0 for kind in kinds),
                    counters[f"{way}Octets"])
        return (*sums("in"), *sums("out"))

    def await_totals(self, name, frames_in, octets_in, frames_out, octets_out):
        """Octets as the frames have them without their tags."""
        expected = (frames_in, octets_in - frames_in * (HEADER - TAG_SIZE), frames_out, octets_out)
        try:
            await_that(f"{name}: {expected}", lambda: self.totals(name) == expected)
        except AssertionError:
            self.assertEqual(self.totals(name), expected)
            raise


class VlanInterfaces(OnVlans):
    def test_tagged_frames_are_counted_both_ways_and_as_the_kernel_says(self):
        link = self.add_vlan(10)
        self.start_agent()
        self.receive(10, 100, 100)
        self.receive(10, 7, 1000)
        self.transmit(link, 40, 200)
        self.await_totals("Vlan10", 107, 17000, 40, 8000)
        self.assertEqual(self.totals("Vlan10"), self.kernel_counts(link))

    def test_frames_of_other_vlans_and_without_one_are_not_counted(self):
        self.add_vlan(10)
        self.add_vlan(20)
        self.start_agent()
        self.receive(30, 5, 100)
        self.send_frames(WIRE, self.address(PARENT), 6, 100)
        self.receive(20, 3, 100)
        self.receive(10, 1, 100)  # the last: when it is counted, so are the others
        self.await_totals("Vlan10", 1, 100, 0, 0)
        self.await_totals("Vlan20", 3, 300, 0, 0)

    def test_the_parent_counts_them_too_and_the_vlan_is_no_ethernet_interface(self):
        link = self.add_vlan(10)
        self.start_agent()
        self.receive(10, 30, 100)
        self.await_equal(lambda: self.polled(PARENT)["counters"]["inOctets"], 30 * (100 + TAG_SIZE))
        self.await_totals("Vlan10", 30, 3000, 0, 0)
        self.assertEqual(self.vlans()["Vlan10"]["kernelName"], link)
        self.assertIsNone(self.link(link))

    def test_killed_and_ended_agents_lose_and_double_nothing(self):
        link = self.add_vlan(10)
        received = sent = 0
        for how in (signal.SIGKILL, signal.SIGTERM, signal.SIGKILL):
            self.start_agent()
            for _ in range(10):
                self.receive(10, 5, 100)
                self.transmit(link, 3, 100)
            self.stop_agent(how)
            self.receive(10, 4, 100)
            received, sent = received + 54, sent + 30
        self.start_agent()
        self.await_totals("Vlan10", received, received * 100, sent, sent * 100)

    def test_a_link_that_is_deleted_under_traffic_is_no_longer_shown_and_made_again_begins_anew(self):
        self.add_vlan(10)
        self.start_agent()
        self.receive(10, 200, 100)
        self.ip("link del eth0.10")
        self.receive(10, 50, 100)
        await_that("no Vlan10", lambda: "Vlan10" not in self.vlans())
        self.add_vlan(10)
        self.receive(10, 8, 100)
        self.await_totals("Vlan10", 8, 800, 0, 0)
        self.assertIsNone(self.agent.poll())

    def test_with_keep_counters_a_link_that_returns_goes_on_with_its_totals(self):
        self.start_agent("--keep-counters")
        for turn in (1, 2, 3):
            self.add_vlan(10)
            self.receive(10, 10, 100)
            self.await_totals("Vlan10", turn * 10, turn * 1000, 0, 0)
            self.ip("link del eth0.10")
            await_that("Vlan10 not present",
                       lambda: self.vlans()["Vlan10"]["operState"] == "notPresent")

    def test_a_vlan_link_goes_with_its_parent(self):
        self.add_vlan(10)
        self.add_vlan(20)
        self.start_agent()
        await_that("both", lambda: set(self.vlans()) == {"Vlan10", "Vlan20"})
        self.ip(f"link del {PARENT}")
        await_that("none", lambda: self.vlans() == {})
        self.assertIsNone(self.agent.poll())

    def test_of_two_links_with_one_vlan_id_one_is_counted_and_the_other_takes_over(self):
        self.add_pair("eth2", "eth3")
        self.listen("eth2")
        self.add_vlan(10)
        self.start_agent()
        self.receive(10, 20, 100)
        self.await_totals("Vlan10", 20, 2000, 0, 0)
        self.add_vlan(10, "eth2")
        await_that("a word of the second",
                   lambda: "Vlan10" in self.what_it_said() and "eth2.10" in self.what_it_said())
        self.receive(10, 7, 100, "eth3", "eth2")
        self.receive(10, 1, 100)
        self.await_totals("Vlan10", 21, 2100, 0, 0)
        self.ip("link del eth0.10")
        await_that("the other one",
                   lambda: self.vlans().get("Vlan10", {}).get("kernelName") == "eth2.10")
        self.receive(10, 2, 100, "eth3", "eth2")
        self.await_totals("Vlan10", 9, 900, 0, 0)


if __name__ == "__main__":
    harness.main()
