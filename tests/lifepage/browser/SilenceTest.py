"""The page asks for nothing, and could not: no address, no other script."""
from Page import PageTest, main, written


class Silence(PageTest):
    def test_page_asks_for_nothing_but_itself(self):
        self.open(written("run"))
        for view in ["events", "steps", "records", "outages", "charts", "compare", "tasks"]:
            self.one(f"#tab-{view}").click()
        self.one("#text").send_keys("reply")
        self.assertEqual([address.partition("#")[0] for address, _ in self.requests()], [f"file://{written('run')}"])

    def test_request_that_it_would_make_is_refused(self):
        self.open(written("run"))
        self.requests()
        refused = self.browser.execute_async_script(
            "const done = arguments[0]; fetch('http://127.0.0.1:9/').then(() => done('asked'), (e) => done(e.name));")
        self.assertEqual(refused, "TypeError")
        self.run_script("const picture = new Image(); picture.src = 'http://127.0.0.1:9/a.png'; document.body.append(picture);"
                        "const frame = document.createElement('iframe'); frame.src = 'http://127.0.0.1:9/b'; document.body.append(frame);")
        complaints = []
        self.until(lambda: complaints.extend(self.complaints()) or
                   all(any("Content Security Policy" in text and part in text for text in complaints) for part in ["a.png", "Framing"]))
        self.assertEqual([address for address, kept in self.requests() if address.startswith("http") and not kept], [])

    def test_other_scripts_and_styles_do_not_run(self):
        self.open(written("run"))
        self.run_script("const script = document.createElement('script'); script.textContent = 'window.stranger = 1';"
                        "document.body.append(script);"
                        "const style = document.createElement('style'); style.textContent = 'h1 { color: rgb(1, 2, 3) }';"
                        "document.head.append(style);")
        self.assertIsNone(self.run_script("return window.stranger ?? null"))
        self.assertNotEqual(self.one("h1").value_of_css_property("color"), "rgba(1, 2, 3, 1)")


if __name__ == "__main__":
    main()
