// Search and filter: what is typed and chosen here decides which events are seen.

import { element } from "./dom.js";
import { PLAIN } from "./address.js";
import { lookAt } from "./life.js";
import { LANES, short } from "./words.js";

const WEIGHT_NAMES = ["everything", "without details", "warnings and errors", "errors"];
const PATIENCE = 120; // milliseconds between a letter and the search

export class Search {
    #store;
    #life;
    #timer = 0;

    constructor(root, printed, store) {
        this.printed = printed;
        this.#store = store;
        this.text = element("input", { type: "search", id: "text", autocomplete: "off", spellcheck: "false", oninput: () => this.#typed() });
        this.kind = element("select", { id: "kind", onchange: () => store.change({ kind: this.kind.value }) });
        this.task = element("select", { id: "task", onchange: () => this.#chooseTask(Number(this.task.value)) });
        this.weight = element("select", { id: "weight", onchange: () => store.change({ weight: Number(this.weight.value) }) },
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

    /** The chosen event is one of its own then. */
    #chooseTask(number) {
        this.#store.change(number < 0 ? { task: number } : { task: number, event: lookAt(this.#life, number).event });
    }

    setLife(life) {
        this.#life = life;
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
        const said = this.#inWords(state);
        this.all.disabled = said.length === 0;
        this.printed.hidden = said.length === 0;
        this.printed.textContent = `Of the events only these: ${said.join("; ")}.`;
    }

    /** What is filtered, for those who read it on paper. */
    #inWords(state) {
        const hidden = LANES.filter((lane) => state.hidden.includes(lane.id)).map((lane) => lane.name);
        return [
            state.text === "" ? "" : `with the text "${short(state.text, 100)}"`,
            state.kind === "" ? "" : `of the kind ${short(state.kind, 60)}`,
            state.task < 0 ? "" : `of task ${state.task + 1}`,
            state.weight === 0 ? "" : WEIGHT_NAMES[state.weight] ?? "",
            hidden.length === 0 ? "" : `without the lanes ${hidden.join(", ")}`,
        ].filter((one) => one !== "");
    }
}
