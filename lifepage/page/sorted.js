// Finds a place in numbers that stand in their order.

/** The first of `sorted` that is not less than `value`. */
export function firstNotBefore(sorted, value) {
    let low = 0;
    let high = sorted.length;
    while (low < high) {
        const middle = (low + high) >> 1;
        if (sorted[middle] < value) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low;
}
