"""Fingers on the time line: up and down the page scrolls, sideways the time line moves, two of them change its scale."""
from Page import PageTest, main, written


class Touch(PageTest):
    size = (500, 900)

    def setUp(self):
        super().setUp()
        self.browser.execute_cdp_cmd("Emulation.setTouchEmulationEnabled", {"enabled": True, "maxTouchPoints": 2})

    def touch(self, *paths):
        """Fingers go along a path each, in steps of a frame."""
        def tell(kind, points):
            self.browser.execute_cdp_cmd("Input.dispatchTouchEvent", {"type": kind, "touchPoints": [
                {"x": x, "y": y, "id": finger} for finger, (x, y) in enumerate(points)]})
            self.browser.execute_async_script("requestAnimationFrame(() => arguments[0]())")
        for step, points in enumerate(zip(*paths)):
            tell("touchStart" if step == 0 else "touchMove", points)
        tell("touchEnd", [])

    def middle(self):
        """Of the picture."""
        return self.run_script("const box = document.querySelector('.frame canvas').getBoundingClientRect();"
                               "return [box.left + box.width / 2, box.top + box.height / 2]")

    def scrolled(self):
        return self.run_script("return scrollY")

    def piece(self):
        """From when to when is shown."""
        words = dict(word.split("=") for word in self.address().split("&") if word)
        return float(words.get("from", -1)), float(words.get("until", -1))

    def open_closer(self):
        self.open(written("run"), "view=events")
        for _ in range(2):
            before = self.piece()
            self.one("[title='Show less time']").click()
            self.until(lambda: self.piece() != before)

    def test_up_and_down_scrolls_the_page(self):
        self.open_closer()
        before = self.piece()
        x, y = self.middle()
        self.touch([(x + step, y - 20 * step) for step in range(10)])
        self.until(lambda: self.scrolled() > 100)
        self.assertEqual(self.piece(), before)
        self.touch([(x, 300 + 20 * step) for step in range(10)])
        self.until(lambda: self.scrolled() < 100)

    def test_sideways_moves_the_time_line(self):
        self.open_closer()
        begin, end = self.piece()
        x, y = self.middle()
        self.touch([(x - 10 * step, y + step) for step in range(10)])
        self.until(lambda: self.piece()[0] > begin)
        self.assertGreater(self.piece()[1], end)
        self.assertEqual(self.scrolled(), 0)

    def test_two_fingers_change_the_scale(self):
        self.open_closer()
        begin, end = self.piece()
        x, y = self.middle()
        self.touch([(x - 20 - 8 * step, y - 10 * step) for step in range(10)], [(x + 20 + 8 * step, y + 10 * step) for step in range(10)])
        self.until(lambda: self.piece() != (begin, end))
        self.assertLess(self.piece()[1] - self.piece()[0], (end - begin) / 2)
        self.assertEqual(self.scrolled(), 0)

    def test_touched_event_is_chosen(self):
        self.open(written("run"))
        # Along the lane of the bus, until there is one.
        box = self.run_script("const box = document.querySelector('.frame canvas').getBoundingClientRect(); return [box.left, box.top, box.width]")
        for across in range(0, int(box[2]), 8):
            self.touch([(box[0] + across, box[1] + 44 + 45)])
            if "event=" in self.address():
                return
        self.fail("no touch chooses an event")


if __name__ == "__main__":
    main()
