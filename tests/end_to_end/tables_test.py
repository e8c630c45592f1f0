#!/usr/bin/env python3
"""The table files of a living agent, as `oru-counters tables` and a reader in another language see
them. The latter is examples/table_reader.py, which knows docs/table-format.md and nothing else.

  tables_test.py PROGRAMS [TEST...]    PROGRAMS is the folder that oru-agentd and oru-counters are in
"""

import json
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "examples"))

import harness  # noqa: E402
import table_reader  # noqa: E402

PORTS = 40
VLAN_INTERFACES = 3
# How many rows those have that are for readers, and all.
PUBLISHED_ROWS = {
    "aclDropCounters": PORTS, "coppCounters": 6, "intfClearCounters": PORTS,
    "intfClearQueueCounters": PORTS, "intfCounters": PORTS,
    "intfDescriptions": PORTS + VLAN_INTERFACES, "intfQueueCounters": PORTS,
    "vlanCounterSnapshots": VLAN_INTERFACES, "vlanCounters": VLAN_INTERFACES,
    "vlanDescriptions": VLAN_INTERFACES, "vlanIntfCounters": VLAN_INTERFACES}
AGENTS_TABLES = sorted([*PUBLISHED_ROWS, "coppOffsets", "linkOffsets", "queueOffsets",
                        "vlanOffsets"])


class Tables(harness.Programs):
    CHIP = ["--chip", "simulated", "--ports", str(PORTS), "--vlan-interfaces", str(VLAN_INTERFACES),
            "--seed", "3"]

    def path(self, table):
        return pathlib.Path(self.tables, table + ".glim")

    def tables_command(self, *arguments, status=0):
        """What `oru-counters tables` writes to standard output and error."""
        run = subprocess.run(
            [harness.PROGRAMS / "oru-counters", "--tables", self.tables, "tables", *arguments],
            capture_output=True, text=True, timeout=harness.PATIENCE, check=False)
        self.assertEqual(run.returncode, status, run.stdout + run.stderr)
        return run.stdout, run.stderr

    def dump(self, table):
        return json.loads(self.tables_command("dump", table, "--json")[0])

    def start_agent_with_all_ports(self):
        self.start_agent()
        for port in range(1, PORTS + 1):
            self.polled(f"Ethernet{port}")

    @staticmethod
    def by_key(rows):
        """Each table has its key in front."""
        return {next(iter(row.values())): row for row in rows}


