// What one sees first: which life this is, how it went, and its figures.

import { element } from "./dom.js";
import { firstConnectionsOf, handedOf, outagesOf } from "./life.js";
import { count, short, stateOf } from "./words.js";

export class Head {
    #lives;

    constructor(root, lives, store) {
        this.#lives = lives;
        this.title = element("div", { class: "title" });
        this.times = element("p", { class: "soft" });
        // It stays: whoever chooses with the keys is in it.
        this.chosen = element("select", { id: "life", onchange: () => choose(store, Number(this.chosen.value)) },
            lives.map((one, at) => element("option", { value: at }, `${at + 1}  ${short(one.title, 100)}`)));
        this.story = element("p", { class: "story" });
        this.watched = element("p", {});
        root.replaceChildren(this.title, this.times,
            lives.length < 2 ? "" : element("label", { class: "field", for: "life" }, "Life ", this.chosen),
            this.story,
            element("details", { class: "soft" }, element("summary", {}, "how it was watched"), this.watched));
    }

    show(life) {
        this.title.replaceChildren(element("h1", {}, life.title), verdictOf(life));
        this.times.textContent = life.times();
        this.chosen.value = String(this.#lives.indexOf(life));
        this.story.textContent = storyOf(life);
        this.watched.textContent = life.toldBy;
        document.title = `${life.title} \u2013 the life of a connector`;
    }
}

function choose(store, life) {
    store.change({ life, event: -1, task: -1, kind: "", from: -1, until: -1 });
}

function verdictOf(life) {
    const failed = life.steps.filter((step) => !step.held).length;
    return life.steps.length === 0 ? ""
        : element("span", { class: failed === 0 ? "state good" : "state bad" },
            failed === 0 ? `all ${count(life.steps.length, "step")} as expected` : `${count(failed, "step")} of ${life.steps.length} failed`);
}

/** The whole life in a few sentences. */
function storyOf(life) {
    const sentences = [];
    if (life.tasks.length > 0) {
        const byState = new Map();
        life.tasks.forEach((task) => byState.set(task.state, (byState.get(task.state) ?? 0) + 1));
        sentences.push(`${count(life.tasks.length, "task")}: ` +
            [...byState].map(([state, number]) => `${number} ${short(stateOf(state).text)}`).join("; ") + ".");
    }
    const outages = outagesOf(life);
    if (outages.length > 0) {
        const longest = Math.max(...outages.map((outage) => outage.until - outage.from));
        const last = outages[outages.length - 1];
        const end = last.over || last["host-stopped"] ? "" : "; the last one is not over";
        sentences.push(`${count(outages.length, "outage")}, the longest of ${life.span(longest)}${end}.`);
    }
    const first = firstConnectionsOf(life);
    if (first.length > 0) {
        sentences.push(`${count(first.length, "first connection")}.`);
    }
    const handed = life.records.reduce((sum, kind) => sum + handedOf(kind.batches), 0);
    if (handed > 0) {
        const lost = life.records.reduce((sum, kind) => sum + (kind.lost ?? 0), 0);
        const told = life.records.some((kind) => kind.lost !== null);
        sentences.push(`${count(handed, "record")} handed out${told ? `, ${lost === 0 ? "none" : lost} lost` : ""}.`);
    }
    sentences.push(`${count(life.events.length, "event")}.`);
    return sentences.join(" ");
}
