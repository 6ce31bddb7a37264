// Which positions the batches of a kind have, whatever order they came in: all of them, those that came again, those that are
// missing between them.

/** `known`: {from, until} from position to the one behind, in their order; `again`: the same, as they came. */
export function coverOf(batches) {
    const known = [];
    const again = [];
    for (const { from, records } of batches) {
        if (records > 0) {
            add(known, again, from, from + records);
        }
    }
    return { known, again };
}

function add(known, again, from, until) {
    let first = known.length;
    while (first > 0 && known[first - 1].until >= from) {
        first -= 1;
    }
    let last = first;
    const whole = { from, until };
    for (; last < known.length && known[last].from <= until; last += 1) {
        const common = { from: Math.max(known[last].from, from), until: Math.min(known[last].until, until) };
        if (common.from < common.until) {
            again.push(common);
        }
        whole.from = Math.min(whole.from, known[last].from);
        whole.until = Math.max(whole.until, known[last].until);
    }
    known.splice(first, last - first, whole);
}

/** How many records came, each counted once. */
export function differentOf(batches) {
    return coverOf(batches).known.reduce((sum, { from, until }) => sum + until - from, 0);
}

/** "1 to 170", and which positions came again or never. */
export function positionsOf(batches) {
    const { known, again } = coverOf(batches);
    if (known.length === 0) {
        return "none";
    }
    const told = ({ from, until }, what) => `${from} to ${until - 1}${what}`;
    const missing = known.slice(1).map((piece, at) => ({ from: known[at].until, until: piece.from }));
    const odd = [...missing.map((piece) => told(piece, " not asked for")), ...again.map((piece) => told(piece, " again"))];
    const whole = told({ from: known[0].from, until: known[known.length - 1].until }, "");
    return odd.length === 0 ? whole : `${whole}; ${odd.join(", ")}`;
}
