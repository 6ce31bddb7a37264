// Bytes of a request or a reply: what each field means, and the bytes themselves.

import { element, table } from "./dom.js";
import { short } from "./words.js";

const LINE = 16;

export function bytesOf(event) {
    return [
        event.parts === undefined ? null : table("Bytes, taken apart", [
            { name: "at", number: true, width: 44 }, { name: "bytes", number: true, width: 50 }, { name: "field", width: 110 }, { name: "value" },
        ], event.parts.map(([offset, length, name, value, wrong]) => [
            offset.toString(16).padStart(4, "0"), String(length), short(name, 60),
            wrong === undefined ? short(value)
                : element("span", {}, short(value), value === "" ? "" : " ", element("strong", { class: "bad" }, short(wrong))),
        ]), { class: "parts" }),
        element("details", {},
            element("summary", {}, `${event.length} bytes`),
            element("pre", { class: "dump", tabindex: 0 }, dump(event.bytes)),
            event.bytes.length / 2 < event.length ? element("p", { class: "soft" }, `the first ${event.bytes.length / 2} of them`) : null),
    ];
}

/** Offset, bytes and letters. */
function dump(hex) {
    const lines = [];
    for (let at = 0; at < hex.length; at += 2 * LINE) {
        const line = hex.slice(at, at + 2 * LINE);
        lines.push(`${(at / 2).toString(16).padStart(4, "0")}  ${digitsOf(line).padEnd(3 * LINE - 1)}  ${lettersOf(line)}`);
    }
    return lines.join("\n");
}

export function digitsOf(hex) {
    return (hex.match(/../g) ?? []).join(" ");
}

/** A dot for what is no letter. */
export function lettersOf(hex) {
    return (hex.match(/../g) ?? []).map((byte) => {
        const code = parseInt(byte, 16);
        return code >= 0x20 && code < 0x7f ? String.fromCharCode(code) : ".";
    }).join("");
}
