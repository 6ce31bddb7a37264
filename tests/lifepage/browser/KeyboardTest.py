"""Everything can be done with the keys alone."""
from selenium.webdriver.common.action_chains import ActionChains
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

    def press_with_shift(self, key):
        ActionChains(self.browser).key_down(Keys.SHIFT).send_keys(key).key_up(Keys.SHIFT).perform()

    def piece(self):
        """From when on is shown."""
        return float(self.address().partition("from=")[2].partition("&")[0])

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
        before = self.piece()
        self.press_with_shift(Keys.ARROW_RIGHT)
        self.until(lambda: self.piece() > before)
        self.assertIn("event=1&", self.address())
        self.press("0")
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

    def test_list_goes_on_from_a_chosen_event_that_is_filtered_out(self):
        events = lives_of(written("run"))[-1]["events"]
        replies = [at for at, event in enumerate(events) if event["kind"] == "reply"]
        before, behind = next(pair for pair in zip(replies[3:], replies[4:]) if pair[1] - pair[0] > 1)
        for key, to in [(Keys.ARROW_DOWN, behind), (Keys.ARROW_UP, before), (Keys.HOME, replies[0]), (Keys.END, replies[-1])]:
            with self.subTest(to=to):
                self.open(written("run"), f"view=events&kind=reply&event={before + 1}")
                self.until(lambda: self.all("#details [title='The event behind']"))
                self.reach(".list")
                self.press(key)
                self.assertEqual(self.address(), f"view=events&kind=reply&event={to}")

    def test_steps_in_the_panel_leave_the_focus_where_it_is(self):
        self.open(written("run"), "view=charts&event=2")
        for title, events in [("The event behind", [3, 4]), ("The event before", [3, 2, 1, 0])]:
            self.reach(f"[title='{title}']")
            for event in events:
                self.press(Keys.ENTER)
                self.assertEqual(self.address(), f"view=charts&event={event}")
                name = title if event > 0 else "The chosen event"  # as there is none before the first one
                self.assertEqual(self.focused().get_attribute("aria-label"), name)

    def test_panel_that_is_closed_has_the_focus(self):
        self.open(written("run"), "view=events&event=2")
        self.reach("[title='Close']")
        self.press(Keys.ENTER)
        self.assertEqual(self.address(), "view=events")
        self.assertEqual(self.focused().get_attribute("id"), "details")
        self.press_with_shift(Keys.TAB)
        self.assertEqual(self.focused().get_attribute("class"), "list")

    def test_link_of_a_message_leads_to_its_place_in_it(self):
        given = lives_of(written("run"))[-1]["tasks"][0]["road"][0]["event"]
        self.open(written("run"), f"view=events&event={given}")
        here = self.run_script("return [...document.querySelectorAll('.message li')].findIndex((one) => one.className === 'here') + 1")
        self.reach(f".message li:nth-child({here + 2}) button")
        text = self.focused().text
        self.press(Keys.ENTER)
        self.assertNotIn(f"event={given}&", self.address() + "&")
        self.assertEqual(self.focused(), self.one(".message .here strong"))
        self.assertTrue(self.run_script("const one = document.activeElement.getBoundingClientRect(); const panel = document.querySelector("
                                        "'#details').getBoundingClientRect(); return one.top >= panel.top && one.bottom <= panel.bottom"))
        self.assertIn(text.rstrip("\u2026"), self.text("#details h2"))
        self.press_with_shift(Keys.TAB)
        self.assertEqual(self.focused(), self.one(f".message li:nth-child({here + 1}) button"))

    def test_request_and_reply_lead_to_each_other(self):
        events = lives_of(written("run"))[-1]["events"]
        reply = next(at for at, event in enumerate(events) if "answers" in event)
        request = events[reply]["answers"]
        self.open(written("run"), f"view=events&event={request}")
        self.reach("#details dd button")
        self.press(Keys.ENTER)
        self.assertEqual(self.address(), f"view=events&event={reply}")
        self.press(Keys.ENTER)
        self.assertEqual(self.address(), f"view=events&event={request}")
        self.assertTrue(self.focused().text.startswith("after "))

    def test_lives_are_walked(self):
        self.open(written("run"))
        self.reach("#life")
        for key, address in [(Keys.ARROW_UP, "life=0"), (Keys.ARROW_DOWN, ""), (Keys.ARROW_UP, "life=0")]:
            self.press(key)
            self.until(lambda: self.address() == address)
            self.assertEqual(self.focused().get_attribute("id"), "life")
            self.assertEqual(self.focused().get_attribute("value"), "1" if address == "" else "0")

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
