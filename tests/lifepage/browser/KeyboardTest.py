"""Everything can be done with the keys alone."""
from selenium.webdriver.common.keys import Keys

from Page import PageTest, lives_of, main, written


class Keyboard(PageTest):
    def reach(self, selector):
        """Goes on with the tab key until that is focused."""
        wanted = self.one(selector)
        for _ in range(80):
            if self.focused() == wanted:
                return
            self.press(Keys.TAB)
        self.fail(f"{selector} cannot be reached")

    def test_first_key_leads_to_the_way_to_the_tables(self):
        self.open(written("run"))
        self.press(Keys.TAB)
        self.assertEqual(self.focused().text, "To the tables")
        self.press(Keys.ENTER)
        self.assertEqual(self.focused().get_attribute("id"), "views")
        self.assertEqual(self.address(), "")

    def test_tab_goes_through_the_page_and_out_of_it(self):
        self.open(written("run"))
        seen = []
        for _ in range(300):
            self.press(Keys.TAB)
            here = self.run_script("const e = document.activeElement; return e === document.body ? null :"
                                   "e.id || e.getAttribute('aria-label') || e.textContent.slice(0, 40)")
            if here is None:
                break
            seen.append(here)
        else:
            self.fail("the page does not let go")
        for name in ["text", "kind", "task", "weight", "fold", "tab-tasks"]:
            self.assertIn(name, seen)
        self.assertTrue(any(name.startswith("Time line") for name in seen))

    def test_time_line_is_walked_and_scaled(self):
        self.open(written("run"))
        self.reach(".frame")
        self.press(Keys.ARROW_RIGHT)
        self.assertIn("event=0", self.address())
        self.press(Keys.ARROW_RIGHT, Keys.ARROW_RIGHT, Keys.ARROW_LEFT)
        self.assertIn("event=1", self.address())
        self.assertIn(lives_of(written("run"))[-1]["events"][1]["text"][:100], self.text("#details h2"))
        self.assertIn(lives_of(written("run"))[-1]["events"][1]["text"][:100],
                      self.run_script("return document.getElementById('said').textContent"))
        self.press("+", "+")
        self.until(lambda: "from=" in self.address())
        before = self.address()
        self.press(Keys.SHIFT + Keys.ARROW_RIGHT)
        self.until(lambda: self.address() != before)
        self.press(Keys.NULL, "0")
        self.until(lambda: "from=" not in self.address())

    def test_arrows_pass_over_what_is_filtered_out(self):
        events = lives_of(written("run"))[-1]["events"]
        replies = [at for at, event in enumerate(events) if event["kind"] == "reply"]
        self.open(written("run"), "kind=reply")
        self.reach(".frame")
        self.press(Keys.ARROW_RIGHT)
        self.assertEqual(self.address(), f"kind=reply&event={replies[0]}")
        self.press(Keys.ARROW_RIGHT)
        self.assertEqual(self.address(), f"kind=reply&event={replies[1]}")
        self.press(Keys.ARROW_LEFT, Keys.ARROW_LEFT)
        self.assertEqual(self.address(), f"kind=reply&event={replies[0]}")
        self.one("[title='The event behind']").click()
        self.assertEqual(self.address(), f"kind=reply&event={replies[1]}")
        self.one("[title='The event before']").click()
        self.one("[title='The event before']").click()
        self.assertEqual(self.address(), f"kind=reply&event={replies[0]}")

    def test_tabs_and_list_are_walked(self):
        self.open(written("run"))
        self.reach("#tab-tasks")
        self.press(Keys.ARROW_RIGHT)
        self.assertEqual(self.focused().get_attribute("id"), "tab-events")
        self.assertTrue(self.one("#view-events").is_displayed())
        self.reach(".list")
        self.press(Keys.ARROW_DOWN, Keys.ARROW_DOWN, Keys.ARROW_DOWN)
        self.assertIn("event=2", self.address())
        self.assertEqual(self.one(".list").get_attribute("aria-activedescendant"), "event-2")
        last = len(lives_of(written("run"))[-1]["events"]) - 1
        self.press(Keys.END)
        self.assertIn(f"event={last}", self.address())
        self.assertTrue(self.one(f"#event-{last}").is_displayed())
        self.press(Keys.HOME)
        self.assertIn("event=0", self.address())

    def test_task_and_its_road_are_chosen(self):
        self.open(written("run"))
        self.reach("#view-tasks tbody th button")
        self.press(Keys.ENTER)
        self.assertIn("task=0", self.address())
        self.reach("#view-tasks .road button")
        self.press(Keys.ENTER)
        self.assertIn("event=", self.address())

    def test_what_is_focused_can_be_seen(self):
        self.open(written("run"))
        for selector in ["#text", "#kind", ".frame", "#tab-tasks", "#view-tasks tbody th button"]:
            self.reach(selector)
            self.assertEqual(self.focused().value_of_css_property("outline-style"), "solid", selector)


if __name__ == "__main__":
    main()
