#!/usr/bin/env python3
"""Port counters of a fuller kernel's links: bridges, their ports, dummies.

  port_counters_test.py PROGRAMS [TEST...]
"""

from links import BROADCAST, HEADER, MULTICAST, TAG_SIZE, VlanBridge, WithVlans

import harness


class PortsOfOtherKinds(WithVlans):
    def test_a_dummy_counts_what_it_swallows(self):
        self.ip("link add dummy0 type dummy")
        self.ip("link set dummy0 arp off up")
        self.start_agent()
        self.send_frames("dummy0", "02:00:00:00:00:01", 100, 64)
        self.send_frames("dummy0", "02:00:00:00:00:01", 7, 1500)
        self.assert_counted("dummy0", outUcastPkts=107, outOctets=6400 + 7 * 1500)

    def test_ports_of_a_bridge_count_what_it_forwards(self):
        bridge = VlanBridge(self)
        for port in ("swp1", "swp2", "swp3"):
            bridge.add_port(port, 10)
        bridge.add_port("swp4", 20)
        self.start_agent()
        bridge.send("swp1", 10, 50, 100)
        bridge.send("swp1", 10, 3, 1000, MULTICAST)
        octets = 50 * 100 + 3 * 1000
        # A port of this kind takes the tag beside the frame, and leaves it out of what it sent.
        untagged = octets - 53 * TAG_SIZE
        for name, way, expected in (
                ("swp1-wire", "out", octets), ("swp1", "in", octets), ("swp2", "out", untagged),
                ("swp3", "out", untagged), ("swp2-wire", "in", untagged),
                ("swp3-wire", "in", untagged)):
            with self.subTest(name):
                self.assert_traffic(name, way, 53, expected)
        self.assert_counted("swp4")
        self.assert_counted("swp4-wire")

    def assert_traffic(self, name, way, pkts, octets):
        """What the reader shows of one direction, packets of all kinds together; and the kernel."""
        def shown():
            counters = self.polled(name)["counters"]
            kinds = (counters[f"{way}{kind}Pkts"] for kind in ("Ucast", "Multicast", "Broadcast"))
            return sum(each or 0 for each in kinds), counters[f"{way}Octets"]
        self.await_equal(shown, (pkts, octets))
        self.assertEqual(shown(), (pkts, octets))  # with one more poll: none counts twice
        kernels = self.kernel_counts(name)
        self.assertEqual(kernels[:2] if way == "in" else kernels[2:], (pkts, octets))

    def test_frames_to_the_bridge_itself_are_its_own(self):
        bridge = VlanBridge(self)
        bridge.add_port("swp1", 10)
        bridge.add_vlan("br0", 10)
        self.listen("br0")
        self.start_agent()
        bridge.send("swp1", 10, 20, 100, self.address("br0"))
        bridge.send("swp1", 10, 1, 100, BROADCAST)
        self.assert_traffic("br0", "in", 21, 21 * (100 - HEADER))

    def test_a_port_that_leaves_its_bridge_is_counted_on(self):
        bridge = VlanBridge(self)
        bridge.add_port("swp1", 10)
        bridge.add_port("swp2", 10)
        self.start_agent()
        bridge.send("swp1", 10, 30, 100)
        self.ip("link set swp2 nomaster")
        bridge.send("swp1", 10, 5, 100)
        self.send_frames("swp2", BROADCAST, 4, 100)
        self.assert_traffic("swp1", "in", 35, 3500)
        self.assert_traffic("swp2", "out", 34, 30 * (100 - TAG_SIZE) + 400)


if __name__ == "__main__":
    harness.main()
