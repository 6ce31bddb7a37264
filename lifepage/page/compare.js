// Two lives of one scenario side by side: what each told, in the words that are the same in every run and on every system.

import { MOST, differences } from "./difference.js";
import { element, empty } from "./dom.js";
import { documentIn, readLives } from "./life.js";
import { count, short } from "./words.js";

const AROUND = 3; // equal lines that are shown before and behind a difference
const LONG = 1000; // characters of a line that are shown
const BEFORE = 100; // characters, before the first one that differs in two long lines
const SHOWN = 200; // rows, until somebody wants more

export class Compare {
    #lives; // of the page, and of files that were opened
    #store;
    #left;
    #right;

    /** `shown`: that of the lives which the page shows. `before`: the comparison of the one before it, whose files stay open. */
    constructor(root, lives, shown, store, before = null) {
        const opened = before === null ? [] : before.#lives.slice(lives.length);
        this.#lives = [...lives.map((life, at) => ({ name: `${at + 1}  ${life.title}`, life })), ...opened];
        this.#store = store;
        this.own = lives;
        this.#left = Math.max(lives.indexOf(shown), 0);
        this.#right = this.#left > 0 ? 0 : Math.min(1, lives.length - 1);
        if (before !== null && before.#right >= lives.length) {
            this.#right = before.#right;
        }
        this.problem = element("p", { class: "bad", role: "alert" });
        this.result = element("div", {});
        this.root = root;
        this.#draw();
    }

    /** Whether there are two lives to be seen. */
    isOfTwo() {
        return this.#left !== this.#right;
    }

