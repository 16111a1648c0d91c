// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { de } from "./texts.de.js";
import { en } from "./texts.en.js";

export const languages = { en, de };

let current = en;

/**
 * Chooses the language of all texts.
 * @param {string} choice "en", "de", or "auto" for the browser's
 * @param {readonly string[]} [preferred] the browser's languages, the best first
 */
export function useLanguage(choice, preferred = navigator.languages) {
    const known = [choice, ...(choice === "auto" ? preferred : [])]
        .map((language) => language.slice(0, 2).toLowerCase())
        .find((language) => languages[language]);
    current = languages[known] ?? en;
    return known ?? "en";
}

/** The text, with `{name}` replaced by the value of that name. */
export function text(key, values = {}) {
    return (current[key] ?? key).replace(/\{(\w+)\}/g, (_, name) => values[name] ?? "");
}

/** The language has that text. */
export function hasText(key) {
    return key in current;
}

/**
 * Shows a text in an element, and remembers it for a change of the language.
 * @param {Element} element
 * @param {string} key
 * @param {{attribute?: string, values?: object}} options the attribute that gets the text instead
 */
export function show(element, key, { attribute = "", values = {} } = {}) {
    element.shown ??= {};
    element.shown[attribute] = { key, values };
    element.toggleAttribute("data-shows", true);
    write(element, attribute);
}

/** Writes all texts below the element: those of show(), and of the attributes data-text, data-label and data-hint. */
export function translate(root) {
    for (const element of root.querySelectorAll("[data-text]")) {
        element.textContent = text(element.dataset.text);
    }
    for (const element of root.querySelectorAll("[data-label]")) {
        element.setAttribute("aria-label", text(element.dataset.label));
    }
    for (const element of root.querySelectorAll("[data-hint]")) {
        element.placeholder = text(element.dataset.hint);
    }
    for (const element of root.querySelectorAll("[data-shows]")) {
        Object.keys(element.shown ?? {}).forEach((attribute) => write(element, attribute));
    }
}

function write(element, attribute) {
    const { key, values } = element.shown[attribute];
    if (attribute === "") {
        element.textContent = text(key, values);
    } else {
        element.setAttribute(attribute, text(key, values));
    }
}
