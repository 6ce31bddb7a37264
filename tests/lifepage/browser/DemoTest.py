"""The page of the demonstration tells what a person wants to know of it."""
from Page import TRANSCRIPTS, PageTest, lives_of, main, written


class Demo(PageTest):
    def row(self, task):
        rows = self.all("#view-tasks tbody tr")
        return next(row for row in rows if task in row.get_attribute("textContent"))

    def test_what_happened_to_the_kill_task(self):
        self.open(written("whole-life"))
        text = self.row("11111111-1111-1111-1111-111111111111").text
        self.assertIn("end process", text)
        self.assertIn("\ndone\n", text)
        self.assertIn("product does it: killed", text)
        self.assertIn("server is told: done", text)

    def test_kill_that_the_product_refused_is_not_done(self):
        self.open(written("whole-life"))
        row = self.row("dddddddd-dddd-dddd-dddd-dddddddddddd")
        self.assertEqual(row.find_element("css selector", ".state.warning").text, "accepted, not done")
        self.assertEqual(row.find_element("css selector", ".why").text, "product does not do it: not a lab process")

    def test_why_the_second_task_was_given_up(self):
        self.open(written("whole-life"))
        row = self.row("aaaaaaaa-0000-0000-0000-000000000000")
        self.assertEqual(row.find_element("css selector", ".state").text, "given up")
        why = row.find_element("css selector", ".why").text
        self.assertTrue(why.startswith("it was tried as often as a task may be; the last time: "), why)
        self.assertIn("Send request failed with 14", why)
        road = [button.text for button in row.find_elements("css selector", ".road button")]
        self.assertEqual(road.count("refused with status 14"), 2)
        self.assertEqual(road[-1], "given up: it was tried as often as a task may be")

    def test_when_records_flowed(self):
        self.open(written("whole-life"), "view=records")
        sums = {row.text.split()[0]: row.text for row in self.all("#view-records .wide:first-child tbody tr")}
        self.assertEqual(sums["indicator"], "indicator 1 to 170 5 170 170 0 0")
        self.assertEqual(sums["telemetry"], "telemetry 1 to 5 2 5 5 0 0")
        batches = self.all("#view-records .wide:nth-of-type(2) tbody tr")
        self.assertRegex(batches[0].text, r"^\d\d:\d\d:\d\d\.\d{3} action 1 6$")

    def test_outages_tell_why_and_how_long(self):
        self.open(written("whole-life"), "view=outages")
        text = self.text("#view-outages")
        self.assertIn("Ping failed -> COvAgentConnector will be restarted", text)
        self.assertIn("Send request failed with 14", text)

    def test_its_lines_are_those_that_every_system_is_compared_with(self):
        told = lives_of(written("whole-life"))[0]
        self.assertEqual("".join(f"{line}\n" for line, _ in told["neutral"]),
                         (TRANSCRIPTS / "whole-life.txt").read_text(encoding="utf-8"))

    def test_every_step_held(self):
        steps = lives_of(written("whole-life"))[0]["steps"]
        self.open(written("whole-life"), "view=steps")
        self.assertEqual(len(self.all("#view-steps .state.good")), len(steps))


if __name__ == "__main__":
    main()
