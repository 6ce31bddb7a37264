// What colours and marks on the time line mean.

import { element } from "./dom.js";

const KEYS = [
    ["gone", "", "not connected"],
    ["first", "", "looks for the product at first"],
    ["request", "\u25b6", "request"],
    ["reply", "\u25c0", "reply"],
    ["mark", "", "event"],
    ["mark detail", "", "detail"],
    ["mark warning", "", "warning"],
    ["mark error", "", "error"],
    ["mark out", "", "filtered out"],
    ["lives", "", "a process runs"],
];

export function legend() {
    return element("p", { class: "legend" }, KEYS.map(([kind, sign, text]) =>
        element("span", { class: "entry" }, element("span", { class: `key ${kind}`, "aria-hidden": "true" }, sign), ` ${text}`)));
}
