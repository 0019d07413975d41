#!/usr/bin/python3
"""A production-line station: runs a test plan over the phone's serial port.

    station.py --port /dev/ttyGS0 [--junit results.xml] PLAN

Each step sends one AT command line and checks the answer: the final result code, and the
information lines against exact texts, patterns and numeric limits. Every step is printed with
its time and verdict as it completes; the exit status is 0 only when every step passed (1: a step
failed, 2: the plan or the port could not be used). The JUnit XML file, when asked for, holds one
test case per step, as line software ingests it.

The plan is plain text, one "key: value" per line, a step starting at each "step:" line:

    # comments and blank lines are ignored
    step: model name
    send: AT+CGMM
    expect: PD5202CMA                 an information line equal to this text
    match: [0-9A-Z]{15}               an information line matching this pattern, whole
    limit: \\+vcm:"(\\d+)" 100 900      a line matching the pattern, its group within [low, high]
    result: OK                        the final result code (default OK); "+CME ERROR: 24" or
                                      "ERROR" for a step that must fail
    timeout: 10                       seconds for the answer (default 10)

Python's own `serial` package is Debian's python3-serial (pyserial); the interpreter is the
system one, where that package installs.
"""

import argparse
import re
import sys
import time
import xml.etree.ElementTree as ET

try:
    import serial
except ImportError:
    sys.stderr.write("station: pyserial is missing: install python3-serial (scripts/setup does)\n")
    sys.exit(2)

FINAL = re.compile(r"^(OK|ERROR|\+CME ERROR: .*)$")
KEYS = {"send", "expect", "match", "limit", "result", "timeout"}


class PlanError(Exception):
    pass


class Step:
    def __init__(self, name, line_no):
        self.name = name
        self.line_no = line_no
        self.send = None
        self.expect = []
        self.match = []
        self.limits = []
        self.result = "OK"
        self.timeout = 10.0


def parse_plan(text, where):
    steps = []
    for n, raw in enumerate(text.splitlines(), 1):
        line = raw.strip()
        if not line or line.startswith("#"):
            continue
        key, sep, value = line.partition(":")
        key, value = key.strip().lower(), value.strip()
        if not sep:
            raise PlanError(f"{where}:{n}: not 'key: value': {line}")
        if key == "step":
            steps.append(Step(value or f"step {len(steps) + 1}", n))
            continue
        if key not in KEYS:
            raise PlanError(f"{where}:{n}: unknown key '{key}'")
        if not steps:
            raise PlanError(f"{where}:{n}: '{key}' before the first 'step:'")
        step = steps[-1]
        if key == "send":
            step.send = value
        elif key == "expect":
            step.expect.append(value)
        elif key == "match":
            step.match.append(compile_pattern(value, where, n))
        elif key == "result":
            step.result = value
        elif key == "timeout":
            try:
                step.timeout = float(value)
            except ValueError:
                raise PlanError(f"{where}:{n}: timeout is not a number: {value}")
        elif key == "limit":
            parts = value.rsplit(None, 2)
            if len(parts) != 3:
                raise PlanError(f"{where}:{n}: limit takes PATTERN LOW HIGH")
            pattern = compile_pattern(parts[0], where, n)
            if pattern.groups != 1:
                raise PlanError(f"{where}:{n}: a limit's pattern holds one group, the value")
            try:
                low, high = float(parts[1]), float(parts[2])
            except ValueError:
                raise PlanError(f"{where}:{n}: limits are numbers: {parts[1]} {parts[2]}")
            step.limits.append((pattern, low, high))
    for step in steps:
        if step.send is None:
            raise PlanError(f"{where}:{step.line_no}: step '{step.name}' sends nothing")
    if not steps:
        raise PlanError(f"{where}: no steps")
    return steps


def compile_pattern(text, where, n):
    try:
        return re.compile(text)
    except re.error as e:
        raise PlanError(f"{where}:{n}: bad pattern '{text}': {e}")


