// All events that are seen, below each other. Only the rows in sight are in the document, so that a hundred thousand cost no
// more than fifty.

import { element, empty } from "./dom.js";
import { firstNotBefore } from "./sorted.js";
import { DAY, LANES, WEIGHTS, count, short } from "./words.js";

const ROW = 24; // pixels, as the style sheet has it
const BEYOND = 6; // rows above and below what is in sight
const PRINTED = 500;

export class EventList {
    #store;
    #life;
    #numbers = new Uint32Array(0);

    constructor(root, store) {
        this.#store = store;
        this.said = element("p", { class: "said" });
        this.rows = element("div", { class: "rows" });
        this.list = element("div", {
            class: "list", role: "listbox", tabindex: 0, "aria-label": "Events",
            onscroll: () => this.#draw(), onkeydown: (key) => this.#key(key), onclick: (click) => this.#click(click),
        }, this.rows);
        this.nothing = empty("No event is as the search and the filter want it.");
        this.printed = element("ol", { class: "printed", "aria-hidden": "true" });
        root.replaceChildren(this.said, this.list, this.nothing, this.printed);
        new ResizeObserver(() => this.#draw()).observe(this.list);
        addEventListener("beforeprint", () => this.#print());
        addEventListener("afterprint", () => this.printed.replaceChildren());
    }

    show(life, numbers) {
        this.#life = life;
        this.#numbers = numbers;
        this.said.textContent = numbers.length === life.events.length
            ? count(numbers.length, "event") : `${count(numbers.length, "event")} of ${life.events.length.toLocaleString("en-GB")}`;
        this.list.classList.toggle("days", life.length >= DAY);
        this.list.hidden = numbers.length === 0;
        this.nothing.hidden = numbers.length !== 0;
        this.rows.style.height = `${numbers.length * ROW}px`;
        this.#draw();
    }

    /** Shows which one is chosen, and brings it into sight. */
    choose(at) {
        const place = this.#placeOf(at);
        if (place >= 0) {
            const top = place * ROW;
            if (top < this.list.scrollTop) {
                this.list.scrollTop = top;
            } else if (top + ROW > this.list.scrollTop + this.list.clientHeight) {
                this.list.scrollTop = top + ROW - this.list.clientHeight;
            }
        }
        this.#draw();
    }

    #placeOf(at) {
        const place = firstNotBefore(this.#numbers, at);
        return this.#numbers[place] === at ? place : -1;
    }

    #draw() {
        if (this.#life === undefined) {
            return;
        }
        const chosen = this.#store.state.event;
        const first = Math.max(Math.floor(this.list.scrollTop / ROW) - BEYOND, 0);
        const last = Math.min(first + Math.ceil(this.list.clientHeight / ROW) + 2 * BEYOND, this.#numbers.length);
        const drawn = [];
        for (let place = first; place < last; place += 1) {
            drawn.push(this.#row(place, chosen));
        }
        this.rows.replaceChildren(...drawn);
        const place = this.#placeOf(chosen);
        if (place >= first && place < last) {
            this.list.setAttribute("aria-activedescendant", `event-${chosen}`);
        } else {
            this.list.removeAttribute("aria-activedescendant");
        }
    }

    #row(place, chosen) {
        const at = this.#numbers[place];
        const event = this.#life.events[at];
        const row = element("div", {
            class: `row ${WEIGHTS[event.weight]}`, role: "option", id: `event-${at}`, "data-at": at,
            "aria-selected": at === chosen ? "true" : "false", "aria-setsize": this.#numbers.length, "aria-posinset": place + 1,
        },
        element("span", { class: "time" }, this.#life.time(event.at)),
        element("span", { class: "who" }, LANES[this.#life.lane[at]].name),
        element("span", { class: "kind" }, event.kind),
        element("span", { class: "text" }, short(event.text)));
        row.style.top = `${place * ROW}px`;
        return row;
    }

    #click(click) {
        const row = click.target.closest("[data-at]");
        if (row !== null) {
            this.#store.change({ event: Number(row.dataset.at) });
        }
    }

    #key(key) {
        const page = Math.max(Math.floor(this.list.clientHeight / ROW) - 1, 1);
        const moves = { ArrowDown: 1, ArrowUp: -1, PageDown: page, PageUp: -page, Home: -Infinity, End: Infinity };
        if (key.ctrlKey || key.metaKey || key.altKey || !(key.key in moves) || this.#numbers.length === 0) {
            return;
        }
        key.preventDefault();
        const chosen = this.#store.state.event;
        const from = firstNotBefore(this.#numbers, chosen);
        const between = this.#numbers[from] !== chosen; // the one before that place and the one there
        const move = moves[key.key] - (between && moves[key.key] > 0 ? 1 : 0);
        const to = Math.min(Math.max(from + move, 0), this.#numbers.length - 1);
        this.#store.change({ event: this.#numbers[to] });
    }

    #print() {
        if (this.#life === undefined) {
            return;
        }
        const lines = [...this.#numbers.slice(0, PRINTED)].map((at) => {
            const event = this.#life.events[at];
            return element("li", {}, `${this.#life.time(event.at)}  ${short(event.kind)}  ${short(event.text)}`);
        });
        if (this.#numbers.length > PRINTED) {
            lines.push(element("li", {}, `and ${count(this.#numbers.length - PRINTED, "event")} more`));
        }
        this.printed.replaceChildren(...lines);
    }
}
