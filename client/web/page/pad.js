// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { Gestures } from "./gestures.js";

/** A finger that lands so near to the edge of the screen holds the phone, in CSS pixels. */
const edge = 10;

/** The moves of a finger on it are not held back until the next frame. */
function coverWithCanvas(element) {
    const canvas = document.createElement("canvas");
    canvas.className = "catcher";
    canvas.width = 1;
    canvas.height = 1;
    canvas.getContext("2d", { desynchronized: true });
    element.prepend(canvas);
}

/** The touchpad: brings the fingers to the gestures, and what these make of them to the desktop. */
export class Pad {
    #element;
    #strip;
    #computer;
    #sticky;
    #gestures;
    /** When a finger was last on the pad, in milliseconds of performance.now(). */
    usedAt = -Infinity;
    #takesMovesAtOnce = false;
    #timer = null;
    #frame = null;
    #reducedMotion = matchMedia("(prefers-reduced-motion: reduce)");

    /**
     * @param {{pad: HTMLElement, strip: HTMLElement}} elements the touchpad, and its strip that scrolls
     * @param {object} computer see computer.js
     * @param {object} sticky see stickykeys.js
     * @param {{vibrate: () => void, clicks: () => void}} hooks clicks() is called before each click
     */
    constructor({ pad, strip }, computer, sticky, hooks) {
        this.#element = pad;
        this.#strip = strip;
        this.#computer = computer;
        this.#sticky = sticky;
        this.hooks = hooks;
        this.#gestures = new Gestures((action) => this.#act(action));
        for (const type of ["start", "move", "end", "cancel"]) {
            pad.addEventListener(`touch${type}`, (event) => this.#onTouch(type, event), { passive: false });
        }
        pad.addEventListener("contextmenu", (event) => event.preventDefault());
    }

    /** The options of gestures.js. */
    set options(options) {
        Object.assign(this.#gestures.options, options);
    }

    /**
     * Has the moves of fingers from now on as soon as they are made. Chromium holds them back until
     * the next frame, 15 ms on average, unless the finger is on a canvas that is drawn without
     * waiting for frames; so empty ones lie here. They cost time, so they come when the page is ready.
     */
    takeMovesAtOnce() {
        if (!this.#takesMovesAtOnce) {
            this.#takesMovesAtOnce = true;
            [this.#element, this.#strip].forEach(coverWithCanvas);
        }
    }

    /** Forgets all fingers and releases what they hold. */
    cancel() {
        this.#gestures.cancel();
        this.#schedule();
    }

    /** Something else is used: scrolling does not go on by itself. */
    stopGlide() {
        this.#gestures.stopGlide();
    }

    #onTouch(type, event) {
        if (event.cancelable) {
            event.preventDefault();
        }
        if (!this.#computer.isReady) {
            this.cancel();
            return;
        }
        if (type === "start") {
            this.#gestures.options.glides = !this.#reducedMotion.matches;
        }
        const touches = Array.from(event.changedTouches, (touch) => this.#touchOf(touch));
        const present = Array.from(event.touches)
            .filter((touch) => this.#element.contains(touch.target))
            .map((touch) => touch.identifier);
        this.#gestures.touch(type, touches, event.timeStamp, present);
        this.usedAt = event.timeStamp;
        this.#element.classList.add("known");
        this.#element.classList.toggle("touched", present.length > 0);
        this.#schedule();
    }

    #touchOf(touch) {
        const isOnStrip = this.#strip.contains(touch.target);
        const isAtEdge = touch.clientX < edge || touch.clientX > innerWidth - edge;
        return {
            id: touch.identifier,
            x: touch.clientX,
            y: touch.clientY,
            radius: Math.max(touch.radiusX ?? 0, touch.radiusY ?? 0),
            isOnStrip,
            isAtEdge: isAtEdge && !isOnStrip,
        };
    }

    /** Calls tick() when the gestures wait for the time. */
    #schedule() {
        clearTimeout(this.#timer);
        const next = this.#gestures.nextTime;
        if (this.#gestures.isGliding) {
            this.#frame ??= requestAnimationFrame(() => {
                this.#frame = null;
                this.#tick();
            });
        } else if (next !== null) {
            this.#timer = setTimeout(() => this.#tick(), Math.max(next - performance.now(), 0));
        }
    }

    #tick() {
        this.#gestures.tick(performance.now());
        this.#schedule();
    }

    #act(action) {
        switch (action.type) {
        case "move":
            this.#computer.move(action.dx, action.dy);
            break;
        case "scroll":
            this.#computer.scroll(action.dx, action.dy);
            break;
        case "zoom":
            this.#computer.zoom(action.dy);
            break;
        case "zoomEnd":
            this.#computer.endZoom();
            break;
        case "click":
            this.hooks.clicks();
            this.#computer.click(action.button, this.#sticky.take());
            break;
        case "press":
            this.hooks.clicks();
            this.#computer.press(action.button, this.#sticky.take());
            break;
        case "release":
            this.#computer.release(action.button);
            break;
        default:
            this.hooks.vibrate();
        }
    }
}
