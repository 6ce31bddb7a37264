"""ovprobe explain: the story in the log of a real life of host, connector and product."""
import unittest

import HostLife
from Endpoint import EndpointTest, main


class RealLife(EndpointTest):
    @classmethod
    def setUpClass(cls):
        cls.life, told = HostLife.shared()
        cls.told = cls.life.folder / "host.told"
        cls.told.write_text("".join(line + "\n" for line in told))

    def explain(self, *arguments):
        ended = self.probe("explain", *arguments)
        return ended.returncode, ended.stdout.decode()

    def test_log_from_a_pipe_has_its_first_line(self):
        with open(self.life.log, "rb") as log:
            given = log.read()
        piped = self.probe("explain", "/dev/stdin", given=given).stdout.decode()
        self.assertEqual(piped.replace("/dev/stdin:", f"{self.life.log}:"), self.explain(self.life.log)[1])

    def test_task_that_is_done_has_its_outcome_told(self):
        for identifier in HostLife.DONE:
            code, text = self.explain("--task", identifier, self.life.log)
            self.assertEqual(code, 0, text)
            self.assertRegex(text, r"^  kill a process: the product has told its outcome, which this log does not have\n"
                                   r"      " + ";".join(HostLife.DONE) + r"\n"
                                   r"      from \d\d:\d\d:\d\d\.\d{3} \(/\S+/host\.log:\d+\) to .*, asked 1 time\n$")

    def test_task_that_is_done_is_done_by_what_the_host_tells(self):
        code, text = self.explain("--task", HostLife.DONE[1], self.told)
        self.assertEqual(code, 0, text)
        self.assertTrue(text.startswith("  kill a process: done\n"), text)

    def test_task_that_was_given_up_says_why(self):
        code, text = self.explain("--task", HostLife.GIVEN_UP[0], self.life.log)
        self.assertEqual(code, 1, text)
        self.assertRegex(text, r"(?s)^no request to the product in this log has that identifier\n"
                               r".*not over at the end of the log\n"
                               r".*it may be one of those that the log does not name:\n"
                               r"  kill a process: given up\n"
                               r".*why:  the product could not be reached before the host stopped the connector\n"
                               r".*next: start the product")

    def test_task_that_was_given_up_is_named_by_what_the_host_tells(self):
        code, text = self.explain("--task", HostLife.GIVEN_UP[2], self.told)
        self.assertEqual(code, 1, text)
        self.assertTrue(text.startswith("  kill a process: given up\n      " + ";".join(HostLife.GIVEN_UP)), text)

    def test_outage_is_told_with_its_cause(self):
        code, text = self.explain(self.life.log)
        self.assertEqual(code, 1, text)
        self.assertEqual(text.count("connected at "), 1)
        outages = text.partition("\nOutages and reconnections\n")[2].partition("\nTasks\n")[0]
        self.assertRegex(outages, r"^  \d\d:\d\d:\d\d\.\d{3} \(/\S+/host\.log:9\), \d attempts, not over at the end of the log\n"
                                  r"      why:  no exchange with the product, code [14]: the port")
        self.assertEqual(text.count(": given up\n"), 1)

    def test_report_is_told_behind_the_story(self):
        page = self.life.folder / "story.html"
        told = self.explain(self.life.log)
        code, text = self.explain(self.life.log, "--report", page)
        self.assertEqual((code, text), (told[0], f"{told[1]}\nTo look at in a browser: {page}\n"))
        self.assertTrue(page.read_bytes().startswith(b"<!doctype html>"))
        self.assertEqual(page.stat().st_mode & 0o777, 0o600)

    def test_report_has_the_whole_story_of_a_task_or_of_programs_too(self):
        for name, arguments in [("task", ["--task", HostLife.DONE[0]]), ("json", ["--json"])]:
            page = self.life.folder / f"{name}.html"
            told = self.explain(self.life.log, *arguments)
            code, text = self.explain(self.life.log, *arguments, "--report", page)
            self.assertEqual(code, told[0])
            self.assertEqual(text, told[1] + ("" if name == "json" else f"\nTo look at in a browser: {page}\n"))
            self.assertIn(b'"state":"given-up"', page.read_bytes())

    def test_report_that_cannot_be_made_is_told_and_nothing_else(self):
        for path, why in [(self.life.log, f"{self.life.log} is there already"),
                          (self.life.folder / "no" / "page.html", f"cannot make {self.life.folder}/no/page.html"),
                          ("-", "a page goes into a file, not to standard output")]:
            ended = self.probe("explain", self.life.log, "--report", path)
            self.assertEqual((ended.returncode, ended.stdout, ended.stderr.decode()), (2, b"", f"ovprobe: {why}\n"))
        self.assertIn('text="Connecting to product"', self.life.log.read_text())

    def test_report_of_a_log_that_is_not_there_is_not_made(self):
        page = self.life.folder / "none.html"
        self.assertEqual(self.probe("explain", self.life.folder / "none.log", "--report", page).returncode, 2)
        self.assertFalse(page.exists())

    def test_every_line_of_the_host_is_read(self):
        self.assertIn(" lines of the connector, 0 others\n", self.explain(self.life.log)[1])

    def test_doctor_tells_what_is_open_at_the_end_of_the_log(self):
        checks = self.doctor("--log", self.life.log)
        self.assert_names(checks, "wrong", "task", "kill a process: given up: the product could not be reached")


if __name__ == "__main__":
    main()
