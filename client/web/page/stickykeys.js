// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

/** Two taps on a modifier within this time lock it, in milliseconds. */
const lockTime = 400;

export const modifiers = ["Control", "Alt", "Shift", "Meta"];

/**
 * Modifiers that are tapped, not held: each is off, on for one key, or locked until it is tapped
 * again. Dispatches "change".
 */
export class StickyKeys extends EventTarget {
    #states = new Map();
    #tappedAt = new Map();

    /** @returns {"off" | "once" | "locked"} */
    stateOf(modifier) {
        return this.#states.get(modifier) ?? "off";
    }

    /** The modifiers that the next key has, in the order in which they are pressed. */
    get active() {
        return modifiers.filter((modifier) => this.stateOf(modifier) !== "off");
    }

    /** A modifier's button was tapped. */
    tap(modifier, time) {
        const isSecond = time - (this.#tappedAt.get(modifier) ?? -Infinity) <= lockTime;
        const state = this.stateOf(modifier);
        if (state === "once" && isSecond) {
            this.#set(modifier, "locked");
        } else {
            this.#set(modifier, state === "off" ? "once" : "off");
        }
        this.#tappedAt.set(modifier, time);
    }

    /** The modifiers for a key that is pressed now; those for one key are off afterwards. */
    take() {
        const taken = this.active;
        const once = taken.filter((modifier) => this.stateOf(modifier) === "once");
        once.forEach((modifier) => this.#states.set(modifier, "off"));
        if (once.length > 0) {
            this.dispatchEvent(new Event("change"));
        }
        return taken;
    }

    /** All off. */
    clear() {
        this.#states.clear();
        this.#tappedAt.clear();
        this.dispatchEvent(new Event("change"));
    }

    #set(modifier, state) {
        this.#states.set(modifier, state);
        this.dispatchEvent(new Event("change"));
    }
}
