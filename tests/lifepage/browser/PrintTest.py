"""The page on paper: everything of it, light, and nothing that can only be clicked."""
from Page import PageTest, life, main, page_with, written

EVENTS = [{"at": 1, "lane": "bus", "kind": "log", "process": 0, "weight": 1, "text": "one"}]
DRAWN = ("return [...document.querySelectorAll('figure canvas')].map((c) => c.width === 0 ? [0, 0] : [c.width,"
         "c.getContext('2d').getImageData(0, 0, c.width, c.height).data.filter((byte) => byte !== 0).length])")
GROUND = "return [...document.querySelector('.frame canvas').getContext('2d').getImageData(4, 60, 1, 1).data]"


class Print(PageTest):
    def printed(self, scheme="light"):
        self.run_script("dispatchEvent(new Event('beforeprint'))")
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "media": "print", "features": [{"name": "prefers-color-scheme", "value": scheme}]})

    def on_screen(self, scheme="light"):
        self.colours(scheme)
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "media": "", "features": [{"name": "prefers-color-scheme", "value": scheme}]})
        self.run_script("dispatchEvent(new Event('afterprint'))")

    def test_charts_are_drawn_from_whichever_tab(self):
        for view in ["tasks", "charts"]:
            with self.subTest(view=view):
                self.open(written("run"), f"view={view}")
                # In one go: what is not drawn when the page begins to be printed is not printed.
                charts = self.run_script("dispatchEvent(new Event('beforeprint'));" + DRAWN)
                self.assertEqual(len(charts), 3)
                for width, bytes_drawn in charts:
                    self.assertGreater(width, 600)
                    self.assertGreater(bytes_drawn, 1000)
                self.on_screen()
                self.one("#tab-charts").click()
                self.assertGreater(self.run_script(DRAWN)[0][1], 1000)
                self.run_script("location.hash = ''")

    def test_identifiers_of_tasks_are_open_on_paper_and_folded_again_behind(self):
        folded = "return document.querySelectorAll('#view-tasks details:not([open])').length"
        self.open(written("run"), "view=tasks")
        before = self.run_script(folded)
        self.assertGreater(before, 1)
        self.one("#view-tasks details summary").click()
        self.printed()
        self.assertEqual(self.run_script(folded), 0)
        self.assertTrue(self.all("#view-tasks .identifiers li")[-1].is_displayed())
        self.on_screen()
        self.assertEqual(self.run_script(folded), before - 1)

    def test_comparison_is_left_out_unless_two_lives_are_compared(self):
        heading = "#tab-compare, #view-compare, h2.printed:nth-last-of-type(1)"
        with page_with(life(events=EVENTS)) as path:
            self.open(path, "view=compare")
            self.printed()
            self.assertEqual([one.is_displayed() for one in self.all(heading)], [False, False, False])
        self.open(written("run"))
        self.printed()
        self.assertEqual([one.is_displayed() for one in self.all(heading)], [False, False, False])
        self.on_screen()
        self.one("#tab-compare").click()
        self.printed()
        self.assertEqual([one.is_displayed() for one in self.all(heading)], [False, True, True])

    def test_what_can_only_be_clicked_is_left_out(self):
        self.open(written("run"), "event=1")
        self.one("#tab-compare").click()
        self.printed()
        shown = [one.get_attribute("outerHTML")[:80] for one in self.all("select, input, button:not(.link)") if one.is_displayed()]
        self.assertEqual(shown, [])

    def test_filter_is_said(self):
        self.open(written("run"), "text=reply&weight=2&hidden=wire,area&kind=log&task=0")
        self.assertFalse(self.one("#filter").is_displayed())
        self.printed()
        self.assertEqual(self.text("#filter"), "Of the events only these: with the text \"reply\"; of the kind log; of task 1; "
                                               "warnings and errors; without the lanes Wire, Area.")

    def test_without_a_filter_nothing_is_said_of_one(self):
        self.open(written("run"))
        self.printed()
        self.assertFalse(self.one("#filter").is_displayed())

    def test_paper_is_light_and_the_screen_dark_again(self):
        self.colours("dark")
        self.open(written("run"))
        self.assertLess(sum(self.run_script(GROUND)[:3]), 150)
        self.printed("dark")
        self.assertGreater(sum(self.run_script(GROUND)[:3]), 700)
        self.assertEqual(self.one("body").value_of_css_property("background-color"), "rgba(255, 255, 255, 1)")
        self.on_screen("dark")
        self.assertLess(sum(self.run_script(GROUND)[:3]), 150)
        self.assertNotEqual(self.one("body").value_of_css_property("background-color"), "rgba(255, 255, 255, 1)")


if __name__ == "__main__":
    main()
