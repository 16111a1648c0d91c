// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

/**
 * Blanks that stand before the text, so that a phone's keyboard has something to delete when the
 * user deletes what was typed earlier.
 */
const padding = "\u00a0".repeat(24);
/** With fewer of them left the field is filled again. */
const leastPadding = 8;
/** A longer text is forgotten when the user pauses: a correction at its beginning would delete it all. */
const longText = 200;

const deletionKeys = {
    deleteWordBackward: ["Backspace", ["Control"]],
    deleteWordForward: ["Delete", ["Control"]],
    deleteContentForward: ["Delete", []],
};

/** Keys that change nothing in the field, of keyboards that say which key was pressed. */
const namedKeys = new Set([
    "Escape", "Tab", "ArrowLeft", "ArrowRight", "ArrowUp", "ArrowDown", "Home", "End", "PageUp",
    "PageDown", "Insert", "Delete", "ContextMenu", "PrintScreen", "Pause",
    ...Array.from({ length: 12 }, (_, index) => `F${index + 1}`),
]);

/**
 * The field that the phone's keyboard writes to. What it holds is compared after each change, since
 * phones say nothing reliable about keys: autocorrection, swiping, dictation and emoji all end here.
 */
export class TextField {
    #field;
    #queue;
    #sticky;
    #isAllowed;
    #known = padding;
    #isComposing = false;
    #font = "";
    #width = 0;

    /**
     * @param {HTMLTextAreaElement} field
     * @param {object} queue see textqueue.js
     * @param {object} sticky see stickykeys.js
     * @param {() => boolean} isAllowed whether anything may be typed now
     */
    constructor(field, queue, sticky, isAllowed) {
        this.#field = field;
        this.#queue = queue;
        this.#sticky = sticky;
        this.#isAllowed = isAllowed;
        field.addEventListener("keydown", (event) => this.#onKeyDown(event));
        field.addEventListener("beforeinput", (event) => this.#onBeforeInput(event));
        field.addEventListener("input", () => this.#onInput());
        field.addEventListener("compositionstart", () => { this.#isComposing = true; });
        field.addEventListener("compositionend", () => this.#onCompositionEnd());
        field.addEventListener("focus", () => {
            this.#placeCaret();
            this.#hidePadding();
        });
        field.addEventListener("blur", () => this.forget());
        this.forget();
    }

    /**
     * Begins with an empty text: the caret of the desktop is elsewhere now, so nothing that was
     * typed before may be corrected.
     */
    forget() {
        this.#known = padding;
        this.#isComposing = false;
        if (this.#field.value !== padding) {
            this.#field.value = padding;
        }
        this.#placeCaret();
        this.#hidePadding();
    }

    /** Whether the phone's keyboard may suggest and correct words. */
    set suggests(suggests) {
        this.#field.setAttribute("autocomplete", suggests ? "on" : "off");
        this.#field.setAttribute("autocorrect", suggests ? "on" : "off");
        this.#field.spellcheck = suggests;
    }

    /** Moves the padding out of sight, and the hint if there is a text. */
    #hidePadding() {
        const left = paddingOf(this.#field.value);
        this.#field.parentElement.classList.toggle("filled", this.#field.value.length > left);
        if (document.activeElement !== this.#field) {
            return; // Measuring takes a slow phone a while, and there is nothing to see yet.
        }
        this.#field.style.textIndent = `${-left * this.#blankWidth()}px`;
    }

    #blankWidth() {
        const { font } = getComputedStyle(this.#field);
        if (font !== this.#font) {
            this.#font = font;
            const context = document.createElement("canvas").getContext("2d");
            context.font = font;
            this.#width = context.measureText(padding).width / padding.length;
        }
        return this.#width;
    }

    #placeCaret() {
        // Elsewhere this would open the keyboard of an iPhone.
        if (document.activeElement === this.#field) {
            const end = this.#field.value.length;
            this.#field.setSelectionRange(end, end);
        }
    }

    #onKeyDown(event) {
        const isUnknown = event.keyCode === 229 || event.isComposing || event.key === "Unidentified" ||
            event.key === "Dead" || event.key === "Process";
        if (isUnknown || event.getModifierState("AltGraph")) {
            return;
        }
        const held = heldModifiers(event);
        if (!namedKeys.has(event.key) && !isShortcut(event, held)) {
            return;
        }
        event.preventDefault();
        this.#tapKey(event.key, held);
    }

    #onBeforeInput(event) {
        if (!this.#isAllowed()) {
            event.preventDefault();
            return;
        }
        if (!event.cancelable) {
            return; // The change comes anyway, and is found by comparing.
        }
        const type = event.inputType;
        if (type === "insertLineBreak" || type === "insertParagraph") {
            event.preventDefault();
            this.#tapKey("Enter");
        } else if (deletionKeys[type] && this.#isBeyondText(type)) {
            event.preventDefault();
            const [key, held] = deletionKeys[type];
            this.#tapKey(key, held);
        } else if (type === "deleteContentBackward" && this.#sticky.active.length > 0) {
            event.preventDefault();
            this.#tapKey("Backspace");
        } else if (type === "historyUndo" || type === "historyRedo") {
            event.preventDefault();
        }
    }

    /** There is nothing of what we typed that this would delete. */
    #isBeyondText(type) {
        return type.endsWith("Forward") || this.#field.value.trim() === "";
    }

    #onInput() {
        const before = this.#known;
        const after = this.#field.value;
        if (before === after) {
            return;
        }
        if (!this.#isAllowed()) {
            this.forget();
        } else if (this.#sticky.active.length > 0) {
            this.#typeWithModifiers(before, after);
        } else {
            this.#known = after;
            this.#queue.change(before, after);
            this.#tidy();
            this.#hidePadding();
        }
    }

    /** What was typed with a modifier is a key, not a text. */
    #typeWithModifiers(before, after) {
        const added = after.startsWith(before) ? Array.from(after.slice(before.length)) : [];
        this.forget();
        added.forEach((character) => {
            const held = this.#sticky.take();
            if (held.length === 0) {
                this.#queue.change("", character);
            } else {
                this.#queue.key(keyOf(character, held), held);
            }
        });
    }

