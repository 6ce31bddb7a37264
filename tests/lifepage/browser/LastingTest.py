"""Steps, outages and processes on the time line: in sight each is drawn where it was, and nothing is that is out of sight."""
from Frames import FramesTest
from Page import life, main, page_with

STEP = {"held": True, "failure": "", "text": "a step"}
OUTAGE = {"over": True, "first": False, "cause": "gone", "attempts": 0, "event": 0}
EVENT = {"at": 0, "lane": "product", "kind": "did", "process": 0, "weight": 1, "text": "one"}

# The colours of the light scheme.
STRIPE = [244, 246, 248, 255]
BAD = "179,38,30"


class Lasting(FramesTest):
    def setUp(self):
        super().setUp()
        self.colours("light")

    def look(self, told, address):
        path = self.enterContext(page_with(told))
        self.open(path, f"folded=false&{address}")
        self.spent()

    def pixel(self, part, y):
        """The colour at that part of the picture's width behind its left rim."""
        return self.run_script("const canvas = document.querySelector('.frame canvas'); return [...canvas.getContext('2d')"
                               ".getImageData(12 + arguments[0] * (canvas.width - 24), arguments[1], 1, 1).data]", part, y)

    def red(self, y):
        """How many pixels there have the colour of what went wrong."""
        return self.run_script("const canvas = document.querySelector('.frame canvas'); const found = [...canvas.getContext('2d')"
                               ".getImageData(0, arguments[0], canvas.width, 1).data]; return Array.from({length: canvas.width}, (_, at) =>"
                               "found.slice(4 * at, 4 * at + 3).join()).filter((colour) => colour === arguments[1]).length", y, BAD)

    def longest(self, colour, y):
        """How many pixels beside each other have that colour there."""
        return self.run_script("const canvas = document.querySelector('.frame canvas'); const found = canvas.getContext('2d')"
                               ".getImageData(0, arguments[1], canvas.width, 1).data; let here = 0; let most = 0;"
                               "for (let at = 0; at < found.length; at += 4) {"
                               "here = arguments[0].every((byte, part) => found[at + part] === byte) ? here + 1 : 0;"
                               "most = Math.max(most, here); } return most", colour, y)

    def calls(self):
        """Of the canvas, in one frame."""
        return self.frame("wheel({deltaY: frames % 2 === 0 ? -1 : 1, ctrlKey: true});")[1]

    def test_outage_that_began_long_before_what_is_in_sight_is_tinted(self):
        short = [{**OUTAGE, "from": at, "until": at + 0.1} for at in range(0, 1000, 10)]
        self.look(life(events=[EVENT], outages=[{**OUTAGE, "from": 100, "until": 900}, *short]), "from=500.5&until=509.5")
        tinted = self.pixel(0.47, 60)
        self.assertNotEqual(tinted, STRIPE)
        self.run_script("location.hash = 'folded=false&from=950.5&until=959.5'")
        self.until(lambda: self.pixel(0.47, 60) == STRIPE)
        self.run_script("location.hash = 'folded=false&from=890&until=909.9'")
        self.until(lambda: self.pixel(0.25, 60) == tinted)
        self.assertEqual(self.pixel(0.75, 60), STRIPE)

    def test_order_of_outages_does_not_matter(self):
        outages = [{**OUTAGE, "from": 800, "until": 900}, {**OUTAGE, "from": 100, "until": 200}]
        self.look(life(events=[EVENT], outages=outages), "from=51&until=251")
        self.assertEqual([self.pixel(part, 60) == STRIPE for part in [0.13, 0.48, 0.88]], [True, False, True])

    def test_step_that_failed_at_once_is_seen(self):
        steps = [{**STEP, "from": 0, "until": 500}, {**STEP, "from": 500, "until": 500, "held": False}]
        self.look(life(events=[EVENT], steps=steps), "")
        self.assertEqual(self.red(10), 1)

    def test_step_that_failed_is_seen_among_thousands(self):
        failed = [505, 1001, 1504, 2002, 2801, 3003, 3501]  # of three and a half steps at a pixel
        steps = [{**STEP, "from": at / 4, "until": at / 4 + 0.25, "held": at not in failed} for at in range(4000)]
        self.look(life(events=[EVENT], steps=steps), "")
        self.assertEqual(self.red(10), 7)
        self.assertEqual(self.run_script("return [...document.querySelectorAll('header .state')].map((one) => one.textContent)"),
                         ["7 steps of 4000 failed"])

    def test_thousands_cost_a_call_a_pixel_and_none_out_of_sight(self):
        told = life(events=[EVENT], steps=[{**STEP, "from": at / 4, "until": at / 4 + 0.25} for at in range(4000)],
                    outages=[{**OUTAGE, "from": at / 4, "until": at / 4 + 0.1} for at in range(4000)],
                    processes=[{"name": f"{'host' if at % 2 else 'product'} {at}", "from": at / 4, "until": at / 4 + 0.2, "end": ""}
                               for at in range(4000)])
        self.look(told, "")
        # A pixel has two calls for a step, one for an outage and one for a process of each of the two lanes; of each
        # there are fewer than 1,300.
        self.assertLess(self.calls(), 5 * 1300)
        self.run_script("location.hash = 'folded=false&from=500&until=502'")
        self.until(lambda: self.text(".piece") == "2.04 ms in sight")
        # Eleven steps with a label each, ten outages and ten processes, beside the lanes, lines and numbers of the axis.
        self.assertLess(self.calls(), 120)
        self.assertGreater(self.calls(), 30)

    def test_processes_of_host_and_product_stand_in_their_lanes(self):
        told = life(events=[EVENT], processes=[{"name": "host 1", "from": 100, "until": 400, "end": ""},
                                               {"name": "product 1", "from": 300, "until": 700, "end": ""}])
        self.look(told, "")
        bottoms = [44 + 30 - 2, 44 + 5 * 30 + 48 - 30 + 30 - 2]  # of the host's and of the product's lane
        line = [217, 222, 229, 255]
        self.assertEqual([[self.pixel(part, y) == line for part in [0.2, 0.35, 0.6, 0.9]] for y in bottoms],
                         [[True, True, False, False], [False, True, True, False]])

    def test_slow_exchange_is_one_line_even_when_both_its_ends_are_out_of_sight(self):
        request = {**EVENT, "lane": "wire", "kind": "request"}
        told = life(events=[{**request, "at": 100}, {**request, "at": 900, "kind": "reply", "answers": 0}])
        self.look(told, "from=450&until=550")
        # In the middle of the wire, whose lane begins at 164 and is 48 high.
        soft = self.run_script("const canvas = document.querySelector('.frame canvas'); const data = canvas.getContext('2d')"
                               ".getImageData(Math.round(canvas.width * 0.47), 165, 1, 46).data; let dark = 0;"
                               "for (let at = 0; at < data.length; at += 4) { dark += data[at] < 230 ? 1 : 0; } return dark")
        self.assertIn(soft, [1, 2])

    def test_wait_is_marked_from_six_pixels_on(self):
        # 700 ms take 200 * (1 + lg 3.5) = 309 of the 2,009 places of all, or of 172,009, which leave it two pixels.
        line, below = [217, 222, 229, 255], 24 + 20 - 2
        for more, marked in [(0, True), (170, False)]:
            with self.subTest(more=more):
                events = [{**EVENT, "at": at} for at in [*range(0, 800, 100), *range(1400, 2400 + more * 1000, 100)]]
                path = self.enterContext(page_with(life(events=events, length=2400 + more * 1000)))
                self.open(path, "")
                self.spent()
                self.assertTrue(self.text(".piece").endswith(", 1 wait folded"))
                self.assertEqual(self.longest(line, below) > 5, marked)


if __name__ == "__main__":
    main()
