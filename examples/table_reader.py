#!/usr/bin/env python3
"""Reads a counter table without any code of this project: from docs/table-format.md alone, with
Python's standard library. An example of a reader in another language, and a test of that page.

  table_reader.py FILE            the whole table as JSON
  table_reader.py FILE KEY...     the rows of these keys, looked up through the index

Exit status: 0, or 1 where a KEY has no row or a row was left out, or 2 where FILE cannot be read or
the call is wrong.
"""

import argparse
import json
import math
import mmap
import os
import stat
import struct
import sys

WORD = 8
MASK = 2**64 - 1
GOLDEN = 0x9E3779B97F4A7C15
MAGIC = int.from_bytes(b"ORUGLIM1", sys.byteorder)
LAYOUT_VERSION = 1
FIXED_WORDS = 15
PAGE = 4096
SCHEMA_OFFSET = 512
LIVE, DEAD = 1, 2
READY, RETIRED, DETACHED = 1, 2, 3
ROW_ATTEMPTS, PROBE_ATTEMPTS, PROBE_ROWS = 64, 8, 64

# Type of a field: its bytes, and how struct calls it.
TYPES = {"u64": (8, "Q"), "u63": (8, "Q"), "f64": (8, "d"), "u32": (4, "I"), "u16": (2, "H"),
         "u8": (1, "B"), "text": (1, "s")}


class NoTable(Exception):
    """The file cannot be read as a table; the text says why."""


class Replaced(Exception):
    """The table has another file now: open it again by its name."""


def rotl(word, bits):
    return (word << bits | word >> (64 - bits)) & MASK


def round_up(value, step):
    return (value + step - 1) // step * step


def fnv1a(data):
    value = 0xCBF29CE484222325
    for byte in data:
        value = (value ^ byte) * 0x100000001B3 & MASK
    return value


def header_checksum(fixed, schema):
    value = fnv1a(schema)
    for word in fixed[:FIXED_WORDS - 1]:
        value = (rotl(value, 27) ^ word) * GOLDEN & MASK
    return value ^ value >> 32


def row_seed(slot, k, state):
    mixed = (slot + 1) * 0xD6E8FEB86659FD93 + k * 0xA0761D6478BD642F + state & MASK
    return mixed ^ mixed >> 29


def row_checksum(words, seed):
    a = [seed + lane * GOLDEN & MASK for lane in range(8)]
    b = [~each & MASK for each in a]
    padded = list(words) + [0] * (-len(words) % 8)
    for block in range(0, len(padded), 8):
        for lane in range(8):
            a[lane] = a[lane] + padded[block + lane] & MASK
            b[lane] = rotl(b[lane], 23) + a[lane] & MASK
    value = GOLDEN
    for sums, first in ((a, 0), (a, 1), (b, 0), (b, 1)):
        part = sum(sums[lane] * pow(GOLDEN, lane + 1) for lane in range(first, 8, 2)) & MASK
        value = (rotl(value, 29) ^ part) * GOLDEN & MASK
    return value ^ value >> 32


def meta_word(checksum, state):
    return checksum & ~3 | state


def interface_name_hash(key):
    """The hash of a key that is an interface's name: 48 bytes, padded with zeros."""
    value = 0
    for word in struct.unpack("=6Q", key):
        value = (rotl(value, 23) ^ word) * GOLDEN & MASK
    return value >> 32


class Field:
    def __init__(self, line, row_bytes):
        try:
            self.name, self.type, offset, count = line.split(":")
            self.size, self.code = TYPES[self.type]
            self.offset, self.count = int(offset), int(count)
        except (KeyError, ValueError):
            raise NoTable(f"the schema has a line that is not understood: {line}") from None
        if not self.name or self.count < 1 or self.offset + self.size * self.count > row_bytes:
            raise NoTable(f"the schema has a field that is not within the row: {line}")

    def value(self, row):
        if self.type == "text":
            data = row[self.offset:self.offset + self.count]
            return data.split(b"\0", 1)[0].decode("utf-8", "replace")
        elements = [self.element(each) for each in
                    struct.unpack_from(f"={self.count}{self.code}", row, self.offset)]
        return elements[0] if self.count == 1 else elements

    def element(self, value):
        if self.type == "u63" and value >> 63:
            return None
        if self.type == "f64" and not math.isfinite(value):
            return None
        return value


