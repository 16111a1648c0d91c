// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

const svg = "http://www.w3.org/2000/svg";

/** A drawing of index.html, hidden from screen readers. */
export function icon(name) {
    const element = document.createElementNS(svg, "svg");
    element.setAttribute("aria-hidden", "true");
    const use = document.createElementNS(svg, "use");
    use.setAttribute("href", `#icon-${name}`);
    element.append(use);
    return element;
}
