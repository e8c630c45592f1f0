"""Links that not every kernel has, and frames with VLAN tags, for the tests of this folder."""

import json
import pathlib
import socket
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "end_to_end"))

from harness import EXPERIMENTAL, PATIENCE, OnLinks, await_that  # noqa: E402

TAG = b"\x81\x00"
TAG_SIZE = 4
# What the kernel leaves out of a tagged frame's octets where it counts by VLANs: the Ethernet header
# and the tag.
HEADER = 14 + TAG_SIZE
BROADCAST = "ff:ff:ff:ff:ff:ff"
MULTICAST = "01:00:5e:00:00:7b"


def octets_of(address):
    return bytes.fromhex(address.replace(":", ""))


def json_of(*command):
    return json.loads(subprocess.run(command, check=True, timeout=PATIENCE,
                                     capture_output=True).stdout)


class WithVlans(OnLinks):
    """What a frame's size is here: all of its octets but the frame check sequence, the tag included."""

    def address(self, link):
        return self.kernel_says(link)["address"]

    def add_vlan_link(self, parent, vlan, name=None):
        """A link of kind vlan, up; its name."""
        name = name or f"{parent}.{vlan}"
        self.ip(f"link add link {parent} name {name} type vlan id {vlan}")
        self.ip(f"link set {name} arp off up")
        await_that(f"{name} up", lambda: self.kernel_says(name)["operstate"] == "UP")
        return name

    def send_frames(self, link, destination, count, size, vlan=None, priority=0,
                    source="02:00:00:00:0a:01"):
        """Exactly so many frames go out of the link, tagged if there is a VLAN."""
        tag = b"" if vlan is None else TAG + (priority << 13 | vlan).to_bytes(2)
        frame = octets_of(destination) + octets_of(source) + tag + EXPERIMENTAL
        frame = frame.ljust(size, b"\0")
        with socket.socket(socket.AF_PACKET, socket.SOCK_RAW, 0) as sender:
            sender.bind((link, 0))
            for _ in range(count):
                self.assertEqual(sender.send(frame), size)

    def kernel_counts(self, link):
        """What the kernel itself says: packets and octets, in and out."""
        stats = json_of("ip", "-json", "-statistics", "link", "show", link)[0]["stats64"]
        return tuple(stats[way][what] for way in ("rx", "tx") for what in ("packets", "bytes"))


class VlanBridge:
    """A bridge that filters by VLANs and counts them, with veth pairs as its ports.

    Port N is the link "N" of the bridge; its other end, the station on the wire, is "N-wire", and all
    that is sent there arrives at the port. Stations take what comes to them and never answer.
    """

    def __init__(self, test, name="br0", stats_per_port=False, default_pvid=0):
        self.test = test
        self.name = name
        per_port = " vlan_stats_per_port 1" if stats_per_port else ""
        # No snooping and no spanning tree: it forwards what it is given, at once, and sends nothing
        # of its own. Unless told otherwise neither it nor its ports are in a VLAN by default.
        test.ip(f"link add {name} type bridge vlan_filtering 1 vlan_stats_enabled 1{per_port}"
                f" vlan_default_pvid {default_pvid} mcast_snooping 0 stp_state 0")
        test.ip(f"link set {name} arp off up")

    def add_port(self, port, *vlans):
        """A port, a member of these VLANs, tagged; forwarding."""
        wire = f"{port}-wire"
        self.test.add_pair(port, wire)
        self.test.listen(wire)
        self.test.ip(f"link set {port} master {self.name}")
        await_that(f"{port} forwarding", lambda: self.state(port) == "forwarding")
        for vlan in vlans:
            self.add_vlan(port, vlan)

    def state(self, port):
        return json_of("bridge", "-json", "link", "show", "dev", port)[0]["state"]

    def vlan_command(self, order, port, vlan, *flags):
        to_itself = ["self"] if port == self.name else []
        subprocess.run(["bridge", "vlan", order, "dev", port, "vid", str(vlan), *flags, *to_itself],
                       check=True, timeout=PATIENCE)

    def add_vlan(self, port, vlan, *flags):
        """Of a port or, by the bridge's own name, of the bridge itself; flags as of bridge(8): "pvid",
        "untagged"."""
        self.vlan_command("add", port, vlan, *flags)

    def remove_vlan(self, port, vlan):
        self.vlan_command("del", port, vlan)

    def send(self, port, vlan, count, size, destination=BROADCAST):
        """Tagged frames, from the station of the port. The port has taken them all, if it is in that
        VLAN and counts it: the kernel hands them over in its own time."""
        def taken():
            counted = self.counts(vlan, port)
            return counted and counted["rx_packets"]
        before = taken()
        self.test.send_frames(f"{port}-wire", destination, count, size, vlan,
                              source=self.test.address(f"{port}-wire"))
        if before is not None:
            await_that(f"{count} frames of VLAN {vlan} at {port}", lambda: taken() >= before + count)

    def counts(self, vlan, port=None):
        """What the kernel says of the VLAN, of all ports together or of one, by direction; octets
        are without the Ethernet header and the tag. None where it is no member."""
        of = port or self.name
        shown = json_of("bridge", "-json", "-statistics", "vlan", "show", "dev", of)
        for each in shown:
            for entry in each["vlans"]:
                if entry["vid"] == vlan:
                    return {counter: entry.get(counter) for counter in
                            ("rx_packets", "rx_bytes", "tx_packets", "tx_bytes")}
        return None
