"""A week opens, and every piece of it can be looked at: all of it, and two thousandths of a second."""
from Frames import FramesTest
from Page import main, page_with
from Week import Week

OPENED = 2.0  # seconds of a processor, as is below
FRAME = 0.05
DRAWN = 15_000  # calls of the canvas in a frame

# 120,960 looks in a week, without those of seven nights (24 each) and of the noon (2,160): 118,632. A time without the product
# tells its begin and an attempt every ten seconds but for the first: 12 in each night, 1,080 at noon. Before each of
# these 119,796 but the first one is a wait, and one behind the last.
ALL = "7 d 0 h in sight, 119,796 waits folded"

# Twice 118,632 of looks; five of each of three triggers in 158 hours; five of each of 282 batches; four of each of 23 tasks; 84 and
# 1,080 of the times without a product.
EVENTS = "242,300 events"

# Five minutes past eight on the first day: records are asked for 3.4 ms behind a look.
RECORDS = 29_100_000
REQUEST = "get-indicators over ALPC"


class WeekOfALife(FramesTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.path = cls.enterClassContext(page_with(Week().life()))

    def piece(self, text):
        self.until(lambda: self.text(".piece") == text)

    def click(self, part, top):
        """On the time line, that part of its width behind its left rim."""
        self.run_script("const canvas = document.querySelector('.frame canvas'); const box = canvas.getBoundingClientRect();"
                        "canvas.dispatchEvent(new MouseEvent('click', {bubbles: true, clientY: box.top + arguments[1],"
                        "clientX: box.left + 12 + arguments[0] * (box.width - 24)}))", part, top)

    def test_opens(self):
        before = self.spent()
        self.open(self.path)
        opened = self.spent() - before
        print(f"{EVENTS} of a week: {opened * 1000:.0f} ms of a processor to open")
        self.piece(ALL)
        self.assertEqual(self.text(".story"), "23 tasks: 23 done. 8 outages, the longest of 2 h 59 min. 1,974 records handed out. "
                                              f"{EVENTS}.")
        self.assertEqual(self.complaints(), [])
        self.assertLess(opened, OPENED)

    def test_zooms_from_all_of_it_to_the_shortest_piece_without_a_stutter(self):
        self.open(self.path, f"event=0&from={RECORDS}&until={RECORDS + 5000}")
        self.one("[title='Show all of the life']").click()
        for what, act in [("all of it", "wheel({deltaY: frames % 2 === 0 ? -1 : 1, ctrlKey: true});"),
                          ("zooming", "wheel({deltaY: frames < half ? -150 : 150, ctrlKey: true});")]:
            took, drawn = self.frame(act)
            print(f"  {what}: {took * 1000:.1f} ms a frame, at most {drawn} calls of the canvas in one")
            self.assertGreater(drawn, 100, what)
            self.assertLess(drawn, DRAWN, what)
            self.assertLess(took, FRAME, what)

    def test_two_milliseconds_of_it_are_shown_as_long_as_they_are(self):
        for folded in ["", "&folded=false"]:
            with self.subTest(folded=folded):
                self.open(self.path, f"from={RECORDS + 3}&until={RECORDS + 5}{folded}")
                self.browser.refresh()
                self.piece("2.04 ms in sight")  # with the rims of the picture, 12 of its 1,251 pixels on each side
                self.click(0.2, 44 + 4 * 30 + 13)  # 0.4 of the 2 ms, the upper half of the wire
                self.assertEqual(self.text("#details h2"), REQUEST)
                self.assertIn("08:05:00.003", self.text("#details dl"))
                self.click(0.5, 44 + 4 * 30 + 35)  # its reply, 0.6 ms behind it
                self.assertEqual(self.text("#details h2"), "answered over ALPC")
                self.assertIn(f"from={RECORDS + 3}&until={RECORDS + 5}", self.address())

    def test_key_goes_from_two_milliseconds_back_to_the_week(self):
        self.open(self.path, f"from={RECORDS + 3}&until={RECORDS + 5}")
        self.browser.refresh()
        self.piece("2.04 ms in sight")
        self.one(".frame").send_keys("0")
        self.piece(ALL)
        self.until(lambda: "from=" not in self.address())

    def test_keys_go_to_a_millisecond_and_back(self):
        self.open(self.path, "folded=false")
        self.browser.refresh()
        self.piece("7 d 0 h in sight")
        self.one(".frame").send_keys("+" * 40)
        self.piece("1.02 ms in sight")
        self.until(lambda: "from=" in self.address())
        self.one(".frame").send_keys("-" * 40)
        self.piece("7 d 0 h in sight")
        self.until(lambda: "from=" not in self.address())

    def test_day_and_outage_stand_where_they_were(self):
        noon = 2 * 86_400_000 + 12 * 3_600_000
        self.open(self.path, f"folded=false&from={noon}&until={noon + 3 * 3_600_000}&view=outages")
        self.browser.refresh()
        self.piece("3 h 3 min in sight")
        rows = [row.text for row in self.all("[aria-label='Outages'] tbody tr")]
        self.assertEqual(rows[2:4], ["09-30 03:00:00.001 1 min 59 s 11 Ping failed", "09-30 12:00:00.001 2 h 59 min 1079 Ping failed"])
        tinted = self.run_script("const canvas = document.querySelector('.frame canvas'); return [0.02, 0.98, -0.005, 1.005].map((part) =>"
                                 "[...canvas.getContext('2d').getImageData(12 + part * (canvas.width - 24), 60, 1, 1).data].join())")
        self.assertEqual(tinted[0], tinted[1])
        self.assertEqual(tinted[2], tinted[3])
        self.assertNotEqual(tinted[0], tinted[2])


if __name__ == "__main__":
    main()
