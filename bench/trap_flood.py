#!/usr/bin/env python3
"""Sends COUNT v2c traps to HOST:PORT at RATE a second (0: as fast as the socket takes them).

The trap is built here byte by byte, so nothing of the program's encoder is used. The loop is
bounded by COUNT and by a minute of wall time; it prints the count sent and the seconds taken.
"""
import socket
import sys
import time


def tlv(tag, content):
    n = len(content)
    if n < 0x80:
        head = bytes([tag, n])
    elif n < 0x100:
        head = bytes([tag, 0x81, n])
    else:
        head = bytes([tag, 0x82, n >> 8, n & 0xFF])
    return head + content


def integer(v):
    out = bytearray()
    while True:
        out.insert(0, v & 0xFF)
        v >>= 8
        if v == 0 and out[0] < 0x80:
            return tlv(0x02, bytes(out))


def trap(request_id):
    up = tlv(0x30, tlv(0x06, bytes([0x2B, 6, 1, 2, 1, 1, 3, 0])) + tlv(0x43, bytes([0x30, 0x39])))
    oid = tlv(0x30, tlv(0x06, bytes([0x2B, 6, 1, 6, 3, 1, 1, 4, 1, 0])) +
              tlv(0x06, bytes([0x2B, 6, 1, 6, 3, 1, 1, 5, 3])))
    ifindex = tlv(0x30, tlv(0x06, bytes([0x2B, 6, 1, 2, 1, 2, 2, 1, 1, 2])) + integer(2))
    pdu = tlv(0xA7, integer(request_id) + integer(0) + integer(0) + tlv(0x30, up + oid + ifindex))
    return tlv(0x30, integer(1) + tlv(0x04, b"public") + pdu)


def main():
    if len(sys.argv) != 5:
        sys.exit("usage: trap_flood.py HOST PORT COUNT RATE")
    host, port, count, rate = sys.argv[1], int(sys.argv[2]), int(sys.argv[3]), float(sys.argv[4])
    family = socket.AF_INET6 if ":" in host else socket.AF_INET
    s = socket.socket(family, socket.SOCK_DGRAM)
    datagrams = [trap(i & 0x7FFFFFFF) for i in range(min(count, 4096))]
    start = time.monotonic()
    give_up = start + 60
    sent = 0
    while sent < count and time.monotonic() < give_up:
        if rate > 0:
            # Paced in steps of a millisecond's worth, so the rate holds on average.
            due = int((time.monotonic() - start) * rate) + 1
            if sent >= due:
                time.sleep(0.0005)
                continue
        s.sendto(datagrams[sent % len(datagrams)], (host, port))
        sent += 1
    print(sent, "%.3f" % (time.monotonic() - start))


if __name__ == "__main__":
    main()
