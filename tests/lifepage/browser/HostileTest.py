"""Whatever stands in a log or a reply is text on the page, in each field."""
from Page import PageTest, life, lives_of, main, page_with, written

TEXTS = [
    "<img src=x onerror=\"window.harmed=1\">",
    "</script><script>window.harmed=1</script>",
    "</title><svg onload=window.harmed=1>",
    "javascript:window.harmed=1",
    "\u202egnihton\u202c \u2028 \u2029 \u0000 \ufffd",
    "__proto__",
    "constructor",
    "&lt;b&gt; &amp; ${window.harmed=1} {{harmed}}",
    "A" * 20_000,
]


def hostile(text):
    """A life with that text in every place for one."""
    event = {"at": 1.0, "lane": text, "kind": text, "process": 0, "weight": 2, "text": text, "level": 2,
             "fields": [[text, text]], "rows": [{"name": text, "symbols": [[text, text]]}], "bytes": "4142", "length": 2,
             "parts": [[0, 1, text, text, text]], "message": 0, "tasks": [0]}
    return life(**{
        "title": text, "told-by": text,
        "processes": [{"name": text, "from": 0, "until": 1000, "end": text}],
        "steps": [{"from": 0, "until": 500, "text": text, "held": False, "failure": text}],
        "events": [event, {**event, "at": 2.0, "kind": "request"}, {**event, "at": 3.0, "kind": "reply", "answers": 1},
                   {**event, "at": 4.0, "kind": "memory", "lane": "host"}],
        "tasks": [{"what": text, "identifiers": [text], "from": 0, "until": 9, "attempts": 1, "state": text, "why": text,
                   "road": [{"at": 1.0, "text": text, "weight": 3, "event": 0}]}],
        "records": [{"kind": text, "stored": None, "twice": None, "lost": None,
                     "batches": [{"at": 1.0, "from": 1, "records": 2, "event": 0}]}],
        "outages": [{"from": 1, "until": 2, "over": False, "first": False, "cause": text, "attempts": 1, "event": 0}],
        "neutral": [[text, 0], ["same", None]],
    })


class Hostile(PageTest):
    def go_through(self):
        """Shows everything that there is."""
        for view in ["tasks", "events", "steps", "records", "outages", "charts", "compare"]:
            self.one(f"#tab-{view}").click()
        for option in self.all("#kind option, #task option")[:20]:
            option.click()
        self.run_script("dispatchEvent(new Event('beforeprint'))")

    def elements(self):
        """The kinds of elements in the document, without those of the page's own frame."""
        return set(self.run_script("return [...document.querySelectorAll('body *')].map((one) => one.localName)"))

    def test_each_text_in_each_field_stays_text(self):
        for text in TEXTS:
            with self.subTest(text=text[:60]), page_with(hostile(text), {**hostile(text), "neutral": [["other " + text, 0]]}) as path:
                self.open(path, "event=2")
                self.go_through()
                self.assertIsNone(self.run_script("return window.harmed ?? null"))
                self.assertEqual(self.run_script("return document.querySelector('h1').textContent"), text)
                self.assertEqual(self.elements() & {"img", "svg", "b", "iframe", "a"}, {"a"})
                self.assertEqual(len(self.all("script")), 2)
                self.assertEqual(self.run_script("return document.querySelectorAll('a').length"), 1)
                self.assertEqual(self.complaints(), [])

    def test_real_host_and_product_with_hostile_names_and_texts(self):
        path = written("hostile")
        text = path.read_text(encoding="ascii")
        self.assertNotIn("<script>window", text)
        said = lives_of(path)[0]
        self.assertIn("</script>", said["title"])
        self.assertTrue(any("</script>" in event["text"] for event in said["events"]))
        self.open(path)
        self.go_through()
        self.assertIsNone(self.run_script("return window.harmed ?? null"))
        self.assertEqual(self.run_script("return document.querySelector('h1').textContent"), said["title"])

    def test_data_of_another_form_is_refused_in_words(self):
        with page_with() as path:
            page = path.read_text(encoding="ascii")
            path.write_text(page.replace('"version": 1', '"version": 2'), encoding="ascii")
            self.open(path)
            self.assertIn("form 2", self.text("#head [role=alert]"))


if __name__ == "__main__":
    main()
