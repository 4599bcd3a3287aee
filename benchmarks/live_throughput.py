#!/usr/bin/python3
"""How many frames per second one core solves through real sockets, from many sources at the same time.

    live_throughput.py MIEN SAMPLES [--seconds S] [--sources N] [--rate FRAMES_PER_SECOND]

mien live runs on the first processor, this script on the second. The frames of all sources are sent at even distances;
what comes out, as phone packets, is received and counted. Prints for each kind of source how many frames were sent,
used, and received, how many the system dropped, mien's share of its processor, and by how much the latest frame was sent
too late: on a busy machine it is the sender that comes short.
"""

import argparse
import csv
import json
import os
import socket
import struct
import subprocess
import sys
import threading
import time

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "tests", "host", "wire", "packets"))
from make_packets import NAMES_IN_PACKET, WEIGHTS, phone  # noqa: E402

parser = argparse.ArgumentParser()
parser.add_argument("mien")
parser.add_argument("samples")
parser.add_argument("--seconds", type=float, default=20)
parser.add_argument("--sources", type=int, default=16)
parser.add_argument("--rate", type=float, default=1000, help="frames per second of all sources together")
options = parser.parse_args()

TICKS = os.sysconf("SC_CLK_TCK")


def cpu_seconds(process):
    with open(f"/proc/{process.pid}/stat") as file:
        fields = file.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / TICKS


def start(kind, arguments, port, core):
    sources = [word for _ in range(options.sources) for word in ("--in", f"{kind}:0")]
    process = subprocess.Popen(["taskset", "-c", str(core), options.mien, "live", "--json", *sources, *arguments, "--out",
                                f"phone:127.0.0.1:{port}"], stdout=subprocess.PIPE, stdin=subprocess.DEVNULL, text=True)
    ports = [json.loads(process.stdout.readline())["port"] for _ in range(options.sources)]
    return process, ports


class Counter:
    """Receives packets and counts them."""

    def __init__(self):
        self.udp = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.udp.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1 << 22)
        self.udp.bind(("127.0.0.1", 0))
        self.count = 0
        threading.Thread(target=self.run, daemon=True).start()

    def run(self):
        while True:
            self.udp.recv(65536)
            self.count += 1


def measure(name, kind, packet, *arguments):
    cores = sorted(os.sched_getaffinity(0))
    counter = Counter()
    process, ports = start(kind, arguments, counter.udp.getsockname()[1], cores[0])
    events = []
    reader = threading.Thread(target=lambda: events.extend(json.loads(line) for line in process.stdout))
    reader.start()
    os.sched_setaffinity(0, {cores[-1]})
    udp = [socket.socket(socket.AF_INET, socket.SOCK_DGRAM) for _ in ports]
    for one, port in zip(udp, ports):
        one.connect(("127.0.0.1", port))
    for s, one in enumerate(udp):  # each face learns its neutral face
        one.send(packet(s, 0))
        while counter.count <= s:
            time.sleep(0.001)
    time.sleep(0.2)
    first_out, first_cpu = counter.count, cpu_seconds(process)
    count = int(options.seconds * options.rate)
    begin = time.monotonic()
    latest = 0.0
    for i in range(count):
        due = begin + i / options.rate
        wait = due - time.monotonic()
        if wait > 0:
            time.sleep(wait)
        latest = max(latest, time.monotonic() - due)
        s = i % options.sources
        udp[s].send(packet(s, 1 + i // options.sources))
    seconds = time.monotonic() - begin
    time.sleep(0.1)
    out, cpu = counter.count - first_out, cpu_seconds(process) - first_cpu
    process.terminate()
    process.wait()
    reader.join()
    os.sched_setaffinity(0, set(cores))
    result = events[-1]["result"]
    faces = result["faces"]
    used = sum(face["used"] for face in faces) - len(faces)
    dropped = sum(source["flooded"] for source in result["sources"])
    median = sorted(face["latency_ms"]["median"] for face in faces)[len(faces) // 2]
    p99 = max(face["latency_ms"]["p99"] for face in faces)
    print(f"| {name} | {len(faces)} | {count / seconds:.0f} | {count} | {used} | {out} | {dropped} | "
          f"{100 * cpu / seconds:.0f} % | {median:.2f} | {p99:.2f} | {1000 * latest:.0f} |", flush=True)


with open(f"{options.samples}/landmarks.csv") as file:
    rows = [{key.strip(): value for key, value in row.items()} for row in csv.DictReader(file)]
points = [json.dumps([[float(row[f"{axis}_{i}"]) for axis in "XYZ"] for i in range(68)]) for row in rows
          if row["X_0"].strip()]
whole_packet = phone("Ada", [WEIGHTS[name] for name in NAMES_IN_PACKET] + [0.0] * 9)
after_name = 45 + struct.unpack_from(">i", whole_packet, 41)[0]


def landmarks(source, frame):
    text = points[(frame + 7 * source) % len(points)]
    return f'{{"face": "{source}", "time": {time.monotonic()!r}, "points": {text}}}'.encode()


def phone_packet(_, __):
    counts = 60 * time.monotonic()
    time_code = struct.pack(">if", int(counts), counts - int(counts))
    return whole_packet[:after_name] + time_code + whole_packet[after_name + 8:]


neutral = ("-p", "landmarks68", "--neutral-take", f"{options.samples}/landmarks.csv")
print(f"load {os.getloadavg()[0]:.1f}")
print("| source | faces | frames/s | sent | used | received | dropped | CPU | latency: median ms | 99 % | sender late ms |")
print("|---|---|---|---|---|---|---|---|---|---|---|")
measure("a phone's weights", "phone", phone_packet)
measure("68 landmarks, parts", "lines", landmarks, *neutral, "--solver", "parts")
measure("68 landmarks, fit", "lines", landmarks, *neutral, "--solver", "fit")
