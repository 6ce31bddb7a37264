"""Tests of scripts/bench-check on programs that only write down what a benchmark would have measured."""
import json
import os
import subprocess
import sys
import unittest

from TreeCheck import SCRIPTS, TreeCheck

STATUS = "bench_tasks: StatusToPublishedLog/100 over XmlParseAlone/100"
DRAIN = "bench_drain: Drain/batch:100 over ParseAlone/batch:100"
# Writes the next of its results, the last one again and again.
PROGRAM = """#!/usr/bin/env python3
import json, pathlib, sys
results = json.loads({results!r})
counter = pathlib.Path(__file__ + ".runs")
runs = int(counter.read_text()) if counter.exists() else 0
counter.write_text(str(runs + 1))
out = next(argument for argument in sys.argv if argument.startswith("--benchmark_out="))
pathlib.Path(out.split("=")[1]).write_text(json.dumps({{"benchmarks": results[min(runs, len(results) - 1)]}}))
"""


def timed(name, time, **more):
    return {"name": name, "run_type": "iteration", "cpu_time": time, "time_unit": "us", **more}


def status(time):
    return [timed("XmlParseAlone/100", 10), timed("StatusToPublishedLog/100", time)]


class BenchCheck(TreeCheck):
    def setUp(self):
        super().setUp()
        for name in ("portlayer", "kelcomm", "broadcast", "collection", "tasks", "logs", "drain"):
            self.program(f"bench_{name}", [])

    def program(self, name, *results):
        self.write(f"bin/{name}", PROGRAM.format(results=json.dumps(results)))
        os.chmod(self.root / "bin" / name, 0o755)

    def runs(self, name):
        return int((self.root / f"bin/{name}.runs").read_text())

    def check(self, *arguments):
        return subprocess.run([sys.executable, "-B", str(SCRIPTS / "bench-check"), f"--programs={self.root / 'bin'}",
                               f"--ratios={self.root / 'ratios.txt'}", *arguments],
                              capture_output=True, text=True, check=False)

    def assert_result(self, code, *lines):
        result = self.check()
        self.assertEqual((code, "".join(line + "\n" for line in lines), ""),
                         (result.returncode, result.stdout, result.stderr))

    def test_ratio_a_tenth_above_the_middle_passes(self):
        self.write("ratios.txt", "# of what machine", f"1.8 2.0 2.9  {STATUS}")
        self.program("bench_tasks", status(22))
        self.assert_result(0, "bench-check: 1 ratios, 0 worse: PASS")

    def test_ratio_of_more_is_named_also_below_the_highest(self):
        self.write("ratios.txt", f"1.8 2.0 2.9  {STATUS}")
        self.program("bench_tasks", status(22.1))
        self.assert_result(1, f"{STATUS}: 2.21, and was 2.00, at most 2.90", "bench-check: 1 ratios, 1 worse: FAIL")

    def test_what_fails_is_measured_anew_and_nothing_else(self):
        self.write("ratios.txt", f"2.0  {STATUS}")
        self.program("bench_tasks", status(40), status(20))
        self.assert_result(0, "bench-check: 1 ratios, 0 worse: PASS")
        self.assertEqual((2, 1), (self.runs("bench_tasks"), self.runs("bench_logs")))

    def test_what_fails_three_times_is_given_up(self):
        self.write("ratios.txt", f"2.0  {STATUS}")
        self.program("bench_tasks", status(40), status(30), status(35), status(20))
        self.assert_result(1, f"{STATUS}: 3.00, and was 2.00, at most 2.00", "bench-check: 1 ratios, 1 worse: FAIL")

    def test_fastest_repetition_counts_and_means_do_not(self):
        self.write("ratios.txt", f"2.0  {STATUS}")
        mean = timed("StatusToPublishedLog/100_mean", 90, run_type="aggregate")
        self.program("bench_tasks", [*status(90), *status(20), *status(50), mean])
        self.assert_result(0, "bench-check: 1 ratios, 0 worse: PASS")

    def test_processor_time_of_both_ends_goes_before_that_of_one(self):
        self.write("ratios.txt", f"3.0  {DRAIN}")
        self.program("bench_drain", [timed("ParseAlone/batch:100/iterations:1/real_time", 1, cpu_ns=10e6),
                                     timed("Drain/batch:100/iterations:1/real_time", 1, cpu_ns=40e6)])
        self.assert_result(1, f"{DRAIN}: 4.00, and was 3.00, at most 3.00", "bench-check: 1 ratios, 1 worse: FAIL")

    def test_row_that_was_not_measured_is_named(self):
        self.write("ratios.txt", f"2.0  {STATUS}")
        self.assert_result(1, f"{STATUS}: not measured", "bench-check: 1 ratios, 1 worse: FAIL")

    def test_row_that_the_file_does_not_have_is_named(self):
        self.write("ratios.txt", "# none")
        self.program("bench_tasks", status(20))
        self.assert_result(1, f"{STATUS}: not in the file", "bench-check: 0 ratios, 1 worse: FAIL")

    def test_time_that_passed_counts_where_each_end_has_a_core(self):
        name = "bench_portlayer: AdvancedPort/reply:64/cores:2 over BarePackets/reply:64/cores:2"
        self.write("ratios.txt", f"1.0  {name}")
        self.program("bench_portlayer", [timed("BarePackets/reply:64/cores:2", 1, real_time=10),
                                         timed("AdvancedPort/reply:64/cores:2", 1, real_time=20)])
        self.assert_result(1, f"{name}: 2.00, and was 1.00, at most 1.00", "bench-check: 1 ratios, 1 worse: FAIL")

    def test_program_that_crashes_is_told_in_one_line(self):
        self.write("ratios.txt", f"2.0  {STATUS}")
        self.write("bin/bench_tasks", "#!/bin/sh", "kill -SEGV $$")
        result = self.check()
        self.assertEqual((1, "", "bench-check: bench_tasks ended with signal 11: FAIL\n"),
                         (result.returncode, result.stdout, result.stderr))

    def test_program_that_is_missing_is_told_in_one_line(self):
        self.write("ratios.txt", f"2.0  {STATUS}")
        os.remove(self.root / "bin" / "bench_logs")
        self.assertEqual("bench-check: bench_logs cannot be run: No such file or directory: FAIL\n", self.check().stderr)

    def rows(self):
        """What the file has, without its comment."""
        lines = (self.root / "ratios.txt").read_text().splitlines()
        self.assertIn("load", "".join(line for line in lines if line.startswith("#")))
        return [line for line in lines if not line.startswith("#")]

    def test_recording_writes_every_run_and_forgets_what_was(self):
        self.write("ratios.txt", "9.0  something else")
        self.program("bench_tasks", status(20), status(25), status(21))
        self.assertEqual(0, self.check("--record", "--times=3").returncode)
        self.assertEqual([f"2.000 2.100 2.500  {STATUS}"], self.rows())

    def test_widening_adds_to_what_was(self):
        self.write("ratios.txt", f"2.2  {STATUS}", "9.0  something else")
        self.program("bench_tasks", status(20))
        self.assertEqual(0, self.check("--widen", "--times=1").returncode)
        self.assertEqual([f"2.000 2.200  {STATUS}", "9.000  something else"], self.rows())


if __name__ == "__main__":
    unittest.main()
