// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

/** How far back a speed is measured, in milliseconds: a few frames, so that one odd sample does not count. */
const window = 50;

/** Below the first speed (CSS pixels per millisecond) the pointer is at its slowest, from the second on at its fastest. */
const slow = 0.08;
const fast = 1.7;
const slowest = 0.85;
const fastest = 4.6;

/**
 * How many pixels the pointer moves for each pixel of the finger: below 1 for slow fingers, so that
 * a single pixel can be hit, and smoothly more for fast ones, so that one stroke crosses a screen.
 * @param {number} speed CSS pixels per millisecond
 */
export function pointerGain(speed) {
    const part = Math.min(Math.max((speed - slow) / (fast - slow), 0), 1);
    return slowest + (fastest - slowest) * part * part * (3 - 2 * part);
}

/**
 * Units of the wheel (120 are a notch) for each pixel of the fingers.
 * @param {number} speed CSS pixels per millisecond
 */
export function scrollGain(speed) {
    return 4 * (1 + 1.5 * Math.min(Math.max(speed - 0.3, 0) / 1.5, 1));
}

/** The speed of something that moves by steps at times. */
export class Speed {
    #steps = [];

    /** Forgets what was. */
    clear() {
        this.#steps = [];
    }

    /** Something moved by (dx, dy) until that time in milliseconds. */
    add(dx, dy, time) {
        this.#steps.push({ dx, dy, time });
        while (this.#steps[0].time < time - window) {
            this.#steps.shift();
        }
    }

    /**
     * Units per millisecond in both directions. A single step counts as that of one frame, since
     * the time before it was rest.
     */
    at(time) {
        const steps = this.#steps.filter((step) => step.time >= time - window);
        if (steps.length === 0) {
            return { x: 0, y: 0, size: 0 };
        }
        const first = steps.length > 1 ? steps[0].time : time - 16;
        const counted = steps.length > 1 ? steps.slice(1) : steps;
        const span = Math.max(steps.at(-1).time - first, 8);
        const x = counted.reduce((sum, step) => sum + step.dx, 0) / span;
        const y = counted.reduce((sum, step) => sum + step.dy, 0) / span;
        return { x, y, size: Math.hypot(x, y) };
    }

    /** When it last moved; minus infinity if it never did. */
    get lastTime() {
        return this.#steps.at(-1)?.time ?? -Infinity;
    }
}
