// One finger that goes up or down scrolls the page, wherever it begins: what would take every swipe for its own hears of
// none of these.

/** `root` has what would in it. */
export function leaveToThePage(root) {
    let from = null; // of the one finger; null: there are more, or it goes sideways
    let upright = false;
    const place = (touch) => ({ x: touch.clientX, y: touch.clientY });
    root.addEventListener("touchstart", (start) => {
        from = start.touches.length === 1 ? place(start.touches[0]) : null;
        upright = false;
    }, { capture: true, passive: true });
    root.addEventListener("touchmove", (move) => {
        if (from !== null && move.touches.length === 1) {
            const here = place(move.touches[0]);
            upright = Math.abs(here.y - from.y) > Math.abs(here.x - from.x);
            from = null; // the first move decides
        }
        if (upright) {
            move.stopPropagation();
        }
    }, { capture: true, passive: true });
}
