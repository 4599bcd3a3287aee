#!/usr/bin/python3
"""How long a frame takes through `mien live`, from a packet's leaving one socket to the result's arriving at another,
beside a relay that sends the same packets on as they are.

    live_latency.py MIEN RELAY SAMPLES [--seconds S]

RELAY is mien_relay, a loop of recv and send. Sixty frames a second; the two alternate, packet by packet, so that both
see the same machine. Prints the median and the 99th percentile of each, and the difference of the medians.
"""

import argparse
import csv
import json
import os
import socket
import statistics
import struct
import subprocess
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "tests", "host", "wire", "packets"))
from make_packets import NAMES_IN_PACKET, WEIGHTS, phone  # noqa: E402


def receiver():
    udp = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    udp.bind(("127.0.0.1", 0))
    udp.settimeout(2)
    return udp


def phone_packets():
    packet = phone("Ada", [WEIGHTS[name] for name in NAMES_IN_PACKET] + [0.0] * 9)
    name = struct.unpack_from(">i", packet, 41)[0]
    frame = 0
    while True:
        frame += 1
        yield packet[:45 + name] + struct.pack(">i", 1000 + frame) + packet[49 + name:]


def landmark_packets(samples):
    with open(f"{samples}/landmarks.csv") as file:
        rows = [{key.strip(): value for key, value in row.items()} for row in csv.DictReader(file)]
    frame = 0
    while True:
        row = rows[frame % len(rows)]
        points = [[float(row[f"{axis}_{i}"]) for axis in "XYZ"] for i in range(68)] if row["X_0"].strip() else [None] * 68
        yield json.dumps({"time": frame / 60, "points": points}).encode()
        frame += 1


def mesh_packets(samples):
    with open(f"{samples}/mesh/wide.csv") as file:
        rows = list(csv.DictReader(file))
    frame = 0
    while True:
        row = rows[frame % len(rows)]
        count = sum(1 for key in row if key.startswith("x_"))
        points = [[float(row[f"{axis}_{i}"] or "nan") for axis in "xyz"] for i in range(count)]
        yield json.dumps({"time": frame / 60, "points": points}).encode()
        frame += 1


def quantiles(values):
    cuts = statistics.quantiles(values, n=100)
    return 1000 * cuts[49], 1000 * cuts[98]


def measure(name, packets, source, *options):
    out = receiver()
    port = out.getsockname()[1]
    live = subprocess.Popen([options_.mien, "live", "--json", "--in", f"{source}:0", "--out", f"phone:127.0.0.1:{port}",
                             *options], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    live_port = json.loads(live.stdout.readline())["port"]
    relay = subprocess.Popen([options_.relay, str(port)], stdout=subprocess.PIPE, text=True)
    relay_port = int(relay.stdout.readline())
    to_live, to_relay = (socket.socket(socket.AF_INET, socket.SOCK_DGRAM) for _ in range(2))
    to_live.connect(("127.0.0.1", live_port))
    to_relay.connect(("127.0.0.1", relay_port))
    ours, bare = [], []
    warm_up = 200  # frames, in which the neutral face is learned
    frames = warm_up + int(60 * options_.seconds)
    start = time.perf_counter()
    for frame in range(frames):
        packet = next(packets)
        time.sleep(max(0, start + frame / 60 - time.perf_counter()))
        for to, into in ((to_live, ours), (to_relay, bare)):
            before = time.perf_counter()
            to.send(packet)
            out.recv(65536)
            if frame >= warm_up:
                into.append(time.perf_counter() - before)
    live.terminate()
    relay.terminate()
    live.wait()
    relay.wait()
    (our_median, our_99), (bare_median, bare_99) = quantiles(ours), quantiles(bare)
    print(f"| {name} | {our_median:.2f} | {our_99:.2f} | {bare_median:.2f} | {bare_99:.2f} | {our_median - bare_median:.2f} |",
          flush=True)
    return our_median - bare_median


parser = argparse.ArgumentParser()
parser.add_argument("mien")
parser.add_argument("relay")
parser.add_argument("samples")
parser.add_argument("--seconds", type=float, default=20)
options_ = parser.parse_args()
print("| source | live: median ms | 99 % | relay: median ms | 99 % | more by |")
print("|---|---|---|---|---|---|")
measure("a phone's weights", phone_packets(), "phone")
measure("68 landmarks, parts", landmark_packets(options_.samples), "lines", "--solver", "parts")
measure("68 landmarks, fit", landmark_packets(options_.samples), "lines", "--solver", "fit")
measure("478 landmarks, parts", mesh_packets(options_.samples), "lines", "--solver", "parts")
