#!/usr/bin/env python3
"""Queues and dropped packets of a real kernel's links, as oru-agentd counts them.

  queues_and_drops_test.py PROGRAMS [TEST...]    PROGRAMS is the folder that the programs are in

Needs root, for a network namespace of its own and for a /sys that shows it; without it everything
is skipped, and the exit status is 77.
"""

import ctypes
import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess

import harness
from harness import PATIENCE, OnLinks, Reader, await_that

CLONE_NEWNS = 0x00020000
# The experimental EtherTypes; the filter of these tests drops the second, and rules of nftables the
# third.
PASSES, DROPPED, DROPPED_BY_NFTABLES = b"\x88\xb5", b"\x88\xb6", b"\x88\xb7"
NOTHING = (0, 0, 0)


class OnQueues(Reader, OnLinks):
    """eth0 has some queues under an mq, and eth1, its peer, a filter that drops some frames."""

    QUEUES = 4

    def setUp(self):
        super().setUp()
        if not shutil.which("tc"):
            self.skipTest("there is no tc(8)")
        self.see_this_namespace_in_sys()
        self.add_pair("eth0", "eth1", f"numtxqueues {self.QUEUES} numrxqueues {self.QUEUES}")
        self.tc("qdisc add dev eth0 root mq")
        self.tc("qdisc add dev eth1 clsact")
        self.add_filter()
        self.listen("eth1")

    def add_filter(self):
        # Most kernels have this one, whatever other classifiers and actions they lack.
        self.tc(["filter", "add", "dev", "eth1", "ingress", "protocol", "0x88b6",
                 "bpf", "bytecode", "1,6 0 0 2,", "direct-action"])

    def see_this_namespace_in_sys(self):
        libc = ctypes.CDLL(None, use_errno=True)
        if libc.unshare(CLONE_NEWNS) != 0:
            self.skipTest("no mount namespace: " + os.strerror(ctypes.get_errno()))
        for command in ("mount --make-rprivate /", "mount -t sysfs sysfs /sys"):
            if subprocess.run(command.split(), check=False).returncode != 0:
                self.skipTest("may not mount a sysfs")

    def tc(self, command):
        words = command if isinstance(command, list) else command.split()
        subprocess.run(["tc", *words], check=True, timeout=PATIENCE)

    def steer_to(self, queue):
        """From every processor, frames go out of eth0 by this queue."""
        everyone = f"{(1 << os.cpu_count()) - 1:x}"
        for each in range(self.QUEUES):
            file = pathlib.Path(f"/sys/class/net/eth0/queues/tx-{each}/xps_cpus")
            file.write_text(everyone if each == queue else "0")

    def send_as(self, count, size, ether_type=PASSES):
        frame = (b"\x02\0\0\0\0\x01" + b"\x02\0\0\0\0\x02" + ether_type).ljust(size, b"\0")
        with socket.socket(socket.AF_PACKET, socket.SOCK_RAW, 0) as sender:
            sender.bind(("eth0", 0))
            for _ in range(count):
                self.assertEqual(sender.send(frame), size)

    def dump(self, table, link):
        """The link's row of the table, None if it has none."""
        number = self.kernel_says(link)["ifindex"]
        return next((row for row in self.dumped(table) if row["intfId"] == f"Ethernet{number}"), None)

    def shown_queues(self, counters="counters"):
        """What is shown of eth0: packets, octets and dropped packets by the queue, and of "all"."""
        shown = json.loads(self.command("show", "queues", "--since-clear", "--json"))["interfaces"]
        eth0 = next((each for each in shown if each["kernelName"] == "eth0"), None)
        if not eth0 or not eth0["queues"]:
            return None
        def values(counted):
            self.assertIsNone(counted[counters]["dropOctets"])  # the kernel counts none
            return tuple(counted[counters][each] for each in ("pkts", "octets", "dropPkts"))
        return {**{each["queue"]: values(each) for each in eth0["queues"]},
                "all": values(eth0["allQueues"])}

    def await_shown_queues(self, used, counters="counters"):
        """These are shown, by the queue: (packets, octets, dropped packets); of others nothing."""
        queues = range(min(self.QUEUES, 17))
        expected = {**{queue: used.get(queue, NOTHING) for queue in queues},
                    "all": tuple(sum(each) for each in zip(NOTHING, *used.values()))}
        self.await_equal(lambda: self.shown_queues(counters), expected)

    def await_queues(self, pkts, octets):
        """These are the packets and octets of the four queues, and their sums those of all."""
        self.await_shown_queues({i: (pkts[i], octets[i], 0) for i in range(4)})
        row = self.dump("intfQueueCounters", "eth0")
        self.assertEqual(row["queues"], 4)
        self.assertEqual([row[f"queue{i}Pkts"] for i in range(17)], pkts + [0] * 13)
        self.assertEqual([row[f"queue{i}Octets"] for i in range(17)], octets + [0] * 13)
        self.assertEqual((row["pkts"], row["octets"], row["dropPkts"]),
                         (sum(pkts), sum(octets), 0))

    def shown_drops(self, link):
        return self.shown("drops").get(link, {}).get("aclDropPkts")

    def await_drops(self, count):
        self.await_equal(lambda: self.shown_drops("eth1"), count)
        self.assertEqual(self.dump("aclDropCounters", "eth1")["aclDropPkts"], count)


