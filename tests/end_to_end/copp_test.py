#!/usr/bin/env python3
"""Control-plane policing classes of a real kernel's nftables, as oru-agentd counts them under the
sample ruleset.

  copp_test.py PROGRAMS [TEST...]    PROGRAMS is the folder that the programs are in

Needs root, for a network namespace of its own; without it everything is skipped, and the exit status
is 77.
"""

import json
import pathlib
import shutil
import signal
import socket
import struct
import subprocess
import time

import harness
from harness import PATIENCE, OnLinks, Reader, await_that

ROOT = pathlib.Path(__file__).resolve().parents[2]
SAMPLE = ROOT / "packaging" / "copp.nft"
HERE, THERE = "192.0.2.1", "192.0.2.2"
UDP, OSPF = 17, 89
HEADERS = 28  # octets of IPv4 and UDP


class OnPolicedLinks(Reader, OnLinks):
    """eth0 has an address; what is sent out of eth1, its peer, arrives there. The loopback is not
    policed."""

    def setUp(self):
        super().setUp()
        if not shutil.which("nft"):
            self.skipTest("there is no nft(8)")
        if subprocess.run(["nft", "add table inet probe"], check=False).returncode != 0:
            self.skipTest("this kernel has no nftables")
        self.nft("delete table inet probe")
        self.add_pair("eth0", "eth1")
        self.ip(f"address add {HERE}/24 dev eth0")

    def nft(self, command):
        subprocess.run(["nft", command], check=True, timeout=PATIENCE, stdout=subprocess.DEVNULL)

    def load(self):
        subprocess.run(["nft", "-f", SAMPLE], check=True, timeout=PATIENCE)

    def packet(self, protocol, payload):
        header = struct.pack("!BBHHHBBH4s4s", 0x45, 0, 20 + len(payload), 0, 0, 64, protocol, 0,
                             socket.inet_aton(THERE), socket.inet_aton(HERE))
        words = sum(struct.unpack("!10H", header))
        words = (words & 0xffff) + (words >> 16)
        checksum = 0xffff - ((words & 0xffff) + (words >> 16))
        return header[:10] + struct.pack("!H", checksum) + header[12:] + payload

    def send_packets(self, count, packet):
        destination = bytes.fromhex(self.kernel_says("eth0")["address"].replace(":", ""))
        source = bytes.fromhex(self.kernel_says("eth1")["address"].replace(":", ""))
        with socket.socket(socket.AF_PACKET, socket.SOCK_RAW, 0) as sender:
            sender.bind(("eth1", 0))
            for _ in range(count):
                sender.send(destination + source + b"\x08\0" + packet)

    def send_udp(self, count, port, payload):
        self.send_packets(count, self.packet(
            UDP, struct.pack("!4H", 4000, port, 8 + payload, 0) + bytes(payload)))

    def send_ospf(self, count, payload):
        self.send_packets(count, self.packet(OSPF, bytes(payload)))

    def rows(self):
        """Of coppCounters, by the class."""
        return {row["className"]: row for row in self.dumped("coppCounters")}

    def totals(self):
        """(packets, octets) of the classes that counted any."""
        return {name: (row["pkts"], row["octets"]) for name, row in self.rows().items()
                if row["pkts"]}

    def await_totals(self, **totals):
        """Exactly these; copp_ntp stands for copp-ntp."""
        expected = {name.replace("_", "-"): counts for name, counts in totals.items()}
        self.await_equal(self.totals, expected)

    def await_a_poll(self):
        called = time.time()
        def polled():
            rows = self.rows().values()
            return rows and all(row["lastUpdate"] > called for row in rows)
        await_that("a poll of every class", polled)

    def await_cpu_port(self, there=True):
        """Whether there is one is asked every few seconds."""
        await_that("the CPU port " + ("there" if there else "gone"),
                   lambda: self.command("ls", "countersSm/cpuPortCountersSm").split() ==
                   (["Cpu"] if there else []))

    def since_reset(self, name):
        row = self.rows()[name]
        return row["pkts"] - row["resetPkts"], row["octets"] - row["resetOctets"]


