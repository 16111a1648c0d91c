// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { Pacer } from "./pacer.js";

/**
 * What the fingers can do on the computer, in the order in which they do it. Nothing is sent while
 * the computer is not ready, and nothing later instead. Dispatches "refusal" (detail: the error) if
 * the computer cannot do something.
 */
export class Computer extends EventTarget {
    #link;
    #pacer;
    /** What to release at the end: names of keys and buttons that are down, in order. */
    #down = [];
    #isZooming = false;

    /**
     * @param {object} link see link.js
     * @param {object} screen see pacer.js
     */
    constructor(link, screen) {
        super();
        this.#link = link;
        this.#pacer = new Pacer((request, fields) => this.#request(request, fields), screen);
        link.addEventListener("state", () => this.#forgetIfAway());
        link.addEventListener("server", () => this.#forgetIfAway());
    }

    /** The computer takes input. */
    get isReady() {
        return this.#link.state === "connected" && this.#link.server?.state === "ready";
    }

    /** The desktop can do that, in the words of the greeting. */
    can(ability) {
        return this.#link.server?.can?.includes(ability) ?? false;
    }

    /** Moves the pointer by pixels. */
    move(dx, dy) {
        if (this.isReady) {
            this.#pacer.move(dx, dy);
        }
    }

    /** Turns the wheel by units, 120 a notch; positive is right and down. */
    scroll(dx, dy) {
        if (this.isReady) {
            this.#pacer.scroll(dx, dy);
        }
    }

    /** Turns the wheel with Control held, until endZoom(). */
    zoom(dy) {
        if (!this.#isZooming) {
            this.#isZooming = true;
            this.#pressAll(["Control"]);
        }
        this.scroll(0, dy);
    }

    /** Releases the Control of zoom(). */
    endZoom() {
        if (this.#isZooming) {
            this.#isZooming = false;
            this.#releaseAll(["Control"]);
        }
    }

    /** Clicks, with modifiers held if there are any. */
    click(button, modifiers = []) {
        this.#pressAll(modifiers);
        this.#send("button", { button });
        this.#releaseAll(modifiers);
    }

    /** Presses a button, and modifiers before it, until release(). */
    press(button, modifiers = []) {
        this.#pressAll(modifiers);
        this.#send("button", { button, action: "press" });
        this.#down.push({ button, modifiers });
    }

    /** Releases what press() pressed. */
    release(button) {
        const at = this.#down.findIndex((held) => held.button === button);
        if (at < 0) {
            return;
        }
        const [held] = this.#down.splice(at, 1);
        this.#send("button", { button, action: "release" });
        this.#releaseAll(held.modifiers);
    }

    /** Taps a key; resolved when it was answered, whatever the answer is. */
    key(key, modifiers = []) {
        return this.#send("key", modifiers.length > 0 ? { key, modifiers } : { key });
    }

    /** Types a text; resolved when it was answered, whatever the answer is. */
    type(text) {
        return this.#send("text", { text });
    }

    /** Releases all that is down: the page is hidden. */
    releaseEverything() {
        this.endZoom();
        [...this.#down].forEach((held) => this.release(held.button));
        this.#pacer.flush();
    }

    #pressAll(modifiers) {
        modifiers.forEach((key) => this.#send("key", { key, action: "press" }));
    }

    #releaseAll(modifiers) {
        [...modifiers].reverse().forEach((key) => this.#send("key", { key, action: "release" }));
    }

    #send(request, fields) {
        if (!this.isReady) {
            return Promise.resolve();
        }
        this.#pacer.flush();
        return this.#request(request, fields);
    }

    #request(request, fields) {
        return this.#link.request(request, fields).catch((refusal) => {
            if (this.isReady) {
                this.dispatchEvent(new CustomEvent("refusal", { detail: refusal }));
            }
        });
    }

    /** The computer releases by itself what a phone that went away held. */
    #forgetIfAway() {
        if (!this.isReady) {
            this.#down = [];
            this.#isZooming = false;
            this.#pacer.clear();
        }
    }
}
