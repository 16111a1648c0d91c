// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { conditionOf } from "./condition.js";
import { isCode } from "./link.js";
import { show } from "./texts.js";

/** For these no code is needed, or none would help. */
const withoutCode = ["shut-out", "elsewhere"];
/** What the button to connect again says. */
const buttons = { refused: "door.again", elsewhere: "door.here" };

/** What a phone shows that has no way in: how to get a code, and a field for it. */
export class Door {
    #element;
    #link;

    /**
     * @param {HTMLElement} element
     * @param {object} link see link.js
     */
    constructor(element, link) {
        this.#element = element;
        this.#link = link;
        const field = this.#part("#code");
        field.addEventListener("input", () => this.#part("#code-fault").replaceChildren());
        this.#part("form").addEventListener("submit", (event) => {
            event.preventDefault();
            this.#enter(field);
        });
        this.#part("#try-again").addEventListener("click", () => link.start());
    }

    /** Shows why the phone is not let in. */
    refresh() {
        const condition = conditionOf(this.#link);
        const reason = this.#part("#door-reason");
        if (condition === "unpaired") {
            reason.replaceChildren();
        } else {
            const minutes = Math.ceil((this.#link.waitSeconds ?? 0) / 60);
            show(reason, `door.${condition}`, { values: { minutes } });
        }
        const button = this.#part("#try-again");
        button.hidden = !(condition in buttons);
        show(button, buttons[condition] ?? "door.again");
        for (const part of ["#door-steps", "#code-part"]) {
            this.#part(part).hidden = withoutCode.includes(condition);
        }
    }

    #enter(field) {
        if (isCode(field.value) && this.#link.takeCode(field.value)) {
            field.value = "";
            field.blur();
        } else {
            show(this.#part("#code-fault"), "door.badCode");
            field.focus();
        }
    }

    #part(selector) {
        return this.#element.querySelector(selector);
    }
}
