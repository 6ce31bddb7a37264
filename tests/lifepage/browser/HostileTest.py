"""Whatever stands in a log or a reply is text on the page, in each field; and a document in which a field is not what it must be
is refused in words."""
import copy
import json
import re

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
    """A life with that text in every place for one, and with every member that there is."""
    event = {"at": 1.0, "lane": "bus", "kind": text, "process": 0, "weight": 2, "text": text, "level": 2,
             "fields": [[text, text]], "rows": [{"name": text, "symbols": [[text, text]]}], "bytes": "4142", "length": 2,
             "parts": [[0, 1, text, text, text]], "message": 0, "tasks": [0]}
    return life(**{
        "title": text, "told-by": text, "clock": "time-of-day",
        "processes": [{"name": text, "from": 0, "until": 1000, "end": text}],
        "steps": [{"from": 0, "until": 500, "text": text, "held": False, "failure": text}],
        "events": [event, {**event, "at": 2.0, "kind": "request"}, {**event, "at": 3.0, "kind": "reply", "answers": 1},
                   {**event, "at": 4.0, "kind": "memory", "lane": "host"}],
        "tasks": [{"what": text, "identifiers": [text], "from": 0, "until": 9, "attempts": 1, "state": "done", "why": text,
                   "road": [{"at": 1.0, "text": text, "weight": 3, "event": 0}]}],
        "records": [{"kind": text, "sent": None, "stored": None, "twice": None, "lost": None,
                     "batches": [{"at": 1.0, "from": 1, "records": 2, "event": 0}]}],
        "outages": [{"from": 1, "until": 2, "over": False, "first": False, "host-stopped": False, "cause": text, "attempts": 1,
                     "event": 0}],
        "neutral": [[text, 0], ["same", None]],
    })


def members(value):
    """The names of all members in it."""
    if isinstance(value, dict):
        return set(value).union(*map(members, value.values()))
    return set().union(*map(members, value)) if isinstance(value, list) else set()


def places(value, path=()):
    """The ways to all that is in it."""
    inside = value.items() if isinstance(value, dict) else enumerate(value) if isinstance(value, list) else []
    return [path, *(place for key, part in inside for place in places(part, (*path, key)))]


def at(value, path):
    for key in path:
        value = value[key]
    return value


def with_at(lives, path, value):
    """The lives with another value there, or without that one."""
    changed = copy.deepcopy(lives)
    if value is MISSING:
        del at(changed, path[:-1])[path[-1]]
    else:
        at(changed, path[:-1])[path[-1]] = value
    return changed


def in_words(path):
    """As the page names a place."""
    return "lives" + "".join(f"[{key}]" if isinstance(key, int) else f".{key}" for key in path)


MISSING = object()
MAY_BE_MISSING = {"clock", "level", "fields", "rows", "bytes", "parts", "answers", "message", "tasks", "sent", "host-stopped"}
MAY_BE_NULL = {"sent", "stored", "twice", "lost"}
HARM = TEXTS[0]
OF_OTHER_TYPES = [HARM, None, True, 5, [], {}]
# Of the right type, and not what can stand there.
WITHOUT_SENSE = {
    "clock": ["date", ""], "lane": ["", "moon"], "state": ["", "constructor"], "bytes": ["4", "414", "4G", "41 42", "AB"], "length": [-1], "begin": [1e17, -1e17],
    "at": [1e17, 1e999], "until": [1e17], "process": [-1, 0.5], "weight": [-1, 4, 0.5], "level": [0, 5], "answers": [-1, 4, 0.5],
    "message": [-1, 4], "event": [-1, 4, 0.5], "attempts": [-1], "stored": [-1], "records": [-1],
}


def wrong_values(number, path, value):
    """What must not stand there, where this stands: of the other types two, in turn, and all that makes no sense."""
    name = path[-1]
    wrong = [other for other in OF_OTHER_TYPES if type(other) is not type(value)]
    if isinstance(value, float) or name in MAY_BE_NULL:
        wrong.remove(5)
    if name in MAY_BE_NULL and None in wrong:
        wrong.remove(None)
    wrong = [wrong[number % len(wrong)], wrong[(number + 1) % len(wrong)]]
    if path[-3:-2] == ("neutral",) and name == 1:
        wrong = [HARM, True, 5, [], {}]
    if name in {"clock", "bytes", "lane", "state"}:
        wrong.append(HARM)
    if not isinstance(value, (list, dict)):
        wrong += WITHOUT_SENSE.get(name, [])
    if path[-2:-1] == ("tasks",) and isinstance(value, int):
        wrong += [-1, 1, 0.5]
    if isinstance(name, str) and name not in MAY_BE_MISSING and not (name == "tasks" and len(path) > 2):
        wrong.append(MISSING)
    return wrong


