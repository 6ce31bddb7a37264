// Figures that grow or change, drawn by Chart.js: records, round trips, tasks that wait, memory.

import {
    Chart, Legend, LineController, LineElement, LinearScale, LogarithmicScale, PointElement, ScatterController, Tooltip,
} from "chart.js/chart.mjs";
import { element, empty } from "./dom.js";
import { palette } from "./palette.js";
import { count, span } from "./words.js";

Chart.register(Legend, LineController, LineElement, LinearScale, LogarithmicScale, PointElement, ScatterController, Tooltip);

const POINTS = 4000; // of one row; of more, the longest ones and some between them

/** The charts of a life. Returns those that must be destroyed when another life is shown. */
export function drawCharts(root, life) {
    const drawn = [];
    const figures = [records(life), roundTrips(life), waiting(life), memory(life)].filter((figure) => figure !== null);
    root.replaceChildren(...(figures.length === 0 ? [empty("Nothing that was told can be drawn as a chart.")] : []));
    for (const figure of figures) {
        const canvas = element("canvas", { role: "img", "aria-label": `${figure.title}: ${figure.said}` });
        root.append(element("figure", {},
            element("figcaption", {}, element("h3", {}, figure.title), element("p", { class: "soft" }, figure.said)),
            element("div", { class: "chart" }, canvas)));
        drawn.push(new Chart(canvas, settings(life, figure)));
    }
    return drawn;
}

function settings(life, figure) {
    const colours = palette();
    const lines = [colours.accent, colours.good, colours.warning, colours.reply];
    const scale = { grid: { color: colours.line, borderColor: colours.line }, ticks: { color: colours.soft } };
    return {
        type: figure.type,
        data: {
            datasets: figure.rows.map((row, at) => ({
                label: row.name, data: row.points, borderColor: lines[at % lines.length], backgroundColor: lines[at % lines.length],
                borderWidth: 2, stepped: figure.type === "line" ? "before" : false, pointRadius: figure.type === "line" ? 0 : 3,
                pointStyle: ["circle", "triangle", "rect", "rectRot"][at % 4], pointHitRadius: 6,
            })),
        },
        options: {
            animation: false, responsive: true, maintainAspectRatio: false, normalized: true, parsing: false,
            interaction: { mode: "nearest", intersect: false },
            scales: {
                x: {
                    ...scale, type: "linear", min: 0, max: life.length,
                    ticks: { ...scale.ticks, maxRotation: 0, maxTicksLimit: 8, callback: (value, at, all) => life.tick(value, all.length > 1 ? all[1].value - all[0].value : 0) },
                },
                y: {
                    ...scale, type: figure.scale ?? "linear", min: figure.scale === undefined ? 0 : undefined,
                    ticks: { ...scale.ticks, precision: 0, callback: figure.tick ?? ((value) => value.toLocaleString("en-GB")) },
                },
            },
            plugins: {
                legend: { display: figure.rows.length > 1, labels: { color: colours.ink, usePointStyle: true, boxWidth: 7, boxHeight: 7 } },
                tooltip: {
                    callbacks: {
                        title: (items) => life.time(items[0].parsed.x),
                        label: (item) => `${item.dataset.label}: ${figure.tell(item.parsed.y)}`,
                    },
                },
            },
        },
    };
}

/** Points of a sum: it stays until it changes, and to the end. */
function growing(life, changes) {
    let sum = 0;
    const points = [{ x: 0, y: 0 }];
    for (const { at, by } of changes) {
        sum += by;
        points.push({ x: at, y: sum });
    }
    points.push({ x: life.length, y: sum });
    return points;
}

function records(life) {
    const rows = life.records.filter((kind) => kind.batches.length > 0).map((kind) => ({
        name: kind.kind, points: growing(life, kind.batches.map((batch) => ({ at: batch.at, by: batch.records }))),
    }));
    if (rows.length === 0) {
        return null;
    }
    const sums = rows.map((row) => `${row.points[row.points.length - 1].y.toLocaleString("en-GB")} ${row.name}`);
    return { title: "Records over time", said: `handed out by the product: ${sums.join(", ")}`, type: "line", rows,
        tell: (value) => count(value, "record") };
}

function roundTrips(life) {
    const pings = [];
    const requests = [];
    life.reply.forEach((reply, at) => {
        if (reply >= 0) {
            const point = { x: life.at[at], y: Math.max(life.at[reply] - life.at[at], 0.001) };
            (life.events[at].fields?.some(([key, value]) => key === "command" && value === "0") ? pings : requests).push(point);
        }
    });
    const rows = [{ name: "requests", points: thinned(requests) }, { name: "pings", points: thinned(pings) }]
        .filter((row) => row.points.length > 0);
    if (rows.length === 0) {
        return null;
    }
    const all = [...requests, ...pings].map((point) => point.y).sort((left, right) => left - right);
    return { title: "Round trips", type: "scatter", rows, tell: span,
        ...(all[all.length - 1] > 20 * all[0] ? { scale: "logarithmic", tick: decades } : { tick: span }),
        said: `${count(all.length, "reply", "replies")}: half of them within ${span(all[all.length >> 1])}, the slowest ${span(all[all.length - 1])}` };
}

function decades(value) {
    return Number.isInteger(Math.log10(value)) ? span(value) : "";
}

function thinned(points) {
    if (points.length <= POINTS) {
        return points;
    }
    const longest = new Set([...points].sort((left, right) => right.y - left.y).slice(0, POINTS / 4));
    const every = Math.ceil(points.length / (POINTS * 0.75));
    return points.filter((point, at) => at % every === 0 || longest.has(point));
}

function waiting(life) {
    const changes = life.tasks.flatMap((task) => [{ at: task.from, by: 1 },
        ...(["given", "asked", "failing"].includes(task.state) ? [] : [{ at: task.until, by: -1 }])])
        .sort((left, right) => left.at - right.at);
    if (changes.length === 0) {
        return null;
    }
    const points = growing(life, changes);
    const most = points.reduce((highest, point) => Math.max(highest, point.y), 0);
    return { title: "Tasks on their road", said: `given, and not yet at the end of their road; at most ${most} at once`, type: "line",
        rows: [{ name: "tasks", points }], tell: (value) => count(value, "task") };
}

function memory(life) {
    const told = life.events.filter((event) => event.kind === "memory");
    const rows = ["private", "resident"].map((name) => ({
        name,
        points: told.map((event) => ({ x: event.at, y: Number(event.fields?.find(([key]) => key === name)?.[1] ?? NaN) }))
            .filter((point) => Number.isFinite(point.y)),
    })).filter((row) => row.points.length > 0);
    if (rows.length === 0) {
        return null;
    }
    return { title: "Memory of the host", said: "in KiB, whenever it was told", type: "line", rows, tell: (value) => `${value} KiB` };
}
