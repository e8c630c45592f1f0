#!/usr/bin/env python3
"""oru-agentd and oru-counters as their users meet them: as programs, on links of a real kernel.

  agent_and_reader_test.py PROGRAMS [TEST...]    PROGRAMS is the folder that the two are in

Tests with links run in a network namespace of their own, for which they need to be root; without
it they are skipped, and if nothing else was asked for the exit status is 77.
"""

import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import time

import harness
from harness import PATIENCE, OnLinks, Programs, Reader, await_that


class CountsOnLinks(OnLinks):
    def test_every_frame_is_counted_once_on_both_ends_and_nothing_else(self):
        self.add_pair("eth0", "eth1")
        self.listen("eth1")
        self.start_agent()
        self.send("eth0", "eth1", 1000, 100)
        self.send("eth0", "eth1", 37, 1500)
        octets = 1000 * 100 + 37 * 1500
        self.assert_counted("eth0", outUcastPkts=1037, outOctets=octets)
        self.assert_counted("eth1", inUcastPkts=1037, inOctets=octets)

    def test_what_the_kernel_counted_before_the_first_agent_is_in_the_totals(self):
        self.add_pair("eth0", "eth1")
        self.listen("eth1")
        self.send("eth0", "eth1", 11, 64)
        self.start_agent()
        self.assert_counted("eth0", outUcastPkts=11, outOctets=11 * 64)

    def test_a_frame_that_nobody_takes_is_a_discard(self):
        self.add_pair("eth0", "eth1")
        self.start_agent()
        self.send("eth0", "eth1", 5, 64)
        self.assertEqual(self.polled("eth1")["counters"]["inDiscards"], 5)

    def test_only_links_that_match_are_counted(self):
        self.add_pair("eth0", "lan0")
        self.start_agent("--interfaces", "lan*")
        self.await_interfaces("lan0")

    def test_a_configured_name_is_shown(self):
        self.add_pair("eth0", "eth1")
        config = pathlib.Path(self.tables, "agentd.toml")
        config.write_text('[names]\neth1 = "Ethernet1/4"\n')
        self.start_agent("--config", str(config))
        self.assertEqual(self.polled("eth1")["name"], "Ethernet1/4")
        self.assertEqual(self.polled("eth0")["name"],
                         f"Ethernet{self.kernel_says('eth0')['ifindex']}")


