"""Two lives side by side: none differs where the same was played, and the first difference is marked where not."""
import copy

from Page import TRANSCRIPTS, PageTest, life, lives_of, main, page_with, written


class Compare(PageTest):
    def said(self):
        return self.text("#view-compare [role=status]")

    def test_two_runs_of_one_scenario_do_not_differ(self):
        self.open(written("run"), "view=compare")
        lines = len(lives_of(written("run"))[0]["neutral"])
        self.assertEqual(self.said(), f"No difference: {lines} lines are the same in both.")

    def test_lines_are_those_that_every_system_is_compared_with(self):
        for told in lives_of(written("run")):
            transcript = (TRANSCRIPTS / "6-records.txt").read_text(encoding="utf-8")
            self.assertEqual("".join(f"{line}\n" for line, _ in told["neutral"]), transcript)

    def test_life_of_another_page_is_opened_from_its_file(self):
        self.open(written("1-kill"), "view=compare")
        self.assertIn("Choose two lives", self.text("#view-compare"))
        self.one("#other").send_keys(str(written("run")))
        self.until(lambda: self.all("#view-compare .first"))
        self.assertRegex(self.said(), r"^\d+ differences?; the first one is at line [\d,]+( of the other one)?, and marked\.$")

    def test_file_stays_open_when_another_life_of_the_page_is_shown(self):
        self.open(written("run"), "view=compare&life=0")
        self.one("#other").send_keys(str(written("1-kill")))
        self.until(lambda: len(self.all("#right option")) == 3)
        self.run_script("location.hash = 'view=compare&life=1'")
        self.until(lambda: self.one("#left option:checked").text.startswith("2 "))
        self.assertEqual(len(self.all("#right option")), 3)
        self.assertTrue(self.one("#right option:checked").text.startswith("1-kill.html, 1 "))

    def test_first_difference_is_marked_and_leads_to_its_event(self):
        told = lives_of(written("run"))[0]
        other = copy.deepcopy(told)
        place = next(at for at, (_, event) in enumerate(told["neutral"]) if at > 10 and event is not None)
        other["neutral"][place][0] += " and more"
        other["neutral"].append(["host 1: log text=late", None])
        with page_with(told, other) as path:
            self.open(path, "view=compare&life=0")
            self.assertEqual(self.said(), f"2 differences; the first one is at line {place + 1}, and marked.")
            self.assertEqual(len(self.all("#view-compare .first")), 1)
            cells = [cell.text for cell in self.all("#view-compare .first td")]
            self.assertEqual(cells, [str(place + 1), told["neutral"][place][0], str(place + 1), other["neutral"][place][0]])
            self.one("#view-compare .first button").click()
            self.assertIn(f"event={told['neutral'][place][1]}", self.address())

    def test_lines_that_one_of_them_lacks_are_put_beside_nothing(self):
        left = life(neutral=[["a", None], ["b", None], ["c", None]])
        right = life(neutral=[["a", None], ["c", None], ["d", None]])
        with page_with(left, right) as path:
            self.open(path, "view=compare&life=0")
            rows = [[cell.text for cell in row.find_elements("css selector", "td")] for row in self.all("#view-compare tbody tr")]
            self.assertEqual(rows, [["1", "a", "1", "a"], ["2", "b", "", ""], ["3", "c", "2", "c"], ["", "", "3", "d"]])

    def test_line_that_only_the_other_one_has_is_named_by_its_place_there(self):
        with page_with(life(neutral=[["a", None]]), life(neutral=[["a", None], ["b", None]])) as path:
            self.open(path, "view=compare&life=0")
            self.assertEqual(self.said(), "1 difference; the first one is at line 2 of the other one, and marked.")

    def test_long_lines_are_shown_where_they_differ(self):
        with page_with(life(neutral=[["a" * 1500 + "left", None]]), life(neutral=[["a" * 1500 + "right" + "b" * 2000, None]])) as path:
            self.open(path, "view=compare&life=0")
            cells = [cell.text for cell in self.all("#view-compare .first td")]
            self.assertEqual(cells[1], "\u2026" + "a" * 100 + "left")
            self.assertEqual(cells[3], "\u2026" + "a" * 100 + "right" + "b" * 893 + "\u2026")

    def test_too_many_differences_are_not_counted_as_one(self):
        left = [["begin", None], *([f"left {line}", None] for line in range(900)), ["same", None], ["end", None]]
        right = [["begin", None], *([f"right {line}", None] for line in range(900)), ["same", None], ["more", None], ["end", None]]
        with page_with(life(neutral=left), life(neutral=right)) as path:
            self.open(path, "view=compare&life=0")
            self.assertEqual(self.said(), "More than 1,500 differences; the first one is at line 2, and marked. From there to the last one "
                             "the lines stand as they are, equal ones, too.")
            rows = [[cell.text for cell in row.find_elements("css selector", "td")] for row in self.all("#view-compare tbody tr")[:2]]
            self.assertEqual(rows, [["1", "begin", "1", "begin"], ["2", "left 0", "2", "right 0"]])

    def test_rows_that_are_not_shown_are_counted_on_paper(self):
        with page_with(life(neutral=[[f"left {line}", None] for line in range(410)]), life(neutral=[["right", None]])) as path:
            self.open(path, "view=compare&life=0")
            left = self.one("#view-compare p.printed")
            self.assertEqual(left.get_attribute("textContent"), "210 rows are left that nobody has asked for.")
            self.assertFalse(left.is_displayed())
            self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "print"})
            self.assertTrue(left.is_displayed())
            self.run_script("document.querySelector('#view-compare .more').click(); document.querySelector('#view-compare .more').click()")
            self.assertFalse(left.is_displayed())

    def test_lives_without_such_lines_are_not_called_the_same(self):
        lines = [["a", None]]
        for left, right in [([], []), (lines, []), ([], lines)]:
            with self.subTest(left=left, right=right), page_with(life(neutral=left), life(neutral=right)) as path:
                self.browser.get("about:blank")
                self.open(path, "view=compare&life=0")
                self.assertRegex(self.said(), "^Nothing to compare: .* has no lines that two runs tell in the same words")
                self.assertEqual(self.all("#view-compare .good"), [])

    def test_life_that_is_shown_is_compared_first(self):
        with page_with(life(title="one"), life(title="two"), life(title="three")) as path:
            for shown, chosen in [("life=1&", ["2 two", "1 one"]), ("life=0&", ["1 one", "2 two"]), ("", ["3 three", "1 one"])]:
                self.browser.get("about:blank")
                self.open(path, shown + "view=compare")
                self.assertEqual([option.text for option in self.all("#view-compare option:checked")], chosen)

    def test_of_many_lines_the_first_are_shown_and_others_on_demand(self):
        with page_with(life(neutral=[[f"left {line}", None] for line in range(410)]), life(neutral=[["right", None]])) as path:
            self.open(path, "view=compare&life=0")
            self.assertEqual(len(self.all("#view-compare tbody tr")), 200)
            more = self.one("#view-compare .more")
            self.assertEqual(more.text, "Show more: 210 rows are left")
            more.click()
            self.assertEqual(len(self.all("#view-compare tbody tr")), 400)
            more.click()
            self.assertEqual(self.all("#view-compare tbody tr")[-1].text, "410 left 409")
            self.assertFalse(more.is_displayed())

    def test_file_that_is_no_page_is_refused_in_words(self):
        self.open(written("run"), "view=compare")
        self.one("#other").send_keys(__file__)
        self.until(lambda: "cannot be compared" in self.text("#view-compare [role=alert]"))


if __name__ == "__main__":
    main()
