// One of several tables at a time. What is behind a tab is drawn when it is shown first, or when the page is printed.

import { element } from "./dom.js";

export class Tabs {
    #tabs = new Map(); // by name: {button, panel, draw, drawn}
    #store;

    /** `views`: {name, text, draw(panel)}, and `prints()` of one that is not always printed. */
    constructor(root, store, views) {
        this.#store = store;
        const list = element("div", { role: "tablist", "aria-label": "Tables", onkeydown: (key) => this.#key(key) });
        root.replaceChildren(list);
        for (const { name, text, draw, prints } of views) {
            const button = element("button", {
                type: "button", role: "tab", id: `tab-${name}`, "aria-controls": `view-${name}`, onclick: () => store.change({ view: name }),
            }, text);
            const panel = element("div", { role: "tabpanel", id: `view-${name}`, "aria-labelledby": `tab-${name}`, hidden: true });
            list.append(button);
            const heading = element("h2", { class: "printed" }, text);
            root.append(heading, panel);
            this.#tabs.set(name, { button, heading, panel, draw, prints: prints ?? (() => true), drawn: false });
        }
    }

    /** Draws everything that is to be printed. */
    print() {
        for (const tab of this.#tabs.values()) {
            const printed = tab.prints();
            tab.heading.hidden = !printed;
            tab.panel.classList.toggle("unprinted", !printed);
            if (printed) {
                this.#draw(tab);
            }
        }
    }

    /** Everything must be drawn anew; the number behind a name says how much there is. */
    reset(numbers) {
        for (const [name, tab] of this.#tabs) {
            tab.drawn = false;
            tab.button.querySelector(".number")?.remove();
            if (numbers[name] !== undefined) {
                tab.button.append(element("span", { class: "number" }, numbers[name].toLocaleString("en-GB")));
            }
        }
    }

    /** What is behind that name is drawn anew when it is shown. */
    forget(name) {
        this.#tabs.get(name).drawn = false;
    }

    show(name) {
        const shown = this.#tabs.has(name) ? name : this.#tabs.keys().next().value;
        for (const [other, tab] of this.#tabs) {
            const here = other === shown;
            tab.button.setAttribute("aria-selected", String(here));
            tab.button.tabIndex = here ? 0 : -1;
            tab.panel.hidden = !here;
            if (here) {
                this.#draw(tab);
            }
        }
    }

    #draw(tab) {
        if (!tab.drawn) {
            tab.draw(tab.panel);
            tab.drawn = true;
        }
    }

    #key(key) {
        const names = [...this.#tabs.keys()];
        const at = names.findIndex((name) => this.#tabs.get(name).button === document.activeElement);
        const to = { ArrowLeft: at - 1, ArrowRight: at + 1, Home: 0, End: names.length - 1 }[key.key];
        if (to === undefined || at < 0) {
            return;
        }
        key.preventDefault();
        const name = names[(to + names.length) % names.length];
        this.#store.change({ view: name });
        this.#tabs.get(name).button.focus();
    }
}
