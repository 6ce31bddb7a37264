"""The page that ovprobe explain makes of the log of a real host: what a log tells is there, and what it does not tell is missed
by nobody."""
import pathlib
import re
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "probe" / "end_to_end"))
import HostLife  # noqa: E402
from Page import PageTest, lives_of, main  # noqa: E402

MARKUP = "</script><script>window.harmed=1</script><img src=x onerror=window.harmed=1>"
VIEWS = ["tasks", "events", "steps", "records", "outages", "charts", "compare"]


def text_of(line):
    """What the connector says in a line of the lab's host."""
    return re.search(r' text="((?:[^"\\]|\\.)*)"', line)[1].replace('\\"', '"')


class Explain(PageTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.life, told = HostLife.shared()
        cls.log = cls.life.log.read_text().splitlines()
        cls.page = cls.page_of("host", cls.log)
        cls.told = cls.page_of("told", told)
        cls.timeless = cls.page_of("timeless", [f"Nov 23 agent[7] COvAgentConnectorModule: {text_of(line)}" for line in cls.log])
        cls.hostile = cls.page_of("hostile", [
            *cls.log, f'12:00:00.000 log level=4 source=COvAgentConnectorModule text="{MARKUP}"',
            f'12:00:01.000 log level=4 source=COvAgentConnectorModule text="Policy is damaged: {MARKUP}"'])
        cls.empty = cls.page_of("empty", [])

    @classmethod
    def page_of(cls, name, lines):
        log = cls.life.folder / f"{name}.log"
        page = cls.life.folder / f"{name}.html"
        log.write_text("".join(line + "\n" for line in lines))
        ended = cls.life.probe("explain", log, "--report", page)
        if ended.stderr or not ended.stdout.endswith(f"To look at in a browser: {page}\n".encode()):
            raise AssertionError(ended)
        return page

    def test_head_tells_times_without_a_day(self):
        self.open(self.page)
        begin, end = self.log[0][:12], self.log[-1][:12]
        self.assertEqual(self.text("h1"), "host.log")
        self.assertRegex(self.text("#head"), rf"\n{begin} to {end} UTC, \d+\.\d+ s; of which day is not told\n"
                                             rf"2 tasks: 1 outcome not told; 1 given up\. 1 outage, .* 1 first connection\. "
                                             rf"{len(self.log)} events\.")
        self.assertEqual(self.complaints(), [])

    def test_tasks_stand_in_rows_with_their_states(self):
        self.open(self.page, "view=tasks")
        self.assertEqual([state.text for state in self.all("#view-tasks .state")], ["outcome not told", "given up"])
        done, given_up = self.all("#view-tasks tbody tr")
        for identifier in HostLife.DONE:
            self.assertIn(identifier, done.get_attribute("textContent"))
        self.assertIn("none that were told", given_up.get_attribute("textContent"))
        self.assertIn("could not be reached before the host stopped the connector -> start the product",
                      given_up.find_element("css selector", ".why").text)

    def test_outage_in_which_the_host_stopped_says_so_and_what_is_to_be_done(self):
        self.open(self.page, "view=outages")
        row, = self.all("[aria-label='Outages'] tbody tr")
        self.assertRegex(row.text, r" ms, until the host stopped 0 no exchange with the product, code 1: .* -> start the product, or look")
        self.assertNotIn("not over", self.text("#head"))

    def test_outage_that_goes_on_at_the_end_of_the_log_is_not_over(self):
        end = next(at for at, line in enumerate(self.log) if "Task processing was interrupted" in line)
        self.open(self.page_of("broken", self.log[:end]), "view=outages")
        self.assertRegex(self.text("[aria-label='Outages'] tbody tr"), r"^[\d:.]+ \S+ ms, not over 0 no exchange")
        self.assertIn("1 outage, the longest of ", self.text("#head"))
        self.assertIn("; the last one is not over.", self.text("#head"))

    def test_stations_of_a_road_choose_lines_of_the_log(self):
        self.open(self.page, "view=tasks")
        for station in self.all("#view-tasks tbody tr:first-child .road button"):
            station.click()
            shown = self.text("#details h2")
            if station.text == "product asked":
                self.assertTrue(shown.startswith("XML request: "), shown)
                self.assertIn(f"{self.life.folder}/host.log:4", self.text("#details dl"))
            else:
                self.assertEqual(shown, "Task status received")
        self.assertIn("kill a process", self.text("#details dl"))

    def test_what_the_host_tells_names_the_outcome(self):
        self.open(self.told, "view=tasks")
        self.assertEqual([state.text for state in self.all("#view-tasks .state")][:2], ["done", "given up"])
        road = [button.text for button in self.all("#view-tasks tbody tr:first-child .road button")]
        self.assertEqual(road, ["given to the host", "product asked", "server is told: done"])

    def test_line_tells_what_it_means(self):
        at = next(number for number, line in enumerate(self.log) if "kelcomm error 1" in line)
        self.open(self.page, f"event={at}")
        self.assertEqual(self.text("#details .mood"), "log line, error")
        self.assertIn("no exchange with the product, code 1", self.text("#details dl"))

    def test_log_without_times_shows_places(self):
        self.open(self.timeless, "view=outages&event=3")
        self.assertIn("without times", self.text("#head"))
        self.assertIn("not told", self.text("#details dl"))
        self.assertEqual(self.text("[aria-label='First connections'] tbody tr"), "no. 1 1 event 0 the connector looks for the product")
        self.assertNotRegex(self.text("body"), r"\d\d:\d\d|1970| ms\b")
        self.assertEqual(self.complaints(), [])

    def test_markup_in_a_line_is_shown_as_text(self):
        self.assertNotIn("<script>window", self.hostile.read_text(encoding="ascii"))
        texts = [event["text"] for event in lives_of(self.hostile)[0]["events"]]
        self.assertEqual(texts[-2:], [MARKUP, f"Policy is damaged: {MARKUP}"])
        self.open(self.hostile, f"event={len(texts) - 2}")
        for view in VIEWS:
            self.one(f"#tab-{view}").click()
        self.assertEqual(self.text("#details h2"), MARKUP)
        self.assertIsNone(self.run_script("return window.harmed ?? null"))
        self.assertEqual(self.all("img"), [])
        self.assertEqual(self.complaints(), [])

    def test_empty_log_makes_a_page_in_which_nothing_is_told(self):
        self.open(self.empty)
        for view in VIEWS:
            self.one(f"#tab-{view}").click()
            self.assertNotEqual(self.text(f"#view-{view}"), "", view)
        self.assertIn("0 events.", self.text("#head"))
        self.assertEqual(self.complaints(), [])

    def test_axe_finds_nothing(self):
        for page in [self.page, self.timeless]:
            for view in ["tasks", "events", "outages"]:
                with self.subTest(page=page.name, view=view):
                    self.open(page, f"view={view}&event=3&task=0")
                    self.browser.refresh()
                    self.assertEqual(self.findings(), [])


if __name__ == "__main__":
    main()
