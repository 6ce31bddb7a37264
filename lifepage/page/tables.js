// Tasks, records, outages and steps, as tables. A view is what stands behind a tab: elements, and tables of any length.

import { element, empty, table, whole } from "./dom.js";
import { firstConnectionsOf, handedOf, lookAt, outagesOf } from "./life.js";
import { LongTable } from "./longtable.js";
import { differentOf, positionsOf } from "./positions.js";
import { WEIGHTS, count, short, stateOf } from "./words.js";

function eventButton(store, at, text, mood = "") {
    return element("button", { type: "button", class: `link ${mood}`, onclick: () => store.change({ event: at }) }, short(text));
}

export function tasksView(life, store) {
    if (life.tasks.length === 0) {
        return [empty("No task was told.")];
    }
    const columns = [{ name: "Task", width: 190 }, { name: "What became of it" }, { name: "Attempts", number: true, width: 76 },
        { name: "The road it took" }];
    const made = (row, at) => {
        row.dataset.task = at;
        markRow(row, store.state.task);
    };
    return [new LongTable("Tasks", columns, life.tasks.length, (at) => cellsOfTask(life, store, at), { class: "tasks", made }),
        legendOf(life.tasks.map((task) => stateOf(task.state)))];
}

function cellsOfTask(life, store, at) {
    const task = life.tasks[at];
    const state = stateOf(task.state);
    return [
        element("div", {},
            element("button", {
                type: "button", class: "link", "aria-pressed": "false", title: "Show only what belongs to it",
                onclick: () => store.change(store.state.task === at ? { task: -1, from: -1, until: -1 } : lookAt(life, at)),
            }, `${at + 1}  ${short(task.what)}`),
            element("div", { class: "soft time" }, life.time(task.from)),
            element("details", { class: "soft" }, element("summary", {}, "identifiers"),
                task.identifiers.length === 0 ? "none that were told"
                    : element("ul", { class: "identifiers" }, task.identifiers.map((one) => element("li", {}, short(one)))))),
        element("div", {},
            element("span", { class: `state ${state.mood}`, title: state.means }, short(state.text)),
            task.why === "" ? null : element("p", { class: "why" }, short(task.why))),
        String(task.attempts),
        roadOf(life, store, task),
    ];
}

/** What the states mean, of those that there are. */
function legendOf(states) {
    const known = [...new Set(states)].filter((state) => state.means);
    return element("details", { class: "soft" }, element("summary", {}, "what the states mean"),
        element("dl", { class: "states" }, known.flatMap((state) => [element("dt", {}, state.text), element("dd", {}, state.means)])));
}

/** Shows in a table which task is looked at. */
export function markTask(root, chosen) {
    root.querySelectorAll("[data-task]").forEach((row) => markRow(row, chosen));
}

function markRow(row, chosen) {
    const here = Number(row.dataset.task) === chosen;
    row.classList.toggle("here", here);
    row.querySelector("[aria-pressed]").setAttribute("aria-pressed", String(here));
}

/** Its stations, with the waits between them where these can be felt. */
function roadOf(life, store, task) {
    let before = task.from;
    return element("ol", { class: "road" }, task.road.map((station) => {
        const wait = station.at - before;
        before = station.at;
        return element("li", {},
            element("span", { class: "wait" }, wait >= 1000 ? `${life.span(wait)} later` : null),
            eventButton(store, station.event, station.text, WEIGHTS[station.weight]));
    }));
}

export function recordsView(life, store) {
    if (life.records.length === 0) {
        return [empty("Of no record was told that it left the product.")];
    }
    const known = (number) => (number === null ? "not told" : number.toLocaleString("en-GB"));
    const numbers = ["Batches", "Records", "Stored", "Twice", "Lost"].map((name) => ({ name, number: true, width: 80 }));
    const sums = table("Records by kind", [{ name: "Kind", width: 100 }, { name: "Positions" }, ...numbers], life.records.map((records) => {
        const sum = handedOf(records.batches);
        return [short(records.kind), whole(positionsOf(records.batches)), known(records.batches.length), known(sum),
            known(records.stored), known(records.twice), known(records.lost)];
    }));
    const notes = life.records.map(notForTheHost).filter((note) => note !== "").map((note) => element("p", { class: "soft" }, note));
    const batches = life.records.flatMap((records) => records.batches.map((batch) => ({ kind: records.kind, ...batch })))
        .sort((left, right) => left.at - right.at);
    return [sums, ...notes, element("h3", {}, "Batches"),
        new LongTable("Batches", [{ name: "Time", width: 150 }, { name: "Kind" }, { name: "From position", number: true, width: 120 },
            { name: "Records", number: true, width: 100 }], batches.length, (at) => {
            const batch = batches[at];
            return [eventButton(store, batch.event, life.time(batch.at)), short(batch.kind),
                batch.from.toLocaleString("en-GB"), batch.records.toLocaleString("en-GB")];
        })];
}

/** Why fewer actions are stored than were handed out, each counted once; empty: there is nothing to explain. */
function notForTheHost({ kind, batches, sent }) {
    const handed = differentOf(batches);
    return kind !== "action" || sent === null || sent === undefined || sent >= handed ? ""
        : `action: ${(handed - sent).toLocaleString("en-GB")} of ${handed.toLocaleString("en-GB")} were not for the host: ` +
            "of actions, only those that block are stored";
}

export function outagesView(life, store) {
    const outages = outagesOf(life);
    const first = firstConnectionsOf(life);
    const shown = outages.length === 0 ? empty("No outage was told.") : connections("Outages", outages, life, store);
    return first.length === 0 ? [shown]
        : [shown, element("h3", {}, count(first.length, "first connection")), connections("First connections", first, life, store)];
}

function connections(caption, outages, life, store) {
    const columns = [{ name: "From", width: 150 }, { name: "Lasted", number: true, width: 136 },
        { name: "Attempts", number: true, width: 76 }, { name: "Why" }];
    return new LongTable(caption, columns, outages.length, (at) => {
        const outage = outages[at];
        return [
            eventButton(store, outage.event, life.time(outage.from)),
            element("span", {}, life.span(outage.until - outage.from), outage.over ? null
                : outage["host-stopped"] ? ", until the host stopped" : element("span", { class: "bad" }, ", not over")),
            String(outage.attempts),
            short(outage.cause),
        ];
    });
}

export function stepsView(life, store, timeLine) {
    if (life.steps.length === 0) {
        return [empty("This life has no steps: it was watched, and not played.")];
    }
    const columns = [{ name: "Step" }, { name: "Began", width: 150 }, { name: "Took", number: true, width: 90 }, { name: "What happened" }];
    return [new LongTable("Steps", columns, life.steps.length, (at) => {
        const step = life.steps[at];
        return [
            element("button", { type: "button", class: "link", onclick: () => timeLine.show(step.from, step.until) }, `${at + 1}  ${short(step.text)}`),
            life.time(step.from),
            life.span(step.until - step.from),
            step.held ? element("span", { class: "state good" }, "as expected")
                : element("div", {}, element("span", { class: "state bad" }, "failed"), element("p", { class: "why" }, short(step.failure, 2000))),
        ];
    })];
}
