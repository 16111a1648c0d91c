// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

/**
 * The bar of views: one tap, or the arrow keys of a keyboard.
 * @param {HTMLElement} bar its children are the tabs
 * @param {(view: string) => void} onChange gets the id of the view that is shown now
 */
export function connectTabs(bar, onChange) {
    const tabs = [...bar.querySelectorAll("[role=tab]")];
    const choose = (chosen) => {
        for (const tab of tabs) {
            const isChosen = tab === chosen;
            tab.setAttribute("aria-selected", String(isChosen));
            tab.tabIndex = isChosen ? 0 : -1;
            document.getElementById(tab.getAttribute("aria-controls")).hidden = !isChosen;
        }
        onChange(chosen.getAttribute("aria-controls"));
    };
    tabs.forEach((tab) => tab.addEventListener("click", () => choose(tab)));
    bar.addEventListener("keydown", (event) => {
        const step = { ArrowRight: 1, ArrowDown: 1, ArrowLeft: -1, ArrowUp: -1 }[event.key];
        if (step) {
            const next = tabs[(tabs.indexOf(event.target) + step + tabs.length) % tabs.length];
            next.focus();
            choose(next);
        }
    });
    choose(tabs[0]);
}