class Hostile(PageTest):
    def go_through(self):
        """Shows everything that there is."""
        for view in ["tasks", "events", "steps", "records", "outages", "charts", "compare"]:
            self.one(f"#tab-{view}").click()
        for option in self.all("#kind option, #task option")[:8]:
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

    def test_life_of_hostile_texts_has_every_member_that_is_written(self):
        written_ones = members(lives_of(written("run"))) | members(lives_of(written("hostile")))
        self.assertEqual(written_ones - members(hostile("")), set())

    def said_of(self, lives):
        """What is said of each, chosen as a file to compare with."""
        return self.browser.execute_async_script("""
            const [documents, done] = arguments;
            const problem = document.querySelector('#view-compare [role=alert]');
            const said = [];
            const next = () => {
                if (said.length === documents.length) { done(said); return; }
                const options = document.querySelectorAll('#left option').length;
                const files = new DataTransfer();
                files.items.add(new File([documents[said.length]], 'other.json'));
                const input = document.querySelector('#other');
                input.files = files.files;
                input.dispatchEvent(new Event('change'));
                const look = () => {
                    if (problem.textContent === '' && document.querySelectorAll('#left option').length === options) {
                        setTimeout(look, 0);
                    } else {
                        said.push(problem.textContent);
                        next();
                    }
                };
                look();
            };
            next();""", [json.dumps({"form": "life-of-a-connector", "version": 1, "lives": wrong}).replace("Infinity", "1e999")
                         for wrong in lives])

    def test_member_that_is_not_what_it_must_be_is_named(self):
        lives = json.loads(json.dumps([hostile("a text")]))  # no part of it twice
        documents = [(path, value, with_at(lives, path, value))
                     for number, path in enumerate(places(lives)[1:]) for value in wrong_values(number, path, at(lives, path))]
        self.assertGreater(len(documents), 400)
        self.open(written("run"), "view=compare")
        said = []
        for first in range(0, len(documents), 50):
            said += self.said_of([wrong for _, _, wrong in documents[first:first + 50]])
        for (path, value, _), words in zip(documents, said):
            with self.subTest(path=in_words(path), value="missing" if value is MISSING else value):
                said_of = "other.json cannot be compared: This life cannot be read: "
                self.assertTrue(words.startswith(f"{said_of}{in_words(path)} is not "), words)
                self.assertNotIn("<", words)
        self.assertIsNone(self.run_script("return window.harmed ?? null"))

    def test_page_with_a_member_that_is_not_what_it_must_be_says_so_and_shows_nothing(self):
        lives = json.loads(json.dumps([hostile("a text")]))
        for path in [(0, "begin"), (0, "clock"), (0, "events"), (0, "events", 0, "bytes"), (0, "events", 0, "weight"),
                     (0, "tasks", 0, "road", 0, "event"), (0, "neutral", 1, 1)]:
            with self.subTest(path=in_words(path)), page_with(*with_at(lives, path, HARM)) as page:
                self.open(page, "event=0")
                self.assertEqual(self.text("h1"), "This page cannot be shown")
                self.assertRegex(self.text("#head [role=alert]"), rf"^This life cannot be read: {re.escape(in_words(path))} is not ")
                self.assertEqual(self.all("main button, img"), [])
                self.assertIsNone(self.run_script("return window.harmed ?? null"))

    def test_lives_that_are_no_list_are_refused_in_words(self):
        for lives in [HARM, None, 5, {}]:
            with self.subTest(lives=lives), page_with(lives) as path:
                page = path.read_text(encoding="ascii")
                path.write_text(page.replace('"lives": [', '"lives": ').replace("]}</script>", "}</script>"), encoding="ascii")
                self.open(path)
                self.assertEqual(self.text("#head [role=alert]"), "This life cannot be read: lives is not a list.")

    def test_data_that_was_cut_off_is_refused_in_words(self):
        with page_with(hostile("a text")) as path:
            path.write_text(path.read_text(encoding="ascii").replace("]}</script>", "]</script>"), encoding="ascii")
            self.open(path)
            self.assertEqual(self.text("#head [role=alert]"), "This is no JSON document.")

    def test_data_of_another_form_is_refused_in_words(self):
        with page_with() as path:
            page = path.read_text(encoding="ascii")
            path.write_text(page.replace('"version": 1', '"version": 2'), encoding="ascii")
            self.open(path)
            self.assertIn("form 2", self.text("#head [role=alert]"))


if __name__ == "__main__":
    main()
