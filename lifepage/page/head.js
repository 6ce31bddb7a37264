// What one sees first: which life this is, how it went, and its figures.

import { element } from "./dom.js";
import { firstConnectionsOf, handedOf, outagesOf } from "./life.js";
import { count, short, stateOf } from "./words.js";

export function drawHead(root, lives, life, store) {
    const failed = life.steps.filter((step) => !step.held).length;
    const verdict = life.steps.length === 0 ? null
        : element("span", { class: failed === 0 ? "state good" : "state bad" },
            failed === 0 ? `all ${count(life.steps.length, "step")} as expected` : `${count(failed, "step")} of ${life.steps.length} failed`);
    root.replaceChildren(
        element("div", { class: "title" }, element("h1", {}, life.title), verdict),
        element("p", { class: "soft" }, life.times()),
        lives.length < 2 ? "" : chooser(lives, life, store),
        element("p", { class: "story" }, storyOf(life)),
        element("details", { class: "soft" }, element("summary", {}, "how it was watched"), element("p", {}, life.toldBy)));
    document.title = `${life.title} \u2013 the life of a connector`;
}

function chooser(lives, life, store) {
    const list = element("select", {
        id: "life", onchange: () => store.change({ life: Number(list.value), event: -1, task: -1, kind: "", from: -1, until: -1 }),
    }, lives.map((one, at) => element("option", { value: at, selected: one === life }, `${at + 1}  ${short(one.title, 100)}`)));
    return element("label", { class: "field", for: "life" }, "Life ", list);
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
