"""Recordings of mien live: solved again, killed, and on a full disk."""

import ctypes
import os
import pathlib
import subprocess
import tempfile
import time

from running import MIEN, SAMPLES, Live, check, mien, rows_of, wait_until


def a_recording_survives_a_kill():
    """SIGKILL while it records, again and again: what was recorded opens, and is whole up to its last row."""
    with tempfile.TemporaryDirectory() as folder:
        for round_ in range(5):
            place = os.path.join(folder, f"take{round_}")
            live = Live("--in", f"replay:{SAMPLES}/landmarks.csv?loop&speed=4", "-p", "landmarks68", "-c", "arkit52", "--learn",
                        "0.5", "--out", f"record:{place}")
            wait_until(lambda: len(rows_of(place + ".out.csv")) > 30, "some rows are recorded")
            time.sleep(0.13 * round_)
            live.process.kill()
            live.process.wait()
            for read in (["info", place + ".csv"], ["retarget", place + ".out.csv", "-o", place + ".again.csv"]):
                run = subprocess.run([MIEN, *read], capture_output=True, text=True)
                check(run.returncode == 0, f"{read[1]} opens: {run.stderr}")
            with open(place + ".csv") as file:
                rows = file.read().split("\n")
            check(len(rows) > 30, f"{len(rows)} rows were recorded")


def the_recording_solves_to_what_went_out():
    with tempfile.TemporaryDirectory() as folder:
        place = os.path.join(folder, "take")
        run = subprocess.run([MIEN, "live", "-q", "--in", f"replay:{SAMPLES}/landmarks.csv?speed=max", "-p", "landmarks68", "-c",
                              "arkit52", "--out", f"record:{place}"], capture_output=True, text=True, timeout=120)
        check(run.returncode == 0, run.stderr)
        again = os.path.join(folder, "again.csv")
        subprocess.run([MIEN, "solve", "-q", place + ".csv", "-p", "landmarks68", "-c", "arkit52", "--causal", "-o", again],
                       check=True)
        with open(place + ".out.csv", "rb") as one, open(again, "rb") as other:
            check(one.read() == other.read(), "the recording's causal solve is what went out")


def mounted(folder, options):
    """Whether a file system in memory could be mounted there."""
    libc = ctypes.CDLL(None, use_errno=True)
    if libc.mount(b"tmpfs", os.fsencode(folder), b"tmpfs", 0, options.encode()) == 0:
        return True
    print(f"  skipped: no tmpfs can be mounted here: {os.strerror(ctypes.get_errno())}")
    return False


def a_full_disk_ends_the_recording_and_nothing_else():
    """What was recorded is whole, the stream continues, and a message names the file."""
    options = ["-p", "landmarks68", "-c", "arkit52"]
    with tempfile.TemporaryDirectory() as name:
        folder, disk = pathlib.Path(name), pathlib.Path(name) / "disk"
        disk.mkdir()
        if not mounted(disk, "size=256k"):
            return
        try:
            live = Live("--in", f"replay:{SAMPLES}/landmarks.csv?loop&speed=10", *options, "--learn", "0.5", "--out",
                        f"record:{disk}/take", "--out", f"lines:{folder}/out.jsonl")
            status = live.status_with(lambda status: not status["recording"], "the recording ends")
            check(status["faces"][0]["used"] > 30, str(status))
            after = live.status()
            check(after["faces"][0]["sent"] > status["faces"][0]["sent"] + 100, "the stream continues")
            live.process.terminate()
            document = live.document()
            check(document["exit_code"] == 1, "the exit code of an output that cannot be written")
            errors = document["errors"]
            check(len(errors) == 1 and errors[0]["code"] == "unwritable", str(errors))
            check(errors[0]["file"] in (f"{disk}/take.csv", f"{disk}/take.out.csv"), str(errors))
            check(errors[0]["what"] == "cannot be written: No space left on device" and "free space" in errors[0]["fix"],
                  str(errors))
            check(sum("No space left on device" in note["what"] for note in document["notes"]) == 1, "it is said at once")
            for path in (disk / "take.csv", disk / "take.out.csv"):
                text = path.read_bytes()
                check(text.endswith(b"\n"), f"{path} ends with a whole row")
                columns = {row.count(",") for row in rows_of(path)}
                check(len(columns) == 1 and len(rows_of(path)) > 40, f"{path}: {columns}, {len(rows_of(path))} rows")
            mien("info", disk / "take.csv")
            again = folder / "again.csv"
            mien("solve", "-q", disk / "take.csv", *options, "--causal", "--learn", "0.5", "-o", again)
            check(again.read_bytes().startswith((disk / "take.out.csv").read_bytes()), "and what went out can be solved again")

            # A recording that cannot even begin, on the disk that is still full, and lines that have no room.
            live = Live("--in", f"replay:{SAMPLES}/landmarks.csv?speed=10", *options, "--out", f"record:{disk}/more",
                        "--out", f"lines:{disk}/out.jsonl")
            document = live.document()
            files = sorted(error["file"] for error in document["errors"])
            check(document["exit_code"] == 1 and files == [f"{disk}/more.csv", f"{disk}/out.jsonl"], str(document["errors"]))
            check(document["result"]["faces"][0]["used"] == 360, "and this stream continues to its end as well")
        finally:
            subprocess.run(["umount", "--lazy", str(disk)], check=True)


def a_place_with_a_recording_is_refused_at_once():
    with tempfile.TemporaryDirectory() as name:
        (pathlib.Path(name) / "take.events.csv").write_text("time,event\n")
        run = subprocess.run([MIEN, "live", "--in", "phone:0", "--out", f"record:{name}/take", "--for", "20"],
                             capture_output=True, text=True, timeout=15)
        check(run.returncode == 1 and "take.events.csv: a file with this name exists; choose another" in run.stderr, run.stderr)


TESTS = [
    the_recording_solves_to_what_went_out,
    a_recording_survives_a_kill,
    a_full_disk_ends_the_recording_and_nothing_else,
    a_place_with_a_recording_is_refused_at_once,
]
