// Where two lists of lines differ: the fewest lines that must be taken out of one and put in from the other (Myers).

export const MOST = 1500; // lines that may differ before nobody looks for equal ones between them

/**
 * Pieces in their order: {same: true, left, right, length} or {same: false, left, right, taken, put}; with `rough: true` one in
 * which nobody has looked for equal lines.
 */
export function differences(left, right) {
    let begin = 0;
    while (begin < left.length && begin < right.length && left[begin] === right[begin]) {
        begin += 1;
    }
    let end = 0;
    while (end < left.length - begin && end < right.length - begin &&
        left[left.length - 1 - end] === right[right.length - 1 - end]) {
        end += 1;
    }
    const middle = steps(left.slice(begin, left.length - end), right.slice(begin, right.length - end));
    const pieces = [];
    let [one, other] = [0, 0];
    const go = (kind, length) => {
        const last = pieces[pieces.length - 1];
        if (kind === "same") {
            if (last?.same) {
                last.length += length;
            } else {
                pieces.push({ same: true, left: one, right: other, length });
            }
            one += length;
            other += length;
            return;
        }
        const piece = last !== undefined && !last.same ? last : { same: false, left: one, right: other, taken: 0, put: 0 };
        if (piece !== last) {
            pieces.push(piece);
        }
        piece[kind] += length;
        one += kind === "taken" ? length : 0;
        other += kind === "put" ? length : 0;
    };
    if (begin > 0) {
        go("same", begin);
    }
    if (middle === null) {
        pieces.push({ same: false, rough: true, left: begin, right: begin, taken: left.length - begin - end, put: right.length - begin - end });
        [one, other] = [left.length - end, right.length - end];
    } else {
        middle.forEach((kind) => go(kind, 1));
    }
    if (end > 0) {
        go("same", end);
    }
    return pieces;
}

/** "same", "taken" or "put", a word a line; null: too many differ. */
function steps(left, right) {
    const all = left.length + right.length;
    const reach = new Map([[1, 0]]);
    const trace = [];
    for (let cost = 0; cost <= Math.min(all, MOST); cost += 1) {
        trace.push(new Map(reach));
        for (let diagonal = -cost; diagonal <= cost; diagonal += 2) {
            let x = goesDown(reach, diagonal, cost) ? reach.get(diagonal + 1) : reach.get(diagonal - 1) + 1;
            while (x < left.length && x - diagonal < right.length && left[x] === right[x - diagonal]) {
                x += 1;
            }
            reach.set(diagonal, x);
            if (x >= left.length && x - diagonal >= right.length) {
                return wayBack(trace, left.length, right.length);
            }
        }
    }
    return null;
}

function goesDown(reach, diagonal, cost) {
    return diagonal === -cost || (diagonal !== cost && reach.get(diagonal - 1) < reach.get(diagonal + 1));
}

function wayBack(trace, x, y) {
    const way = [];
    for (let cost = trace.length - 1; cost >= 0; cost -= 1) {
        const reach = trace[cost];
        const diagonal = x - y;
        const down = goesDown(reach, diagonal, cost);
        const before = down ? diagonal + 1 : diagonal - 1;
        const beforeX = cost === 0 ? 0 : reach.get(before);
        const beforeY = cost === 0 ? 0 : beforeX - before;
        while (x > beforeX && y > beforeY) {
            way.push("same");
            x -= 1;
            y -= 1;
        }
        if (cost > 0) {
            way.push(down ? "put" : "taken");
        }
        x = beforeX;
        y = beforeY;
    }
    return way.reverse();
}