class ReaderInAnotherLanguage(Tables):
    def decoded(self, table):
        with table_reader.Table(str(self.path(table))) as sut:
            rows = [sut.decoded(row) for row in sut.rows()]
            self.assertEqual(sut.left_out, 0)
            return self.by_key(rows)

    def test_it_agrees_with_the_dump_of_every_table_at_rest(self):
        self.start_agent_with_all_ports()
        self.stop_agent(signal.SIGTERM)
        for path in pathlib.Path(self.tables).glob("*.glim"):
            with self.subTest(path.stem):
                dump = self.dump(path.stem)
                self.assertEqual(self.decoded(path.stem), self.by_key(dump["rows"]))
                with table_reader.Table(str(path)) as sut:
                    self.assertEqual(sut.record, dump["table"]["record"])
                    self.assertEqual(sut.epoch, dump["table"]["epoch"])
                    self.assertEqual(sut.state, table_reader.DETACHED)
                    self.assertEqual(sut.members, len(dump["rows"]))
                    self.assertEqual(
                        [[f.name, f.type, f.offset, f.count] for f in sut.fields],
                        [[f["name"], f["type"], f["offset"], f["count"]]
                         for f in dump["table"]["fields"]])
        self.assertEqual(len(self.decoded("intfCounters")), PORTS)

    def test_it_tells_how_it_is_called(self):
        def called(*arguments):
            run = subprocess.run([sys.executable, "-B", table_reader.__file__, *arguments],
                                 capture_output=True, text=True, timeout=harness.PATIENCE,
                                 check=False)
            return run.returncode, run.stdout, run.stderr
        status, out, err = called("--help")
        self.assertEqual((status, err), (0, ""))
        self.assertIn("Exit status: 0, or 1 where a KEY has no row", out)
        status, out, err = called()
        self.assertEqual((status, out), (2, ""))
        self.assertIn("FILE", err)
        status, _, err = called("/nonexistent.glim")
        self.assertEqual(status, 2)
        self.assertIn("/nonexistent.glim: ", err)

    def test_rows_of_a_killed_agent_are_whole(self):
        for _ in range(5):
            self.start_agent_with_all_ports()
            self.stop_agent(signal.SIGKILL)
            self.assertEqual(self.decoded("intfCounters"),
                             self.by_key(self.dump("intfCounters")["rows"]))

    def test_counters_that_move_are_whole_and_never_go_back(self):
        self.start_agent()
        self.polled(f"Ethernet{PORTS}")
        counters = [field["name"] for field in self.dump("intfCounters")["table"]["fields"]
                    if field["type"] in ("u64", "u63") and field["count"] == 1]
        self.assertIn("inOctets", counters)
        # The two readers in turns: each sees at least what the other saw before.
        seen = self.decoded("intfCounters")
        moved = turn = 0
        deadline = time.monotonic() + harness.PATIENCE
        while turn < 40 or (moved <= PORTS and time.monotonic() < deadline):
            turn += 1
            now = (self.by_key(self.dump("intfCounters")["rows"]) if turn % 4 == 0
                   else self.decoded("intfCounters"))
            self.assertEqual(now.keys(), seen.keys())
            for key, row in now.items():
                for counter in counters:
                    if seen[key][counter] is not None:
                        self.assertGreaterEqual(row[counter], seen[key][counter], (key, counter))
            moved += sum(now[key] != seen[key] for key in now)
            seen = now
        self.assertGreater(moved, PORTS)

    def test_every_key_is_found_through_the_index_alone(self):
        self.start_agent_with_all_ports()
        with table_reader.Table(str(self.path("intfCounters"))) as sut:
            sut.rows = None  # a walk over the slots would show
            for port in range(1, PORTS + 1):
                key = f"Ethernet{port}".encode().ljust(48, b"\0")
                row = sut.find(key, table_reader.interface_name_hash(key))
                self.assertEqual(sut.decoded(row)["intfId"], f"Ethernet{port}")
            key = b"Ethernet999".ljust(48, b"\0")
            self.assertIsNone(sut.find(key, table_reader.interface_name_hash(key)))
            # Another key of the hash of one that is there is none.
            taken = table_reader.interface_name_hash(b"Ethernet1".ljust(48, b"\0"))
            self.assertIsNone(sut.find(key, taken))

    def test_it_leaves_a_damaged_row_out_as_the_dump_does(self):
        self.start_agent_with_all_ports()
        self.stop_agent(signal.SIGTERM)
        with table_reader.Table(str(self.path("intfCounters"))) as sut:
            slot, words = sut.slots_offset + 3 * sut.stride, sut.row_words
        with self.path("intfCounters").open("r+b") as file:
            for half in range(2):
                file.seek(slot + 8 * (2 + half * (1 + words) + words // 2))
                file.write(b"\x5a" * 8)
        with table_reader.Table(str(self.path("intfCounters"))) as sut:
            rows = [sut.decoded(row) for row in sut.rows()]
            self.assertEqual(sut.left_out, 1)
        dump = json.loads(self.tables_command("dump", "intfCounters", "--json", status=9)[0])
        self.assertEqual(self.by_key(rows), self.by_key(dump["rows"]))
        self.assertEqual(len(rows), PORTS - 1)

    def test_it_refuses_what_the_page_says_is_no_table(self):
        self.start_agent()
        self.stop_agent(signal.SIGTERM)
        path = self.path("intfCounters")
        whole = path.read_bytes()
        for offset in (0, 8, 16, 3 * 8, 7 * 8, 12 * 8, 14 * 8, 512):
            path.write_bytes(whole[:offset] + bytes([whole[offset] ^ 1]) + whole[offset + 1:])
            with self.assertRaises(table_reader.NoTable, msg=offset):
                table_reader.Table(str(path))
        path.write_bytes(whole)
        path.chmod(0o666)
        with self.assertRaises(table_reader.NoTable):
            table_reader.Table(str(path))

    def test_the_examples_of_the_page_are_so(self):
        page = (ROOT / "docs" / "table-format.md").read_text()
        t = table_reader
        schema = b"DropCounter\nintfId:text:0:48\naclDropPkts:u64:48:1\n"
        live = t.row_seed(3, 7, t.LIVE)
        checksum = t.row_checksum(range(1, 11), live)
        name = t.interface_name_hash(b"Ethernet1".ljust(48, b"\0"))
        for value in (t.fnv1a(schema), live, checksum, t.meta_word(checksum, t.LIVE),
                      t.meta_word(t.row_checksum([], t.row_seed(3, 8, t.DEAD)), t.DEAD), name):
            self.assertIn(f"| `0x{value:x}` |", page)


class TablesOfAgents(Tables):
    def state_and_writer(self, table):
        for line in self.tables_command("list")[0].splitlines():
            if line.split()[:1] == [table]:
                return re.split(r"  +", line)[7:9]
        return None

    def test_the_list_tells_agents_that_live_that_ended_and_that_died(self):
        def all_are(state_and_writer):
            return [self.state_and_writer(table) for table in AGENTS_TABLES] == (
                [state_and_writer] * len(AGENTS_TABLES))
        self.start_agent()
        listed = json.loads(self.tables_command("list", "--json")[0])["tables"]
        self.assertEqual(sorted(table["name"] for table in listed), AGENTS_TABLES)
        harness.await_that("living writers", lambda: all_are(["ready", "running"]))
        self.stop_agent(signal.SIGTERM)
        self.assertTrue(all_are(["detached", "none"]))
        self.start_agent()
        self.stop_agent(signal.SIGKILL)
        harness.await_that("dead writers", lambda: all_are(["ready", "dead"]))

    def test_the_tables_of_an_agent_at_work_are_without_damage(self):
        self.start_agent_with_all_ports()
        for _ in range(30):
            verified = self.tables_command("verify")[0]
            for table, rows in PUBLISHED_ROWS.items():
                self.assertIn(f"{table}: good; {rows} rows in ", verified)

    def test_the_tables_of_killed_agents_are_without_damage(self):
        for _ in range(10):
            self.start_agent()
            self.stop_agent(signal.SIGKILL)
            self.assertNotIn("DAMAGED", self.tables_command("verify")[0])

    def test_every_word_of_a_table_that_matters_is_verified(self):
        """Each word of the header, of the index entries and of the visible rows, flipped once."""
        self.start_agent_with_all_ports()
        self.stop_agent(signal.SIGTERM)
        path = self.path("intfDescriptions")
        with table_reader.Table(str(path)) as sut:
            offsets = [8 * word for word in range(table_reader.FIXED_WORDS)]
            offsets += [128, 192, 256, 448, table_reader.SCHEMA_OFFSET]
            offsets += [at for at in range(sut.index_offset, sut.slots_offset, 8)
                        if sut.word(at)][:5]
            slot = sut.slots_offset + 7 * sut.stride
            half = (sut.word(slot) // 2 & 1) * (1 + sut.row_words)
            offsets += [slot] + [slot + 8 * (1 + half + word) for word in range(1 + sut.row_words)]
        whole = path.read_bytes()
        for offset in offsets:
            with path.open("r+b") as file:
                file.seek(offset)
                # The upper half of the word: counts become impossible rather than 1 off.
                file.write(bytes(byte ^ 0x10 for byte in whole[offset:offset + 8]))
            said, _ = self.tables_command("verify", "intfDescriptions", "--json",
                                          status=self.expected_status(offset))
            found = json.loads(said)["tables"][0]
            self.assertTrue(found["damage"] > 0 or offset == 8, offset)
            with path.open("r+b") as file:
                file.seek(offset)
                file.write(whole[offset:offset + 8])
        self.tables_command("verify", "intfDescriptions")

    @staticmethod
    def expected_status(offset):
        if offset == 8:
            return 7  # another layout version: nothing may be concluded
        return 6 if offset < 8 * table_reader.FIXED_WORDS or offset == 512 else 10

    def test_verify_tells_its_progress_when_it_is_asked_to(self):
        self.start_agent()
        self.assertIn("100 % of ", self.tables_command("verify", "--progress")[1])
        self.assertEqual(self.tables_command("verify")[1], "")

    def test_a_table_that_is_replaced_is_set_aside_and_listed_as_such(self):
        self.start_agent_with_all_ports()
        self.stop_agent(signal.SIGTERM)
        shutil.copyfile(self.path("intfDescriptions"), self.path("intfCounters"))
        self.start_agent()
        listed = json.loads(self.tables_command("list", "--json")[0])
        aside = [file for file in listed["files"] if file["kind"] == "setAside"]
        self.assertEqual([file["table"] for file in aside], ["intfCounters"])
        self.assertIn("a table of IntfDescription", aside[0]["text"])


if __name__ == "__main__":
    harness.main()