class PolicingClasses(OnPolicedLinks):
    def test_traffic_is_counted_by_class(self):
        self.load()
        self.start_agent()
        self.send_udp(5, 123, 48)  # ntp
        self.send_udp(3, 161, 100)  # snmp
        self.send_ospf(4, 60)
        self.send_udp(2, 9, 10)
        self.await_totals(copp_ntp=(5, 5 * (HEADERS + 48)), copp_snmp=(3, 3 * (HEADERS + 100)),
                          copp_ospf=(4, 4 * 80), copp_default=(2, 2 * (HEADERS + 10)))
        self.assertEqual(self.rows()["copp-ntp"]["policyMap"], "copp-system-policy")
        self.assertEqual(self.rows()["copp-ntp"]["lastReset"], 0.0)
        self.assertIn("policy map copp-system-policy is watched, with 10 classes",
                      self.what_it_said())

    def test_the_library_holds_the_policy_map_and_its_classes(self):
        self.load()
        self.start_agent()
        self.assertEqual(self.command("ls", "countersSm/coppTypeSm/0/coppSm").split(),
                         ["copp-system-policy"])
        self.await_cpu_port()

    def reset(self, name):
        self.command("invoke", "countersSm/coppTypeSm/0/coppSm/copp-system-policy", "handleClass",
                     name)

    def test_a_reset_leaves_the_totals_and_counts_from_there(self):
        self.load()
        self.start_agent()
        self.send_udp(5, 123, 48)
        self.await_totals(copp_ntp=(5, 380))
        self.reset("copp-ntp")
        self.assertEqual(self.totals(), {"copp-ntp": (5, 380)})
        self.assertEqual(self.since_reset("copp-ntp"), (0, 0))
        self.assertLess(abs(self.rows()["copp-ntp"]["lastReset"] - time.time()), PATIENCE)
        self.assertIn("packets 0 bytes 0", subprocess.run(
            ["nft", "list counter inet copp copp-ntp"], check=True, capture_output=True,
            text=True, timeout=PATIENCE).stdout)
        self.send_udp(7, 123, 48)
        self.await_totals(copp_ntp=(12, 912))
        self.assertEqual(self.since_reset("copp-ntp"), (7, 532))

    def test_resets_between_bursts_lose_nothing(self):
        self.load()
        self.start_agent()
        for _ in range(20):
            self.send_udp(5, 161, 10)
            self.reset("copp-snmp")
        self.await_totals(copp_snmp=(100, 100 * (HEADERS + 10)))

    def test_a_ruleset_that_is_loaded_anew_extends_the_totals(self):
        self.load()
        self.start_agent()
        self.send_udp(5, 123, 48)
        self.await_totals(copp_ntp=(5, 380))
        self.load()
        self.send_udp(6, 123, 48)
        self.await_totals(copp_ntp=(11, 836))
        self.assertEqual(self.since_reset("copp-ntp"), (11, 836))

    def test_a_reset_by_somebody_else_extends_the_totals(self):
        self.load()
        self.start_agent()
        self.send_udp(5, 123, 48)
        self.await_totals(copp_ntp=(5, 380))
        self.nft("reset counters table inet copp")
        self.await_a_poll()
        self.send_udp(6, 123, 48)
        self.await_totals(copp_ntp=(11, 836))

    def test_classes_come_and_go_with_their_counters(self):
        self.load()
        self.start_agent()
        self.nft("add counter inet copp my-class { packets 3 bytes 300 }")
        self.await_totals(my_class=(3, 300))
        await_that("the reset of a class that comes",
                   lambda: self.since_reset("my-class") == (0, 0))
        self.nft("delete counter inet copp my-class")
        await_that("the class gone", lambda: "my-class" not in self.rows())

    def test_the_table_may_come_later_and_go(self):
        self.start_agent()
        self.await_cpu_port(False)
        self.assertEqual(self.rows(), {})
        self.load()
        self.await_cpu_port()
        self.send_udp(5, 123, 48)
        self.await_totals(copp_ntp=(5, 380))
        self.nft("delete table inet copp")
        self.await_cpu_port(False)
        await_that("no classes", lambda: self.rows() == {})
        _, said = self.stop_agent(signal.SIGTERM)
        self.assertEqual(said.splitlines(), [
            f"oru-agentd: counting 2 interfaces into {self.tables}, every 0.05 s",
            "oru-agentd: policy map copp-system-policy is watched, with 10 classes",
            "oru-agentd: policy map copp-system-policy is no longer watched"])

    def test_without_the_privilege_it_is_said_once(self):
        if not shutil.which("capsh"):
            self.skipTest("there is no capsh(1)")
        self.load()
        command = self.agent_command
        self.agent_command = lambda *options: ["capsh", "--drop=cap_net_admin", "--", "-c",
                                               'exec "$@"', "sh", *command(*options)]
        self.start_agent()
        self.polled("eth0")
        time_for_another_look = time.monotonic() + 6.0
        await_that("another look", lambda: time.monotonic() > time_for_another_look)
        self.await_cpu_port(False)
        self.assertEqual(self.what_it_said().count("CAP_NET_ADMIN"), 1)


