"""Keys and OSC messages that control a running mien live: each has the effect that docs/live.md states."""

import csv
import json
import os
import pathlib
import pty
import re
import signal
import tempfile
import termios
import threading
import time

from running import MIEN, SAMPLES, Live, check, mien, rows_of, send_osc, sender, wait_until

FAST = ("--learn", "0.3", "--face-hold", "30")


def landmark_lines():
    """The points of each frame of samples/landmarks.csv, as they stand in a line."""
    with open(f"{SAMPLES}/landmarks.csv") as file:
        rows = [{key.strip(): value.strip() for key, value in row.items()} for row in csv.DictReader(file)]
    return [json.dumps([[float(row[f"{axis}_{i}"]) for axis in "XYZ"] for i in range(68)]) for row in rows
            if row["success"] == "1"]


POINTS = landmark_lines()


class Person:
    """Sends the landmarks of the sample at 60 frames per second."""

    def __init__(self, port, name, first=0):
        self.udp, self.name, self.frame, self.first, self.ends = sender(port), name, 0, first, threading.Event()
        self.thread = threading.Thread(target=self.run, daemon=True)
        self.thread.start()

    def run(self):
        start = time.monotonic()
        while not self.ends.wait(max(0, start + self.frame / 60 - time.monotonic())):
            points = POINTS[(self.first + self.frame) % len(POINTS)]
            self.udp.send(f'{{"face": "{self.name}", "time": {self.frame / 60!r}, "points": {points}}}'.encode())
            self.frame += 1

    def end(self):
        self.ends.set()
        self.thread.join()


def make_performers(folder):
    """Two performers with the same markers and different neutral faces."""
    ada, eve = folder / "ada.json", folder / "eve.json"
    mien("performer", f"{SAMPLES}/landmarks.csv", "-p", "landmarks68", "--neutral", "1-10", "-q", "-o", ada)
    mien("performer", f"{SAMPLES}/landmarks.csv", "-p", "landmarks68", "--neutral", "200-210", "-q", "-o", eve)
    return ada, eve


def lines_of(path):
    return [json.loads(line) for line in rows_of(path)]


def grows(path, by=20):
    before = len(rows_of(path))
    wait_until(lambda: len(rows_of(path)) >= before + by, f"{path} grows")


def stays(path):
    before = path.stat().st_size
    time.sleep(0.3)
    check(path.stat().st_size == before and before > 0, f"{path} stays as it is")


def solves_to_what_went_out(place, performer, *options):
    """The recording is the result of this performer, to the bit; answers its rows."""
    again = f"{place}.again.csv"
    mien("solve", f"{place}.csv", "-p", performer, *options, "--causal", *FAST[2:], "-q", "-o", again)
    check(pathlib.Path(f"{place}.out.csv").read_bytes() == pathlib.Path(again).read_bytes(),
          f"{place}.out.csv is the solve of {place}.csv with {performer}")
    with open(again) as file:
        return list(csv.DictReader(file))


def moves(rows):
    return any(float(row[name]) != 0 for row in rows for name in row if name not in ("frame", "time"))


