// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

/** So many moves and scrolls may be unanswered; then they add up, so that a slow network gets few and large ones. */
const mostUnanswered = 4;

/**
 * A move that comes so many milliseconds after the last one is in another frame. Fewer than a frame
 * of 60 hertz has, as touches come a little early or late.
 */
const otherFrame = 12;

/** The farthest that one message may go. */
const furthest = { move: 100_000, scroll: 12_000 };
/** Parts of a unit that a message carries: pixels have fractions, units of the wheel have none. */
const parts = { move: 100, scroll: 1 };

/**
 * Sends moves and scrolls: the first in a frame at once, what follows in that frame together at the
 * next. It asks for frames only then: touches that are not held back would wait until the browser
 * has drawn one. Nothing is lost by rounding.
 */
export class Pacer {
    #pending = null;
    #rest = { move: { dx: 0, dy: 0 }, scroll: { dx: 0, dy: 0 } };
    #sentAt = -Infinity;
    #awaitsFrame = false;
    #unanswered = 0;
    /** Answers to what was sent before clear() do not count. */
    #round = 0;

    /**
     * @param {(request: "move" | "scroll", fields: {dx: number, dy: number}) => Promise} send
     * @param {{now: () => number, requestFrame: (callback: () => void) => void}} screen the time in
     *     milliseconds, and what calls back at the next frame
     */
    constructor(send, screen) {
        this.send = send;
        this.screen = screen;
    }

    /** Moves the pointer by pixels. */
    move(dx, dy) {
        this.#add("move", dx, dy);
    }

    /** Turns the wheel by units, of which 120 are a notch. */
    scroll(dx, dy) {
        this.#add("scroll", dx, dy);
    }

    /** Sends what waits, because something follows that must not come before it. */
    flush() {
        if (this.#pending) {
            this.#sendPending();
        }
    }

    /** Forgets what waits: there is nobody to send it to. */
    clear() {
        this.#pending = null;
        this.#rest = { move: { dx: 0, dy: 0 }, scroll: { dx: 0, dy: 0 } };
        this.#unanswered = 0;
        this.#round += 1;
    }

    #add(request, dx, dy) {
        if (this.#pending && this.#pending.request !== request) {
            this.flush();
        }
        this.#pending ??= { request, dx: 0, dy: 0 };
        this.#pending.dx += dx;
        this.#pending.dy += dy;
        this.#sendIfFree();
    }

    #sendIfFree() {
        if (!this.#pending || this.#unanswered >= mostUnanswered || this.#awaitsFrame) {
            return;
        }
        if (this.screen.now() - this.#sentAt >= otherFrame) {
            this.#sendPending();
        } else {
            this.#awaitFrame();
        }
    }

    #sendPending() {
        const { request, dx, dy } = this.#pending;
        this.#pending = null;
        const fields = { dx: this.#rounded(request, "dx", dx), dy: this.#rounded(request, "dy", dy) };
        if (fields.dx === 0 && fields.dy === 0) {
            return;
        }
        this.#sentAt = this.screen.now();
        this.#unanswered += 1;
        const round = this.#round;
        const answered = () => this.#answered(round);
        this.send(request, fields).then(answered, answered);
    }

    #rounded(request, direction, way) {
        const rest = this.#rest[request];
        const whole = Math.round((way + rest[direction]) * parts[request]) / parts[request];
        const bounded = Math.min(Math.max(whole, -furthest[request]), furthest[request]);
        rest[direction] = bounded === whole ? way + rest[direction] - whole : 0;
        return bounded || 0; // never -0
    }

    #awaitFrame() {
        this.#awaitsFrame = true;
        this.screen.requestFrame(() => {
            this.#awaitsFrame = false;
            this.#sentAt = -Infinity;
            this.#sendIfFree();
        });
    }

    #answered(round) {
        if (round === this.#round) {
            this.#unanswered -= 1;
            this.#sendIfFree();
        }
    }
}
