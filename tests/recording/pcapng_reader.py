#!/usr/bin/python3
"""Prints the packets of a pcapng file of raw IPv4 and TCP, after checking all of what holds them.

pcapng_reader.py FILE: a line for each interface, "interface NUMBER NAME", and for each packet
"SECONDS.NANOSECONDS INTERFACE ADDRESS:PORT>ADDRESS:PORT seq ack FLAGS SIZE", then for each direction of each connection
"stream ADDRESS:PORT>ADDRESS:PORT SIZE SHA256" of the bytes in the order of their sequence numbers.
"""

import hashlib
import struct
import sys


def checksum(data: bytes) -> int:
    """0 for what holds its own sum."""
    if len(data) % 2:
        data += b"\0"
    total = sum(struct.unpack(f">{len(data) // 2}H", data))
    while total > 0xFFFF:
        total = (total & 0xFFFF) + (total >> 16)
    return ~total & 0xFFFF


def main() -> None:
    data = open(sys.argv[1], "rb").read()
    interfaces: list[str] = []
    streams: dict[str, dict[int, bytes]] = {}
    at = 0
    while at < len(data):
        kind, size = struct.unpack_from("<II", data, at)
        assert size % 4 == 0 and size >= 12, (at, size)
        assert struct.unpack_from("<I", data, at + size - 4)[0] == size, at
        body = data[at + 8 : at + size - 4]
        if at == 0:
            assert kind == 0x0A0D0D0A and struct.unpack_from("<IHH", body) == (0x1A2B3C4D, 1, 0)
        elif kind == 1:
            link, _, snap = struct.unpack_from("<HHI", body)
            assert link == 101 and snap == 0, link
            options, place = {}, 8
            while place < len(body):
                code, length = struct.unpack_from("<HH", body, place)
                options[code] = body[place + 4 : place + 4 + length]
                place += 4 + (length + 3) // 4 * 4
            assert options[9] == b"\x09", "nanoseconds"
            interfaces.append(options[2].decode())
            print("interface", len(interfaces) - 1, interfaces[-1])
        else:
            assert kind == 6, kind
            interface, high, low, captured, original = struct.unpack_from("<IIIII", body)
            assert captured == original and interface < len(interfaces)
            packet = body[20 : 20 + captured]
            assert packet[0] == 0x45 and struct.unpack_from(">H", packet, 2)[0] == captured
            assert checksum(packet[:20]) == 0, "header of IP"
            segment = packet[20:]
            pseudo = packet[12:20] + struct.pack(">BBH", 0, packet[9], len(segment))
            assert packet[9] == 6 and checksum(pseudo + segment) == 0, "TCP"
            source, target, seq, ack = struct.unpack_from(">HHII", segment)
            payload = segment[(segment[12] >> 4) * 4 :]
            way = "%d.%d.%d.%d:%d>" % (*packet[12:16], source) + "%d.%d.%d.%d:%d" % (*packet[16:20], target)
            time = high << 32 | low
            print(f"{time // 10**9}.{time % 10**9:09} {interface} {way} {seq} {ack} {segment[13]:02x} {len(payload)}")
            assert seq not in streams.setdefault(way, {})
            streams[way][seq] = payload
        at += size
    for way, parts in streams.items():
        expected, joined = min(parts), b""
        for seq in sorted(parts):
            assert seq == expected, (way, seq, expected)
            joined += parts[seq]
            expected += len(parts[seq])
        print("stream", way, len(joined), hashlib.sha256(joined).hexdigest())


main()