def each_message_has_its_effect():
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        ada, eve = make_performers(folder)
        place, lines = folder / "take", folder / "out.jsonl"
        live = Live("--in", "lines:0", "-p", ada, "-p", eve, "-c", "arkit52", *FAST, "--out", f"lines:{lines}",
                    "--out", f"record:{place}", "--control", "0")
        person, control = Person(live.ports[0], "ada"), live.ports[1]

        def file(ending):
            return folder / f"take{ending}"

        grows(lines)
        send_osc(control, "/mien/mark", "blink, \"left\"")
        wait_until(lambda: len(rows_of(file(".events.csv"))) == 2, "the mark is written")
        header, mark = rows_of(file(".events.csv"))
        time_s, label = mark.split(",", 1)
        check(header == "time,event" and label == '"blink, ""left"""', f"its label: {mark}")
        check(any(row.split(",")[1] == time_s for row in rows_of(file(".csv"))), f"its time is a frame's: {mark}")

        send_osc(control, "/mien/pause")
        first = live.status_with(lambda status: status["paused"], "it is paused")
        size = lines.stat().st_size
        second = live.status()
        check(lines.stat().st_size == size and second["faces"][0]["sent"] == first["faces"][0]["sent"],
              "nothing comes out while it is paused")
        check(second["faces"][0]["paused"] > first["faces"][0]["paused"], "what comes in is dropped")
        send_osc(control, "/mien/pause")
        grows(lines)
        frames = lines_of(lines)
        check([frame["frame"] for frame in frames] == list(range(1, len(frames) + 1)), "no frame is missing")
        gap, after = max(((b["time"] - a["time"], b) for a, b in zip(frames, frames[1:])), key=lambda pair: pair[0])
        check(gap > 0.9 and "seen" not in after, f"the pause is a gap of {gap:.2f} s, and no loss of the face")

        send_osc(control, "/mien/record")
        live.status_with(lambda status: not status["recording"], "the recording stops")
        stays(file(".csv"))
        grows(lines)
        send_osc(control, "/mien/record")
        wait_until(lambda: len(rows_of(file("-again2.out.csv"))) > 30, "another recording starts")

        send_osc(control, "/mien/performer", 2)
        wait_until(lambda: len(rows_of(file("-again2-2.out.csv"))) > 30, "its second part is the other performer's")
        send_osc(control, "/mien/performer", 1)
        wait_until(lambda: len(rows_of(file("-again2-3.out.csv"))) > 30, "its third the first one's")
        send_osc(control, "/mien/performer", 3)
        send_osc(control, "/mien/neutral")
        wait_until(lambda: len(rows_of(file("-again2-4.out.csv"))) > 60, "a new neutral face starts a part")
        send_osc(control, "/mien/quit")
        document = live.document()
        person.end()
        check(document["errors"] == [], str(document["errors"]))
        check([note["what"] for note in document["notes"]] == ["there is no performer 3"], str(document["notes"]))

        for ending, performer in (("", ada), ("-again2", ada), ("-again2-2", eve), ("-again2-3", ada)):
            check(moves(solves_to_what_went_out(file(ending), performer, "-c", "arkit52")), f"take{ending} moves")
        # The same performer without a neutral pose learns it from the part's first frames.
        check(moves(solves_to_what_went_out(file("-again2-4"), "landmarks68", "-c", "arkit52", *FAST[:2])), "so does the last")
        learned = [line for line in lines_of(lines) if line.get("learning")]
        since = [line["time"] - learned[0]["time"] for line in learned]
        check(all(time_s < 0.3 for time_s in since[:-1]) and since[-1] >= 0.3, "the face is learned in --learn seconds")
        check(not any(weight for line in learned for weight in line["weights"].values()), "weights are 0 meanwhile")
        check(any(any(line["weights"].values()) for line in lines_of(lines) if line["frame"] > learned[-1]["frame"]),
              "and move again")
        names = sorted(path.name for path in folder.glob("take*") if "again.csv" not in path.name)
        wanted = [f"take{part}{kind}.csv" for part in ("", "-again2", "-again2-2", "-again2-3", "-again2-4")
                  for kind in ("", ".out")] + ["take.events.csv"]
        check(names == sorted(wanted), f"these files: {names}")


class Terminal:
    """mien live on a terminal of its own."""

    def __init__(self, *options):
        self.text, self.start = "", 0
        self.process, self.screen = pty.fork()
        if self.process == 0:
            os.environ["TERM"] = "xterm"
            os.execv(MIEN, [MIEN, "live", *map(str, options)])
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()

    def read(self):
        try:
            while data := os.read(self.screen, 65536):
                self.text += data.decode(errors="replace")
        except OSError:  # the other side is closed
            pass

    def press(self, key):
        os.write(self.screen, key.encode())

    def shows(self, pattern, seconds=60):
        found = []

        def look():
            found[:] = re.findall(pattern, self.text[self.start:])
            return found

        wait_until(look, f"{pattern} in {self.text!r}", seconds)
        return found[-1]

    def shows_from_now(self, pattern):
        self.start = len(self.text)
        self.shows(pattern)

    def echoes(self):
        return termios.tcgetattr(self.screen)[3] & termios.ECHO != 0

    def exit_code(self):
        ended = []

        def look():
            process, status = os.waitpid(self.process, os.WNOHANG)
            ended[:] = [status] if process else []
            return process

        wait_until(look, f"it ends: {self.text!r}")
        return os.waitstatus_to_exitcode(ended[0])

    def kill(self):
        try:
            os.kill(self.process, signal.SIGKILL)
        except ProcessLookupError:
            pass


