#!/usr/bin/env python3
"""Queues and dropped packets where the kernel has the usual classifiers and actions: the tests of
end_to_end/queues_and_drops_test.py with those, and some of rules that only they can express.

  queues_and_drops_of_rules_test.py PROGRAMS [TEST...]
"""

from links import json_of

import harness
import queues_and_drops_test
from queues_and_drops_test import DROPPED, PASSES


class ByRules(queues_and_drops_test.OnQueues):
    def add_filter(self):
        self.tc("qdisc add dev eth0 clsact")
        self.add_drop_rule()

    def add_drop_rule(self):
        self.rule("eth1", "ingress", 10, "protocol 0x88b6 flower action drop")

    def rule(self, link, way, preference, rest):
        self.tc(f"filter add dev {link} {way} pref {preference} {rest}")

    def steer_to(self, queue):
        # A kernel for one processor chooses no queue by the processor.
        if self.steered:
            self.tc("filter del dev eth0 egress pref 99")
        self.rule("eth0", "egress", 99,
                  f"protocol all matchall action skbedit queue_mapping {queue}")
        self.steered = True

    steered = False


class QueuesAndDropsOfRules(ByRules, queues_and_drops_test.QueuesAndDrops):
    pass


class QueuesSinceAClearOfRules(ByRules, queues_and_drops_test.QueuesSinceAClear):
    pass


class DropRules(ByRules):
    def kernels_drops(self, link):
        for each in json_of("tc", "-json", "-s", "qdisc", "show", "dev", link):
            if each["kind"] == "clsact":
                return each["drops"]
        return None

    def send_in_vain(self, count):
        """Frames that a rule drops on their way out, of which the sender is told."""
        for _ in range(count):
            with self.assertRaisesRegex(OSError, "No buffer space"):
                self.send_as(1, 100, DROPPED)

    def test_frames_of_one_queue_are_dropped_before_it_and_not_counted_in_it(self):
        self.start_agent()
        self.steer_to(2)
        self.rule("eth0", "egress", 1, "protocol 0x88b6 flower action drop")
        self.send_as(40, 100)
        self.send_in_vain(9)
        harness.await_that("9 drops", lambda: self.shown_drops("eth0") == 9)
        self.await_queues([0, 0, 40, 0], [0, 0, 4000, 0])
        self.assertEqual(self.shown_drops("eth1"), 0)

    def test_rules_of_both_directions_are_counted_together(self):
        self.start_agent()
        self.rule("eth0", "ingress", 1, "protocol 0x88b5 matchall action drop")
        self.rule("eth0", "egress", 1, "protocol 0x88b6 flower action drop")
        self.rule("eth1", "ingress", 1,
                  "protocol 0x88b5 flower dst_mac 02:00:00:00:00:01 action drop")
        self.send_in_vain(5)
        self.send_as(30, 100, PASSES)
        self.send("eth1", "eth0", 12, 100)
        self.await_drops(30)
        harness.await_that("drops both ways", lambda: self.shown_drops("eth0") == 17)
        self.assertEqual((self.kernels_drops("eth0"), self.kernels_drops("eth1")), (17, 30))

    def test_a_rule_that_lets_pass_every_frame_it_matches_drops_none(self):
        self.start_agent()
        self.rule("eth1", "ingress", 1, "protocol 0x88b6 flower action pass")
        self.send_as(20, 100, DROPPED)
        self.rule("eth1", "ingress", 2, "protocol 0x88b5 matchall action drop")
        self.send_as(1, 100)  # the last frame: when it is counted, so are the others
        self.await_drops(1)

    def test_drops_outlive_the_rule_that_made_them(self):
        self.start_agent()
        self.send_as(8, 100, DROPPED)
        self.await_drops(8)
        self.tc("filter del dev eth1 ingress")
        self.send_as(8, 100, DROPPED)
        self.add_drop_rule()
        self.send_as(1, 100, DROPPED)
        self.await_drops(9)

    def test_a_new_discipline_begins_anew(self):
        self.start_agent()
        self.send_as(8, 100, DROPPED)
        self.await_drops(8)
        self.tc("qdisc del dev eth1 clsact")
        self.await_drops(0)
        self.tc("qdisc add dev eth1 clsact")
        self.add_drop_rule()
        self.send_as(3, 100, DROPPED)
        self.await_drops(3)




if __name__ == "__main__":
    harness.main()
