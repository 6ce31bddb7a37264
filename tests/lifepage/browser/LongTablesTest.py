"""Of a long table some rows are shown. All others can be reached by mouse, keys and links, and stand on paper."""
from selenium.webdriver.common.keys import Keys

from Page import PageTest, life, main, page_with

EVENT = {"at": 0, "lane": "bus", "kind": "log", "process": 0, "weight": 1, "text": "one"}
OUTAGE = {"from": 0, "until": 1, "over": True, "first": False, "cause": "gone", "attempts": 1, "event": 0}
RECORDS = {"sent": None, "stored": None, "twice": None, "lost": None}
TABLES = ["Tasks", "Steps", "Batches", "Outages", "First connections"]


def task(number):
    return {"what": f"end process {number}", "identifiers": [f"{number:08d}-0000-0000-0000-000000000000"], "from": number, "until": number,
            "attempts": 1, "state": "done", "why": "", "road": [{"at": number, "text": "given", "weight": 1, "event": 0}]}


# 250 of each, and of the batches 350: of a kind more than a table shows at once.
LIFE = life(
    events=[EVENT], tasks=[task(number) for number in range(250)],
    steps=[{"from": at, "until": at + 1, "text": f"step with the name {at}", "held": True, "failure": ""} for at in range(250)],
    outages=[{**OUTAGE, "cause": f"gone {at}", "first": first} for first in [False, True] for at in range(250)],
    records=[{**RECORDS, "kind": "indicator", "batches": [{"at": at, "from": 1 + 2 * at, "records": 2, "event": 0} for at in range(300)]},
             {**RECORDS, "kind": "action", "batches": [{"at": 400 + at, "from": 1 + at, "records": 1, "event": 0} for at in range(50)]}])


