// A table of any length. Some of its rows are in the document, and the others one key away; on paper stand all of them.

import { element, rowOf, table } from "./dom.js";
import { count } from "./words.js";

const ROWS = 100; // that are drawn at once

export class LongTable {
    #first = 0; // of the rows that are drawn
    #last = 0; // the one behind them
    #forPaper = []; // rows that are drawn for it alone

    /** `cellsOf(at)`: those of a row; `made(row, at)` hears of each that is drawn. */
    constructor(caption, columns, size, cellsOf, { made = () => {}, ...properties } = {}) {
        this.size = size;
        this.rowOf = (at) => {
            const row = rowOf(columns, cellsOf(at));
            if (size > ROWS) {
                row.setAttribute("aria-rowindex", at + 2); // the first one has the names of the columns
            }
            made(row, at);
            return row;
        };
        const button = (text, act) => element("button", { type: "button", onclick: act }, text);
        const line = (said, ...buttons) => element("div", { class: "rest", hidden: true }, said, buttons);
        this.above = element("span", {});
        this.below = element("span", {});
        this.before = line(this.above, button("The rows before", () => this.#showBefore()), button("The first rows", () => this.#jump(0)));
        this.behind = line(this.below, button("More rows", () => this.#showBehind()), button("The last rows", () => this.#jump(size - 1)));
        const all = table(caption, columns, [], size > ROWS ? { ...properties, "aria-rowcount": size + 1 } : properties);
        this.body = all.querySelector("tbody");
        this.root = element("div", { class: "long" }, this.before, all, this.behind);
        this.#show(0);
    }

    /** Draws that row, if it is not drawn, and its neighbours in place of the others. */
    reveal(at) {
        if (at >= 0 && at < this.size && (at < this.#first || at >= this.#last)) {
            this.#show(at);
        }
    }

    /** All rows, as long as the page is printed. */
    paper(printing) {
        if (printing && this.#forPaper.length === 0) {
            const before = this.#rows(0, this.#first);
            const behind = this.#rows(this.#last, this.size);
            this.body.prepend(...before);
            this.body.append(...behind);
            this.#forPaper = [...before, ...behind];
        } else if (!printing) {
            this.#forPaper.forEach((row) => row.remove());
            this.#forPaper = [];
        }
        this.#tell(printing);
    }

    #rows(from, until) {
        return Array.from({ length: until - from }, (_, at) => this.rowOf(from + at));
    }

    /** The rows around one, as many as there can be. */
    #show(at) {
        this.#first = Math.max(Math.min(at - at % ROWS, this.size - ROWS), 0);
        this.#last = Math.min(this.#first + ROWS, this.size);
        this.body.replaceChildren(...this.#rows(this.#first, this.#last));
        this.#tell(false);
    }

    #tell(printing) {
        this.above.textContent = `${count(this.#first, "row")} before`;
        this.below.textContent = `and ${(this.size - this.#last).toLocaleString("en-GB")} more`;
        this.before.hidden = printing || this.#first === 0;
        this.behind.hidden = printing || this.#last === this.size;
    }

    #showBefore() {
        const from = Math.max(this.#first - ROWS, 0);
        const rows = this.#rows(from, this.#first);
        this.body.prepend(...rows);
        this.#first = from;
        this.#tell(false);
        focus(rows[rows.length - 1]);
    }

    #showBehind() {
        const until = Math.min(this.#last + ROWS, this.size);
        const rows = this.#rows(this.#last, until);
        this.body.append(...rows);
        this.#last = until;
        this.#tell(false);
        focus(rows[0]);
    }

    #jump(at) {
        this.reveal(at);
        focus(at === 0 ? this.body.firstElementChild : this.body.lastElementChild);
    }
}

/** The key that asked for rows goes on from there. */
function focus(row) {
    row.querySelector("button")?.focus();
}
