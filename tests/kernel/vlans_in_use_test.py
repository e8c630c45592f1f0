#!/usr/bin/env python3
"""VLANs of a bridge as the users of both programs meet them, on a bridge of this kernel.

  vlans_in_use_test.py PROGRAMS [TEST...]
"""

import concurrent.futures
import contextlib
import json
import signal
import threading
import time

from links import BROADCAST, HEADER, VlanBridge, WithVlans

import harness
from harness import Reader, await_that

UNTAGGED_HEADER = HEADER - 4


class VlansInUse(Reader, WithVlans):
    def vlans(self, *options):
        """What is shown, by the VLANs' ids."""
        shown = json.loads(self.command("show", "vlans", "--json", *options))
        return {each["vlanId"]: each for each in shown["vlans"]}

    def counts(self, vlan, kind="counters", *options):
        """Frames in, their octets, frames out, their octets; None where it is not shown."""
        shown = self.vlans(*options).get(vlan)
        return shown and tuple(shown[kind][each] for each in ("inUcastPkts", "inOctets",
                                                              "outUcastPkts", "outOctets"))

    def await_counts(self, vlan, expected, kind="counters", *options):
        try:
            await_that(f"VLAN {vlan}: {expected}",
                       lambda: self.counts(vlan, kind, *options) == expected)
        except AssertionError:
            self.assertEqual(self.counts(vlan, kind, *options), expected)
            raise

    def await_vlans(self, *vlans):
        await_that(f"the VLANs {vlans}", lambda: sorted(self.vlans()) == sorted(vlans))

    @staticmethod
    def flooded(frames, size, ports_out=1, header=HEADER):
        """What frames of this size count that leave by so many ports."""
        octets = frames * (size - header)
        return frames, octets, ports_out * frames, ports_out * octets

    def bridge_with_two_ports(self, *vlans):
        bridge = VlanBridge(self)
        for port in ("swp1", "swp2"):
            bridge.add_port(port, *vlans)
        return bridge

    def test_a_bridge_that_is_made_while_the_agent_runs_has_its_own_vlan_before_any_port(self):
        self.start_agent()
        self.await_vlans()
        bridge = VlanBridge(self, default_pvid=1)
        self.await_counts(1, (0, 0, 0, 0))
        shown = self.vlans()[1]
        self.assertEqual(shown["bridge"], "br0")
        await_that("a sample", lambda: self.vlans()[1]["lastUpdate"])
        # Ports become members of it, untagged.
        for port in ("swp1", "swp2"):
            bridge.add_port(port)
        self.send_frames("swp1-wire", BROADCAST, 40, 100)
        self.send_frames("swp2-wire", BROADCAST, 3, 1000)
        # Each leaves by the other port, and to the bridge itself.
        self.await_counts(1, tuple(sum(both) for both in zip(
            self.flooded(40, 100, 2, UNTAGGED_HEADER), self.flooded(3, 1000, 2, UNTAGGED_HEADER))))
        self.await_vlans(1)

    def test_a_clear_of_all_shows_each_from_zero_and_leaves_the_totals(self):
        bridge = self.bridge_with_two_ports(10, 20)
        self.start_agent("--period", "3600")  # it polls when it is told to
        self.await_vlans(10, 20)
        bridge.send("swp1", 10, 30, 100)
        bridge.send("swp1", 20, 5, 200)
        self.assertRegex(self.command("clear", "vlan", "all"), r"\Acleared all 2 VLANs at \S+ \S+\n\Z")
        # The clear polls first: what was sent before is in the totals, and none of it comes after.
        for vlan, total in ((10, self.flooded(30, 100)), (20, self.flooded(5, 200))):
            self.assertEqual(self.counts(vlan), total)
            self.assertEqual(self.counts(vlan, "sinceClear", "--since-clear"), (0, 0, 0, 0))
            self.assertIsNotNone(self.vlans()[vlan]["cleared"])
        bridge.send("swp2", 10, 7, 100)
        self.command("invoke", "vlanCountersSm", "handleTime")
        self.assertEqual(self.counts(10, "sinceClear", "--since-clear"), self.flooded(7, 100))
        self.assertEqual(self.counts(10), self.flooded(37, 100))
        self.assertEqual(self.counts(20, "sinceClear", "--since-clear"), (0, 0, 0, 0))
        self.assertRegex(self.command("show", "vlans", "10", "--since-clear"),
                         r"\n  10  br0 +574 +7 +n/a +n/a +574 +7 ")

    def test_counts_since_a_clear_outlive_an_agent_that_is_killed(self):
        bridge = self.bridge_with_two_ports(10)
        self.start_agent()
        self.await_vlans(10)
        bridge.send("swp1", 10, 30, 100)
        self.command("clear", "vlan", "all")
        bridge.send("swp1", 10, 4, 100)
        self.stop_agent(signal.SIGKILL)
        bridge.send("swp1", 10, 5, 100)
        self.start_agent()
        self.await_counts(10, self.flooded(9, 100), "sinceClear", "--since-clear")
        self.assertEqual(self.counts(10), self.flooded(39, 100))

    @contextlib.contextmanager
    def traffic(self, *vlans):
        """Sends on these VLANs until the end of the block; what it gives tells then how many frames on
        each."""
        source = self.address("swp1-wire")
        stopped = threading.Event()

        def send_until_stopped():
            sent = 0
            while not stopped.is_set():
                for vlan in vlans:
                    self.send_frames("swp1-wire", BROADCAST, 3, 100, vlan, source=source)
                sent += 3
                time.sleep(0.001)  # the agent needs the processor
            return sent

        with concurrent.futures.ThreadPoolExecutor(1) as sender:
            sending = sender.submit(send_until_stopped)
            try:
                yield sending.result
            finally:
                stopped.set()

    def test_agents_that_are_killed_under_traffic_lose_and_double_nothing(self):
        self.bridge_with_two_ports(10)
        with self.traffic(10) as sent:
            counted = 0
            for _ in range(4):
                self.start_agent()
                # Killed while it counts what is being sent.
                counted = await_that("more traffic", lambda before=counted: (
                    now := self.counts(10) or (0,))[0] > before and now[0])
                self.stop_agent(signal.SIGKILL)
            self.start_agent()
        self.assertGreater(sent(), counted)
        self.await_counts(10, self.flooded(sent(), 100))

    def test_a_vlan_that_is_removed_and_added_under_traffic_begins_anew_and_others_lose_nothing(self):
        bridge = self.bridge_with_two_ports(10, 20)
        self.start_agent()
        with self.traffic(10, 20) as sent:
            for at_once in (False, True, False, True):
                await_that("traffic", lambda: (self.counts(10) or (0,))[0] > 20)
                for port in ("swp1", "swp2"):
                    bridge.remove_vlan(port, 10)
                if not at_once:  # otherwise the agent may see both changes together
                    self.await_vlans(20)
                for port in ("swp1", "swp2"):
                    bridge.add_vlan(port, 10)
            await_that("traffic", lambda: (self.counts(10) or (0,))[0] > 20)
        # The kernel counts a VLAN that is added from zero: what the last one of them counted is all that
        # the row holds. The other VLAN has every frame.
        since_added = tuple(bridge.counts(10, "swp1")[each] for each in (
            "rx_packets", "rx_bytes", "tx_packets", "tx_bytes"))
        self.assertLess(since_added[0], sent())
        self.await_counts(10, since_added)
        self.await_counts(20, self.flooded(sent(), 100))


if __name__ == "__main__":
    harness.main()
