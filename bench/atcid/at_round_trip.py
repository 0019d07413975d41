#!/usr/bin/python3
"""Round trip of a station's query: over the serial line to the factory AT daemon (the line's own
+CGSN, and the sn family of the shared command table as AT+SN?), and the same query through
orbafactory (one process per query, as scripts ran it before the daemon).

    bench/atcid/at_round_trip.py [--count 1000] [--build build]

Brings up a simulated device of the default profile in /dev/shm, stores a serial number, and
prints the median and the worst of each series in microseconds. The line is read and written
through the port's plain descriptor (the daemon keeps it raw), so the figures hold the daemon and
the pseudo-terminal, not a serial library's own overhead.
"""

import argparse
import os
import select
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

FINALS = (b"\r\nOK\r\n", b"\r\nERROR\r\n")


def ask(fd, line):
    os.write(fd, line + b"\r")
    got = b""
    while not any(got.endswith(f) for f in FINALS) and b"+CME ERROR" not in got:
        if not select.select([fd], [], [], 20)[0]:
            raise RuntimeError(f"no answer to {line!r}: {got!r}")
        got += os.read(fd, 4096)
    return got


def series(count, once):
    times = []
    for _ in range(count):
        t0 = time.perf_counter_ns()
        once()
        times.append((time.perf_counter_ns() - t0) / 1000)
    return statistics.median(times), max(times)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--count", type=int, default=1000)
    parser.add_argument("--build", default=os.path.join(os.path.dirname(__file__), "../../build"))
    args = parser.parse_args()
    bin_dir = os.path.abspath(os.path.join(args.build, "bin"))
    sim, cli = os.path.join(bin_dir, "orbafactory-sim"), os.path.join(bin_dir, "orbafactory")
    root = tempfile.mkdtemp(prefix="at-bench-", dir="/dev/shm")
    try:
        for step in (["init"], ["start"]):
            subprocess.run([sim, *step, "--root", root], check=True, capture_output=True)
        subprocess.run([cli, "--root", root, "sn", "set", "ORBA24A0000123X"], check=True,
                       capture_output=True)
        fd = os.open(os.path.join(root, "dev/ttyGS0"), os.O_RDWR | os.O_NOCTTY)
        ask(fd, b"ATE0")
        if b"ORBA24A0000123X" not in ask(fd, b"AT+CGSN"):
            raise RuntimeError("AT+CGSN does not answer the stored serial number")
        if b"+SN: ORBA24A0000123X" not in ask(fd, b"AT+SN?"):
            raise RuntimeError("AT+SN? does not answer the stored serial number")

        def run_cli(*argv):
            done = subprocess.run([cli, "--root", root, *argv], capture_output=True)
            if done.returncode != 0:
                raise RuntimeError(f"orbafactory {' '.join(argv)}: {done.stderr!r}")

        rows = [
            ("AT over the serial line", series(args.count, lambda: ask(fd, b"AT"))),
            ("AT+CGSN over the serial line", series(args.count, lambda: ask(fd, b"AT+CGSN"))),
            ("AT+CGMM over the serial line", series(args.count, lambda: ask(fd, b"AT+CGMM"))),
            # The same query as orbafactory's, through the command table both front ends share.
            ("AT+SN? over the serial line", series(args.count, lambda: ask(fd, b"AT+SN?"))),
            ("orbafactory sn get", series(args.count, lambda: run_cli("sn", "get"))),
            ("orbafactory prop get (model)",
             series(args.count, lambda: run_cli("prop", "get", "ro.orba.product.model"))),
        ]
        os.close(fd)
        print(f"{'query':32} {'median us':>10} {'worst us':>10}   ({args.count} each)")
        for name, (median, worst) in rows:
            print(f"{name:32} {median:10.1f} {worst:10.1f}")
    finally:
        subprocess.run([sim, "stop", "--root", root], capture_output=True)
        shutil.rmtree(root, ignore_errors=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
