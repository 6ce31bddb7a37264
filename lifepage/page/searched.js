// What can be found by a search: of an event all that the page shows with it, and what stands in a table and leads to it.

import { digitsOf, lettersOf } from "./bytes.js";
import { firstNotBefore } from "./sorted.js";
import { LANES, LEVELS, stateOf } from "./words.js";

/** Of the event itself, a line each. */
export function wordsOf(life, at) {
    const event = life.events[at];
    const process = life.processes[event.process];
    const words = [life.time(event.at), LANES[life.lane[at]].name, event.kind, event.text, LEVELS[event.level ?? 0]];
    if (process !== undefined) {
        words.push(process.name);
    }
    for (const [key, value] of event.fields ?? []) {
        words.push(`${key}=${value}`);
    }
    for (const row of event.rows ?? []) {
        words.push(`Row ${row.name}`, ...row.symbols.map(([symbol, value]) => `${symbol}=${value}`));
    }
    for (const [, , name, value, wrong] of event.parts ?? []) {
        words.push(wrong === undefined ? `${name} ${value}` : `${name} ${value} ${wrong}`);
    }
    if (event.bytes !== undefined) {
        words.push(digitsOf(event.bytes), lettersOf(event.bytes));
    }
    return words.join("\n");
}

/** Of each table row the words, by the numbers of the events to which it leads. */
export function wordsOfTables(life) {
    const leading = new Map();
    const add = (event, ...words) => leading.set(event, [leading.get(event) ?? "", ...words].join("\n"));
    for (const task of life.tasks) {
        const state = stateOf(task.state);
        for (const event of new Set(task.road.map((station) => station.event))) {
            add(event, task.what, ...task.identifiers, state.text, task.why, `attempts: ${task.attempts}`);
        }
        task.road.forEach((station) => add(station.event, station.text));
    }
    for (const outage of life.outages) {
        add(outage.event, outage.cause, `attempts: ${outage.attempts}`);
    }
    for (const records of life.records) {
        records.batches.forEach((batch) => add(batch.event, records.kind));
    }
    for (const step of life.steps) {
        const first = firstNotBefore(life.at, step.from);
        if (life.at[first] <= step.until) {
            add(first, step.text, step.failure);
        }
    }
    life.neutral.filter(([, event]) => event !== null).forEach(([text, event]) => add(event, text));
    return leading;
}
