"""What the tests of mien live have in common: a running command, and the sockets to talk to it."""

import atexit
import json
import pathlib
import socket
import subprocess
import sys
import threading
import time

import liblo

MIEN, SAMPLES = sys.argv[1:3]
checks = 0
running = []


def kill_the_rest():
    for process in running:
        process.kill()


atexit.register(kill_the_rest)


def check(holds, what):
    global checks
    checks += 1
    if not holds:
        raise SystemExit(f"FAILED: {what}")


def wait_until(holds, what, seconds=60):
    """Waits until holds() is true, and fails if it does not become true."""
    end = time.monotonic() + seconds
    while not holds():
        if time.monotonic() > end:
            check(False, f"within {seconds} s: {what}")
        time.sleep(0.01)
    check(True, what)


def mien(*options):
    """Runs the command, which has to succeed, and answers what it prints."""
    run = subprocess.run([MIEN, *map(str, options)], capture_output=True, text=True, timeout=120)
    check(run.returncode == 0, f"{options}: {run.stderr}")
    return run.stdout


def rows_of(path):
    """The whole rows of a file that grows."""
    path = pathlib.Path(path)
    return path.read_text().split("\n")[:-1] if path.exists() else []


def send_osc(port, address, *arguments):
    liblo.send(liblo.Address("127.0.0.1", port), address, *arguments)


class Live:
    """A running `mien live --json`: its events, and the ports of its sources in their order."""

    def __init__(self, *options, stdin=subprocess.DEVNULL, prefix=()):
        options = [str(option) for option in options]
        self.process = subprocess.Popen([*prefix, MIEN, "live", "--json", *options], stdin=stdin, stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE, text=True)
        running.append(self.process)
        self.events, self.ports = [], []
        wanted = sum(":0" in option for flag, option in zip(options, options[1:]) if flag == "--in")
        wanted += "--control" in options
        while len(self.ports) < wanted:
            line = self.process.stdout.readline()
            if not line:
                raise SystemExit("mien live ended: " + self.process.stderr.read())
            event = json.loads(line)
            self.ports.append(event["port"])
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()

    def read(self):
        for line in self.process.stdout:
            self.events.append(json.loads(line))

    def status(self):
        """The next status, which comes every second."""
        seen = len(self.events)
        wait_until(lambda: any(event.get("event") == "status" for event in self.events[seen:]), "a status")
        return next(event for event in self.events[seen:] if event.get("event") == "status")

    def status_with(self, holds, what):
        status = {}

        def found():
            status.update(self.status())
            return holds(status)

        wait_until(found, what)
        return status

    def end(self):
        """Ends it in order, and answers the summary."""
        if self.process.poll() is None:
            self.process.terminate()  # not SIGINT, which a shell that starts this in the background makes ignored
        return self.summary()

    def document(self):
        """What it prints when it has ended."""
        self.process.wait(30)
        self.reader.join(10)
        errors = self.process.stderr.read()
        check("Sanitizer" not in errors, errors)
        check(self.events and self.events[-1].get("command") == "live", f"mien live ends with its result: {errors}")
        check(self.process.returncode == self.events[-1]["exit_code"], f"exit code {self.process.returncode}")
        return self.events[-1]

    def summary(self):
        document = self.document()
        check(document["errors"] == [], str(document["errors"]))
        return document["result"]


def receiver():
    udp = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    udp.bind(("127.0.0.1", 0))
    udp.settimeout(10)
    return udp, udp.getsockname()[1]


def free_port():
    """A port for another program, unused now."""
    udp, port = receiver()
    udp.close()
    return port


def listens(port):
    """Whether a program of this machine receives datagrams at the port."""
    lines = [line for kind in ("udp", "udp6") for line in pathlib.Path(f"/proc/net/{kind}").read_text().splitlines()[1:]]
    return any(line.split()[1].endswith(f":{port:04X}") for line in lines)


def sender(port):
    udp = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    udp.connect(("127.0.0.1", port))
    return udp
