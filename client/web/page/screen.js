// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

/** A window that is so much lower than it was has the phone's keyboard below it. */
const keyboardPart = 0.82;

/**
 * Keeps the page above the phone's keyboard, and marks the body with "typing" while that is open.
 * Browsers that make the page smaller by themselves need no help; the others move it.
 */
export function followKeyboard(onChange) {
    const viewport = window.visualViewport;
    const tallest = new Map();
    const follow = () => {
        if (!viewport || viewport.scale > 1.01) {
            return; // The user looks closer at a part of the page.
        }
        const height = Math.round(viewport.height);
        const width = Math.round(viewport.width);
        tallest.set(width, Math.max(tallest.get(width) ?? 0, height, window.innerHeight));
        document.body.style.setProperty("--height", `${height}px`);
        document.body.style.setProperty("--top", `${Math.round(viewport.offsetTop)}px`);
        const isOpen = height < tallest.get(width) * keyboardPart && isTextField(document.activeElement);
        if (document.body.classList.toggle("typing", isOpen) !== follow.wasOpen) {
            follow.wasOpen = isOpen;
            onChange(isOpen);
        }
    };
    viewport?.addEventListener("resize", follow);
    viewport?.addEventListener("scroll", follow);
    document.addEventListener("focusin", follow);
    document.addEventListener("focusout", follow);
}

function isTextField(element) {
    return element instanceof HTMLTextAreaElement || element instanceof HTMLInputElement;
}
