"""On a narrow screen everything can be read: nothing overlaps, and nothing is cut off."""
from Page import PageTest, life, main, page_with

LONG = "Ping failed -> COvAgentConnector will be restarted: Ping (CCCOMM_PING) failed with 1, Legacy ping (CCCOMM_PING) failed with 1"
EVENT = {"at": 1, "lane": "bus", "kind": "log", "process": 0, "weight": 1, "text": LONG}
LIFE = life(
    title="A life whose title is longer than half of the screen", events=[EVENT],
    steps=[{"from": 0, "until": 5, "text": LONG, "held": True, "failure": ""}, {"from": 5, "until": 9, "text": LONG, "held": False, "failure": LONG}],
    tasks=[{"what": "end process 4711", "identifiers": [], "from": 1, "until": 1, "attempts": 1, "state": "accepted", "why": LONG,
            "road": [{"at": 1, "text": LONG, "weight": 1, "event": 0}]}],
    records=[{"kind": "telemetry", "sent": None, "stored": 1234567, "twice": None, "lost": None,
              "batches": [{"at": 1, "from": 1, "records": 1234567, "event": 0}]}],
    outages=[{"from": 0, "until": 5, "over": False, "first": False, "host-stopped": True, "cause": LONG, "attempts": 1, "event": 0}],
    neutral=[["the same", None], ["one " + LONG, 0]])
OTHER = {**LIFE, "neutral": [["the same", None], ["other " + LONG, None]]}

# Which cells and badges lie over each other, reach out of the screen or hide a part of themselves.
MISPLACED = """
const cells = [...document.querySelectorAll(arguments[0])].filter((one) => one.getClientRects().length > 0);
const wrong = [];
cells.forEach((one, at) => {
    const box = one.getBoundingClientRect();
    if (box.left < 0 || box.right > document.documentElement.clientWidth) { wrong.push(`outside: ${one.textContent}`); }
    if (one.scrollWidth > one.clientWidth + 1 && getComputedStyle(one).display !== 'inline') { wrong.push(`cut off: ${one.textContent}`); }
    cells.slice(at + 1).forEach((other) => {
        const there = other.getBoundingClientRect();
        if (!one.contains(other) && box.left < there.right - 1 && there.left < box.right - 1 && box.top < there.bottom - 1 &&
            there.top < box.bottom - 1) { wrong.push(`${one.textContent} | ${other.textContent}`); }
    });
});
return [cells.length, wrong];"""


class Narrow(PageTest):
    size = (500, 900)

    def check(self, address, selector, least):
        with page_with(OTHER, LIFE) as path:
            self.open(path, address)
            number, wrong = self.run_script(MISPLACED, selector)
            self.assertGreaterEqual(number, least)
            self.assertEqual(wrong, [])

    def test_cells_of_every_table_can_be_read(self):
        for view, least in [("tasks", 4), ("steps", 8), ("records", 11), ("outages", 4), ("compare", 6)]:
            with self.subTest(view=view):
                self.check(f"view={view}", f"#view-{view} :is(th, td, .state)", least)

    def test_times_of_events_are_not_cut_off(self):
        self.check("view=events", ".row .time", 1)

    def test_cells_tell_the_names_of_their_columns(self):
        with page_with(LIFE) as path:
            self.open(path, "view=outages")
            named = self.run_script("return [...document.querySelectorAll('#view-outages td')].map((cell) =>"
                                    "getComputedStyle(cell, '::before').content.replace('attr(data-name)', cell.dataset.name))")
            self.assertEqual([name.replace('"', "").replace(" : ", ": ") for name in named], ["Lasted: ", "Attempts: ", "Why: "])

    def test_hint_of_a_long_word_stays_in_the_picture(self):
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {"width": 330, "height": 700, "deviceScaleFactor": 1, "mobile": False})
        self.addCleanup(self.browser.execute_cdp_cmd, "Emulation.clearDeviceMetricsOverride", {})
        with page_with(life(events=[{**EVENT, "at": 500, "text": "word" * 50}])) as path:
            self.open(path, "folded=false")
            told, left, right, end = self.run_script(
                "const frame = document.querySelector('.frame').getBoundingClientRect(); document.querySelector('.frame canvas').dispatchEvent("
                "new MouseEvent('mousemove', {bubbles: true, clientX: frame.left + frame.width / 2, clientY: frame.top + 89}));"
                "const hint = document.querySelector('.hint').getBoundingClientRect();"
                "return [hint.height > 0, hint.left - frame.left, hint.right - frame.left, frame.width]")
            self.assertTrue(told)
            self.assertLess(end, 320)
            self.assertGreaterEqual(left, 0)
            self.assertLessEqual(right, end)


if __name__ == "__main__":
    main()
