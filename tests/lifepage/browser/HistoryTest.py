"""Back and forward lead through what was chosen, and through nothing else."""
from selenium.webdriver.common.keys import Keys

from Page import PageTest, main, written


# The next calls of the history are counted by their names.
COUNTED = """
window.calls = {pushState: 0, replaceState: 0};
for (const how of Object.keys(window.calls)) {
    const real = history[how];
    history[how] = (...what) => { window.calls[how] += 1; real.apply(history, what); };
}"""
HELD = """
for (let times = 0; times < arguments[0]; times += 1) {
    document.querySelector('.frame').dispatchEvent(new KeyboardEvent('keydown', {key: 'ArrowRight', repeat: times > 0, bubbles: true}));
}"""


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
        self.run_script(HELD, 5)
        self.until(lambda: self.address() == "event=4")
        self.assertEqual(self.entries(), before + 1)
        self.one(".frame").send_keys(Keys.ARROW_RIGHT)
        self.assertEqual(self.entries(), before + 2)

    def test_address_that_somebody_typed_is_one_entry_however_it_is_written(self):
        self.open(written("run"))
        before = self.entries()
        self.run_script("location.hash = 'view=tasks&event=2'")
        self.until(lambda: self.address() == "event=2")
        self.assertEqual(self.entries(), before + 1)

    def test_held_key_writes_the_address_now_and_then(self):
        self.open(written("run"))
        self.run_script(COUNTED)
        self.run_script(HELD, 40)
        self.until(lambda: self.address() == "event=39")
        calls = self.run_script("return window.calls")
        self.assertEqual(calls["pushState"], 1)
        self.assertLessEqual(calls["replaceState"], 2)

    def test_wheel_writes_the_address_now_and_then(self):
        self.open(written("run"))
        self.one("[title='Show less time']").click()
        self.until(lambda: "from=" in self.address())
        self.run_script(COUNTED)
        begin, end = self.browser.execute_async_script("""
            const done = arguments[0];
            const begin = performance.now();
            const turn = (times) => {
                document.querySelector('.frame canvas').dispatchEvent(new WheelEvent('wheel', {deltaX: 1, bubbles: true, cancelable: true}));
                if (times > 0) { setTimeout(() => turn(times - 1), 10); } else { done([begin, performance.now()]); }
            };
            turn(100);""")
        before = self.run_script("return window.calls")
        self.assertGreaterEqual(before["replaceState"], 2)
        self.assertLessEqual(before["replaceState"], (end - begin) / 300 + 1)
        self.assertEqual(before["pushState"], 0)

    def test_entry_that_is_left_has_its_last_state(self):
        self.open(written("run"), "view=events")
        self.run_script(HELD + "dispatchEvent(new KeyboardEvent('keyup')); document.querySelector('#event-7').click();", 5)
        self.assertEqual(self.address(), "view=events&event=7")
        self.back("view=events&event=4")
        self.back("view=events")

    def test_page_that_is_left_has_its_last_state(self):
        self.open(written("run"))
        self.run_script(HELD + "location.assign('about:blank')", 5)
        self.until(lambda: self.browser.current_url == "about:blank")
        self.back("event=4")

    def test_what_was_shown_last_is_not_written_to_the_entry_one_went_back_to(self):
        self.open(written("run"))
        self.run_script(HELD + "history.back()", 5)
        self.until(lambda: self.address() == "")
        self.browser.execute_async_script("setTimeout(arguments[0], 700)")
        self.assertEqual(self.address(), "")
        self.assertEqual(self.all("#details h2"), [])

    def test_history_that_refuses_is_asked_again_and_nothing_else_stops(self):
        for refusal in ["throw new DOMException('too often', 'SecurityError')", "return"]:
            with self.subTest(refusal=refusal):
                self.open(written("1-kill"))
                self.open(written("run"))
                self.run_script("window.real = [history.pushState, history.replaceState];"
                                "history.pushState = history.replaceState = () => { " + refusal + "; };")
                self.one("#tab-events").click()
                self.one("#event-3").click()
                self.assertEqual(self.one("#event-3").get_attribute("aria-selected"), "true")
                self.assertEqual(self.address(), "")
                self.assertEqual(self.complaints(), [])
                self.run_script("[history.pushState, history.replaceState] = window.real")
                self.until(lambda: self.address() == "view=events&event=3")


if __name__ == "__main__":
    main()