class LinksComeAndGo(OnLinks):
    def test_a_link_that_is_added_is_counted(self):
        self.start_agent()
        self.add_pair("eth0", "eth1")
        self.listen("eth1")
        self.send("eth0", "eth1", 10, 200)
        self.assert_counted("eth0", outUcastPkts=10, outOctets=2000)
        self.assert_counted("eth1", inUcastPkts=10, inOctets=2000)

    def test_a_link_that_is_removed_is_no_longer_shown(self):
        self.add_pair("eth0", "eth1")
        self.add_pair("eth2", "eth3")
        self.start_agent()
        self.await_interfaces("eth0", "eth1", "eth2", "eth3")
        self.ip("link del eth0")
        self.await_interfaces("eth2", "eth3")

    def test_a_link_that_is_renamed_keeps_its_interface_and_its_totals(self):
        self.add_pair("eth0", "eth1")
        self.listen("eth1")
        self.start_agent()
        self.send("eth0", "eth1", 10, 100)
        before = self.polled("eth0")
        # A link cannot be renamed while it is up on every kernel.
        self.ip("link set eth0 down")
        self.ip("link set eth0 name uplink")
        self.ip("link set uplink up")
        await_that("uplink up", lambda: self.kernel_says("uplink")["operstate"] == "UP")
        await_that("eth1 up", lambda: self.kernel_says("eth1")["operstate"] == "UP")
        self.send("uplink", "eth1", 7, 100)
        self.assert_counted("uplink", outUcastPkts=17, outOctets=1700)
        self.assertEqual(self.link("uplink")["name"], before["name"])
        self.assertIsNone(self.link("eth0"))

    def test_a_link_that_goes_down_is_shown_down(self):
        self.add_pair("eth0", "eth1")
        self.start_agent()
        await_that("eth0 up", lambda: (self.link("eth0") or {}).get("operState") == "up")
        self.ip("link set eth0 down")
        await_that("eth0 down", lambda: self.link("eth0")["operState"] == "down")
        self.assertEqual(self.link("eth0")["adminState"], "down")

    def test_a_link_that_went_while_no_agent_ran_is_no_longer_shown(self):
        self.add_pair("eth0", "eth1")
        self.add_pair("eth2", "eth3")
        self.start_agent()
        self.polled("eth0")
        self.stop_agent(signal.SIGTERM)
        self.ip("link del eth0")
        self.start_agent()
        self.await_interfaces("eth2", "eth3")

    def test_with_keep_counters_a_link_that_went_is_shown_with_its_totals(self):
        self.add_pair("eth0", "eth1")
        self.listen("eth1")
        self.start_agent("--keep-counters")
        self.send("eth0", "eth1", 10, 100)
        self.polled("eth0")
        self.ip("link del eth0")
        await_that("eth0 not present", lambda: self.link("eth0")["operState"] == "notPresent")
        self.assertEqual(self.link("eth0")["counters"]["outUcastPkts"], 10)

    def test_with_keep_counters_a_link_that_returns_goes_on_with_its_totals(self):
        config = pathlib.Path(self.tables, "agentd.toml")
        config.write_text('keep-counters = true\n[names]\neth0 = "Ethernet1"\n')
        self.start_agent("--config", str(config))
        for sent in (10, 20, 30):
            self.add_pair("eth0", "eth1")
            self.listen("eth1")
            self.send("eth0", "eth1", 10, 100)
            await_that("eth0 up", lambda: (self.link("Ethernet1") or {}).get("operState") == "up")
            self.assert_counted("Ethernet1", outUcastPkts=sent, outOctets=sent * 100)
            self.ip("link del eth0")
            await_that("eth0 not present",
                       lambda: self.link("Ethernet1")["operState"] == "notPresent")


    def test_with_keep_counters_links_that_swap_names_bring_no_counts_along(self):
        self.add_pair("eth0", "eth1")
        self.add_pair("eth2", "eth3")
        self.listen("eth1")
        self.listen("eth3")
        for link in ("eth0", "eth2"):
            self.ip(f"link set {link} alias was-{link}")
        config = pathlib.Path(self.tables, "agentd.toml")
        config.write_text('keep-counters = true\n'
                          '[names]\neth0 = "Ethernet1"\neth2 = "Ethernet2"\n')
        self.start_agent("--config", str(config))
        self.send("eth0", "eth1", 10, 100)
        self.send("eth2", "eth3", 200, 100)
        self.polled("eth0")
        self.polled("eth2")
        for link in ("eth0", "eth2"):
            self.ip(f"link set {link} down")
        for old, new in (("eth0", "swap"), ("eth2", "eth0"), ("swap", "eth2")):
            self.ip(f"link set {old} name {new}")
        for link in ("eth0", "eth2"):
            self.ip(f"link set {link} up")
        for link in ("eth0", "eth1", "eth2", "eth3"):
            await_that(f"{link} up", lambda link=link: self.kernel_says(link)["operstate"] == "UP")
        # What is sent before the agent has heard of a name is counted for the one it knew.
        for name, alias in (("Ethernet1", "was-eth2"), ("Ethernet2", "was-eth0")):
            await_that(f"{alias} as {name}",
                       lambda name=name, alias=alias: self.link(name)["alias"] == alias)
        self.send("eth0", "eth3", 3, 100)
        self.send("eth2", "eth1", 4, 100)
        self.assert_counted("Ethernet1", outUcastPkts=13, outOctets=1300)
        self.assert_counted("Ethernet2", outUcastPkts=204, outOctets=20400)


