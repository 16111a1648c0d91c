// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { hasText, text } from "./texts.js";

const duration = 4000;
let timer = null;

/** Shows a sentence for some seconds; screen readers say it. */
export function notify(sentence) {
    const notice = document.getElementById("notice");
    if (notice.hidden || notice.textContent !== sentence) {
        notice.textContent = sentence;
        notice.hidden = false;
    }
    clearTimeout(timer);
    timer = setTimeout(() => { notice.hidden = true; }, duration);
}

/** Why the computer did not do something, in the language of the page where that has words for it. */
export function reasonOf({ error, message }) {
    return hasText(`error.${error}`) ? text(`error.${error}`) : message;
}