class PolicingClassesOverRestarts(OnPolicedLinks):
    def test_an_agent_that_is_started_again_counts_on(self):
        self.load()
        sent = 0
        for how in [signal.SIGTERM, signal.SIGKILL] * 3:
            self.start_agent()
            self.send_udp(5, 123, 48)
            sent += 5
            self.await_totals(copp_ntp=(sent, 76 * sent))
            self.stop_agent(how)
            self.send_udp(3, 123, 48)
            sent += 3
        self.start_agent()
        self.await_totals(copp_ntp=(sent, 76 * sent))
        self.assertEqual(self.rows()["copp-ntp"]["lastReset"], 0.0)  # no start is a reset

    def test_an_agent_that_is_killed_after_a_reset_counts_on(self):
        self.load()
        sent = 0
        for _ in range(4):
            self.start_agent()
            self.send_udp(5, 123, 48)
            sent += 5
            self.command("invoke", "countersSm/coppTypeSm/0/coppSm/copp-system-policy",
                         "handleClass", "copp-ntp")
            self.stop_agent(signal.SIGKILL)
            self.send_udp(9, 123, 48)  # more than before the reset
            sent += 9
        self.start_agent()
        self.await_totals(copp_ntp=(sent, 76 * sent))
        self.assertEqual(self.since_reset("copp-ntp"), (9, 9 * 76))

    def test_a_ruleset_that_was_loaded_while_no_agent_ran_extends_the_totals(self):
        self.load()
        self.start_agent()
        self.send_udp(5, 123, 48)
        self.await_totals(copp_ntp=(5, 380))
        self.stop_agent(signal.SIGKILL)
        self.load()
        self.send_udp(8, 123, 48)
        self.start_agent()
        self.await_totals(copp_ntp=(13, 988))

    def test_classes_that_went_meanwhile_leave_no_row(self):
        self.load()
        self.start_agent()
        await_that("the class", lambda: "copp-ntp" in self.rows())
        self.stop_agent(signal.SIGKILL)
        self.nft("delete table inet copp")
        self.start_agent()
        self.assertEqual(self.rows(), {})

    def test_kept_counters_of_classes_stay_and_go_on(self):
        self.load()
        self.start_agent("--keep-counters")
        self.send_udp(5, 123, 48)
        self.await_totals(copp_ntp=(5, 380))
        self.nft("delete table inet copp")
        self.await_cpu_port(False)
        self.stop_agent(signal.SIGTERM)
        self.start_agent("--keep-counters")
        self.assertEqual(self.totals(), {"copp-ntp": (5, 380)})
        self.load()
        self.send_udp(6, 123, 48)
        self.await_totals(copp_ntp=(11, 836))


if __name__ == "__main__":
    harness.main()
