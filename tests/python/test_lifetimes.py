"""Memory, closing, threads and interruptions of mien._calls."""

import gc
import os
import resource
import signal
import subprocess
import sys
import threading
import weakref

import numpy as np
import pytest

import mien
from conftest import same_bits


def test_arrays_outlive_their_take(samples, landmarks):
    def positions():
        return mien.read(samples / "landmarks.csv").positions
    views = [positions() for _ in range(3)]
    gc.collect()
    part = views[0][100:200, ::2].T  # a view of a view
    del views[0]
    gc.collect()
    assert same_bits(part, landmarks.positions[100:200, ::2].T)
    with mien.read(samples / "landmarks.csv") as take:
        kept = take.positions
    assert take.closed and same_bits(kept, landmarks.positions)


def test_memory_is_freed_with_the_last_reference(samples):
    path = samples / "landmarks.csv"

    def solve():
        mien.solve(path, "landmarks68", "arkit52").shapes
    for _ in range(3):
        solve()
    before = resident()
    for _ in range(30):
        solve()
    assert resident() - before < 6e6  # one take and its animation have more than 1 MB


def resident():
    with open("/proc/self/statm") as file:
        return int(file.read().split()[1]) * resource.getpagesize()


def test_objects_have_no_cycles(samples):
    gc.disable()
    try:
        take = mien.read(samples / "landmarks.csv", progress=lambda *report: None)
        handle = take._handle
        array = take.positions
        alive = weakref.ref(take)
        del take
        assert alive() is None and sys.getrefcount(handle) == 3  # of this function, of the array, of the call
        del array
        assert sys.getrefcount(handle) == 2
    finally:
        gc.enable()


def test_use_after_close_raises(samples, landmarks):
    take = mien.read(samples / "landmarks.csv")
    animation = mien.solve(take, "landmarks68", "arkit52")
    performer, character = mien.Performer.load("landmarks68"), mien.Character.load("arkit52")
    solver = mien.Solver("landmarks68", take=take)
    uses = {
        take: [lambda: take.positions, lambda: take.markers, lambda: take.notes, lambda: take.name, lambda: take.gaps,
               lambda: take.rate, lambda: take.to_bytes(".csv"), lambda: len(take),
               lambda: mien.solve(take, "landmarks68"),
               lambda: mien.calibrate([take], "landmarks68"), lambda: mien.Solver("landmarks68", take=take)],
        animation: [lambda: animation.shapes, lambda: animation.head_motion, lambda: animation.names,
                    lambda: animation.report, lambda: animation.write("x.csv"), lambda: animation.clusters,
                    lambda: animation.to_frame()],
        performer: [lambda: performer.name, lambda: performer.to_json(), lambda: mien.solve(landmarks, performer)],
        character: [lambda: character.shapes, lambda: mien.solve(landmarks, "landmarks68", character)],
        solver: [lambda: solver.frame, lambda: solver.solve(np.zeros((43, 3))), lambda: solver.shape_names]}
    for owner in uses:
        owner.close()
        owner.close()
        assert owner.closed and "closed" in repr(owner)
    for calls in uses.values():
        for call in calls:
            with pytest.raises(mien.ClosedError):
                call()


def test_an_object_that_was_made_without_a_file_is_closed():
    for kind in (mien.Take, mien.Animation, mien.Performer, mien.Character):
        assert kind().closed


def test_threads_share_takes_and_animations(landmarks):
    animation = mien.solve(landmarks, "landmarks68", "arkit52")
    expected = animation.to_bytes(".csv")
    results, failures = [], []

    def work():
        try:
            for _ in range(3):
                results.append(mien.solve(landmarks, "landmarks68", "arkit52").to_bytes(".csv"))
                results.append(animation.to_bytes(".csv"))
                assert animation.head_motion.shape == (360, 4, 4)
        except BaseException as fault:
            failures.append(fault)

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert failures == [] and len(results) == 24 and set(results) == {expected}


