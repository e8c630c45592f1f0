"""Shows that the include check sees what it is there to see."""

import pathlib
import tempfile
import unittest

import include_arrows


class IncludeArrows(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = pathlib.Path(scratch.name)

    def file(self, name, text=""):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def breaches(self, includer, included):
        self.file(included)
        self.file(includer, f'#pragma once\n#include "{included}"\n')
        return include_arrows.check(self.root)

    def test_an_include_to_the_left_is_fine(self):
        self.assertEqual(self.breaches("counters/counters_sm.h", "platform/kel/clock.h"), [])

    def test_an_include_within_a_folder_is_fine(self):
        self.assertEqual(self.breaches("platform/kel/clock.cc", "platform/kel/clock.h"), [])

    def test_an_include_to_the_right_is_a_breach_with_its_place(self):
        self.assertEqual(
            self.breaches("platform/kel/clock.h", "platform/glim/layout.h"),
            [
                "platform/kel/clock.h:2: includes platform/glim/layout.h: "
                "platform/glim is further right"
            ],
        )

    def test_an_inner_folder_does_not_include_the_one_around_it(self):
        self.assertTrue(self.breaches("counters/pollers/port.h", "counters/counters_sm.h"))

    def test_the_outer_folder_includes_the_one_within(self):
        self.assertEqual(self.breaches("counters/counters_sm.h", "counters/pollers/port.h"), [])

    def test_folders_of_one_group_do_not_know_each_other(self):
        self.assertTrue(self.breaches("counters/copp/a.h", "counters/vlan/b.h"))

    def test_a_library_does_not_know_a_program(self):
        self.assertTrue(self.breaches("counters/counters_sm.cc", "agent/options.h"))

    def test_a_library_does_not_know_a_test(self):
        self.assertTrue(self.breaches("counters/counters_sm.cc", "tests/counters/fakes.h"))

    def test_a_chip_knows_the_contract(self):
        self.assertEqual(self.breaches("hardware/linux/chip.h", "counters/pollers/helper.h"), [])

    def test_a_chip_knows_no_poller(self):
        self.assertTrue(
            self.breaches("hardware/linux/chip.h", "counters/pollers/port_counters_sm.h")
        )

    def test_the_agent_knows_a_chip(self):
        self.assertEqual(self.breaches("agent/main.cc", "hardware/linux/chip.h"), [])

    def test_the_reader_knows_the_tables(self):
        self.assertEqual(self.breaches("reader/main.cc", "platform/glim/reader.h"), [])

    def test_the_reader_does_not_know_the_library(self):
        self.assertTrue(self.breaches("reader/main.cc", "counters/counters_sm.h"))

    def test_a_test_includes_anything(self):
        self.assertEqual(self.breaches("tests/reader/a_test.cc", "agent/options.h"), [])

    def test_an_include_that_does_not_start_at_the_root_is_a_breach(self):
        self.file("platform/kel/clock.h")
        self.file("platform/kel/clock.cc", '#include "clock.h"\n')
        self.assertEqual(len(include_arrows.check(self.root)), 1)

    def test_the_platform_includes_the_standard_library_and_posix(self):
        self.file("platform/kel/clock.h", "#include <chrono>\n#include <unistd.h>\n")
        self.assertEqual(include_arrows.check(self.root), [])

    def test_the_platform_includes_no_other_library(self):
        self.file("platform/kel/clock.h", "#include <libmnl/libmnl.h>\n")
        self.assertEqual(len(include_arrows.check(self.root)), 1)

    def test_a_program_includes_other_libraries(self):
        self.file("agent/main.cc", "#include <CLI/CLI.hpp>\n")
        self.assertEqual(include_arrows.check(self.root), [])


if __name__ == "__main__":
    unittest.main()
