// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { sizeText, timeText } from "./amounts.js";
import { show, text } from "./texts.js";

/** So many files are shown at once; a long list would make a slow phone wait. */
const page = 50;

/** The files of the computer's download directory, the latest first. */
export class FileList {
    #list;
    #more;
    #fetch;
    #files = [];
    #shown = 0;

    /**
     * @param {HTMLElement} list
     * @param {HTMLElement} more the button that shows more
     * @param {(file: {name: string, size: number}) => void} fetch
     */
    constructor(list, more, fetch) {
        this.#list = list;
        this.#more = more;
        this.#fetch = fetch;
        more.addEventListener("click", () => this.#showMore());
    }

    /** Shows these files. */
    show(files) {
        this.#files = [...files].sort((one, other) => other.modified - one.modified);
        this.#shown = 0;
        this.#list.replaceChildren();
        if (files.length === 0) {
            const none = document.createElement("li");
            show(none, "files.none");
            this.#list.append(none);
        }
        this.#showMore();
    }

    #showMore() {
        const next = this.#files.slice(this.#shown, this.#shown + page);
        this.#shown += next.length;
        this.#list.append(...next.map((file) => this.#rowOf(file)));
        this.#more.hidden = this.#shown === this.#files.length;
    }

    #rowOf(file) {
        const language = document.documentElement.lang;
        const row = document.createElement("li");
        const label = document.createElement("p");
        const name = document.createElement("b");
        const about = document.createElement("small");
        const button = document.createElement("button");
        name.textContent = file.name;
        about.textContent = `${sizeText(file.size, language)} · ${timeText(file.modified, language)}`;
        label.append(name, about);
        button.type = "button";
        button.textContent = text("files.fetch");
        button.setAttribute("aria-label", `${text("files.fetch")}: ${file.name}`);
        button.addEventListener("click", () => this.#fetch(file));
        row.append(label, button);
        return row;
    }
}
