// Search and filter: what is typed and chosen here decides which events are seen.

import { element } from "./dom.js";
import { PLAIN } from "./address.js";
import { short } from "./words.js";

const WEIGHT_NAMES = ["everything", "without details", "warnings and errors", "errors"];
const PATIENCE = 120; // milliseconds between a letter and the search

export class Search {
    #store;
    #timer = 0;

    constructor(root, store) {
        this.#store = store;
        const choose = (key, number) => (change) => store.change({ [key]: number ? Number(change.target.value) : change.target.value });
        this.text = element("input", { type: "search", id: "text", autocomplete: "off", spellcheck: "false", oninput: () => this.#typed() });
        this.kind = element("select", { id: "kind", onchange: choose("kind", false) });
        this.task = element("select", { id: "task", onchange: choose("task", true) });
        this.weight = element("select", { id: "weight", onchange: choose("weight", true) },
            WEIGHT_NAMES.map((name, at) => element("option", { value: at }, name)));
        this.all = element("button", {
            type: "button", onclick: () => store.change({ text: "", kind: "", task: -1, weight: 0, hidden: PLAIN.hidden }),
        }, "Clear");
        const field = (name, input) => element("label", { class: "field", for: input.id }, `${name} `, input);
        root.replaceChildren(field("Search", this.text), field("Kind", this.kind), field("Task", this.task),
            field("Show", this.weight), this.all);
    }

    #typed() {
        clearTimeout(this.#timer);
        this.#timer = setTimeout(() => this.#store.change({ text: this.text.value, view: "events" }), PATIENCE);
    }

    setLife(life) {
        this.kind.replaceChildren(element("option", { value: "" }, "all"),
            ...[...life.kinds].sort().map((kind) => element("option", { value: kind }, kind)));
        this.task.replaceChildren(element("option", { value: -1 }, "all"),
            ...life.tasks.map((task, at) => element("option", { value: at }, `${at + 1}  ${short(task.what, 60)}`)));
    }

    follow(state) {
        if (this.text.value.trim() !== state.text.trim()) {
            this.text.value = state.text;
        }
        this.kind.value = state.kind;
        this.task.value = String(state.task);
        this.weight.value = String(state.weight);
        this.all.disabled = state.text === "" && state.kind === "" && state.task < 0 && state.weight === 0 && state.hidden.length === 0;
    }
}
