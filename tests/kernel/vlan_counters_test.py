#!/usr/bin/env python3
"""VLANs of a bridge that filters by them: what the kernel counts of them, exact in the tables.

  vlan_counters_test.py PROGRAMS [TEST...]
"""

import json
import signal
import subprocess

from links import HEADER, VlanBridge, WithVlans

import harness
from harness import Reader, await_that

NO_COUNTER = 0xff
KINDS_OF_PACKETS = 0b11001100  # multicast and broadcast, both ways


class VlanCounters(Reader, WithVlans):
    def setUp(self):
        super().setUp()
        self.bridge = VlanBridge(self)

    def ports(self, *vlans, bridge=None):
        """Two ports in these VLANs: what enters by one leaves by the other."""
        for port in ("swp1", "swp2"):
            (bridge or self.bridge).add_port(port, *vlans)

    def rows(self, table="vlanCounters"):
        rows = json.loads(self.command("tables", "dump", table, "--json"))["rows"]
        return {row.get("vlanId") or row["intfId"]: row for row in rows}

    def totals(self, vlan, table="vlanCounters"):
        """Frames in, their octets, frames out, their octets; None without a row."""
        row = self.rows(table).get(vlan)
        return row and tuple(row[each] for each in ("inUcastPkts", "inOctets", "outUcastPkts",
                                                    "outOctets"))

    def await_totals(self, vlan, frames_in, octets_in, frames_out=None, octets_out=None):
        """Octets as the frames have them with header and tag; what leaves is what came in if it is
        not said."""
        frames_out = frames_in if frames_out is None else frames_out
        octets_out = octets_in if octets_out is None else octets_out
        expected = (frames_in, octets_in - frames_in * HEADER, frames_out,
                    octets_out - frames_out * HEADER)
        try:
            await_that(f"VLAN {vlan}: {expected}", lambda: self.totals(vlan) == expected)
        except AssertionError:
            self.assertEqual(self.totals(vlan), expected)
            raise

    def await_vlans(self, *vlans):
        for table in ("vlanCounters", "vlanCounterSnapshots", "vlanDescriptions", "vlanOffsets"):
            await_that(f"{vlans} in {table}", lambda t=table: set(self.rows(t)) == set(
                f"Vlan{v}" if t == "vlanOffsets" else v for v in vlans))

    def await_description(self, vlan, **fields):
        def described():
            row = self.rows("vlanDescriptions").get(vlan, {})
            return {field: row.get(field) for field in fields} == fields
        await_that(f"VLAN {vlan}: {fields}", described)

    def test_frames_are_counted_as_the_kernel_counts_them(self):
        self.ports(10, 20)
        self.start_agent()
        self.bridge.send("swp1", 10, 100, 200)
        self.bridge.send("swp2", 10, 7, 1000)
        self.bridge.send("swp1", 20, 3, 100)
        self.await_totals(10, 107, 27000)
        self.await_totals(20, 3, 300)
        kernel = self.bridge.counts(10, "swp1")
        self.assertEqual(self.totals(10), (kernel["rx_packets"], kernel["rx_bytes"],
                                           kernel["tx_packets"], kernel["tx_bytes"]))
        self.await_description(10, bridge="br0", unsupported=KINDS_OF_PACKETS)

    def test_what_was_counted_before_the_agent_is_in_the_row(self):
        self.ports(10)
        self.bridge.send("swp1", 10, 40, 100)
        self.start_agent()
        self.await_totals(10, 40, 4000)

    def test_killed_and_ended_agents_lose_and_double_nothing(self):
        self.ports(10)
        sent = 0
        for how in (signal.SIGKILL, signal.SIGTERM, signal.SIGKILL):
            self.start_agent()
            for _ in range(10):
                self.bridge.send("swp1", 10, 5, 100)
            self.stop_agent(how)
            self.bridge.send("swp2", 10, 4, 100)
            sent += 54
        self.start_agent()
        self.await_totals(10, sent, sent * 100)

    def test_a_vlan_that_was_made_anew_while_no_agent_ran_goes_on_with_its_total(self):
        self.ports(10)
        self.start_agent()
        self.bridge.send("swp1", 10, 100, 100)
        self.await_totals(10, 100, 10000)
        self.stop_agent(signal.SIGTERM)
        for order in (self.bridge.remove_vlan, self.bridge.add_vlan):
            for port in ("swp1", "swp2"):
                order(port, 10)
        self.bridge.send("swp1", 10, 8, 100)
        for _ in range(2):  # the offset that this takes is kept
            self.start_agent()
            self.await_totals(10, 108, 10800)
            self.stop_agent(signal.SIGKILL)

    def test_a_vlan_that_is_removed_and_added_under_traffic_begins_anew(self):
        self.ports(10, 20)
        self.start_agent()
        for _ in range(5):
            self.bridge.send("swp1", 10, 60, 100)
            self.bridge.send("swp1", 20, 10, 100)
            # Without a pause: the agent may see both at once.
            for order in (self.bridge.remove_vlan, self.bridge.add_vlan):
                for port in ("swp1", "swp2"):
                    order(port, 10)
            self.bridge.send("swp1", 10, 70, 100)
        self.await_totals(10, 70, 7000)
        self.await_totals(20, 50, 5000)
        self.assertIsNone(self.agent.poll())

    def test_a_vlan_stays_as_long_as_one_port_is_in_it(self):
        self.ports(10)
        self.bridge.add_vlan("swp1", 20)
        self.start_agent()
        self.bridge.send("swp1", 10, 5, 100)
        self.await_totals(10, 5, 500)
        self.bridge.remove_vlan("swp2", 10)
        self.bridge.add_vlan("swp2", 10)
        self.bridge.send("swp1", 10, 1, 100)
        self.await_totals(10, 6, 600)
        self.await_vlans(10, 20)
        self.bridge.remove_vlan("swp1", 20)
        self.await_vlans(10)

    def test_ranges_of_vlans_come_and_go(self):
        self.ports(10)
        self.start_agent()
        self.bridge.add_vlan("swp1", "100-299")
        self.await_vlans(10, *range(100, 300))
        self.bridge.remove_vlan("swp1", "150-299")
        self.await_vlans(10, *range(100, 150))
        self.bridge.add_vlan("br0", "140-160")
        self.await_vlans(10, *range(100, 161))
        self.ip("link set swp1 nomaster")
        self.await_vlans(10, *range(140, 161))
        self.ip("link del br0")
        self.await_vlans()
        self.assertIsNone(self.agent.poll())

    def test_all_vlans_that_there_can_be_are_counted(self):
        self.ports("1-4094")
        self.start_agent("--period", "0.5")  # a poll of them all takes a while
        self.bridge.send("swp1", 4094, 3, 100)
        self.bridge.send("swp1", 1, 4, 100)
        self.await_totals(4094, 3, 300)
        self.await_totals(1, 4, 400)
        self.assertEqual(len(self.rows()), 4094)

    def test_vlans_that_went_while_no_agent_ran_have_no_rows(self):
        self.ports(10, 20)
        self.start_agent()
        self.await_vlans(10, 20)
        self.stop_agent(signal.SIGKILL)
        for port in ("swp1", "swp2"):
            self.bridge.remove_vlan(port, 20)
        self.start_agent()
        self.await_vlans(10)

    def test_a_bridge_is_renamed_goes_and_comes(self):
        self.ports(10)
        self.start_agent()
        self.bridge.send("swp1", 10, 9, 100)
        self.await_totals(10, 9, 900)
        self.ip("link set br0 down")
        self.ip("link set br0 name lan0")
        self.await_description(10, bridge="lan0")
        self.assertEqual(self.totals(10)[0], 9)
        self.ip("link del lan0")
        self.await_vlans()
        again = VlanBridge(self, "br1")
        for port in ("swp1", "swp2"):
            self.ip(f"link set {port} master br1")
            await_that("forwarding", lambda p=port: again.state(p) == "forwarding")
            again.add_vlan(port, 10)
        again.send("swp1", 10, 2, 100)
        self.await_totals(10, 2, 200)

    def test_the_first_bridge_that_filters_is_counted_or_the_one_that_is_named(self):
        other = VlanBridge(self, "br7")
        self.bridge.add_vlan("br0", 10)
        other.add_vlan("br7", 70)
        self.start_agent()
        self.await_vlans(10)
        self.ip("link set br0 type bridge vlan_filtering 0")
        self.await_vlans(70)
        self.stop_agent(signal.SIGTERM)
        self.ip("link set br0 type bridge vlan_filtering 1")
        path = f"{self.tables}/agent.toml"
        with open(path, "w", encoding="utf-8") as file:
            file.write('[vlans]\nbridge = "br7"\n')
        self.start_agent("--config", path)
        self.await_vlans(70)

    def test_a_bridge_that_does_not_count_is_told_once_and_switched_on_where_that_is_allowed(self):
        self.ports(10)
        self.ip("link set br0 type bridge vlan_stats_enabled 0")
        self.start_agent()
        self.await_description(10, unsupported=NO_COUNTER)
        self.bridge.add_vlan("swp1", 20)
        self.await_vlans(10, 20)
        _, said = self.stop_agent(signal.SIGTERM)
        self.assertEqual(said.count("vlan_stats_enabled"), 1, said)
        path = f"{self.tables}/agent.toml"
        with open(path, "w", encoding="utf-8") as file:
            file.write("[vlans]\nstatistics = true\n")
        self.start_agent("--config", path)
        self.await_description(10, unsupported=KINDS_OF_PACKETS)
        self.bridge.send("swp1", 10, 6, 100)
        self.await_totals(10, 6, 600)
        self.assertIn("switched the counting of the VLANs of bridge br0 on", self.what_it_said())

    def test_a_bridge_that_counts_at_its_ports_is_told_as_not_counted(self):
        self.ip("link del br0")
        self.ports(10, bridge=VlanBridge(self, "br1", stats_per_port=True))
        self.start_agent()
        self.await_description(10, bridge="br1", unsupported=NO_COUNTER)
        self.assertIn("vlan_stats_per_port", self.what_it_said())

    def test_a_clear_takes_what_was_counted_and_the_total_goes_on(self):
        self.ports(10)
        self.start_agent()
        for turn in (1, 2):
            self.bridge.send("swp1", 10, 30, 100)
            subprocess.run([harness.PROGRAMS / "oru-counters", "--tables", self.tables, "clear",
                            "vlan", "10"], check=True, timeout=harness.PATIENCE)
            octets = turn * 30 * (100 - HEADER)
            self.assertEqual(self.totals(10, "vlanCounterSnapshots"),
                             (turn * 30, octets, turn * 30, octets))
        self.bridge.send("swp1", 10, 1, 100)
        self.await_totals(10, 61, 6100)


if __name__ == "__main__":
    harness.main()