def each_key_has_its_effect():
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        ada, eve = make_performers(folder)
        place, lines = folder / "take", folder / "out.jsonl"
        live = Terminal("--in", "lines:0", "-p", ada, "-p", eve, *FAST, "--out", f"lines:{lines}", "--out",
                        f"record:{place}")
        try:
            person = Person(int(live.shows(r"listening +lines:0 at 127.0.0.1 port (\d+)")), "ada")
            live.shows("n neutral, r record, p pause, m mark, 1-9 performer, q quit")
            wait_until(lambda: not live.echoes(), "keys are not shown")
            grows(lines)
            live.shows_from_now("recording: ")
            live.press("m")
            wait_until(lambda: len(rows_of(folder / "take.events.csv")) == 2, "m marks")
            check(rows_of(folder / "take.events.csv")[1].endswith(",mark"), "as a mark")
            live.press("p")
            live.shows_from_now("paused: ")
            stays(lines)
            live.press("p")
            live.shows_from_now("recording: ")
            grows(lines)
            live.press("r")
            live.shows_from_now(r"\x1b\[Klines:0 ada")  # without "recording: "
            stays(folder / "take.csv")
            grows(lines)
            live.press("r")
            wait_until(lambda: len(rows_of(folder / "take-again2.out.csv")) > 20, "r records again")
            live.press("2")
            wait_until(lambda: len(rows_of(folder / "take-again2-2.out.csv")) > 20, "2 selects the second performer")
            live.press("9")
            live.shows("there is no performer 9")
            live.press("n")
            wait_until(lambda: len(rows_of(folder / "take-again2-3.out.csv")) > 40, "n learns the neutral face")
            live.press("q")
            check(live.exit_code() == 0, "q ends it in order")
            person.end()
            live.shows("frames in, ")
            check(live.echoes(), "keys are shown again")
            check(moves(solves_to_what_went_out(folder / "take", ada)), "the first recording is the first one's")
            check(moves(solves_to_what_went_out(folder / "take-again2", ada)), "and so is the second")
            check(moves(solves_to_what_went_out(folder / "take-again2-2", eve)), "until 2 is pressed")
            with open(folder / "take-again2-3.out.csv") as file:
                learned = list(csv.DictReader(file))
            start = float(learned[0]["time"])
            check(not moves([row for row in learned if float(row["time"]) - start < 0.3]) and moves(learned),
                  "n sets the weights to 0 while it learns")
        finally:
            live.kill()


def two_people_have_their_own_performers():
    """Two sources, each with a performer and a character of its own; one of them changes, the other does not notice."""
    puppet = f"{SAMPLES}/puppet.character.json"
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        ada, eve = make_performers(folder)
        lines = [folder / "ada.jsonl", folder / "eve.jsonl"]
        live = Live("--in", f"lines:0?performer={ada}&character=arkit52", "--in",
                    f"lines:0?performer={eve}&character={puppet}", "-p", "landmarks68", "-p", eve, *FAST, "--out",
                    f"lines:{lines[0]}?source=1", "--out", f"lines:{lines[1]}?source=2&clusters", "--out",
                    f"record:{folder / 'take'}", "--control", "0")
        control = live.ports[2]
        people = [Person(live.ports[0], "ada")]
        grows(lines[0], 1)  # the first face is Ada's
        people.append(Person(live.ports[1], "eve", first=100))
        for path in lines:
            grows(path, 60)
        send_osc(control, "/mien/performer", 2, 1)
        wait_until(lambda: len(rows_of(folder / "take-2.out.csv")) > 30, "the first source has another performer")
        send_osc(control, "/mien/performer", 1, 1)
        wait_until(lambda: len(rows_of(folder / "take-3.out.csv")) > 30, "1 is its own performer again")
        send_osc(control, "/mien/neutral", 1)
        wait_until(lambda: len(rows_of(folder / "take-4.out.csv")) > 60, "its neutral face is learned again")
        send_osc(control, "/mien/performer", 2, 7)
        send_osc(control, "/mien/neutral", 8)
        wait_until(lambda: len(rows_of(folder / "take-face2.out.csv")) > 200, "much of the other is recorded")
        send_osc(control, "/mien/quit")
        document = live.document()
        for person in people:
            person.end()
        check(document["errors"] == [], str(document["errors"]))
        check([note["what"] for note in document["notes"]] == ["there is no source 7", "there is no source 8"],
              str(document["notes"]))
        faces = document["result"]["faces"]
        check([(face["source"], face["face"]) for face in faces] == [(1, "ada"), (2, "eve")], str(faces))

        for ending, performer in (("", ada), ("-2", eve), ("-3", ada)):
            check(moves(solves_to_what_went_out(folder / f"take{ending}", performer, "-c", "arkit52")),
                  f"take{ending} moves")
        rows = solves_to_what_went_out(folder / "take-face2", eve, "-c", puppet)
        check(len(rows) > 200 and any(float(row["jawDrop"]) for row in rows), f"{len(rows)} frames of the other")
        frames = lines_of(lines[1])
        check([frame["frame"] for frame in frames] == list(range(1, len(frames) + 1)), "none is missing")
        check(not any("learning" in frame for frame in frames), "and it does not learn")
        check(not (folder / "take-face2-2.csv").exists(), "its recording is one part")
        check({cluster["cluster"] for cluster in frames[-1]["clusters"]} == {"jawBone", "lipBone", "browBoneL", "browBoneR"},
              "its character's clusters are in its lines")
        check("clusters" not in lines_of(lines[0])[-1] and "jawOpen" in lines_of(lines[0])[-1]["weights"],
              "and not in those of the first")


TESTS = [each_message_has_its_effect, each_key_has_its_effect, two_people_have_their_own_performers]
