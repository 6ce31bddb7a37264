// Colours for what is drawn and not styled: those of the style sheet, as the reader's scheme has them.

const NAMES = ["ink", "soft", "faint", "line", "ground", "stripe", "accent", "reply", "warning", "bad", "good", "road"];

const dark = matchMedia("(prefers-color-scheme: dark)");

export function palette() {
    const style = getComputedStyle(document.documentElement);
    return Object.fromEntries(NAMES.map((name) => [name, style.getPropertyValue(`--${name}`).trim()]));
}

/** Calls `listener` whenever the reader changes the scheme. */
export function onScheme(listener) {
    dark.addEventListener("change", listener);
}
