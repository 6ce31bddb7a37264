"""What the charts say in words, of a life whose sums are worked out by hand."""
from Page import PageTest, life, main, page_with


def event(at, kind, **members):
    return {"at": at, "lane": "wire", "kind": kind, "process": 0, "weight": 1, "text": kind, **members}


def task(begin, until, state):
    return {"what": "end process 1", "identifiers": [], "from": begin, "until": until, "attempts": 1, "state": state, "why": "",
            "road": []}


def memory(at, private, resident):
    return event(at, "memory", lane="host", fields=[["private", private], ["resident", resident]])


LIFE = life(
    length=100,
    events=[event(0, "request"), event(2, "reply", answers=0), event(10, "request"), event(13, "reply", answers=2),
            event(20, "request"), event(70, "reply", answers=4), memory(80, "100", "900"), memory(90, "120", "950")],
    # Two at once from 10 to 20, the third one has not ended.
    tasks=[task(0, 20, "done"), task(10, 30, "given-up"), task(40, 50, "asked")],
    records=[{"kind": "indicator", "stored": 7, "twice": 0, "lost": 0, "batches": [
                 {"at": 5, "from": 1, "records": 1200, "event": 0}, {"at": 6, "from": 1201, "records": 34, "event": 0}]},
             {"kind": "action", "stored": 0, "twice": 0, "lost": 0, "batches": []}])


class Charts(PageTest):
    def figures(self, told):
        with page_with(told) as path:
            self.open(path, "view=charts")
            return {figure.find_element("css selector", "h3").text: figure.find_element("css selector", "p").text
                    for figure in self.all("figure")}

    def test_each_says_its_sum(self):
        self.assertEqual(self.figures(LIFE), {
            "Records over time": "handed out by the product: 1,234 indicator",
            "Round trips": "3 replies: half of them within 3 ms, the slowest 50 ms",
            "Tasks on their road": "given, and not yet at the end of their road; at most 2 at once",
            "Memory of the host": "in KiB, whenever it was told"})

    def test_points_of_memory_are_drawn(self):
        with page_with(LIFE) as path:
            self.open(path, "view=charts")
            canvas = self.all("figure canvas")[3]
            self.assertEqual(canvas.get_attribute("aria-label"), "Memory of the host: in KiB, whenever it was told")
            # Axes and texts are grey, lines have a colour: one goes through the picture, and so does the other.
            coloured = self.run_script(
                "const c = arguments[0]; const data = c.getContext('2d').getImageData(0, 0, c.width, c.height).data;"
                "const kinds = new Map();"
                "for (let at = 0; at < data.length; at += 4) {"
                "  const [red, green, blue, cover] = data.slice(at, at + 4);"
                "  if (cover === 255 && Math.max(red, green, blue) - Math.min(red, green, blue) > 60) {"
                "    const kind = [red, green, blue].join(); kinds.set(kind, (kinds.get(kind) ?? 0) + 1);"
                "  }"
                "}"
                "return [...kinds.values()].filter((number) => number > 50).length", canvas)
            self.assertEqual(coloured, 2)

    def test_moments_of_a_short_life_are_told_apart(self):
        heard = self.browser.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": """
            const fill = CanvasRenderingContext2D.prototype.fillText;
            window.written = [];
            CanvasRenderingContext2D.prototype.fillText = function (text, ...place) {
                window.written.push([this.canvas.getAttribute('aria-label') ?? '', text]);
                return fill.call(this, text, ...place);
            };"""})
        self.addCleanup(self.browser.execute_cdp_cmd, "Page.removeScriptToEvaluateOnNewDocument", heard)
        for length, ticks in [(100, ["14:13:20.000", "14:13:20.020", "14:13:20.040", "14:13:20.060", "14:13:20.080", "14:13:20.100"]),
                              (10000, [f"14:13:{second}" for second in range(20, 31, 2)])]:
            with self.subTest(length=length), page_with({**LIFE, "length": length}) as path:
                self.browser.get("about:blank")
                self.open(path, "view=charts")
                written = self.run_script("return window.written.filter(([chart]) => chart.startsWith('Records')).map(([, text]) => text)")
                self.assertEqual(sorted({text for text in written if ":" in text}), ticks)

    def test_life_without_figures_has_none(self):
        self.assertEqual(self.figures(life()), {})

    def test_memory_that_is_told_without_figures_is_not_drawn(self):
        events = [one for one in LIFE["events"] if one["kind"] != "memory"]
        self.assertEqual(list(self.figures({**LIFE, "events": [*events, event(95, "memory")]})),
                         ["Records over time", "Round trips", "Tasks on their road"])


if __name__ == "__main__":
    main()