class LongTables(PageTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.path = cls.enterClassContext(page_with(LIFE))

    def numbers(self, table):
        """The numbers that the table has given to the rows that it shows; the one above them has the names of the columns."""
        rows = self.run_script("return [...document.querySelectorAll(`[aria-label='${arguments[0]}'] tbody tr`)]"
                               ".map((row) => Number(row.getAttribute('aria-rowindex')) - 1)", table)
        self.assertEqual(rows, list(range(rows[0], rows[0] + len(rows))))
        return rows[0], rows[-1]

    def lines(self):
        """What is said of the rows that are not shown, and what can be done about it."""
        return [line.text.split("\n") for line in self.all(".rest") if line.is_displayed()]

    def button(self, text):
        return next(one for one in self.all(".rest button") if one.text == text and one.is_displayed())

    def test_beginning_is_shown_and_how_many_there_are_behind_it(self):
        for view, table, more in [("tasks", "Tasks", 150), ("steps", "Steps", 150), ("records", "Batches", 250)]:
            with self.subTest(view=view):
                self.open(self.path, f"view={view}")
                self.browser.refresh()
                self.assertEqual(self.numbers(table), (1, 100))
                self.assertEqual(self.lines(), [[f"and {more} more", "More rows", "The last rows"]])
        self.open(self.path, "view=outages")
        self.browser.refresh()
        self.assertEqual(self.numbers("Outages"), (1, 100))
        self.assertEqual(self.numbers("First connections"), (1, 100))

    def test_more_rows_come_one_key_at_a_time_and_the_focus_goes_to_the_first_of_them(self):
        self.open(self.path)
        self.button("More rows").send_keys(Keys.ENTER)
        self.assertEqual(self.numbers("Tasks"), (1, 200))
        self.assertEqual(self.focused().text, "101 end process 100")
        self.button("More rows").send_keys(Keys.ENTER)
        self.assertEqual(self.numbers("Tasks"), (1, 250))
        self.assertEqual(self.focused().text, "201 end process 200")
        self.assertEqual(self.lines(), [])

    def test_last_rows_are_one_key_away_and_lead_back(self):
        self.open(self.path, "view=steps")
        self.button("The last rows").send_keys(Keys.ENTER)
        self.assertEqual(self.numbers("Steps"), (151, 250))
        self.assertEqual(self.focused().text, "250 step with the name 249")
        self.assertEqual(self.lines(), [["150 rows before", "The rows before", "The first rows"]])
        self.button("The rows before").send_keys(Keys.ENTER)
        self.assertEqual(self.numbers("Steps"), (51, 250))
        self.assertEqual(self.focused().text, "150 step with the name 149")
        self.button("The first rows").send_keys(Keys.ENTER)
        self.assertEqual(self.numbers("Steps"), (1, 100))
        self.assertEqual(self.focused().text, "1 step with the name 0")

    def test_every_batch_can_be_reached(self):
        self.open(self.path, "view=records")
        shown = "[aria-label='Batches'] tbody tr"
        for _ in range(3):
            self.button("More rows").click()
        rows = self.run_script("return [...document.querySelectorAll(arguments[0])].map((row) => row.textContent)", shown)
        self.assertEqual(len(rows), 350)
        self.assertEqual(rows[0], "14:13:20.000indicator12")
        self.assertEqual(rows[299], "14:13:20.299indicator5992")
        self.assertEqual(rows[349], "14:13:20.449action501")

    def test_task_of_a_link_is_among_the_rows(self):
        self.open(self.path, "task=249")
        self.browser.refresh()
        self.assertEqual(self.numbers("Tasks"), (151, 250))
        self.assertEqual([row.text.partition("\n")[0] for row in self.all("#view-tasks tr.here")], ["250 end process 249"])
        self.assertEqual(self.one("tr.here [aria-pressed]").get_attribute("aria-pressed"), "true")

    def test_task_that_is_chosen_elsewhere_is_among_the_rows_and_marked_whenever_they_are_drawn(self):
        self.open(self.path)
        self.all("#task option")[151].click()
        self.assertEqual(self.numbers("Tasks"), (101, 200))
        self.assertEqual([row.text.partition("\n")[0] for row in self.all("#view-tasks tr.here")], ["151 end process 150"])
        self.button("The first rows").click()
        self.assertEqual(self.all("#view-tasks tr.here"), [])
        self.button("More rows").click()
        self.assertEqual([row.text.partition("\n")[0] for row in self.all("#view-tasks tr.here")], ["151 end process 150"])

    def test_rows_stay_while_another_tab_is_looked_at(self):
        self.open(self.path, "view=steps")
        self.browser.refresh()
        self.button("The last rows").click()
        self.run_script("scrollTo(0, 0)")
        self.one("#tab-outages").click()
        self.one("#tab-steps").click()
        self.assertEqual(self.numbers("Steps"), (151, 250))

    def test_all_rows_stand_on_paper_and_some_on_the_screen_again(self):
        self.open(self.path, "view=steps")
        self.browser.refresh()
        self.button("The last rows").click()
        self.run_script("dispatchEvent(new Event('beforeprint'))")
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "print"})
        self.assertEqual([self.numbers(table) for table in TABLES], [(1, 250), (1, 250), (1, 350), (1, 250), (1, 250)])
        self.assertEqual(self.lines(), [])
        folded = "return document.querySelectorAll('#view-tasks .soft details:not([open]), #view-tasks details.soft:not([open])').length"
        self.assertEqual(self.run_script(folded), 0)
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": ""})
        self.run_script("dispatchEvent(new Event('afterprint'))")
        self.assertEqual([self.numbers(table) for table in TABLES], [(1, 100), (151, 250), (1, 100), (1, 100), (1, 100)])
        self.assertEqual(self.lines(), [["150 rows before", "The rows before", "The first rows"]])
        self.assertEqual(self.run_script(folded), 101)  # identifiers, and what the states mean

    def test_short_table_says_nothing_of_rows(self):
        with page_with(life(events=[EVENT], tasks=[task(number) for number in range(100)])) as path:
            self.open(path)
            self.assertEqual(len(self.all("#view-tasks tbody tr")), 100)
            self.assertEqual(self.lines(), [])
            self.assertIsNone(self.one("#view-tasks table").get_attribute("aria-rowcount"))

    def test_axe_finds_nothing_in_the_middle_of_a_table(self):
        self.open(self.path, "task=150")
        self.browser.refresh()
        self.assertEqual(len(self.lines()), 2)
        self.assertEqual(self.findings(), [])


if __name__ == "__main__":
    main()