def exchange(port, command, timeout):
    """Sends one command line; returns (information lines, final result code or None)."""
    port.reset_input_buffer()
    port.write(command.encode("latin-1") + b"\r")
    deadline = time.monotonic() + timeout
    lines, buffer = [], b""
    while True:
        remaining = deadline - time.monotonic()
        if remaining <= 0:
            return lines, None
        port.timeout = remaining
        chunk = port.read(max(1, port.in_waiting))
        if not chunk:
            return lines, None
        buffer += chunk
        *complete, buffer = buffer.split(b"\n")
        for part in complete:
            # Responses are CR LF framed; with echo on, the command comes back first, ending in
            # its own CR.
            text = part.decode("latin-1").strip("\r")
            if not text or text == command:
                continue
            if FINAL.match(text):
                return lines, text
            lines.append(text)


def judge(step, lines, final):
    """The reasons the step failed; empty when it passed."""
    if final is None:
        return [f"no final result code within {step.timeout:g} s"]
    reasons = []
    if final != step.result:
        reasons.append(f"result '{final}', expected '{step.result}'")
    for text in step.expect:
        if text not in lines:
            reasons.append(f"no line '{text}'")
    for pattern in step.match:
        if not any(pattern.fullmatch(line) for line in lines):
            reasons.append(f"no line matching '{pattern.pattern}'")
    for pattern, low, high in step.limits:
        values = [m.group(1) for m in map(pattern.fullmatch, lines) if m]
        if not values:
            reasons.append(f"no line matching '{pattern.pattern}'")
            continue
        try:
            value = float(values[0])
        except ValueError:
            reasons.append(f"'{values[0]}' is not a number")
            continue
        if not low <= value <= high:
            reasons.append(f"{values[0]} outside [{low:g}, {high:g}]")
    return reasons


def write_junit(path, plan_name, results, total_s):
    failures = sum(1 for r in results if r["reasons"])
    suite = ET.Element("testsuite", name=plan_name, tests=str(len(results)),
                       failures=str(failures), errors="0", time=f"{total_s:.3f}")
    for r in results:
        case = ET.SubElement(suite, "testcase", classname=plan_name, name=r["name"],
                             time=f"{r['seconds']:.3f}")
        if r["reasons"]:
            failure = ET.SubElement(case, "failure", message="; ".join(r["reasons"]))
            failure.text = "\n".join([r["send"]] + r["lines"] + [r["final"] or "(no answer)"])
        else:
            ET.SubElement(case, "system-out").text = "\n".join(r["lines"] + [r["final"]])
    tree = ET.ElementTree(ET.Element("testsuites"))
    tree.getroot().append(suite)
    tree.write(path, encoding="utf-8", xml_declaration=True)


def main():
    parser = argparse.ArgumentParser(description="Run a test plan over the phone's serial port.")
    parser.add_argument("--port", required=True, help="the serial port (e.g. ROOT/dev/ttyGS0)")
    parser.add_argument("--baud", type=int, default=115200)
    parser.add_argument("--junit", help="write the results as JUnit XML to this file")
    parser.add_argument("plan", help="the test plan")
    args = parser.parse_args()

    try:
        with open(args.plan, encoding="utf-8") as f:
            steps = parse_plan(f.read(), args.plan)
    except (OSError, PlanError) as e:
        sys.stderr.write(f"station: {e}\n")
        return 2
    try:
        port = serial.Serial(args.port, args.baud, timeout=1)
    except (OSError, serial.SerialException) as e:
        sys.stderr.write(f"station: cannot open {args.port}: {e}\n")
        return 2

    plan_name = args.plan.rsplit("/", 1)[-1].rsplit(".", 1)[0]
    results = []
    start = time.monotonic()
    with port:
        for step in steps:
            t0 = time.monotonic()
            lines, final = exchange(port, step.send, step.timeout)
            seconds = time.monotonic() - t0
            reasons = judge(step, lines, final)
            verdict = "FAIL" if reasons else "PASS"
            print(f"{seconds * 1000:9.1f} ms  {verdict}  {step.name}  [{step.send}]", flush=True)
            for reason in reasons:
                print(f"{'':14}{reason}", flush=True)
            results.append({"name": step.name, "send": step.send, "lines": lines, "final": final,
                            "seconds": seconds, "reasons": reasons})
    total = time.monotonic() - start
    failed = sum(1 for r in results if r["reasons"])
    print(f"{len(results)} steps, {failed} failed, {total:.2f} s")
    if args.junit:
        try:
            write_junit(args.junit, plan_name, results, total)
        except OSError as e:
            sys.stderr.write(f"station: cannot write {args.junit}: {e}\n")
            return 2
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
