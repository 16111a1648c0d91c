// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

/** The click of a touch comes so soon after it, in milliseconds. */
const clickTime = 400;

/** The buttons below the touchpad. They hold while a finger is on them, so another finger can drag. */
export class MouseButtons {
    #computer;
    #sticky;
    #beforeClick;
    /** Pointers on buttons: id to button. */
    #held = new Map();
    #touchedAt = -Infinity;

    /**
     * @param {HTMLElement} element its buttons are named by data-button
     * @param {object} computer see computer.js
     * @param {object} sticky see stickykeys.js
     * @param {() => void} beforeClick
     */
    constructor(element, computer, sticky, beforeClick) {
        this.#computer = computer;
        this.#sticky = sticky;
        this.#beforeClick = beforeClick;
        element.addEventListener("mousedown", (event) => event.preventDefault());
        element.addEventListener("contextmenu", (event) => event.preventDefault());
        for (const button of element.querySelectorAll("[data-button]")) {
            this.#connect(button);
        }
    }

    /** Forgets all fingers and releases the buttons. */
    cancel() {
        [...this.#held.keys()].forEach((pointer) => this.#release(pointer));
    }

    #connect(button) {
        button.addEventListener("pointerdown", (event) => this.#press(event.pointerId, button));
        for (const type of ["pointerup", "pointercancel", "lostpointercapture"]) {
            button.addEventListener(type, (event) => {
                this.#touchedAt = event.timeStamp;
                this.#release(event.pointerId);
            });
        }
        // What screen readers and keyboards send.
        button.addEventListener("click", (event) => {
            if (event.timeStamp - this.#touchedAt > clickTime) {
                this.#beforeClick();
                this.#computer.click(button.dataset.button, this.#sticky.take());
            }
        });
    }

    #press(pointer, button) {
        const name = button.dataset.button;
        if (!this.#computer.isReady || this.#isHeld(name)) {
            return;
        }
        this.#beforeClick();
        this.#held.set(pointer, button);
        button.classList.add("held");
        if (this.#computer.can("drag")) {
            this.#computer.press(name, this.#sticky.take());
        }
    }

    #release(pointer) {
        const button = this.#held.get(pointer);
        if (!button) {
            return;
        }
        this.#held.delete(pointer);
        button.classList.remove("held");
        if (this.#computer.can("drag")) {
            this.#computer.release(button.dataset.button);
        } else {
            this.#computer.click(button.dataset.button, this.#sticky.take());
        }
    }

    #isHeld(name) {
        return [...this.#held.values()].some((button) => button.dataset.button === name);
    }
}
