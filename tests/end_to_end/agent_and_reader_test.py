#!/usr/bin/env python3
"""oru-agentd and oru-counters as their users meet them: as programs, on links of a real kernel.

  agent_and_reader_test.py PROGRAMS [TEST...]    PROGRAMS is the folder that the two are in

Tests with links run in a network namespace of their own, for which they need to be root; without
it they are skipped, and if nothing else was asked for the exit status is 77.
"""

import pathlib
import signal

import harness
from harness import OnLinks, await_that


class CountsOnLinks(OnLinks):
    def test_every_frame_is_counted_once_on_both_ends_and_nothing_else(self):
        self.add_pair("eth0", "eth1")
        self.listen("eth1")
        self.start_agent()
        for sent in range(200, 1001, 200):  # the kernel drops what waits too long to be received
            self.send("eth0", "eth1", 200, 100)
            self.await_equal(lambda: self.polled("eth1")["counters"]["inUcastPkts"], sent)
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
        self.await_equal(lambda: self.polled("eth1")["counters"]["inDiscards"], 5)

    def test_only_links_that_match_are_counted(self):
        self.add_pair("eth0", "lan0")
        self.start_agent("--interfaces", "lan*")
        self.await_interfaces("lan0")

    def test_patterns_that_no_link_matches_are_told(self):
        self.add_pair("eth0", "eth1")
        self.start_agent("--interfaces", "lan*", "swp*")
        await_that("a word of it", lambda: "counting 0 interfaces" in self.what_it_said() and
                   "no link that matches lan* or swp* is there" in self.what_it_said())
        self.ip("link set eth0 down")
        self.ip("link set eth0 name lan0")
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
        def fresh():
            link = self.polled("eth0")
            return not link["stale"] and link
        alive = await_that("rows that are not stale", fresh)
        self.stop_agent(signal.SIGKILL)
        dead = await_that("stale rows", lambda: self.link("eth0")["stale"] and self.link("eth0"))
        self.assertEqual(dead["counters"], alive["counters"])

    def test_sigterm_and_sigint_end_an_agent_cleanly(self):
        for how in (signal.SIGTERM, signal.SIGINT):
            self.start_agent()
            self.send("eth0", "eth1", 1, 64)
            alive = self.polled("eth0")
            status, said = self.stop_agent(how)
            self.assertEqual(status, 0)
            self.assertEqual(said, f"oru-agentd: counting 2 interfaces into {self.tables}, "
                                   "every 0.05 s\n")
            self.assertEqual(self.link("eth0")["counters"], alive["counters"])
            self.assertTrue(self.link("eth0")["stale"])
            self.assertEqual(self.show()["agent"]["state"], "notRunning")

    def test_sighup_does_not_end_an_agent(self):
        self.start_agent()
        self.agent.send_signal(signal.SIGHUP)
        self.polled("eth0")
        self.assertIsNone(self.agent.poll())


if __name__ == "__main__":
    harness.main()
