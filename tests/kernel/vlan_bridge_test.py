#!/usr/bin/env python3
"""The bridge with VLANs that the tests of this folder use: what it is said to send, the kernel counts.

  vlan_bridge_test.py PROGRAMS [TEST...]
"""

from links import HEADER, VlanBridge, WithVlans

import harness


class VlanBridgeOfTheTests(WithVlans):
    def counted(self, frames_in, octets_in, frames_out, octets_out):
        return {"rx_packets": frames_in, "rx_bytes": octets_in - frames_in * HEADER,
                "tx_packets": frames_out, "tx_bytes": octets_out - frames_out * HEADER}

    def test_its_vlans_count_what_enters_and_what_leaves_by_any_port(self):
        sut = VlanBridge(self)
        for port in ("swp1", "swp2", "swp3"):
            sut.add_port(port, 10, 20)
        sut.add_vlan("br0", 10)
        sut.add_vlan("br0", 20)
        sut.send("swp1", 10, 40, 100)
        sut.send("swp2", 10, 5, 200)
        sut.send("swp3", 20, 7, 1000)
        # Each is flooded to the two other ports, and to the bridge itself as to one more.
        self.await_equal(lambda: sut.counts(10), self.counted(45, 5000, 3 * 45, 3 * 5000))
        self.await_equal(lambda: sut.counts(20), self.counted(7, 7000, 3 * 7, 3 * 7000))

    def test_its_ports_count_for_themselves_where_that_was_asked_for(self):
        sut = VlanBridge(self, stats_per_port=True)
        sut.add_port("swp1", 10, 20)
        sut.add_port("swp2", 10)
        sut.send("swp1", 10, 40, 100)
        sut.send("swp2", 10, 3, 100)
        self.await_equal(lambda: sut.counts(10, "swp1"), self.counted(40, 4000, 3, 300))
        self.await_equal(lambda: sut.counts(10, "swp2"), self.counted(3, 300, 40, 4000))
        self.await_equal(lambda: sut.counts(20, "swp1"), self.counted(0, 0, 0, 0))

    def test_a_frame_of_a_vlan_that_its_port_is_not_in_is_not_counted(self):
        sut = VlanBridge(self)
        sut.add_port("swp1", 10)
        sut.add_port("swp2", 10, 30)
        sut.add_vlan("br0", 10)
        sut.add_vlan("br0", 30)
        sut.send("swp1", 30, 9, 100)
        self.await_equal(lambda: sut.counts(30), self.counted(0, 0, 0, 0))
        sut.remove_vlan("swp2", 30)
        self.assertIsNone(sut.counts(30, "swp2"))

    def test_a_station_that_is_known_gets_its_frames_alone(self):
        sut = VlanBridge(self)
        for port in ("swp1", "swp2", "swp3"):
            sut.add_port(port, 10)
        sut.add_vlan("br0", 10)
        sut.send("swp2", 10, 1, 100)
        sut.send("swp1", 10, 20, 100, self.address("swp2-wire"))
        self.await_equal(lambda: sut.counts(10), self.counted(21, 2100, 3 + 20, 2300))


if __name__ == "__main__":
    harness.main()
