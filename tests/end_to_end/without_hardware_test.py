#!/usr/bin/env python3
"""oru-agentd and oru-counters as their users meet them, with the simulated chip: what is counted needs
no hardware, and what goes wrong is said.

  without_hardware_test.py PROGRAMS [TEST...]    PROGRAMS is the folder that the two are in
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
from harness import PATIENCE, Programs, Reader, await_that


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

    def test_a_script_is_what_happens(self):
        script = pathlib.Path(self.tables, "script")
        script.write_text("at 0 port Ethernet7 inUcastPkts 1000pps 100B for 0.5\n"
                          "at 0.5 port Ethernet9 vanish\nat 1 port Ethernet9 appear\n")
        self.CHIP = ["--chip", "simulated", "--script", str(script)]
        self.start_agent()
        self.assert_counted("Ethernet7", inUcastPkts=500, inOctets=50000, in65To127Octets=500)
        self.await_interfaces("Ethernet7", "Ethernet9")

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
                        ["--config", "/nonexistent.toml"], ["--check-config"],
                        ["--chip", "simulated", "--script", "/nonexistent.script"]):
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
        # Some more than the tables begin with: some of them can grow once. Not in huge pages, of
        # which one may be more than a table; a kernel that has none does not know the option.
        def mounts(options):
            return subprocess.run(["mount", "-t", "tmpfs", "-o", options, "none", self.tables],
                                  stderr=subprocess.DEVNULL, check=False).returncode == 0
        if not (mounts("size=7m,mode=0755,huge=never") or mounts("size=7m,mode=0755")):
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
        self.assertGreater(len(shown), 0)
        self.assertLess(len(shown), 4000)
        # Those that are tried again may be seen while they are.
        told, served = await_that("of VLANs", lambda: refused("VLAN")), len(vlans())
        self.assertGreaterEqual(told + served, 2000)
        self.assertGreater(served, 0)
        self.assertLess(served, 2000)
        self.stop_agent(signal.SIGKILL)
        self.start_agent("--ports", "4000", "--vlan-interfaces", "2000")  # over what is full still
        self.polled("Ethernet1")
        await_that("the same interfaces", lambda: len(self.show()["interfaces"]) == len(shown))
        await_that("VLANs are polled", lambda: all(each["lastUpdate"] for each in vlans()))

    def test_an_agent_whose_tables_are_removed_says_so_and_ends(self):
        self.start_agent()
        self.polled("Ethernet1")  # all of its tables are there
        shutil.rmtree(self.tables, ignore_errors=True)  # the agent may remove files of its own
        status, said = self.await_the_agents_end()
        self.assertEqual(status, 1)
        self.assertRegex(said,
                         r"\Aoru-agentd: policy map [^\n]* is watched[^\n]*\n"
                         r"oru-agentd: counting \d+ interfaces into [^\n]*\n"
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
        await_that("5 s", lambda: time.monotonic() > start + 5.0 or self.show() is None)
        used = (ticks() - before) / os.sysconf("SC_CLK_TCK")
        self.assertLess(used / (time.monotonic() - start), 0.1)  # however long it has been


if __name__ == "__main__":
    harness.main()