class QueuesAndDrops(OnQueues):
    def test_every_frame_is_counted_in_its_queue_and_in_no_other(self):
        self.start_agent()
        self.steer_to(2)
        self.send_as(100, 200)
        self.steer_to(1)
        self.send_as(30, 1000)
        self.await_queues([0, 30, 100, 0], [0, 30000, 20000, 0])
        def described(link):
            return self.dump("intfDescriptions", link)["unsupportedQueue"]
        self.await_equal(lambda: (described("eth0"), described("eth1")), (0x88, 0xff))
        self.assertEqual(self.dump("intfDescriptions", "eth0")["txQueues"], 4)

    def test_every_frame_that_the_filter_drops_is_counted_and_no_other(self):
        self.start_agent()
        self.send_as(50, 100)
        self.send_as(13, 100, DROPPED)
        self.await_drops(13)
        self.assertEqual(self.shown_drops("eth0"), 0)

    def test_another_agent_neither_doubles_nor_loses(self):
        self.start_agent()
        self.steer_to(3)
        self.send_as(20, 100)
        self.send_as(5, 100, DROPPED)
        self.await_queues([0, 0, 0, 25], [0, 0, 0, 2500])
        self.await_drops(5)
        for how in (signal.SIGTERM, signal.SIGKILL):
            self.stop_agent(how)
            self.send_as(10, 100)
            self.send_as(1, 100, DROPPED)
            self.start_agent()
        self.await_queues([0, 0, 0, 47], [0, 0, 0, 4700])
        self.await_drops(7)

    def test_a_queueing_discipline_that_is_replaced_does_not_go_back(self):
        self.start_agent()
        self.steer_to(0)
        self.send_as(20, 100)
        self.await_queues([20, 0, 0, 0], [2000, 0, 0, 0])
        self.tc("qdisc replace dev eth0 root handle 1: mq")
        self.send_as(3, 100)
        self.await_queues([23, 0, 0, 0], [2300, 0, 0, 0])
        self.stop_agent(signal.SIGKILL)
        self.tc("qdisc del dev eth0 root")
        self.tc("qdisc add dev eth0 root mq")
        self.send_as(40, 100)  # more than the one before counted
        self.start_agent()
        self.await_queues([63, 0, 0, 0], [6300, 0, 0, 0])

    def test_what_is_counted_is_described_anew_when_the_discipline_changes(self):
        self.start_agent()
        def uncounted():
            return (self.dump("intfDescriptions", "eth0") or {}).get("unsupportedQueue")
        await_that("an mq", lambda: uncounted() == 0x88)
        self.tc("qdisc replace dev eth0 root pfifo")
        await_that("one discipline for all", lambda: uncounted() == 0x8f)
        self.tc("qdisc del dev eth0 root")
        await_that("no discipline", lambda: uncounted() == 0xff)

    def test_rows_of_a_link_that_went_are_gone(self):
        self.start_agent()
        await_that("its rows", lambda: self.dump("intfQueueCounters", "eth0"))
        self.ip("link del eth0")
        for table in ("intfQueueCounters", "intfClearQueueCounters", "aclDropCounters",
                      "queueOffsets"):
            await_that(f"no rows in {table}", lambda table=table: not self.dumped(table))


