#!/usr/bin/python3
"""probe_frames.py FRAMES.json CAPTURE.pcap: each captured frame must equal the frame rebuilt by
scapy from the fields in FRAMES.json (the probe header packed by hand), and the probe header's
checksum over its 48 bytes must verify to zero. Prints each problem; exits non-zero on any."""
import json
import struct
import sys

from scapy.all import Dot1Q, Ether, IP, TCP, UDP, Raw, rdpcap
from scapy.utils import checksum


def probe_header(f):
    tag = 0 if f["egressVlan"] == 0 else (f["egressVlan"] & 0xFFF)
    body = struct.pack(
        "!BBHIIQ4sI6s6sHBBI",
        1, 1, 0, f["epochSeconds"], f["epochUSeconds"], f["sequenceNumber"],
        bytes(int(x) for x in f["originIntfIp"].split(".")), f["egressIfIndex"],
        bytes.fromhex(f["egressSrcMac"].replace(":", "")),
        bytes.fromhex(f["egressDstMac"].replace(":", "")),
        tag, f["ttl"], 0, f["interval"])
    assert len(body) == 48
    ck = checksum(body)
    return body[:2] + struct.pack("!H", ck) + body[4:]


def rebuild(f):
    frame = Ether(src=f["srcMac"], dst=f["dstMac"])
    if f["vlan"] != 0:
        frame = frame / Dot1Q(prio=0, id=0, vlan=f["vlan"] & 0xFFF)
    ip = IP(src=f["srcIp"], dst=f["dstIp"], ttl=f["ttl"], id=0, tos=0, flags=0, frag=0,
            proto=f["protocol"])
    if f["protocol"] == 17:
        l4 = UDP(sport=f["srcPort"], dport=f["dstPort"])
    else:
        l4 = TCP(sport=f["srcPort"], dport=f["dstPort"], seq=0, ack=0, dataofs=5, reserved=0,
                 flags="S", window=0, urgptr=0)
    return bytes(frame / ip / l4 / Raw(probe_header(f)))


def main():
    frames = json.load(open(sys.argv[1]))
    captured = rdpcap(sys.argv[2])
    problems = []
    if len(frames) != len(captured):
        problems.append("%d frames described, %d captured" % (len(frames), len(captured)))
    for i, (f, pkt) in enumerate(zip(frames, captured)):
        got = bytes(pkt)
        want = rebuild(f)
        if got != want:
            problems.append("frame %d differs:\n  got  %s\n  want %s" % (i, got.hex(), want.hex()))
        offset = len(got) - 48
        if checksum(got[offset:]) != 0:
            problems.append("frame %d: probe header checksum does not verify" % i)
    for p in problems:
        print(p)
    print("checked %d frames" % len(captured))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