class AgentsComeAndGo(OnLinks):
    def setUp(self):
        super().setUp()
        self.add_pair("eth0", "eth1")
        self.listen("eth1")

    def test_a_killed_agent_loses_and_doubles_nothing(self):
        self.start_agent()
        self.send("eth0", "eth1", 100, 64)
        self.polled("eth0")
        self.stop_agent(signal.SIGKILL)
        self.send("eth0", "eth1", 50, 64)
        self.start_agent()
        self.send("eth0", "eth1", 25, 64)
        self.assert_counted("eth0", outUcastPkts=175, outOctets=175 * 64)
        self.assert_counted("eth1", inUcastPkts=175, inOctets=175 * 64)

    def test_agents_killed_at_any_moment_lose_and_double_nothing(self):
        sent = 0
        for _ in range(10):
            self.start_agent()
            for _ in range(20):  # about as long as a few polls take
                self.send("eth0", "eth1", 5, 64)
                sent += 5
            self.stop_agent(signal.SIGKILL)
            self.send("eth0", "eth1", 3, 64)
            sent += 3
        self.start_agent()
        self.assert_counted("eth0", outUcastPkts=sent, outOctets=sent * 64)
        self.assert_counted("eth1", inUcastPkts=sent, inOctets=sent * 64)

    def test_a_link_made_again_while_no_agent_ran_begins_anew(self):
        config = pathlib.Path(self.tables, "agentd.toml")
        config.write_text('[names]\neth0 = "Ethernet1"\n')
        self.start_agent("--config", str(config))
        self.send("eth0", "eth1", 100, 64)
        self.assert_counted("eth0", outUcastPkts=100, outOctets=6400)
        self.stop_agent(signal.SIGKILL)
        self.ip("link del eth0")
        self.add_pair("eth0", "eth1")
        self.listen("eth1")
        self.send("eth0", "eth1", 7, 64)
        self.start_agent("--config", str(config))
        self.assert_counted("Ethernet1", outUcastPkts=7, outOctets=7 * 64)

    def test_with_keep_counters_a_named_link_made_again_while_no_agent_ran_goes_on(self):
        config = pathlib.Path(self.tables, "agentd.toml")
        config.write_text('keep-counters = true\n[names]\neth0 = "Ethernet1"\n')
        sent = 0
        for count in (100, 7, 20):
            # What a link counts before it takes kept totals over is not theirs.
            uncounted = 3 if sent else 0
            self.send("eth0", "eth1", uncounted, 64)
            self.start_agent("--config", str(config))
            self.polled("eth0")
            self.send("eth0", "eth1", count, 64)
            sent += count
            self.assert_counted("Ethernet1", outUcastPkts=sent, outOctets=sent * 64)
            self.stop_agent(signal.SIGKILL)
            self.ip("link del eth0")
            self.add_pair("eth0", "eth1")
            self.listen("eth1")

    def test_an_agent_of_another_network_namespace_begins_anew(self):
        self.start_agent()
        self.send("eth0", "eth1", 100, 64)
        first = self.polled("eth0")
        self.stop_agent(signal.SIGKILL)
        self.enter_new_namespace()
        self.add_pair("eth0", "eth1")
        self.listen("eth1")
        self.send("eth0", "eth1", 3, 64)
        self.start_agent()
        self.assertEqual(self.link("eth0")["name"], first["name"])  # or this test shows nothing
        self.assert_counted("eth0", outUcastPkts=3, outOctets=3 * 64)

    def test_agents_of_links_and_of_the_simulated_chip_add_nothing_to_each_others_rows(self):
        index = self.kernel_says("eth0")["ifindex"]
        self.send("eth0", "eth1", 100, 64)
        for keep in ([], ["--keep-counters"]):
            self.start_agent("--chip", "simulated", "--ports", str(index + 8), *keep)
            await_that("octets", lambda: self.polled(f"Ethernet{index}")["counters"]["inOctets"])
            self.stop_agent(signal.SIGKILL)
            self.start_agent(*keep)
            self.assert_counted("eth0", outUcastPkts=100, outOctets=6400)
            self.stop_agent(signal.SIGKILL)

    def test_the_rows_of_a_killed_agent_stay_readable_and_are_stale(self):
        self.start_agent()
        self.send("eth0", "eth1", 100, 64)
        alive = self.polled("eth0")
        self.assertFalse(alive["stale"])
        self.stop_agent(signal.SIGKILL)
        dead = await_that("stale rows", lambda: self.link("eth0")["stale"] and self.link("eth0"))
        self.assertEqual(dead["counters"], alive["counters"])

    def test_sigterm_and_sigint_end_an_agent_cleanly(self):
        for how in (signal.SIGTERM, signal.SIGINT):
            self.start_agent()
            self.send("eth0", "eth1", 1, 64)
            alive = self.polled("eth0")
            self.assertEqual(self.stop_agent(how), (0, ""))
            self.assertEqual(self.link("eth0")["counters"], alive["counters"])
            self.assertTrue(self.link("eth0")["stale"])
            self.assertEqual(self.show()["agent"]["state"], "notRunning")

    def test_sighup_does_not_end_an_agent(self):
        self.start_agent()
        self.agent.send_signal(signal.SIGHUP)
        self.polled("eth0")
        self.assertIsNone(self.agent.poll())


