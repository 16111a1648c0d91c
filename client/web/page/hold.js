// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

/** Milliseconds until a held key repeats, and between two repetitions. */
const delay = 400;
const interval = 40;
/** A click so long after the touch is not the touch's own. */
const sameTouch = 1000;

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
    let actedAt = -Infinity;

    const repeat = async () => {
        const started = timer;
        actedAt = performance.now();
        await act();
        if (timer === started && timer !== null) {
            timer = setTimeout(repeat, interval);
        }
    };
    const stop = () => {
        clearTimeout(timer);
        timer = null;
    };
    button.addEventListener("pointerdown", (event) => {
        if (event.button !== 0 || button.disabled) {
            return;
        }
        actedAt = -Infinity;
        if (isImmediate) {
            actedAt = performance.now();
            act();
        }
        if (repeats) {
            timer = setTimeout(repeat, delay);
        }
    });
    for (const type of ["pointerup", "pointercancel", "pointerleave", "lostpointercapture"]) {
        button.addEventListener(type, stop);
    }
    button.addEventListener("contextmenu", (event) => event.preventDefault());
    // Also what screen readers and keyboards send.
    button.addEventListener("click", () => {
        stop();
        if (performance.now() - actedAt > sameTouch) {
            act();
        }
        actedAt = -Infinity;
    });
}

/** The button does not take the focus, so the phone's keyboard stays open. */
export function keepFocus(element) {
    element.addEventListener("mousedown", (event) => event.preventDefault());
}
