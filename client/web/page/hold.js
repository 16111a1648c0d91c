// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

/** Milliseconds until a held key repeats, and between two repetitions. */
const delay = 400;
const interval = 40;
/** The click of a touch comes so soon after it, in milliseconds. */
const clickTime = 400;

/**
 * Makes a button that acts when it is tapped, and again and again while it is held. A repetition
 * waits for the answer to the one before it, so that nothing goes on after the finger was lifted.
 * @param {HTMLElement} button
 * @param {() => Promise | void} act
 * @param {{isImmediate?: boolean, repeats?: boolean}} options immediate: acts on the touch itself,
 *     not when the finger is lifted; not for buttons in something that scrolls
 */
export function onHold(button, act, { isImmediate = false, repeats = false } = {}) {
    let timer = null;
    /** The click that follows a touch is done already. */
    let isDone = false;

    const repeat = async () => {
        const started = timer;
        isDone = true;
        await act();
        if (timer === started && timer !== null) {
            timer = setTimeout(repeat, interval);
        }
    };
    const stop = () => {
        clearTimeout(timer);
        timer = null;
        setTimeout(() => { isDone = false; }, clickTime);
    };
    button.addEventListener("pointerdown", (event) => {
        if (event.button !== 0) {
            return;
        }
        isDone = isImmediate;
        if (isImmediate) {
            act();
        }
        if (repeats) {
            timer = setTimeout(repeat, delay);
        }
    });
    for (const type of ["pointerup", "pointercancel", "pointerleave"]) {
        button.addEventListener(type, stop);
    }
    button.addEventListener("contextmenu", (event) => event.preventDefault());
    // Also what screen readers and keyboards send.
    button.addEventListener("click", () => {
        if (!isDone) {
            act();
        }
        isDone = false;
    });
}

/** The button does not take the focus, so the phone's keyboard stays open. */
export function keepFocus(element) {
    element.addEventListener("mousedown", (event) => event.preventDefault());
}