class WithoutHardware(Reader, Programs):
    CHIP = ["--chip", "simulated", "--ports", "4", "--seed", "3"]

    def refused(self, *options):
        agent = subprocess.run(self.agent_command(*options), capture_output=True, text=True,
                               timeout=PATIENCE, check=False)
        self.assertEqual(agent.stdout, "")
        self.assertRegex(agent.stderr, r"\Aoru-agentd: ")
        return agent.returncode, agent.stderr

    def test_a_simulated_chip_has_its_ports(self):
        self.start_agent()
        self.await_interfaces("Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4")

    def test_simulated_counters_grow(self):
        self.start_agent()
        before = self.polled("Ethernet1")["counters"]["inOctets"]
        await_that("more octets",
                   lambda: self.link("Ethernet1")["counters"]["inOctets"] > before)

    def test_a_second_agent_is_refused_and_told_the_first_ones_process(self):
        self.start_agent()
        status, said = self.refused(*self.CHIP)
        self.assertEqual(status, 1)
        self.assertIn(f"already has a writer, process {self.agent.pid}", said)
        self.assertEqual(said.count("\n"), 1)

    def test_tables_outside_of_a_tmpfs_are_refused(self):
        status, said = self.refused("--tables", "/proc", *self.CHIP)
        self.assertEqual(status, 1)
        self.assertIn("tmpfs", said)

    def test_what_cannot_be_is_refused_with_status_2(self):
        for options in (["--period", "0"], ["--chip", "none"], ["--trace", "x"], ["--nonsense"],
                        ["--config", "/nonexistent.toml"]):
            with self.subTest(options):
                status, said = self.refused(*options)
                self.assertEqual(status, 2)
                self.assertIn("--help", said)

    def test_help_and_version_are_answered(self):
        for option, pattern in (("--help", r"--period SECONDS"), ("--version", r"\d+\.\d+\.\d+")):
            agent = subprocess.run([harness.PROGRAMS / "oru-agentd", option], capture_output=True,
                                   text=True, timeout=PATIENCE, check=True)
            self.assertTrue(re.search(pattern, agent.stdout), agent.stdout)
            self.assertEqual(agent.stderr, "")

    def test_an_agent_whose_table_is_damaged_says_so_and_the_next_one_goes_on(self):
        self.start_agent()
        self.polled("Ethernet1")
        table = pathlib.Path(self.tables, "intfCounters.glim")
        size = table.stat().st_size
        with table.open("r+b") as file:  # all of its rows
            file.seek(size // 2)
            file.write(b"\x5a" * (size - size // 2))
            file.seek(size // 4)
            file.write(b"\x5a" * (size // 4))
        status, said = self.await_the_agents_end()
        self.assertEqual(status, 1)
        self.assertRegex(said, r"oru-agentd: table \S+/intfCounters was damaged")
        self.assertTrue(pathlib.Path(self.tables, "intfCounters.corruption").exists())
        self.start_agent()
        self.await_interfaces("Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4")
        self.polled("Ethernet1")
        self.assertRegex(self.what_it_said(), r"/intfCounters: adopted 0 rows, gave up \d+ corrupt")

    def test_a_file_that_is_no_table_is_set_aside_and_the_agent_says_so(self):
        table = pathlib.Path(self.tables, "intfCounters.glim")
        table.write_text("somebody's notes")
        self.start_agent()
        self.polled("Ethernet1")
        self.assertEqual(self.what_it_said().splitlines()[0],
                         f"oru-agentd: table {self.tables}/intfCounters: set a file aside as "
                         "intfCounters.glim.aside-1: not a table")
        self.assertEqual(pathlib.Path(f"{table}.aside-1").read_text(), "somebody's notes")

    def test_on_a_tmpfs_that_is_full_the_interfaces_and_vlans_with_room_are_served(self):
        # Some more than the tables begin with: some of them can grow once.
        mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=7m,mode=0755", "none",
                                  self.tables], stderr=subprocess.DEVNULL, check=False)
        if mounted.returncode != 0:
            self.skipTest("may not mount a tmpfs")
        self.addCleanup(lambda: subprocess.run(["umount", "-l", self.tables], check=True))
        def refused(kind):
            told = re.search(rf"(\d+) {kind}s are not counted for want of room, .*No space left on device",
                             self.what_it_said())
            return told and int(told[1])
        def vlans():
            return json.loads(self.command("show", "vlans", "--json"))["vlans"]
        self.start_agent("--ports", "4000", "--vlan-interfaces", "2000")
        self.polled("Ethernet1")
        self.assertGreater(await_that("it says so", lambda: refused("interface")), 0)
        shown = self.show()["interfaces"]
        self.assertGreater(len(shown), 150)
        self.assertLess(len(shown), 4000)
        self.assertEqual(await_that("of VLANs", lambda: refused("VLAN")), 2000 - len(vlans()))
        self.assertGreater(len(vlans()), 1000)
        self.stop_agent(signal.SIGKILL)
        self.start_agent("--ports", "4000", "--vlan-interfaces", "2000")  # over what is full still
        self.polled("Ethernet1")
        await_that("the same interfaces", lambda: len(self.show()["interfaces"]) == len(shown))
        await_that("VLANs are polled", lambda: all(each["lastUpdate"] for each in vlans()))

    def test_an_agent_whose_tables_are_removed_says_so_and_ends(self):
        self.start_agent()
        self.polled("Ethernet1")  # all of its tables are there
        shutil.rmtree(self.tables)
        status, said = self.await_the_agents_end()
        self.assertEqual(status, 1)
        self.assertRegex(said,
                         r"\Aoru-agentd: policy map [^\n]* is watched[^\n]*\n"
                         r"oru-agentd: the file of table \S+ was removed[^\n]*\n\Z")

    def test_traces_of_the_chosen_levels_go_to_standard_error(self):
        self.start_agent("--trace", "8")
        self.polled("Ethernet1")
        _, said = self.stop_agent(signal.SIGTERM)
        self.assertIn("OruCountersSm 8 ", said)
        self.assertNotIn("OruCountersSm 7 ", said)

    def test_an_idle_agent_takes_little_of_a_processor(self):
        self.start_agent("--period", "3600")
        def ticks():
            fields = pathlib.Path(f"/proc/{self.agent.pid}/stat").read_text().rsplit(")")[1].split()
            return int(fields[11]) + int(fields[12])  # utime and stime
        before, start = ticks(), time.monotonic()
        await_that("2 s", lambda: time.monotonic() > start + 2.0 or self.show() is None)
        used = (ticks() - before) / os.sysconf("SC_CLK_TCK")
        self.assertLess(used, 0.1)


if __name__ == "__main__":
    harness.main()
