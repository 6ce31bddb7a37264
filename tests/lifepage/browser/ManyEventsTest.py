"""A hundred thousand events, of a minute and of a week, open at once and scroll without a stutter."""
from Page import PageTest, life, main, page_with

EVENTS = 100_000
OPENED = 2.0  # seconds of a processor: others compute beside us, so that a clock on the wall tells nothing of the page
FRAME = 0.05  # seconds of a processor, drawing included
DRAWN = 10_000  # calls of the canvas in a frame: a mark a pixel and lane, not one an event
KINDS = [("bus", "publish"), ("task", "log"), ("wire", "request"), ("wire", "reply"), ("watch", "log"), ("product", "did")]
WEEK = 7 * 86_400_000


def many(length):
    events = []
    for number in range(EVENTS):
        lane, kind = KINDS[number % len(KINDS)]
        event = {"at": number * length / EVENTS, "lane": lane, "kind": kind, "process": 0,
                 "weight": 3 if number % 997 == 0 else 1, "text": f"event {number} of many, in words as long as those of a log",
                 "fields": [["id", str(number)], ["transport", "alpc"], ["name", "get-indicators"]]}
        if kind == "reply":
            event["answers"] = number - 1
        if kind in ("publish", "log"):
            event["message"] = number - number % len(KINDS)
        events.append(event)
    return life(title="Many", length=length, events=events,
                processes=[{"name": "host 1", "from": 0, "until": length, "end": ""}])


class ManyEvents(PageTest):
    """A browser for each of the two lives, whose work adds up."""

    def setUp(self):
        super().setUp()
        self.browser.execute_cdp_cmd("Performance.enable", {"timeDomain": "threadTicks"})

    def spent(self):
        """Seconds of a processor that the page's thread has taken."""
        metrics = self.browser.execute_cdp_cmd("Performance.getMetrics", {})["metrics"]
        return next(metric["value"] for metric in metrics if metric["name"] == "TaskDuration")

    def frame(self, act):
        """What each of a hundred frames took of a processor, and the most that one drew, while `act` was done in them."""
        before = self.spent()
        drawn = self.browser.execute_async_script(f"""
            const done = arguments[0];
            const pen = CanvasRenderingContext2D.prototype;
            let drawn = 0;
            let most = 0;
            for (const call of ['fillRect', 'fill', 'stroke', 'fillText']) {{
                const drawing = pen[call];
                pen[call] = function (...parts) {{
                    drawn += 1;
                    drawing.apply(this, parts);
                }};
            }}
            const list = document.querySelector('.list');
            const canvas = document.querySelector('.frame canvas');
            const box = canvas.getBoundingClientRect();
            let frames = 0;
            const frame = () => {{
                most = Math.max(most, drawn);
                drawn = 0;
                {act}
                frames += 1;
                if (frames < 100) {{ requestAnimationFrame(frame); }} else {{ done(most); }}
            }};
            requestAnimationFrame(frame);""")
        return (self.spent() - before) / 100, drawn

    def look_at(self, length):
        with page_with(many(length)) as path:
            self.open(path, "view=events")
            opened = self.spent()
            self.assertEqual(self.text(".said"), "100,000 events")
            self.assertLess(len(self.all(".row")), 100)
            scrolled, _ = self.frame("list.scrollTop += 5000;")
            self.assertGreater(self.run_script("return document.querySelector('.list').scrollTop"), 400_000)
            zoomed, drawn = self.frame("canvas.dispatchEvent(new WheelEvent('wheel', {deltaY: frames < 50 ? -60 : 60, ctrlKey: true,"
                                       "clientX: box.left + 500, clientY: box.top + 100, bubbles: true, cancelable: true}));")
            print(f"{EVENTS} events of {length / 1000:.0f} s: {opened * 1000:.0f} ms of a processor to open, "
                  f"{scrolled * 1000:.1f} ms a frame scrolling, {zoomed * 1000:.1f} ms zooming, {drawn} calls of the canvas")
            self.assertLess(opened, OPENED)
            self.assertLess(scrolled, FRAME)
            self.assertLess(zoomed, FRAME)
            self.assertGreater(drawn, 100)
            self.assertLess(drawn, DRAWN)
            self.one("#text").send_keys("event 99999 ")
            self.until(lambda: self.text(".said") == "1 event of 100,000")


class Minute(ManyEvents):
    def test_opens_at_once_and_does_not_stutter(self):
        self.look_at(60_000)


class Week(ManyEvents):
    def test_opens_at_once_and_does_not_stutter(self):
        self.look_at(WEEK)


if __name__ == "__main__":
    main()
