// Elements of the page. Whatever comes from a life becomes text and never markup: children that are no nodes are put into
// text nodes, and nothing here takes HTML.

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

/** A table with a caption for those who do not see it. A row is a list of cells: texts or nodes. */
export function table(caption, columns, rows, properties = {}) {
    return element("div", { class: "wide", tabindex: 0, role: "region", "aria-label": caption },
        element("table", properties,
            element("caption", { class: "unseen" }, caption),
            element("thead", {}, element("tr", {}, columns.map((column) =>
                element("th", { scope: "col", class: column.number ? "number" : null }, column.name)))),
            element("tbody", {}, rows.map((cells) => element("tr", {}, cells.map((cell, at) =>
                element(at === 0 ? "th" : "td",
                    { scope: at === 0 ? "row" : null, class: columns[at].number ? "number" : null },
                    cell)))))));
}

export function empty(text) {
    return element("p", { class: "empty" }, text);
}
