#!/usr/bin/python3
"""mien live among other programs: packets made with Python's struct, OSC received and sent by liblo. Loopback only.

    live.py MIEN SAMPLES [--flood-seconds S] [--only NAME]

Every port is chosen by the system; mien reports its own.
"""

import argparse
import csv
import hashlib
import json
import math
import os
import pathlib
import random
import shutil
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time

import liblo

import control
import recording
import running
from running import MIEN, SAMPLES, Live, check, free_port, listens, receiver, rows_of, sender, wait_until

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "host", "wire", "packets"))
import make_packets  # noqa: E402
from make_packets import NAMES_IN_PACKET as NAMES, WEIGHTS, phone, tracker, face_points  # noqa: E402

def stamped(packet, frame):
    """A phone's packet with another time: counts of 60 a second."""
    name = struct.unpack_from(">i", packet, 41)[0]
    return packet[:45 + name] + struct.pack(">i", frame) + packet[49 + name:]


PHONE = phone("Ada", [WEIGHTS[name] for name in NAMES] + [0.25, -0.125, 0.0625] + [0.0] * 6)


def every_value_reaches_an_independent_receiver():
    """A phone's packets come out as the VMC protocol, which liblo receives: each of the 52, exactly."""
    server = liblo.Server()
    frames, weights, head, order = [], {}, [], []

    def received(path, arguments):
        if path == "/VMC/Ext/Blend/Val":
            weights[arguments[0]] = arguments[1]
        elif path == "/VMC/Ext/Blend/Apply":
            frames.append(dict(weights))
        elif path == "/VMC/Ext/Bone/Pos" and arguments[0] == "Head":
            head.append(arguments[4:])
        order.append(path)

    server.add_method(None, None, received)
    # Where the test is stopped for longer than a quarter of a second, the last frame is held. Packets ten seconds apart
    # are later than that.
    live = Live("--in", "phone:0", "--out", f"vmc:127.0.0.1:{server.port}", "--face-hold", "1000")
    phone_app = sender(live.ports[0])

    def arrived(count):
        if server.recv(10):
            while server.recv(0):
                pass
        return len(frames) >= count

    for frame in range(30):
        phone_app.send(stamped(PHONE, 1000 + 600 * frame))
        wait_until(lambda: arrived(frame + 1), f"{frame + 1} frames arrive")
    result = live.end()
    sent = result["faces"][0]["sent"]
    wait_until(lambda: arrived(sent), f"all {sent} frames arrive")
    check(len(frames) == sent, f"{len(frames)} frames arrived of {sent}")
    check(frames[-1] == WEIGHTS, "every weight arrives as it was sent")
    check(order[-1] == "/VMC/Ext/Blend/Apply", "Apply is the last")
    x, y, z, w = head[-1]
    # Yaw 0.25, pitch -0.125, roll 0.0625, roll first, in axes whose x points the other way.
    def turn(axis, angle):
        return [math.sin(angle / 2) * (axis == i) for i in range(3)] + [math.cos(angle / 2)]
    def times(a, b):
        return [a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1], a[3] * b[1] - a[0] * b[2] + a[1] * b[3] + a[2] * b[0],
                a[3] * b[2] + a[0] * b[1] - a[1] * b[0] + a[2] * b[3], a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2]]
    wanted = times(turn(1, 0.25), times(turn(0, -0.125), turn(2, 0.0625)))
    check(all(abs(a - b) < 1e-6 for a, b in zip((x, -y, -z, w), wanted)), f"the head is turned as it was sent: {head[-1]}")
    check(result["faces"][0]["used"] == 30, "the statistics count the frames")


def oscsend_and_oscdump_understand_it():
    """oscsend sends a frame of VMC, and oscdump shows what comes out as an array."""
    port = free_port()
    dump = subprocess.Popen(["stdbuf", "-oL", "oscdump", str(port)], stdout=subprocess.PIPE, text=True)
    live = Live("--in", "vmc:0", "--out", f"osc:127.0.0.1:{port}?address=/face", "--control", "0")
    wait_until(lambda: listens(port), "oscdump listens")
    send = ["oscsend", "127.0.0.1", str(live.ports[0])]
    subprocess.run([*send, "/VMC/Ext/Blend/Val", "sf", "JawOpen", "0.625"], check=True)
    subprocess.run([*send, "/VMC/Ext/Blend/Apply"], check=True)
    line = dump.stdout.readline()
    while "/face/blendshapes" not in line:
        line = dump.stdout.readline()
    dump.kill()
    values = [float(value) for value in line.split("f" * 52)[1].split()]
    check(len(values) == 52 and values[47] == 0.625 and sum(values) == 0.625, f"jawOpen is the 48th of the array: {line}")
    subprocess.run(["oscsend", "127.0.0.1", str(live.ports[1]), "/mien/quit"], check=True)
    live.summary()


