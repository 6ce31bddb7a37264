// The page: reads its data, makes the store and the views, and lets them know of each other.

import { PLAIN, bindAddress, fromAddress } from "./address.js";
import { drawCharts } from "./charts.js";
import { Compare } from "./compare.js";
import { Details } from "./details.js";
import { element } from "./dom.js";
import { Head } from "./head.js";
import { handedOf, numbersOf, outagesOf, readLives, seenEvents } from "./life.js";
import { EventList } from "./list.js";
import { LongTable } from "./longtable.js";
import { onScheme } from "./palette.js";
import { onPaper } from "./paper.js";
import { Search } from "./search.js";
import { Store } from "./store.js";
import { markTask, outagesView, recordsView, stepsView, tasksView } from "./tables.js";
import { Tabs } from "./tabs.js";
import { TimeLine } from "./timeline.js";
import { short } from "./words.js";

const at = (id) => document.getElementById(id);

function start(lives) {
    const plain = { ...PLAIN, life: lives.length - 1 };
    const store = new Store(fromAddress(location.hash.slice(1), plain, lives));
    const lifeOf = (state) => lives[state.life] ?? lives[plain.life];
    let seen = new Uint8Array(0);
    let charts = [];

    const head = new Head(at("head"), lives, store);
    const eventPanel = element("div", {});
    const list = new EventList(eventPanel, store);
    const timeLine = new TimeLine(at("time"), store, () => seen);
    const search = new Search(at("search"), at("filter"), store);
    const details = new Details(at("details"), store, () => seen);
    const tables = new Map(); // of any length, by the name of their view
    const fill = (name, view) => ({
        name, draw: (panel) => {
            const parts = view(lifeOf(store.state), store, timeLine);
            tables.set(name, parts.filter((part) => part instanceof LongTable));
            revealTask(store.state);
            panel.replaceChildren(...parts.map((part) => part.root ?? part));
        },
    });
    const revealTask = (state) => tables.get("tasks")?.forEach((table) => table.reveal(state.task));
    const drawAllCharts = (panel) => {
        charts.forEach((chart) => chart.destroy());
        charts = drawCharts(panel, lifeOf(store.state));
    };
    let compare = null;
    const drawCompare = (panel) => { compare = new Compare(panel, lives, lifeOf(store.state), store, compare); };
    const tabs = new Tabs(at("views"), store, [
        { ...fill("tasks", tasksView), text: "Tasks" },
        { name: "events", text: "Events", draw: (panel) => panel.replaceChildren(eventPanel) },
        { ...fill("steps", stepsView), text: "Steps" },
        { ...fill("records", recordsView), text: "Records" },
        { ...fill("outages", outagesView), text: "Outages" },
        { name: "charts", text: "Charts", draw: drawAllCharts },
        { name: "compare", text: "Compare", draw: drawCompare, prints: () => compare?.isOfTwo() ?? false },
    ]);

    const look = (state) => {
        const life = lifeOf(state);
        seen = seenEvents(life, state);
        list.show(life, numbersOf(seen));
        timeLine.draw();
    };
    store.watch(["life"], (state) => {
        const life = lifeOf(state);
        head.show(life);
        search.setLife(life);
        search.follow(state);
        look(state);
        tabs.reset({ tasks: life.tasks.length, steps: life.steps.length, outages: outagesOf(life).length,
            records: life.records.reduce((sum, kind) => sum + handedOf(kind.batches), 0) });
        tabs.show(state.view);
    });
    store.watch(["life", "folded"], (state) => timeLine.setLife(lifeOf(state), state));
    store.watch(["text", "kind", "weight", "task", "hidden"], (state) => {
        search.follow(state);
        look(state);
        revealTask(state);
        markTask(at("views"), state.task);
    });
    store.watch(["hidden"], (state) => timeLine.setLanes(state));
    store.watch(["from", "until"], (state) => timeLine.follow(state));
    store.watch(["view"], (state) => {
        tabs.show(state.view);
        list.choose(state.event);
    });
    store.watch(["life", "event"], (state) => {
        details.show(lifeOf(state), state.event);
        list.choose(state.event);
        timeLine.reveal(state.event);
        timeLine.draw();
        const event = lifeOf(state).events[state.event];
        at("said").textContent = event === undefined ? "" : `${lifeOf(state).time(event.at)} ${short(event.text)}`;
    });
    bindAddress(store, plain, lives);
    onScheme(() => {
        tabs.forget("charts");
        tabs.show(store.state.view);
    });
    onPaper((printing) => {
        tabs.forget("charts"); // other colours, another width
        if (printing) {
            tabs.print();
        } else {
            tabs.show(store.state.view);
        }
        tables.forEach((some) => some.forEach((table) => table.paper(printing)));
        timeLine.fit();
    });
    document.querySelector(".skip").addEventListener("click", (click) => {
        click.preventDefault(); // the address is the state's
        at("views").focus();
    });
    timeLine.paintNow();
}

try {
    const lives = readLives(at("lives").textContent);
    if (lives.length === 0) {
        throw new Error("There is no life in this page.");
    }
    start(lives);
} catch (problem) {
    at("head").replaceChildren(element("h1", {}, "This page cannot be shown"), element("p", { role: "alert" }, problem.message));
    throw problem;
} finally {
    document.documentElement.dataset.shown = performance.now().toFixed(0);
}
