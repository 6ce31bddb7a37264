"""Contrast, labels and roles, as axe-core checks them, in both schemes and in every view."""
from Page import PageTest, lives_of, main, written

VIEWS = ["tasks", "events", "steps", "records", "outages", "charts", "compare"]


class Access(PageTest):
    def check(self, scheme):
        self.colours(scheme)
        life = lives_of(written("run"))[-1]
        request = next(at for at, event in enumerate(life["events"]) if "parts" in event)
        for view in VIEWS:
            with self.subTest(view=view):
                self.open(written("run"), f"view={view}&event={request}&task=0")
                self.browser.refresh()
                self.assertEqual(self.findings(), [])

    def test_light(self):
        self.check("light")

    def test_dark(self):
        self.check("dark")

    def test_dark_is_dark(self):
        self.colours("dark")
        self.open(written("run"))
        ground = self.one("body").value_of_css_property("background-color")
        self.assertLess(sum(int(part) for part in ground.strip("rgba()").split(",")[:3]), 150)


class Narrow(Access):
    size = (500, 900)


if __name__ == "__main__":
    main()
