// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { keepFocus, onHold } from "./hold.js";
import { modifiers } from "./stickykeys.js";
import { show } from "./texts.js";

const functionKeys = Array.from({ length: 12 }, (_, index) => `F${index + 1}`);
const arrows = ["ArrowLeft", "ArrowDown", "ArrowUp", "ArrowRight"];
const repeating = new Set([...arrows, "Backspace", "Delete", "PageUp", "PageDown", "Tab"]);

/** The row below the touchpad. */
const row = [
    "Escape", "Tab", "Control", "Alt", "Shift", "Meta", ...arrows, "Home", "End", "PageUp",
    "PageDown", "Delete", "F",
];

/** The view of keys: groups of keys, and shortcuts with a name of their own. */
const groups = {
    functions: functionKeys,
    editing: ["Escape", "Tab", "Backspace", "Enter", "Insert", "Delete", "Home", "End", "PageUp", "PageDown",
        "PrintScreen", "ContextMenu"],
    arrows: ["ArrowUp", "ArrowLeft", "ArrowDown", "ArrowRight"],
    modifiers,
};

const shortcuts = [
    { name: "copy", key: "c", held: ["Control"] },
    { name: "paste", key: "v", held: ["Control"] },
    { name: "cut", key: "x", held: ["Control"] },
    { name: "undo", key: "z", held: ["Control"] },
    { name: "selectAll", key: "a", held: ["Control"] },
    { name: "save", key: "s", held: ["Control"] },
    { name: "find", key: "f", held: ["Control"] },
    { name: "newTab", key: "t", held: ["Control"] },
    { name: "closeTab", key: "w", held: ["Control"] },
    { name: "nextWindow", key: "Tab", held: ["Alt"] },
    { name: "closeWindow", key: "F4", held: ["Alt"] },
    { name: "menu", key: "Meta", held: [] },
];

/** The keys that are not on a phone's keyboard: the row, and the view. */
export class Keys {
    #press;
    #sticky;
    #modifierButtons = [];

    /**
     * @param {(key: string, held: string[]) => Promise} press taps a key with these modifiers
     * @param {object} sticky see stickykeys.js
     */
    constructor(press, sticky) {
        this.#press = press;
        this.#sticky = sticky;
        sticky.addEventListener("change", () => this.#showModifiers());
    }

    /** Fills the row below the touchpad. */
    fillRow(element) {
        const folded = element.ownerDocument.createElement("div");
        folded.className = "folded";
        folded.hidden = true;
        folded.append(...functionKeys.map((key) => this.#keyButton(key)));
        const buttons = row.map((key) => (key === "F" ? foldButton(folded) : this.#keyButton(key)));
        element.append(...buttons, folded);
        keepFocus(element);
    }

    /** Fills the elements of the view that are named by their data-keys. */
    fillView(view) {
        for (const [name, keys] of Object.entries(groups)) {
            const group = view.querySelector(`[data-keys="${name}"]`);
            group.append(...keys.map((key) => this.#keyButton(key, name === "arrows")));
        }
        view.querySelector("[data-keys=\"shortcuts\"]").append(
            ...shortcuts.map((shortcut) => this.#shortcutButton(shortcut)));
    }

    #keyButton(key, isImmediate = false) {
        if (modifiers.includes(key)) {
            return this.#modifierButton(key);
        }
        const button = buttonFor(key);
        onHold(button, () => this.#press(key, this.#sticky.take()),
            { isImmediate, repeats: repeating.has(key) });
        return button;
    }

    #shortcutButton({ name, key, held }) {
        const button = document.createElement("button");
        button.type = "button";
        button.dataset.shortcut = name;
        show(button, `shortcut.${name}`);
        onHold(button, () => {
            const sticky = this.#sticky.take().filter((modifier) => !held.includes(modifier));
            return this.#press(key, [...held, ...sticky]);
        });
        return button;
    }

    #modifierButton(modifier) {
        const button = buttonFor(modifier);
        button.classList.add("modifier");
        button.setAttribute("aria-pressed", "false");
        button.addEventListener("click", (event) => this.#sticky.tap(modifier, event.timeStamp));
        this.#modifierButtons.push(button);
        return button;
    }

    #showModifiers() {
        for (const button of this.#modifierButtons) {
            const state = this.#sticky.stateOf(button.dataset.key);
            button.dataset.state = state;
            button.setAttribute("aria-pressed", String(state !== "off"));
            show(button, state === "locked" ? "key.locked" : `name.${button.dataset.key}`, {
                attribute: "aria-label",
                values: { key: button.textContent },
            });
        }
    }
}

/** A button that shows what the key's cap shows, and says its name to screen readers. */
function buttonFor(key) {
    const button = document.createElement("button");
    button.type = "button";
    button.dataset.key = key;
    if (functionKeys.includes(key)) {
        button.textContent = key;
    } else {
        show(button, `cap.${key}`);
        show(button, `name.${key}`, { attribute: "aria-label" });
    }
    return button;
}

function foldButton(folded) {
    const button = document.createElement("button");
    button.type = "button";
    button.textContent = "F1\u201312";
    button.setAttribute("aria-expanded", "false");
    button.addEventListener("click", () => {
        folded.hidden = !folded.hidden;
        button.setAttribute("aria-expanded", String(!folded.hidden));
        if (!folded.hidden) {
            folded.firstElementChild.scrollIntoView({ inline: "start", block: "nearest" });
        }
    });
    return button;
}