def packets_that_are_lost_doubled_and_swapped_are_counted(seconds):
    """1,000 a second of which 5 % are lost, doubled and swapped, and some garbage: no stall, no growth."""
    udp, port = receiver()
    udp.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1 << 22)
    live = Live("--in", "phone:0", "--out", f"phone:127.0.0.1:{port}")
    phone_app = sender(live.ports[0])
    chance = random.Random(1)
    rate, sent, frame, held = 1000, 0, 0, None
    lost = doubled = swapped = garbage = 0
    memory, arrivals, longest_pause = [], [], 0

    def listen():
        while True:
            try:
                udp.recv(2000)
            except (TimeoutError, OSError):
                return
            arrivals.append(time.monotonic())

    listener = threading.Thread(target=listen, daemon=True)
    listener.start()
    start = last = time.monotonic()
    count = int(seconds * rate)
    for i in range(count):
        while time.monotonic() < start + i / rate:
            time.sleep(0.0005)
        longest_pause = max(longest_pause, time.monotonic() - last)
        last = time.monotonic()
        frame += 1
        # The packet's clock has 60 counts a second; the fraction of a count is in thousandths.
        counts = 1000000 + frame * 60 / rate
        packet = bytearray(stamped(PHONE, int(counts)))
        name = struct.unpack_from(">i", packet, 41)[0]
        struct.pack_into(">f", packet, 49 + name, counts - int(counts))
        roll = chance.random()
        if roll < 0.05:
            lost += 1
        elif roll < 0.10:
            doubled += 1
            phone_app.send(packet)
            phone_app.send(packet)
        elif roll < 0.15 and held is None:
            held = packet
            continue
        elif roll < 0.16:
            garbage += 1
            phone_app.send(bytes(chance.randrange(256) for _ in range(chance.randrange(400))))
            phone_app.send(packet)
        else:
            phone_app.send(packet)
        if held is not None:
            phone_app.send(held)
            held, swapped = None, swapped + (roll >= 0.05)  # a lost packet overtakes nothing
        if i % rate == 0:
            with open(f"/proc/{live.process.pid}/statm") as statm:
                memory.append(int(statm.read().split()[1]) * os.sysconf("SC_PAGE_SIZE"))
    ended = time.monotonic()
    time.sleep(0.5)
    result = live.end()
    udp.close()
    listener.join(15)
    face = result["faces"][0]
    check(face["late"] >= swapped * 0.99 - 2, f"{face['late']} late of {swapped} swapped")
    check(face["duplicates"] >= doubled * 0.99 - 2, f"{face['duplicates']} doubled of {doubled}")
    check(face["dropped"] > 0, "lost packets are counted")
    faults = sum(result["sources"][0]["faults"].values())
    check(faults >= garbage * 0.9, f"{faults} faults of {garbage} packets of garbage")
    check(result["sources"][0]["flooded"] == 0, "nothing came too fast")
    arrivals = [arrival for arrival in arrivals if arrival <= ended]  # a face that is lost then fades
    gaps = sorted(b - a for a, b in zip(arrivals, arrivals[1:]))
    settled = memory[len(memory) // 5:]
    growth = max(settled) - min(settled)
    check(growth <= 512 * 1024, f"memory grew by {growth} bytes: {memory}")
    check(gaps[-1] < 1 + longest_pause, f"a gap of {gaps[-1]:.3f} s; the sender paused for {longest_pause:.3f} s")
    print(f"  {seconds} s: {count} packets, {lost} lost, {doubled} doubled, {swapped} swapped, {garbage} garbage; out "
          f"{len(arrivals)}, longest gap {1000 * gaps[-1]:.1f} ms, latency {face['latency_ms']}, memory "
          f"{min(settled) >> 20} MB, growth {growth >> 10} KB")


def lines_through(*options, replay):
    run = subprocess.run([MIEN, "live", "-q", "--in", f"replay:{replay}?speed=max", *options, "--out", "lines:-"],
                         capture_output=True, text=True, timeout=300)
    check(run.returncode == 0, run.stderr)
    return run.stdout


def a_replay_is_a_causal_solve_to_the_bit():
    """On one core and on two; with parts and with the fit."""
    cores = sorted(os.sched_getaffinity(0))
    for solver in ("parts", "fit"):
        options = ["-p", "landmarks68", "-c", "arkit52", "--solver", solver]
        hashes = set()
        for used in ({cores[0]}, set(cores[:2])):
            run = subprocess.run(["taskset", "-c", ",".join(map(str, used)), MIEN, "live", "-q", "--in",
                                  f"replay:{SAMPLES}/landmarks.csv?speed=max", *options, "--out", "lines:-"],
                                 capture_output=True, text=True, timeout=300)
            check(run.returncode == 0, run.stderr)
            hashes.add(hashlib.sha256(run.stdout.encode()).hexdigest())
        check(len(hashes) == 1, f"one core and two differ with {solver}")
        with tempfile.TemporaryDirectory() as folder:
            table = os.path.join(folder, "solve.csv")
            subprocess.run([MIEN, "solve", "-q", f"{SAMPLES}/landmarks.csv", *options, "--causal", "-o", table], check=True)
            with open(table) as file:
                rows = list(csv.DictReader(file))
        lines = [json.loads(line) for line in run.stdout.splitlines()]
        check(len(rows) == len(lines) > 100, f"{len(rows)} rows, {len(lines)} lines")
        for row, line in zip(rows, lines):
            for name, weight in line["weights"].items():
                check(float(row[name]) == weight, f"frame {line['frame']}: {name} {row[name]} {weight}")
        check(any(weight != 0 for line in lines for weight in line["weights"].values()), "weights move")


def clusters_of_lines_are_those_of_the_causal_solve():
    """To the bit: translations, rotations and scales, local and global. Other programs' lines ignore them."""
    options = ["-p", "landmarks68", "-c", f"{SAMPLES}/puppet.character.json"]
    run = subprocess.run([MIEN, "live", "-q", "--in", f"replay:{SAMPLES}/landmarks.csv?speed=max", *options, "--out",
                          "lines:-?clusters"], capture_output=True, text=True, timeout=300)
    check(run.returncode == 0, run.stderr)
    with tempfile.TemporaryDirectory() as folder:
        animation = os.path.join(folder, "solve.json")
        running.mien("solve", "-q", f"{SAMPLES}/landmarks.csv", *options, "--causal", "-o", animation)
        solved = json.loads(pathlib.Path(animation).read_text())["clusters"]
    lines = [json.loads(line) for line in run.stdout.splitlines()]
    check(len(lines) == len(solved["local"]["rotation"]) > 300 and len(solved["names"]) == 4, f"{len(lines)} lines")
    different = set()
    for f, line in enumerate(lines):
        for c, name in enumerate(solved["names"]):
            cluster = line["clusters"][c]
            check({key: cluster[key] for key in ("part", "cluster")} == name, f"frame {f}: {cluster} is {name}")
            for space in ("local", "global"):
                for what in ("translation", "rotation", "scale"):
                    values = solved[space][what][f][c]
                    check(cluster[space][what] == values, f"frame {f}: {name} {space} {what} {values} {cluster}")
                    different.add((c, space, what, tuple(values)))
    check(len(different) > 1000, f"clusters move: {len(different)} values")
    again = subprocess.run([MIEN, "live", "-q", "--in", "lines:-", "--out", "lines:-"], input=run.stdout, capture_output=True,
                           text=True, timeout=300)
    check([json.loads(line)["weights"] for line in again.stdout.splitlines()] == [line["weights"] for line in lines],
          "another mien live reads these lines")


def numbers_of_lines_come_back_to_the_same_doubles():
    chance = random.Random(2)
    sent = [{name: chance.random() * 10 ** chance.randrange(-12, 3) for name in WEIGHTS} for _ in range(50)]
    text = "".join(json.dumps({"face": "ada", "time": i / 60, "weights": weights}) + "\n" for i, weights in enumerate(sent))
    run = subprocess.run([MIEN, "live", "-q", "--in", "lines:-", "--out", "lines:-"], input=text, capture_output=True,
                         text=True, timeout=60)
    check(run.returncode == 0, run.stderr)
    lines = [json.loads(line) for line in run.stdout.splitlines()]
    check([line["weights"] for line in lines] == sent, "weights of lines come back")
    check(all(line["face"] == "ada" for line in lines), "and so does the face's name")


def several_faces_go_to_their_performers():
    """Two faces of a tracker in each packet, and a phone beside them."""
    udp, port = receiver()
    live = Live("--in", "tracker:0", "--in", "phone:0", "--out", f"phone:127.0.0.1:{port}", "--learn", "0.2")
    camera, phone_app = sender(live.ports[0]), sender(live.ports[1])
    seen = set()
    for frame in range(60):
        points = face_points()
        for i in range(65 - 3, 66):  # the lower lip drops
            points[i] = [points[i][0], points[i][1] - 0.002 * frame, points[i][2]]
        packet = b"".join(struct.pack("<d", 10 + frame / 60) + tracker(face, points)[8:] for face in (0, 7))
        camera.send(packet)
        phone_app.send(stamped(PHONE, 1000 + frame))
        time.sleep(1 / 120)
    udp.settimeout(0.5)
    try:
        while True:
            packet = udp.recv(2000)
            size = struct.unpack_from(">i", packet, 41)[0]
            seen.add(packet[45:45 + size])
    except TimeoutError:
        pass
    check(seen == {b"0", b"7", b"Ada"}, f"three faces come out: {seen}")
    result = live.end()
    check([face["source"] for face in result["faces"]] in ([1, 1, 2], [2, 1, 1]), str(result["faces"]))


def words_of_packets_cannot_steer_a_terminal():
    with tempfile.TemporaryDirectory() as folder:
        lines = f"{folder}/out.jsonl"
        live = subprocess.Popen([MIEN, "live", "--in", "phone:0", "--out", f"lines:{lines}"], stderr=subprocess.PIPE,
                                stdin=subprocess.DEVNULL)
        running.running.append(live)
        line = live.stderr.readline()
        port = int(line.split()[-1])
        sender(port).send(phone("\x1b]0;owned\x07\x1b[2J\u202e", [0.5] * 61))
        wait_until(lambda: rows_of(lines), "the packet is solved")
        live.terminate()
        text = live.communicate(timeout=60)[1]
    check(b"\x1b" not in text and b"\x07" not in text and "\u202e".encode() not in text and b"face" in text, str(text))


def nothing_is_received_from_elsewhere_unless_asked():
    live = Live("--in", "phone:0")
    with open(f"/proc/{live.process.pid}/net/udp") as file:
        listening = [line.split()[1] for line in file.readlines()[1:]]
    own = [address for address in listening if address.endswith(f":{live.ports[0]:04X}")]
    check(own == [f"0100007F:{live.ports[0]:04X}"], f"it listens on loopback alone: {own}")
    live.end()


def packets_of_the_tests_are_as_the_script_makes_them():
    kept = pathlib.Path(make_packets.__file__).parent
    with tempfile.TemporaryDirectory() as folder:
        made = pathlib.Path(folder)
        make_packets.main(made)
        for path in made.iterdir():
            check(path.read_bytes() == (kept / path.name).read_bytes(), f"{path.name} is up to date")


def main():
    for test, arguments in TESTS:
        if ONLY and ONLY != test.__name__:
            continue
        print(test.__name__.replace("_", " "), flush=True)
        test(*arguments)
    print(f"{running.checks} checks")
    if running.checks == 0:
        raise SystemExit("nothing was checked")


parser = argparse.ArgumentParser()
parser.add_argument("mien")
parser.add_argument("samples")
parser.add_argument("--flood-seconds", type=float, default=20)
parser.add_argument("--only")
options = parser.parse_args()
ONLY = options.only
for tool in ("oscsend", "oscdump", "taskset"):
    if not shutil.which(tool):
        raise SystemExit(f"{tool} is not installed")
TESTS = [
    (packets_of_the_tests_are_as_the_script_makes_them, ()),
    (every_value_reaches_an_independent_receiver, ()),
    (oscsend_and_oscdump_understand_it, ()),
    (numbers_of_lines_come_back_to_the_same_doubles, ()),
    (several_faces_go_to_their_performers, ()),
    (a_replay_is_a_causal_solve_to_the_bit, ()),
    (clusters_of_lines_are_those_of_the_causal_solve, ()),
    *((test, ()) for test in recording.TESTS),
    *((test, ()) for test in control.TESTS),
    (words_of_packets_cannot_steer_a_terminal, ()),
    (nothing_is_received_from_elsewhere_unless_asked, ()),
    (packets_that_are_lost_doubled_and_swapped_are_counted, (options.flood_seconds,)),
]
main()