def test_other_threads_run_during_a_call(samples, tmp_path):
    """A call does not hold the interpreter's lock: here it waits for what another thread writes. With the lock, the
    two would wait for each other, so they run in another process."""
    pipe = tmp_path / "landmarks.csv"
    os.mkfifo(pipe)
    script = ("import mien, sys, threading\n"
              "def write():\n"
              "    with open(sys.argv[1], 'rb') as take, open(sys.argv[2], 'wb') as pipe: pipe.write(take.read())\n"
              "threading.Thread(target=write, daemon=True).start()\n"
              "print(len(mien.read(sys.argv[2])))\n")
    done = subprocess.run([sys.executable, "-c", script, samples / "landmarks.csv", pipe], text=True,
                          capture_output=True, timeout=120)
    assert (done.stdout, done.stderr) == ("360\n", "")


def test_a_take_may_be_closed_while_another_thread_solves_it(samples):
    take = mien.read(samples / "landmarks.csv")
    started, closed, result = threading.Event(), threading.Event(), []

    def report(*progress):
        started.set()
        closed.wait(60)

    worker = threading.Thread(target=lambda: result.append(mien.solve(take, "landmarks68", progress=report)))
    worker.start()
    assert started.wait(60)
    take.close()
    closed.set()
    worker.join()
    assert len(result) == 1 and len(result[0]) == 360


def test_progress_is_reported(samples):
    seen = []
    animation = mien.solve(mien.read(samples / "landmarks.csv"), "landmarks68", "arkit52",
                           progress=lambda *report: seen.append(report))
    assert {stage for stage, _, _ in seen} <= {"reading", "preparing", "solving", "writing"}
    solving = [(done, total) for stage, done, total in seen if stage == "solving"]
    assert solving and all(0 <= done <= total for done, total in solving) and len(seen) < 2000
    assert len(animation) == 360


@pytest.mark.parametrize("raised", [RuntimeError("stop"), KeyboardInterrupt(), SystemExit(3)])
def test_an_exception_of_the_callback_stops_the_work(landmarks, tmp_path, raised):
    def report(*progress):
        raise raised
    with pytest.raises(type(raised)) as caught:
        mien.solve(landmarks, "landmarks68", progress=report)
    assert caught.value is raised
    animation = mien.solve(landmarks, "landmarks68")
    with pytest.raises(type(raised)):
        animation.write(tmp_path / "weights.csv", progress=report)
    assert list(tmp_path.iterdir()) == []


def test_an_interruption_stops_the_work(landmarks, tmp_path):
    calls = []

    def report(*progress):
        calls.append(progress)
        os.kill(os.getpid(), signal.SIGINT)
    handler = signal.getsignal(signal.SIGINT)
    with pytest.raises(KeyboardInterrupt):
        mien.solve(landmarks, "landmarks68", progress=report)
    assert len(calls) == 1 and signal.getsignal(signal.SIGINT) is handler


def test_ctrl_c_ends_a_script():
    """A signal that arrives inside the library, not inside the callback: here from another process."""
    script = ("import mien, numpy\n"
              "p = numpy.random.default_rng(1).normal(0, 50, (6000, 68, 3))\n"
              "take = mien.Take.from_arrays(p, [f'lm{i}' for i in range(68)], rate=60)\n"
              "print('ready', flush=True)\n"
              "while True: mien.solve(take, 'landmarks68')\n")
    process = subprocess.Popen([sys.executable, "-c", script], text=True, stdout=subprocess.PIPE,
                               stderr=subprocess.PIPE)
    assert process.stdout.readline() == "ready\n"
    process.send_signal(signal.SIGINT)
    _, errors = process.communicate(timeout=120)
    assert process.returncode == -signal.SIGINT and errors.rstrip().endswith("KeyboardInterrupt")
    assert "ignored" not in errors
