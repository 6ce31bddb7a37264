// The chosen event: all that is known of it, its way back and forth, and what else there is on the same message.

import { bytesOf } from "./bytes.js";
import { element, table, whole } from "./dom.js";
import { nextSeen } from "./life.js";
import { LANES, LEVELS, WEIGHTS, short, span } from "./words.js";

const AROUND = 12; // events of the same message that are shown before and behind

export class Details {
    #root;
    #store;

    /** `seen`: () => a byte an event, whether the filter lets it be seen. */
    constructor(root, store, seen) {
        this.#root = root;
        this.#store = store;
        this.seen = seen;
        root.tabIndex = -1;
    }

    /** Whoever goes through it with the keys goes on from where they were. */
    show(life, at) {
        const focused = document.activeElement;
        const inside = this.#root.contains(focused);
        const byKey = inside && focused.matches(":focus-visible");
        this.#draw(life, at);
        if (inside) {
            this.#focus(focused.dataset.way, byKey);
        }
    }

    /** The way of that name, or the panel, where there is none. What a mouse leads to begins with its head. */
    #focus(name, byKey) {
        const way = [...this.#root.querySelectorAll("[data-way]:not(:disabled)")].find((one) => one.dataset.way === name);
        (way ?? this.#root).focus({ preventScroll: !byKey || way === undefined });
    }

    #draw(life, at) {
        const event = life.events[at];
        this.#root.classList.toggle("chosen", event !== undefined);
        if (event === undefined) {
            this.#root.replaceChildren(element("p", { class: "empty" },
                "Choose an event on the time line or in a table to see all of it."));
            return;
        }
        this.#root.replaceChildren(...[
            this.#head(life, at, event),
            this.#facts(life, at, event),
            ...(event.rows ?? []).map((row) => table(`Row ${short(row.name, 60)}`, [{ name: "symbol", width: 150 }, { name: "value" }],
                row.symbols.map(([symbol, value]) => [short(symbol, 60), whole(value)]))),
            ...(event.bytes === undefined ? [] : bytesOf(event)),
            this.#message(life, at, event),
        ].filter((part) => part !== null));
        this.#root.scrollTop = 0;
    }

    #go(at, text, way) {
        return element("button", {
            type: "button", class: "link", "data-way": way, onclick: () => this.#store.change({ event: at }),
        }, short(text));
    }

    #head(life, at, event) {
        const move = (by, text, title) => element("button", {
            type: "button", title, "aria-label": title, "data-way": title, disabled: by < 0 ? at === 0 : at === life.events.length - 1,
            onclick: () => {
                const to = nextSeen(this.seen(), at, by);
                if (to >= 0) {
                    this.#store.change({ event: to });
                }
            },
        }, text);
        return element("div", { class: "head" },
            element("p", { class: `mood ${WEIGHTS[event.weight]}` },
                event.level === undefined ? `${LANES[life.lane[at]].name}: ${short(event.kind, 60)}` : `log line, ${LEVELS[event.level]}`),
            element("span", { class: "buttons" },
                move(-1, "\u2190", "The event before"), move(1, "\u2192", "The event behind"),
                element("button", { type: "button", title: "Close", "aria-label": "Close", onclick: () => this.#store.change({ event: -1 }) },
                    "\u00d7")),
            element("h2", { class: "text" }, whole(event.text)));
    }

    #facts(life, at, event) {
        const step = life.stepAt(event.at);
        const facts = [
            ["time", life.clock === "order" ? "not told" : `${life.time(event.at)} UTC, ${span(event.at)} after the beginning`],
            ["told by", short(life.processes[event.process]?.name ?? "nobody")],
        ];
        if (step >= 0) {
            facts.push(["step", `${step + 1}  ${short(life.steps[step].text)}`]);
        }
        if (life.reply[at] >= 0) {
            const reply = life.reply[at];
            const after = `after ${span(life.events[reply].at - event.at)}`;
            facts.push(["reply", this.#go(reply, `${after}: ${short(life.events[reply].text)}`, "exchange")]); // named as the way back
        } else if (event.kind === "request") {
            facts.push(["reply", "none came"]);
        }
        if (event.answers !== undefined) {
            facts.push(["answers", this.#go(event.answers, life.events[event.answers].text, "exchange")]);
        }
        for (const task of event.tasks ?? []) {
            facts.push(["task", element("button", {
                type: "button", class: "link", "data-way": `task ${task}`, onclick: () => this.#store.change({ task, view: "tasks" }),
            }, `${task + 1}  ${short(life.tasks[task].what)}`)]);
        }
        facts.push(...(event.fields ?? []).filter(([key]) => key !== "text" || event.level === undefined)
            .map(([key, value]) => [short(key, 60), whole(value)]));
        return element("dl", {}, facts.flatMap(([name, value]) => [element("dt", {}, name), element("dd", {}, value)]));
    }

    /** What came before and behind on the same message. */
    #message(life, at, event) {
        const others = life.ofMessage.get(event.message) ?? [];
        if (others.length < 2) {
            return null;
        }
        const here = others.indexOf(at);
        const from = Math.max(here - AROUND, 0);
        const shown = others.slice(from, here + AROUND + 1);
        return element("section", { "aria-label": "The same message" },
            element("h3", {}, "On the same message"),
            element("ol", { class: "message" }, shown.map((other) => element("li", { class: other === at ? "here" : null },
                element("span", { class: "time" }, `${other < at ? "\u2212" : "+"}${life.span(Math.abs(life.at[other] - event.at))}`),
                other === at ? element("strong", { tabindex: -1, "data-way": `event ${at}` }, "this one")
                    : this.#go(other, short(life.events[other].text, 120), `event ${other}`)))),
            shown.length < others.length
                ? element("p", { class: "soft" }, `and ${others.length - shown.length} more`) : null);
    }
}
