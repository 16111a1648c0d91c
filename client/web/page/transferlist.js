// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { sizeText } from "./amounts.js";
import { notify, reasonOf } from "./notice.js";
import { text } from "./texts.js";

/** Shows the transfers of files, with what can be done about each. */
export class TransferList {
    #list;
    #clearButton;
    #transfers;
    /** @type {Map<object, object>} a transfer's elements */
    #rows = new Map();
    #isScheduled = false;

    /**
     * @param {HTMLElement} list
     * @param {HTMLElement} clearButton
     * @param {object} transfers see transfers.js
     */
    constructor(list, clearButton, transfers) {
        this.#list = list;
        this.#clearButton = clearButton;
        this.#transfers = transfers;
        clearButton.addEventListener("click", () => transfers.clear());
        transfers.addEventListener("change", () => this.#schedule());
    }

    /** Once a frame is often enough for the eye. */
    #schedule() {
        if (!this.#isScheduled) {
            this.#isScheduled = true;
            requestAnimationFrame(() => {
                this.#isScheduled = false;
                this.#refresh();
            });
        }
    }

    #refresh() {
        for (const [transfer, row] of this.#rows) {
            if (!this.#transfers.list.includes(transfer)) {
                row.element.remove();
                URL.revokeObjectURL(row.save.href);
                this.#rows.delete(transfer);
            }
        }
        for (const transfer of this.#transfers.list) {
            if (!this.#rows.has(transfer)) {
                this.#rows.set(transfer, this.#newRow(transfer));
            }
            this.#refreshRow(transfer, this.#rows.get(transfer));
        }
        const hasEnded = ({ state }) => state !== "waiting" && state !== "running";
        this.#clearButton.hidden = !this.#transfers.list.some(hasEnded);
    }

    #newRow(transfer) {
        const row = {
            element: document.createElement("li"),
            name: document.createElement("b"),
            about: document.createElement("small"),
            bar: document.createElement("progress"),
            cancel: buttonWith("transfer.cancel", () => this.#transfers.cancel(transfer)),
            retry: buttonWith("transfer.retry", () => this.#transfers.retry(transfer)),
            save: document.createElement("a"),
        };
        row.save.className = "button";
        row.save.textContent = text("transfer.save");
        const label = document.createElement("p");
        label.append(row.name, row.about, row.bar);
        row.element.append(label, row.cancel, row.retry, row.save);
        this.#list.prepend(row.element);
        return row;
    }

    #refreshRow(transfer, row) {
        const { state, name, size, done } = transfer;
        row.name.textContent = name;
        row.about.textContent = aboutOf(transfer);
        if (state !== row.element.dataset.state && (state === "complete" || state === "failed")) {
            notify(`${name}: ${aboutOf(transfer)}`);
        }
        row.bar.setAttribute("aria-label", name);
        row.bar.max = Math.max(size, 1);
        row.bar.value = size === 0 && state === "complete" ? 1 : done;
        row.bar.hidden = state !== "running" && state !== "waiting";
        row.cancel.hidden = row.bar.hidden;
        row.retry.hidden = state !== "failed" && state !== "cancelled";
        row.save.hidden = !transfer.blob;
        row.element.dataset.state = state;
        row.element.dataset.kind = transfer.kind;
        if (transfer.blob && !row.save.hasAttribute("href")) {
            row.save.href = URL.createObjectURL(transfer.blob);
            row.save.download = name;
            row.save.click();
        }
    }
}

/** Bytes while it runs, and then how it ended. */
function aboutOf(transfer) {
    const language = document.documentElement.lang;
    const { state, size, done, kind } = transfer;
    const values = { done: sizeText(done, language), size: sizeText(size, language) };
    if (state === "failed") {
        return reasonOf(transfer.reason);
    }
    if (state === "complete") {
        const end = transfer.opens && !transfer.couldOpen ? "unopened" : kind;
        return text(`transfer.complete.${end}`, values);
    }
    return text(`transfer.${state}`, values);
}

function buttonWith(key, act) {
    const button = document.createElement("button");
    button.type = "button";
    button.textContent = text(key);
    button.addEventListener("click", act);
    return button;
}
