"""Back and forward lead through what was chosen, and through nothing else."""
from selenium.webdriver.common.keys import Keys

from Page import PageTest, main, written


class History(PageTest):
    def entries(self):
        return self.run_script("return history.length")

    def back(self, address):
        self.browser.back()
        self.until(lambda: self.address() == address)

    def test_back_and_forward_go_through_tabs_events_and_tasks(self):
        self.open(written("run"))
        self.one("#tab-events").click()
        self.one("#event-3").click()
        self.one("#event-5").click()
        self.one("#tab-tasks").click()
        self.one("#view-tasks tbody th button").click()
        self.until(lambda: "from=" in self.address())
        task = self.address()
        self.back("event=5")
        self.assertTrue(self.one("#view-tasks").is_displayed())
        self.assertEqual(self.one("#view-tasks tbody th button").get_attribute("aria-pressed"), "false")
        self.back("view=events&event=5")
        self.assertTrue(self.one("#view-events").is_displayed())
        self.back("view=events&event=3")
        self.assertEqual(self.one("#event-3").get_attribute("aria-selected"), "true")
        self.back("view=events")
        self.back("")
        for _ in range(5):
            self.browser.forward()
        self.until(lambda: self.address() == task)
        self.assertEqual(self.one("#view-tasks tbody th button").get_attribute("aria-pressed"), "true")

    def test_other_life_is_left_by_going_back(self):
        self.open(written("run"))
        self.one("#life option").click()
        self.until(lambda: self.address() == "life=0")
        self.back("")

    def test_what_is_typed_filtered_and_scaled_is_no_entry(self):
        self.open(written("run"), "view=events")
        before = self.entries()
        self.one("#text").send_keys("reply")
        self.until(lambda: "text=reply" in self.address())
        self.one("#weight").send_keys("without")
        self.until(lambda: "weight=1" in self.address())
        self.one("[title='Show less time']").click()
        self.until(lambda: "from=" in self.address())
        self.one("#fold").click()
        self.until(lambda: "folded=false" in self.address())
        self.assertEqual(self.entries(), before)
        self.one("#tab-tasks").click()
        self.assertEqual(self.entries(), before + 1)

    def test_search_that_shows_the_list_is_no_entry(self):
        self.open(written("run"))
        before = self.entries()
        self.one("#text").send_keys("reply")
        self.until(lambda: "text=reply" in self.address())
        self.assertEqual(self.entries(), before)

    def test_events_that_a_held_key_goes_past_are_one_entry(self):
        self.open(written("run"))
        before = self.entries()
        self.run_script("for (let times = 0; times < 5; times += 1) { document.querySelector('.frame').dispatchEvent("
                        "new KeyboardEvent('keydown', {key: 'ArrowRight', repeat: times > 0, bubbles: true})); }")
        self.assertEqual(self.address(), "event=4")
        self.assertEqual(self.entries(), before + 1)
        self.one(".frame").send_keys(Keys.ARROW_RIGHT)
        self.assertEqual(self.entries(), before + 2)

    def test_address_that_somebody_typed_is_one_entry_however_it_is_written(self):
        self.open(written("run"))
        before = self.entries()
        self.run_script("location.hash = 'view=tasks&event=2'")
        self.until(lambda: self.address() == "event=2")
        self.assertEqual(self.entries(), before + 1)


if __name__ == "__main__":
    main()
