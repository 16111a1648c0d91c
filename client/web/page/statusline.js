// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { conditionOf, isAtDoor } from "./condition.js";
import { show, text } from "./texts.js";

/** Shows the state of the connection, and makes all that would be sent inert while it could not be. */
export class StatusLine {
    #link;
    #line;
    #inert;

    /**
     * @param {HTMLElement} line
     * @param {object} link see link.js
     * @param {Element[]} inert what works only while the computer is ready
     */
    constructor(line, link, inert) {
        this.#line = line;
        this.#link = link;
        this.#inert = inert;
        inert.forEach((element) => element.classList.add("needs-computer"));
    }

    /** Shows what is so now. */
    refresh() {
        const condition = conditionOf(this.#link);
        const state = this.#stateOf(condition);
        document.body.dataset.state = state;
        const name = this.#link.server?.name || text("name.computer");
        show(this.#line, `state.${state}`, { values: { name } });
        this.#inert.forEach((element) => { element.inert = condition !== "ready"; });
        this.#refreshAbilities();
    }

    #stateOf(condition) {
        if (isAtDoor(condition)) {
            return "door";
        }
        // Grey, but not inert: the next answer may be near.
        return condition === "ready" && this.#link.isDoubtful ? "silent" : condition;
    }

    /** Disables what the desktop cannot do: buttons whose data-needs names an ability. */
    #refreshAbilities() {
        const isReady = conditionOf(this.#link) === "ready";
        const can = this.#link.server?.can ?? [];
        for (const element of document.querySelectorAll("[data-needs]")) {
            const isLacking = isReady && !can.includes(element.dataset.needs);
            element.classList.toggle("lacking", isLacking);
            if (isLacking) {
                element.inert = true;
            }
        }
    }
}
