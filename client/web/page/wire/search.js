// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

const pause = 300;
const patience = 500;

/**
 * Looks for the program until it is there again. Browsers let WebSockets to an address that failed
 * wait longer and longer, but not this.
 */
export class Search {
    #world;
    #found;
    #timer = null;
    #isRunning = false;

    /**
     * @param {import("./world.js").World} world
     * @param {() => void} found called once for each start()
     */
    constructor(world, found) {
        this.#world = world;
        this.#found = found;
    }

    /**
     * Begins, or begins anew.
     * @param {number} delay until the first look, in milliseconds
     */
    start(delay = 0) {
        this.stop();
        this.#isRunning = true;
        this.#timer = this.#world.setTimeout(() => this.#look(), delay);
    }

    stop() {
        this.#isRunning = false;
        this.#world.clearTimeout(this.#timer);
    }

    /** The next look does not wait for an answer to the last one: that may never come. */
    #look() {
        this.#timer = this.#world.setTimeout(() => this.#look(), pause);
        const abortion = new AbortController();
        const end = this.#world.setTimeout(() => abortion.abort(), patience);
        this.#world
            .fetch(this.#world.aliveAddress, { cache: "no-store", signal: abortion.signal })
            .then((answer) => answer.ok && this.#end())
            .catch(() => {})
            .finally(() => this.#world.clearTimeout(end));
    }

    #end() {
        if (this.#isRunning) {
            this.stop();
            this.#found();
        }
    }
}
