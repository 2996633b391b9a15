"""Captures for tests of kestrix-sim, and the one of the examples. To write that one again:

python3 tests/sim/command/captures.py >examples/guest-traffic.pcap
"""

import ipaddress
import struct
import sys

STATION, ROUTER, ALL = "00005e005301", "00005e005302", "ffffffffffff"


def frame(payload, ether_type=0x0800, to=ROUTER, vlan=None):
    tag = b"" if vlan is None else struct.pack(">HH", 0x8100, vlan)
    return (bytes.fromhex(to + STATION) + tag + struct.pack(">H", ether_type) + payload).ljust(60, b"\0")


def ip(protocol, source, destination, payload, fragment=0, version=0x45):
    """`fragment` is the second half of the header's second word: flags and offset."""
    return struct.pack(">BBHHHBBH4s4s", version, 0, 20 + len(payload), 7, fragment, 64, protocol, 0,
                       ipaddress.ip_address(source).packed, ipaddress.ip_address(destination).packed) + payload


def tcp(source, destination, port, size=0, fragment=0):
    return ip(6, source, destination, struct.pack(">HHIIHHHH", 49152, port, 1, 0, 0x5002, 64240, 0, 0) + bytes(size), fragment)


def udp(source, destination, port, size, fragment=0):
    return ip(17, source, destination, struct.pack(">HHHH", 49152, port, 8 + size, 0) + bytes(size), fragment)


def pcap(frames, link_type=1, order="<"):
    """Of frames, or of pairs of a frame and how much of it is captured."""
    whole = struct.pack(order + "IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, link_type)
    for number, each in enumerate(frames):
        each, size = each if isinstance(each, tuple) else (each, len(each))
        whole += struct.pack(order + "IIII", 1700000000 + number, 0, size, len(each)) + each[:size]
    return whole


GUEST = "192.0.2.7"
GUEST_TRAFFIC = [
    frame(bytes(46), 0x88CC, "0180c200000e"),
    frame(bytes(46), 0x0806, ALL),
    frame(udp("0.0.0.0", "255.255.255.255", 67, 300), to=ALL),
    *2 * [frame(udp(GUEST, "192.0.2.53", 53, 40))],
    frame(tcp(GUEST, "203.0.113.10", 443)),
    *4 * [frame(tcp(GUEST, "203.0.113.10", 443, 1460))],
    frame(tcp(GUEST, "203.0.113.10", 443, 200), vlan=20),
    frame(tcp(GUEST, "198.51.100.9", 22)),
    *2 * [frame(ip(1, GUEST, "10.1.2.3", bytes(64)))],
    *3 * [frame(tcp(GUEST, "203.0.113.25", 25))],
    # What a mail is cut into: only the first part shows the port.
    frame(tcp(GUEST, "203.0.113.25", 25, 1440, fragment=0x2000)),
    frame(ip(6, GUEST, "203.0.113.25", bytes(600), fragment=185)),
    frame(bytes(60), 0x86DD),
    # Captured up to behind the addresses, and with the ports.
    (frame(tcp(GUEST, "203.0.113.10", 443, 1460)), 34),
    (frame(tcp(GUEST, "203.0.113.10", 443, 1460)), 64),
    frame(ip(6, GUEST, "203.0.113.10", bytes(20), version=0x43)),
]

if __name__ == "__main__":
    sys.stdout.buffer.write(pcap(GUEST_TRAFFIC))