    #draw() {
        const file = element("input", { type: "file", id: "other", accept: ".html,.json", onchange: () => this.#open(file) });
        this.root.replaceChildren(
            element("div", { class: "bar" },
                this.#choice("left", "This life", this.#left, (at) => { this.#left = at; }),
                this.#choice("right", "with", this.#right, (at) => { this.#right = at; }),
                element("label", { class: "field", for: "other" }, "another page ", file)),
            this.problem, this.result);
        this.#compare();
    }

    #choice(id, name, chosen, choose) {
        const list = element("select", {
            id, onchange: () => {
                choose(Number(list.value));
                this.#compare();
            },
        }, this.#lives.map((one, at) => element("option", { value: at, selected: at === chosen }, short(one.name, 100))));
        return element("label", { class: "field", for: id }, `${name} `, list);
    }

    async #open(input) {
        const file = input.files[0];
        this.problem.textContent = "";
        try {
            const source = await file.text();
            const lives = readLives(source.trimStart().startsWith("{") ? source : documentIn(source));
            lives.forEach((life, at) => this.#lives.push({ name: `${file.name}, ${at + 1}  ${life.title}`, life }));
            this.#right = this.#lives.length - lives.length;
            const same = lives.findIndex((life) => life.title === this.#lives[this.#left].life.title);
            this.#right += Math.max(same, 0);
            this.#draw();
        } catch (problem) {
            this.problem.textContent = `${file.name} cannot be compared: ${problem.message}`;
        }
    }

    #compare() {
        const [left, right] = [this.#lives[this.#left], this.#lives[this.#right]];
        if (left === right) {
            this.result.replaceChildren(empty("Choose two lives, or open another page."));
            return;
        }
        const silent = [left, right].find((one) => one.life.neutral.length === 0);
        if (silent !== undefined) {
            this.result.replaceChildren(element("p", { role: "status" },
                `Nothing to compare: ${short(silent.name)} has no lines that two runs tell in the same words, as a log alone has none.`));
            return;
        }
        const pieces = differences(left.life.neutral.map(([text]) => text), right.life.neutral.map(([text]) => text));
        const first = pieces.findIndex((piece) => !piece.same);
        if (first < 0) {
            this.result.replaceChildren(element("p", { class: "state good", role: "status" },
                `No difference: ${count(left.life.neutral.length, "line")} are the same in both.`));
            return;
        }
        const differing = pieces.filter((piece) => !piece.same);
        const rows = this.#rows(pieces, first, left.life, right.life);
        const body = element("tbody", {});
        const unprinted = element("p", { class: "printed" });
        const more = element("button", { type: "button", class: "more", onclick: () => this.#go(rows, body, more, unprinted) });
        this.result.replaceChildren(
            element("p", { role: "status" }, element("strong", { class: "bad" }, differing.some((piece) => piece.rough)
                ? `More than ${count(MOST, "difference")}` : count(differing.length, "difference")),
            `; the first one is at ${placeOf(pieces[first])}, and marked.`,
            differing.some((piece) => piece.rough) ? " From there to the last one the lines stand as they are, equal ones, too." : ""),
            element("div", { class: "wide", tabindex: 0, role: "region", "aria-label": "Differences" },
                element("table", { class: "compare" },
                    element("thead", {}, element("tr", {}, ["line", short(left.name), "line", short(right.name)].map((name, at) =>
                        element("th", { scope: "col", class: at % 2 === 0 ? "number" : null }, name)))),
                    body)), more, unprinted);
        this.#go(rows, body, more, unprinted);
    }

    /** Functions that make a row each. */
    #rows(pieces, first, left, right) {
        return pieces.flatMap((piece, at) => piece.same
            ? this.#equal(piece, left, at === 0, at === pieces.length - 1)
            : this.#different(piece, left, right, at === first));
    }

    /** Shows the next rows of those that are left. */
    #go(rows, body, more, unprinted) {
        body.append(...rows.splice(0, SHOWN).map((row) => row()));
        more.hidden = rows.length === 0;
        more.textContent = `Show more: ${count(rows.length, "row is", "rows are")} left`;
        unprinted.hidden = more.hidden;
        unprinted.textContent = `${count(rows.length, "row is", "rows are")} left that nobody has asked for.`;
    }

    #equal(piece, life, isFirst, isLast) {
        const before = isFirst ? 0 : Math.min(AROUND, piece.length);
        const behind = isLast ? 0 : Math.min(AROUND, piece.length - before);
        const row = (offset) => () => this.#row("same", [piece.left + offset, life.neutral[piece.left + offset]],
            [piece.right + offset, life.neutral[piece.left + offset]], life);
        const left = piece.length - before - behind;
        return [
            ...Array.from({ length: before }, (_, at) => row(at)),
            ...(left > 0 ? [() => element("tr", { class: "left-out" }, element("td", { colspan: 4 }, `${count(left, "equal line")}`))] : []),
            ...Array.from({ length: behind }, (_, at) => row(piece.length - behind + at)),
        ];
    }

    #different(piece, left, right, isFirst) {
        const rows = [];
        for (let at = 0; at < Math.max(piece.taken, piece.put); at += 1) {
            const one = at < piece.taken ? [piece.left + at, left.neutral[piece.left + at]] : null;
            const other = at < piece.put ? [piece.right + at, right.neutral[piece.right + at]] : null;
            const from = one === null || other === null ? 0 : beginOf(one[1][0], other[1][0]);
            rows.push(() => this.#row(isFirst && at === 0 ? "differs first" : "differs", one, other, left, from));
        }
        return rows;
    }

    /** Lines of the life that is shown lead to their event; of both stands what begins at the letter `from`. */
    #row(kind, one, other, left, from = 0) {
        const shown = left === this.own[this.#store.state.life];
        const cell = (line, leads) => {
            if (line === null) {
                return [element("td", { class: "number" }), element("td", { class: "none" })];
            }
            const [all, event] = line[1];
            const text = from === 0 ? short(all, LONG) : `\u2026${short(all.slice(from), LONG - 1)}`;
            return [element("td", { class: "number" }, String(line[0] + 1)), element("td", {}, leads && event !== null
                ? element("button", { type: "button", class: "link", onclick: () => this.#store.change({ event }) }, text) : text)];
        };
        return element("tr", { class: kind }, cell(one, shown), cell(other, false));
    }
}

/** Where the first line of a piece that differs stands. */
function placeOf(piece) {
    const number = (line) => `line ${(line + 1).toLocaleString("en-GB")}`;
    return piece.taken > 0 ? number(piece.left) : `${number(piece.right)} of the other one`;
}

/** The letter from which on two lines are shown, so that where they differ is in sight. */
function beginOf(one, other) {
    let equal = 0;
    while (equal < one.length && one[equal] === other[equal]) {
        equal += 1;
    }
    return equal < LONG - BEFORE ? 0 : equal - BEFORE;
}