    #tapKey(key, held = []) {
        if (this.#isAllowed()) {
            const sticky = this.#sticky.take().filter((modifier) => !held.includes(modifier));
            this.#queue.key(key, [...held, ...sticky]);
        }
        this.forget();
    }

    #onCompositionEnd() {
        this.#isComposing = false;
        // Some browsers change the text once more after this event.
        setTimeout(() => this.#tidy());
    }

    #tidy() {
        const value = this.#field.value;
        const left = paddingOf(value);
        const isWorn = left < leastPadding || value.includes("\n") ||
            (value.length - left > longText && /\s$/.test(value));
        if (isWorn && !this.#isComposing) {
            this.forget();
        }
    }
}

/** How many blanks of the padding are left. */
function paddingOf(value) {
    return value.length - value.replace(/^\u00a0+/, "").length;
}

function heldModifiers(event) {
    return [
        event.ctrlKey && "Control", event.altKey && "Alt", event.shiftKey && "Shift", event.metaKey && "Meta",
    ].filter(Boolean);
}

/** A character with Control or Meta, or with Alt where Alt makes no character of its own. */
function isShortcut(event, held) {
    if (Array.from(event.key).length !== 1) {
        return (event.key === "Backspace" || event.key === "Enter") &&
            held.some((modifier) => modifier !== "Shift");
    }
    return held.includes("Control") || held.includes("Meta") ||
        (held.includes("Alt") && /^[a-z0-9]$/i.test(event.key));
}

/** Phones begin sentences with capitals; a shortcut has none unless Shift is meant. */
function keyOf(character, held) {
    return held.includes("Shift") ? character : character.toLowerCase();
}