class QueuesSinceAClear(OnQueues):
    def test_a_clear_takes_what_was_sent_just_before_it(self):
        self.steer_to(2)
        self.start_agent("--period", "3600")  # only a clear polls
        for turn in range(1, 11):
            self.send_as(10, 100)
            self.command("clear", "eth0")
            everything = (10 * turn, 1000 * turn, 0)
            self.assertEqual(self.shown_queues(),
                             {**dict.fromkeys(range(4), NOTHING), 2: everything, "all": everything})
            self.assertEqual(self.shown_queues("sinceClear"),
                             dict.fromkeys([*range(4), "all"], NOTHING))

    def test_what_is_sent_after_a_clear_is_all_that_there_is_since_then(self):
        self.steer_to(1)
        self.start_agent()
        self.send_as(40, 200)
        self.command("clear", "eth0")
        self.send_as(17, 300)
        self.await_shown_queues({1: (17, 5100, 0)}, "sinceClear")
        self.await_shown_queues({1: (57, 13100, 0)})
        self.steer_to(3)
        self.send_as(3, 100)
        since_then = {1: (17, 5100, 0), 3: (3, 300, 0)}
        self.await_shown_queues(since_then, "sinceClear")
        self.stop_agent(signal.SIGKILL)
        self.start_agent()
        self.polled("eth0")
        self.await_shown_queues(since_then, "sinceClear")


class MoreQueuesThanARowHas(OnQueues):
    QUEUES = 20

    def test_the_last_row_is_the_sum_of_the_rest_and_is_shown_as_such(self):
        self.start_agent()
        for queue, count, size in ((15, 5, 100), (18, 30, 200), (19, 12, 1000)):
            self.steer_to(queue)
            self.send_as(count, size)
        self.await_shown_queues({15: (5, 500, 0), 16: (42, 18000, 0)})
        last = self.shown("queues")["eth0"]["queues"][-1]
        self.assertEqual((last["queue"], last["lastQueue"]), (16, 19))
        text = self.command("show", "queues")
        name = self.link("eth0")["name"]
        self.assertRegex(text, rf"(?m)^{name} +eth0 +15 +unicast +5 +500 ")
        self.assertRegex(text, rf"(?m)^{name} +eth0 +16\+ +unicast +42 +18000 ")
        self.assertIn(f"\n{name} has 20 queues; 16+ is the sum of queues 16 to 19\n", text)


class DropsOfNftables(OnQueues):
    def setUp(self):
        super().setUp()
        if not shutil.which("nft") or subprocess.run(
                ["nft", "add table netdev acl"], check=False).returncode != 0:
            self.skipTest("there is no nftables")
        config = pathlib.Path(self.tables, "agentd.toml")
        config.write_text('[acl-drops]\neth1 = "netdev acl eth1_drops"\n')
        self.start_agent("--config", str(config))

    def nft(self, command):
        subprocess.run(["nft", command], check=True, timeout=PATIENCE)

    def test_a_named_counter_is_what_is_dropped(self):
        await_that("a word of it", lambda: "cannot be read" in self.what_it_said())
        self.nft("add counter netdev acl eth1_drops { packets 5000000000 bytes 1 }")
        self.await_drops(5_000_000_000)
        said = self.what_it_said().splitlines(keepends=True)
        self.assertRegex(
            "".join(line for line in said if "counting 2 interfaces" not in line),
            r"\Aoru-agentd: the nftables counter netdev acl eth1_drops of link eth1 cannot be "
            r"read, its last count stays: No such file or directory\n"
            r"oru-agentd: the nftables counter netdev acl eth1_drops of link eth1 is read "
            r"again\n\Z")

    def test_every_frame_that_a_rule_drops_is_counted_and_no_other(self):
        self.nft("add counter netdev acl eth1_drops")
        if subprocess.run(["nft", "add chain netdev acl in "
                           "{ type filter hook ingress device eth1 priority 0; }"],
                          check=False).returncode != 0:
            self.skipTest("nftables sees no frames of a link")
        self.nft("add rule netdev acl in ether type 0x88b7 counter name eth1_drops drop")
        self.await_drops(0)
        self.send_as(40, 100)
        self.send_as(13, 100, DROPPED)
        self.send_as(21, 100, DROPPED_BY_NFTABLES)
        self.await_drops(21)
        self.assertEqual(self.shown_drops("eth0"), 0)


if __name__ == "__main__":
    harness.main()
