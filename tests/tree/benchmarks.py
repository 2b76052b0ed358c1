#!/usr/bin/python3
"""scripts/bench over a program that reports what a test gives it: what fails is told and leaves the page of results as
it was, and the minutes belong to a whole run."""
import contextlib
import importlib.machinery
import importlib.util
import io
import json
import pathlib
import sys
import tempfile
import unittest
from unittest import mock

sys.dont_write_bytecode = True
LOADER = importlib.machinery.SourceFileLoader("bench", str(pathlib.Path(__file__).parents[2] / "scripts" / "bench"))
BENCH = importlib.util.module_from_spec(importlib.util.spec_from_loader("bench", LOADER))
LOADER.exec_module(BENCH)
Row, Levels, Program = BENCH.rows.Row, BENCH.rows.Levels, BENCH.rows.Program

# Copies the report that lies beside it to where it is wanted, and keeps its arguments.
PROGRAM = """#!/bin/sh
for argument; do
    case "$argument" in --benchmark_out=*) cp "$0.json" "${argument#*=}" ;; esac
done
echo "$@" >"$0.arguments"
"""
ROWS = (Row("quick : slow", "Quick", "Slow", 0.5), Row("lost : sent", "Slow:lost", "Slow:sent", 0),
        Row("quick : peer", "Quick", "libavformat, open"))
PAGE = f"Words before.\n{BENCH.BEGIN}\nold tables\n{BENCH.END}\nWords behind.\n"
QUICK = {"name": "Quick/manual_time", "run_name": "Quick/manual_time", "real_time": 10.0, "time_unit": "ns"}
SLOW = {"name": "Slow", "run_name": "Slow", "real_time": 0.04, "time_unit": "us", "lost": 0.0, "sent": 5.0}
BROKEN = {"name": "Slow", "run_name": "Slow", "error_occurred": True, "error_message": "no way"}


class ScriptsBench(unittest.TestCase):
    def run_with(self, entries, *words, rows=ROWS):
        """What the script ends with: a text is an exit code of 1. What it printed, the page and the arguments of the
        program stay behind in members."""
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            program, page = folder / "bench_fake", folder / "RESULTS.md"
            program.write_text(PROGRAM)
            program.chmod(0o755)
            (folder / "bench_fake.json").write_text(json.dumps({"benchmarks": entries}))
            page.write_text(PAGE)
            code, said, complaints = 0, io.StringIO(), io.StringIO()
            with (mock.patch.object(BENCH, "RESULTS", page),
                  mock.patch.object(BENCH.rows, "PROGRAMS", (Program("bench_fake", "Fake", rows, minute="Minute"),)),
                  contextlib.redirect_stdout(said), contextlib.redirect_stderr(complaints)):
                try:
                    code = BENCH.main(["--built", name, *words])
                except SystemExit as ended:
                    code = ended.code
            self.said, self.complaints, self.page = said.getvalue(), complaints.getvalue(), page.read_text()
            self.arguments = (folder / "bench_fake.arguments").read_text().split()
            return code

    def test_a_whole_run_writes_the_page(self):
        self.assertEqual(self.run_with([QUICK, SLOW]), 0)
        self.assertIn("| quick : slow | 10 | 40 | 0.25 | 0.5 | yes |\n| lost : sent | 0 | 5 | 0 | 0 | yes |\n", self.page)
        self.assertIn("| quick : peer | 10 | not installed | - | - | not told |\n", self.page)
        self.assertNotIn("old tables", self.page)
        self.assertTrue(self.page.startswith("Words before.\n") and self.page.endswith("Words behind.\n"))

    def test_rows_of_a_benchmark_that_ended_with_an_error_say_failed_and_the_page_stays(self):
        for entries in ([QUICK, BROKEN], [QUICK, SLOW, BROKEN, SLOW]):  # once, or in one of several runs
            self.assertEqual(self.run_with(entries), "bench: bench_fake: Slow failed: no way")
            self.assertIn("| quick : slow | 10 | failed | - | 0.5 | not told |\n"
                          "| lost : sent | failed | - | - | 0 | not told |\n", self.said)
            self.assertEqual(self.page, PAGE)

    def test_a_figure_that_nobody_told_leaves_the_page(self):
        self.assertEqual(self.run_with([QUICK]), "bench: bench_fake has no Slow\n"
                         "bench: bench_fake has no Slow:lost\nbench: bench_fake has no Slow:sent")
        self.assertEqual(self.page, PAGE)

    def test_a_busy_machine_is_told_and_measured_all_the_same(self):
        for load, told in ((1.9, False), (2.1, True)):
            with (mock.patch.object(BENCH.os, "getloadavg", lambda load=load: (load, 0.0, 0.0)),
                  mock.patch.object(BENCH.os, "cpu_count", lambda: 4)):
                self.assertEqual(self.run_with([QUICK, SLOW]), 0)
            busy = " (busy: figures mean little)" if told else ""
            self.assertIn(f"4 processors with a load of {load} before{busy}, Linux", " ".join(self.page.split()))
            self.assertEqual(f"a load of {load} on 4 processors is busy: figures mean little" in self.complaints, told)

    def test_quick_leaves_out_the_minutes_and_the_page(self):
        self.assertEqual(self.run_with([QUICK], "--quick"), 0)
        self.assertIn("--benchmark_filter=-Minute", self.arguments)
        self.assertEqual(self.page, PAGE)
        self.assertEqual(self.run_with([QUICK, SLOW]), 0)
        self.assertFalse([each for each in self.arguments if "filter" in each])

    def test_a_limit_of_levels_goes_with_what_stands_beside(self):
        rows = (Row("level", "Quick", "Slow", Levels(edge=45, near=0.2, far=0.3)),)
        for beside, told in ((40, "| level | 10 | 40 | 0.25 | 0.2 | no |"),
                             (50, "| level | 10 | 50 | 0.2 | 0.3 | yes |")):
            self.assertEqual(self.run_with([QUICK, {**SLOW, "real_time": beside / 1000}], rows=rows), 0)
            self.assertIn(told, self.page)


if __name__ == "__main__":
    unittest.main()
