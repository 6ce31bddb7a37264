"""A hundred thousand events, with no less beside them than the demonstration has, open at once and move without a stutter."""
from Frames import FramesTest
from Page import main, page_with, written
from Rounds import Rounds

EVENTS = 100_000
# Together as dense as the demonstration, in which a scenario has 800 events, 14 tasks, 34 steps, 11 outages, 13 processes and 10
# batches: for as many events they have 16, 39, 13, 12 and 16.
PLAYED = ["failing-database", "block-variants", "context", "legacy-roads"]
OPENED = 2.0  # seconds of a processor, as is all below
TAB = 0.4  # to show another table
SEARCHED = 2.0
FRAME = 0.05  # drawing included
DRAWN = 15_000  # calls of the canvas in a frame: about one a pixel and lane, and not one an event, a step or an outage
ELEMENTS = 5_000  # behind a tab
VIEWS = ["events", "steps", "records", "outages", "charts", "compare", "tasks"]

# What stands on the page at the moment that it calls itself shown.
WHEN_SHOWN = """
new MutationObserver(() => {
    window.whenShown ??= [document.querySelectorAll('#view-tasks tbody tr').length, document.querySelectorAll('#task option').length];
}).observe(document, {attributes: true, attributeFilter: ['data-shown'], subtree: true});
"""


class ManyEvents(FramesTest):
    def setUp(self):
        super().setUp()
        watch = self.browser.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": WHEN_SHOWN})
        self.addCleanup(self.browser.execute_cdp_cmd, "Page.removeScriptToEvaluateOnNewDocument", watch)

    def look_at(self, length):
        rounds = Rounds([written(name) for name in PLAYED], EVENTS, length)
        with page_with(rounds.life()) as path:
            self.check_opened(rounds, self.cost(lambda: self.open(path)))
        self.check_tabs()
        self.check_last_round(rounds)
        self.check_frames()
        self.check_search(rounds)

    def check_opened(self, rounds, opened):
        print(f"{rounds.count('events')} events, {rounds.count('tasks')} tasks, {rounds.count('steps')} steps, {rounds.count('outages')} "
              f"outages: {opened * 1000:.0f} ms of a processor to open, told as shown after "
              f"{self.run_script('return document.documentElement.dataset.shown')} ms on the wall")
        self.assertEqual(self.run_script("return window.whenShown"), [100, rounds.count("tasks") + 1])
        self.assertIn(f" {rounds.count('events'):,} events.", self.text(".story"))
        self.assertEqual(self.text("#tab-steps"), f"Steps{rounds.count('steps'):,}")
        self.assertLess(opened, OPENED)

    def check_tabs(self):
        for view in VIEWS:
            with self.subTest(view=view):
                took = self.cost(self.one(f"#tab-{view}").click)
                elements = self.run_script("return document.querySelectorAll(`#view-${arguments[0]} *`).length", view)
                print(f"  {view}: {took * 1000:.0f} ms, {elements} elements")
                self.assertTrue(self.one(f"#view-{view}").is_displayed())
                self.assertLess(took, TAB)
                self.assertLess(elements, ELEMENTS)

    def check_last_round(self, rounds):
        """The end of a long life leads to its own events, as the beginning does."""
        events = rounds.last["events"]
        reply = next(at for at in range(len(events) - 1, 0, -1) if "answers" in events[at])
        chosen = rounds.count("events") - len(events) + reply
        took = self.cost(lambda: self.run_script("location.hash = `event=${arguments[0]}`", chosen))
        print(f"  choosing an event: {took * 1000:.0f} ms")
        self.assertLess(took, TAB)
        self.assertEqual(self.text("#details h2"), events[reply]["text"])
        self.run_script("[...document.querySelectorAll('#details dt')].find((one) => one.textContent === 'answers')"
                        ".nextElementSibling.firstElementChild.click()")
        self.assertEqual(self.address(), f"event={chosen - reply + events[reply]['answers']}")
        self.one("#tab-tasks").click()
        next(one for one in self.all("#view-tasks .rest button") if one.is_displayed() and one.text == "The last rows").click()
        task = rounds.last["tasks"][-1]
        row = self.all("#view-tasks tbody tr")[-1]
        self.assertEqual(row.find_element("css selector", "button").text, f"{rounds.count('tasks')} {task['what']}")
        row.find_elements("css selector", ".road button")[-1].click()
        self.assertEqual(self.address(), f"event={chosen - reply + task['road'][-1]['event']}")
        self.run_script("location.hash = ''")

    def check_frames(self):
        self.one("#tab-events").click()
        self.check_frame("scrolling", "list.scrollTop += 12_500;")
        self.assertGreater(self.run_script("return document.querySelector('.list').scrollTop"), 400_000)
        self.check_frame("all of it", "wheel({deltaY: frames % 2 === 0 ? -1 : 1, ctrlKey: true});", 100)
        self.check_frame("zooming", "wheel({deltaY: frames < half ? -150 : 150, ctrlKey: true});", 100)
        self.one("[title='Show all of the life']").click()
        for _ in range(3):
            self.one("[title='Show less time']").click()
        before = self.address()
        self.check_frame("moving", "wheel({deltaY: frames < half ? 150 : -100, shiftKey: true});", 100)
        self.assertNotEqual(self.address(), before)

    def check_frame(self, what, act, least=0):
        took, drawn = self.frame(act)
        print(f"  {what}: {took * 1000:.1f} ms a frame, at most {drawn} calls of the canvas in one")
        self.assertGreaterEqual(drawn, least, what)
        self.assertLess(drawn, DRAWN, what)
        self.assertLess(took, FRAME, what)

    def check_search(self, rounds):
        text = "miner stored 2 records"
        found = rounds.number * sum(text in event["text"] for one in rounds.lives for event in one["events"])
        self.assertGreater(found, 50)

        def search():
            self.one("#text").send_keys(text)
            self.until(lambda: self.text(".said") == f"{found} events of {rounds.count('events'):,}")
        took = self.cost(search)
        print(f"  searching: {took * 1000:.0f} ms")
        self.assertLess(took, SEARCHED)


class Minute(ManyEvents):
    def test_opens_at_once_and_does_not_stutter(self):
        self.look_at(60_000)


class AsPlayed(ManyEvents):
    """Of some hours, with waits between."""

    def test_opens_at_once_and_does_not_stutter(self):
        self.look_at(None)


if __name__ == "__main__":
    main()
