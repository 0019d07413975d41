#!/usr/bin/python3
"""The station against a started simulated phone: its verdicts, exit status and JUnit file."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ET

BIN = os.environ["ORBA_BIN_DIR"]
SOURCE = os.environ["ORBA_SOURCE_DIR"]
STATION = os.path.join(SOURCE, "tools", "station", "station.py")
DEFAULT_PLAN = os.path.join(SOURCE, "tools", "station", "plans", "default.plan")


def run(*argv):
    return subprocess.run(argv, capture_output=True, text=True, timeout=120)


class StationTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        scratch = "/dev/shm" if os.path.isdir("/dev/shm") else None
        cls.root = tempfile.mkdtemp(prefix="station-", dir=scratch)
        cls.sim = os.path.join(BIN, "orbafactory-sim")
        for step in (["init"], ["start"]):
            done = run(cls.sim, *step, "--root", cls.root)
            if done.returncode != 0:
                raise RuntimeError(f"orbafactory-sim {step[0]}: {done.stderr}")
        sn = run(os.path.join(BIN, "orbafactory"), "--root", cls.root, "sn", "set",
                 "ORBA24A0000123X")
        if sn.returncode != 0:
            raise RuntimeError(f"sn set: {sn.stderr}")
        status = run(cls.sim, "status", "--root", cls.root).stdout
        ports = [l.split(": ", 1)[1] for l in status.splitlines()
                 if l.startswith("station serial port: ")]
        if len(ports) != 1:
            raise RuntimeError(f"status names no station serial port:\n{status}")
        cls.port = ports[0]

    @classmethod
    def tearDownClass(cls):
        run(cls.sim, "stop", "--root", cls.root)
        shutil.rmtree(cls.root, ignore_errors=True)

    def station(self, plan_text=None, plan=None, port=None):
        tmp = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, tmp)
        if plan is None:
            plan = os.path.join(tmp, "plan.plan")
            with open(plan, "w") as f:
                f.write(plan_text)
        junit = os.path.join(tmp, "results.xml")
        done = run(STATION, "--port", port or self.port, "--junit", junit, plan)
        suite = None
        if os.path.exists(junit):
            suite = ET.parse(junit).getroot().find("testsuite")
        return done, suite

    def test_default_plan_passes(self):
        done, suite = self.station(plan=DEFAULT_PLAN)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        steps = [l for l in done.stdout.splitlines() if " ms  " in l]
        self.assertGreaterEqual(len(steps), 10)
        for line in steps:
            self.assertIn("  PASS  ", line)
        self.assertEqual(suite.get("failures"), "0")
        self.assertEqual(int(suite.get("tests")), len(steps))
        self.assertIsNone(suite.find("testcase/failure"))

    def test_each_kind_of_check_fails_its_step(self):
        cases = [
            # (step text, the reason the station gives)
            ("send: AT+CGMM\nexpect: PD0000", "no line 'PD0000'"),
            ("send: AT+CGSN\nmatch: [a-z]{15}", "no line matching '[a-z]{15}'"),
            ("send: AT+TQ_CCM_SINGLE=2,R,MAIN\nlimit: \\+vcm:\"(\\d+)\" 0 100",
             "512 outside [0, 100]"),
            ("send: AT+NOSUCH", "result 'ERROR', expected 'OK'"),
            ("send: AT+CMEE=7\nresult: OK", "result '+CME ERROR: incorrect parameters'"),
        ]
        plan = "step: verbose errors\nsend: AT+CMEE=2\n"
        for n, (step, _) in enumerate(cases):
            plan += f"step: case {n}\n{step}\n"
        plan += "step: still answering\nsend: AT\n"
        done, suite = self.station(plan)
        self.assertEqual(done.returncode, 1, done.stdout + done.stderr)
        lines = done.stdout.splitlines()
        for n, (_, reason) in enumerate(cases):
            at = next(i for i, l in enumerate(lines) if f"  case {n}  " in l)
            self.assertIn("  FAIL  ", lines[at])
            self.assertIn(reason, lines[at + 1])
        self.assertEqual(suite.get("failures"), str(len(cases)))
        names = [c.get("name") for c in suite.findall("testcase") if c.find("failure") is not None]
        self.assertEqual(names, [f"case {n}" for n in range(len(cases))])
        self.assertTrue(any("  PASS  still answering" in l for l in lines))

    def test_a_plan_it_cannot_use_is_refused_before_the_line(self):
        for text, message in [("send: AT\n", "before the first 'step:'"),
                              ("step: x\nsend: AT\nfrobnicate: 1\n", "unknown key"),
                              ("step: x\nexpect: OK\n", "sends nothing"),
                              ("step: x\nsend: AT\nlimit: (\\d+) 1\n", "PATTERN LOW HIGH")]:
            done, suite = self.station(text)
            self.assertEqual(done.returncode, 2, text)
            self.assertIn(message, done.stderr)
            self.assertIsNone(suite)

    def test_a_port_it_cannot_open(self):
        done, _ = self.station("step: x\nsend: AT\n", port=os.path.join(self.root, "no-such-tty"))
        self.assertEqual(done.returncode, 2)
        self.assertIn("cannot open", done.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
