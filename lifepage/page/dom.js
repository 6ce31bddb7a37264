// Elements of the page. Whatever comes from a life becomes text and never markup: children that are no nodes are put into
// text nodes, and nothing here takes HTML.

const LONG = 1000; // characters that are broken into lines

/** `properties`: "class", "on…" for listeners, all others are attributes; false and null leave one out. */
export function element(tag, properties = {}, ...children) {
    const made = document.createElement(tag);
    for (const [name, value] of Object.entries(properties)) {
        if (typeof value === "function") {
            made.addEventListener(name.slice(2), value);
        } else if (value !== false && value !== null && value !== undefined) {
            made.setAttribute(name, value === true ? "" : String(value));
        }
    }
    made.append(...children.flat().filter((child) => child !== null && child !== undefined));
    return made;
}

/**
 * A table with a caption for those who do not see it. A row is a list of cells: texts or nodes. Columns have the width that
 * they say, in pixels, and share what is left: to find out how narrow a long text can be costs seconds. On a narrow screen
 * cells stand below each other, each behind the name of its column.
 */
export function table(caption, columns, rows, properties = {}) {
    return element("div", { class: "wide", tabindex: 0, role: "region", "aria-label": caption },
        element("table", properties,
            element("caption", { class: "unseen" }, caption),
            element("thead", {}, element("tr", {}, columns.map(head))),
            element("tbody", {}, rows.map((cells) => rowOf(columns, cells)))));
}

export function rowOf(columns, cells) {
    return element("tr", {}, cells.map((cell, at) => element(at === 0 ? "th" : "td",
        { scope: at === 0 ? "row" : null, class: columns[at].number ? "number" : null, "data-name": columns[at].name }, cell)));
}

function head(column) {
    const cell = element("th", { scope: "col", class: column.number ? "number" : null }, column.name);
    cell.style.width = column.width === undefined ? "" : `${column.width}px`;
    return cell;
}

/** All of a text; of a long one the beginning, and the rest on demand and without line breaks, which take seconds to find. */
export function whole(text) {
    return text.length <= LONG ? [text] : [`${text.slice(0, LONG)}\u2026`, element("details", {},
        element("summary", {}, `all ${text.length.toLocaleString("en-GB")} characters`),
        element("pre", { class: "dump", tabindex: 0 }, text))];
}

export function empty(text) {
    return element("p", { class: "empty" }, text);
}
