"""Tests of scripts/planted-faults, without the programs that judge; and its rows, which must fit the code."""
import importlib.machinery
import importlib.util
import pathlib
import sys
import unittest
from unittest import mock

sys.dont_write_bytecode = True
SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "planted-faults"
loader = importlib.machinery.SourceFileLoader("planted_faults", str(SCRIPT))
script = importlib.util.module_from_spec(importlib.util.spec_from_loader("planted_faults", loader))
loader.exec_module(script)

ROW = {"judge": "fake", "name": "a fault", "file": "README.md", "before": "", "after": ""}


class Rows(unittest.TestCase):
    def test_every_text_stands_once_in_its_file_and_changes_it(self):
        for fault in script.read_faults():
            with self.subTest(fault["name"]):
                self.assertNotEqual(script.planted(fault), (script.ROOT / fault["file"]).read_bytes())

    def test_every_judge_has_faults_thirty_stand_in_all_and_no_name_stands_twice(self):
        faults = script.read_faults()
        self.assertEqual({fault["judge"] for fault in faults}, set(script.JUDGES))
        self.assertGreaterEqual(len(faults), 30)
        self.assertEqual(len(faults), len({(fault["judge"], fault["name"]) for fault in faults}))

    def test_text_that_is_not_there_is_a_wrong_row(self):
        with self.assertRaisesRegex(script.WrongRow, "a fault: the text stands 0 times in README.md"):
            script.planted({**ROW, "before": "no such text stands there"})


class Judging(unittest.TestCase):
    def judge(self, *commands, patience=60):
        with mock.patch.object(script, "JUDGES", {"fake": script.Judge([], [], patience)}):
            return script.judge_it("fake", [["/bin/sh", "-c", command] for command in commands])

    def test_judge_that_is_content_has_found_nothing(self):
        self.assertIsNone(self.judge("exit 0", "exit 0"))

    def test_judge_that_complains_has_found_it_and_is_quoted(self):
        self.assertEqual("problem: tasks were lost", self.judge("echo one; echo 'problem: tasks were lost'; exit 1"))

    def test_seed_that_shows_it_stands_before_what_is_wrong(self):
        self.assertEqual("seed 7: conversation: a record was lost",
                         self.judge("echo 'problem: seed 7: aborted'; echo 'conversation: a record was lost'; exit 1"))

    def test_second_of_two_programs_may_find_it(self):
        self.assertEqual("ended with 3", self.judge("exit 0", "exit 3"))

    def test_judge_that_crashes_has_found_it(self):
        self.assertEqual("ended with -9", self.judge("kill -9 $$"))

    def test_judge_without_an_end_has_found_it(self):
        self.assertEqual("no end in 0 s", self.judge("exec sleep 100", patience=0))


class Ending(unittest.TestCase):
    def main(self, *verdicts):
        """`verdicts`: what the judge finds without a fault, and with each."""
        faults = [ROW for _ in verdicts[1:]]
        with mock.patch.multiple(script, read_faults=lambda: faults, copy=mock.DEFAULT, configure=mock.DEFAULT,
                                 build=mock.DEFAULT, put=mock.DEFAULT, JUDGES={"fake": script.Judge([], [], 1)},
                                 planted=lambda fault: b"", judge_it=mock.Mock(side_effect=verdicts)), \
                mock.patch.object(sys, "argv", ["planted-faults"]), mock.patch("builtins.print"), \
                mock.patch.object(pathlib.Path, "mkdir"):
            return script.main()

    def test_all_found_is_0(self):
        self.assertEqual(0, self.main(None, "problem", "crash"))

    def test_one_not_found_is_1(self):
        self.assertEqual(1, self.main(None, "problem", None))

    def test_judge_that_complains_without_a_fault_is_2(self):
        self.assertEqual(2, self.main("problem", "problem"))


if __name__ == "__main__":
    unittest.main()