class Table:
    """An open table file. Raises NoTable where it is none, or is not safe to read."""

    def __init__(self, path):
        directory = os.open(os.path.dirname(path) or ".", os.O_RDONLY | os.O_DIRECTORY)
        try:
            self.fd = os.open(os.path.basename(path),
                              os.O_RDONLY | os.O_NOFOLLOW | os.O_NONBLOCK, dir_fd=directory)
            try:
                self._check_owner(os.fstat(self.fd), os.fstat(directory))
                self._read_header()
                self.map = mmap.mmap(self.fd, os.fstat(self.fd).st_size, prot=mmap.PROT_READ)
            except Exception:
                os.close(self.fd)
                raise
        finally:
            os.close(directory)

    def close(self):
        self.map.close()
        os.close(self.fd)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    @staticmethod
    def _check_owner(file, directory):
        others = stat.S_IWGRP | stat.S_IWOTH
        if not stat.S_ISREG(file.st_mode) or file.st_mode & others:
            raise NoTable("no regular file, or others may write it")
        trusted = {os.geteuid(), 0} | ({directory.st_uid} if not directory.st_mode & others
                                       else set())
        if file.st_uid not in trusted:
            raise NoTable("the owner is not trusted")

    # Into private memory, with read calls: what is checked here cannot change afterwards.
    def _read_header(self):
        head = os.pread(self.fd, FIXED_WORDS * WORD, 0)
        if len(head) != FIXED_WORDS * WORD:
            raise NoTable("too short for a header")
        fixed = struct.unpack(f"={FIXED_WORDS}Q", head)
        (magic, version, schema_hash, self.row_words, self.key_bytes, self.max_rows, schema_bytes,
         *derived) = fixed[:12]
        if magic != MAGIC:
            raise NoTable("no table")
        if version != LAYOUT_VERSION:
            raise NoTable(f"layout version {version}")
        if not (0 < self.row_words <= 8192 and 0 < self.key_bytes <= self.row_words * WORD
                and 0 < self.max_rows <= 2**20 and 0 < schema_bytes <= 65536):
            raise NoTable("the header is beyond what a table may be")
        self.stride = round_up((1 + 2 * (1 + self.row_words)) * WORD, 64)
        self.buckets = 1 << (2 * self.max_rows - 1).bit_length()
        self.index_offset = round_up(SCHEMA_OFFSET + schema_bytes, PAGE)
        self.slots_offset = round_up(self.index_offset + self.buckets * WORD, PAGE)
        if derived != [self.stride, self.buckets, self.index_offset, self.slots_offset,
                       self.slots_offset + self.max_rows * self.stride]:
            raise NoTable("the header contradicts itself")
        schema = os.pread(self.fd, schema_bytes, SCHEMA_OFFSET)
        if (len(schema) != schema_bytes or schema_hash != fnv1a(schema)
                or fixed[14] != header_checksum(fixed, schema)):
            raise NoTable("the header's checksum fails")
        if self._bytes() < self.slots_offset:
            raise NoTable("cut short")
        self.schema = schema.decode("utf-8", "replace")
        if not self.schema.endswith("\n"):
            raise NoTable("the schema's last line does not end")
        self.record, *lines = self.schema[:-1].split("\n")
        self.fields = [Field(line, self.row_words * WORD) for line in lines]

    # That there is memory for: whoever touches a hole of the file takes memory, or dies of its want.
    def _bytes(self):
        status = os.fstat(self.fd)
        return min(status.st_size, status.st_blocks * 512)

    # One aligned word, in one load.
    def word(self, offset):
        return struct.unpack_from("@Q", self.map, offset)[0]

    def slots(self):
        within = (self._bytes() - self.slots_offset) // self.stride
        slots = min(self.word(128), within, self.max_rows)
        end = self.slots_offset + slots * self.stride
        if end > len(self.map):  # the file has grown; it never shrinks
            self.map.close()
            self.map = mmap.mmap(self.fd, end, prot=mmap.PROT_READ)
        return slots

    state = property(lambda self: self.word(192))
    epoch = property(lambda self: self.word(256))
    writer_pid = property(lambda self: self.word(264))
    index_version = property(lambda self: self.word(320))
    members = property(lambda self: self.word(448))

    def check_not_replaced(self):
        if self.state == RETIRED:
            raise Replaced

    def row(self, slot):
        """The bytes of a slot's row; None where it has none, "busy" or "corrupt"."""
        at = self.slots_offset + slot * self.stride
        corrupt = False
        for _ in range(ROW_ATTEMPTS):
            before = self.word(at)
            k = before // 2
            if k == 0:
                return None
            half = at + WORD + (k & 1) * (1 + self.row_words) * WORD
            copy = self.map[half:half + (1 + self.row_words) * WORD]
            after = self.word(at)
            if (after - 2 * k & MASK) > 2:
                continue  # the half was taken for version k + 2 meanwhile
            meta, *words = struct.unpack(f"={1 + self.row_words}Q", copy)
            if meta == meta_word(row_checksum(words, row_seed(slot, k, LIVE)), LIVE):
                return copy[WORD:]
            if meta == meta_word(row_checksum([], row_seed(slot, k, DEAD)), DEAD):
                return None
            # There are no fences here. On a machine that reorders loads this may be a mixture,
            # and is tried once more; what fails twice in a row is damage.
            if corrupt:
                return "corrupt"
            corrupt = True
        return "busy"

    def rows(self):
        """All rows, by slot. Sets `left_out` to the number of those that could not be read."""
        self.left_out = 0
        for slot in range(self.slots()):
            self.check_not_replaced()
            row = self.row(slot)
            if isinstance(row, str):
                self.left_out += 1
            elif row is not None:
                yield row

    def find(self, key, key_hash):
        """The row of a key, through the index; None where there is none."""
        for _ in range(PROBE_ATTEMPTS):
            self.check_not_replaced()
            version = self.index_version
            if version & 1:
                break  # it is being built
            found, believed = self._probe(key, key_hash)
            if found is not None:
                return found
            if believed and self.index_version == version:
                return None
            if not believed:
                break
        return next((row for row in self.rows() if row.startswith(key)), None)

    def _probe(self, key, key_hash):
        slots = self.slots()
        at = (key_hash * GOLDEN & MASK) >> 32 & self.buckets - 1
        rows = PROBE_ROWS
        for _ in range(self.max_rows + 1):
            entry = self.word(self.index_offset + at * WORD)
            if entry == 0:
                return None, True
            at = at + 1 & self.buckets - 1
            slot = (entry & 0xFFFFFFFF) - 1
            if entry >> 32 != key_hash or not 0 <= slot < slots:
                continue
            if rows == 0:
                break
            rows -= 1
            row = self.row(slot)
            if isinstance(row, bytes) and row.startswith(key):
                return row, True
        return None, False  # more than an index has

    def decoded(self, row):
        return {field.name: field.value(row) for field in self.fields}


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("file", metavar="FILE", help="the table's file, NAME.glim")
    parser.add_argument("keys", metavar="KEY", nargs="*", help="an interface's name")
    asked = parser.parse_args()
    try:
        table = Table(asked.file)
    except (NoTable, OSError) as error:
        print(f"{asked.file}: {error}", file=sys.stderr)
        return 2
    with table:
        status = 0
        rows = []
        if asked.keys:
            if table.key_bytes != 48:
                print("the keys of this table are no interfaces' names", file=sys.stderr)
                return 2
            for name in asked.keys:
                key = name.encode().ljust(table.key_bytes, b"\0")
                row = table.find(key, interface_name_hash(key))
                if row is None:
                    print(f"there is no row of {name}", file=sys.stderr)
                    status = 1
                else:
                    rows.append(row)
        else:
            rows = list(table.rows())
            status = 1 if table.left_out else 0
        json.dump({"record": table.record, "epoch": table.epoch, "state": table.state,
                   "rows": [table.decoded(row) for row in rows]}, sys.stdout)
        print()
    return status


if __name__ == "__main__":
    sys.exit(main())
