// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { fullAddress } from "./address.js";
import { copyFrom, getClipboard, setClipboard } from "./clipboard.js";
import { FileList } from "./filelist.js";
import { notify, reasonOf } from "./notice.js";
import { connectFields } from "./settingsview.js";
import { text } from "./texts.js";
import { TransferList } from "./transferlist.js";

/** The view for what goes from the phone to the computer and back: clipboard, addresses, files. */
export class Exchange {
    #view;
    #link;
    #settings;
    #transfers;
    #isWatching = false;

    /**
     * @param {HTMLElement} view
     * @param {object} link see link.js
     * @param {object} transfers see transfers.js
     * @param {object} settings see settings.js
     */
    constructor(view, link, transfers, settings) {
        this.#view = view;
        this.#link = link;
        this.#settings = settings;
        this.#transfers = transfers;
        this.#connectClipboard();
        this.#connectAddress();
        this.#connectFiles();
    }

    /** The computer is ready, or is not any more. */
    refresh(isReady) {
        if (!isReady) {
            this.#isWatching = false;
        } else if (!this.#isWatching && this.#link.server.can.includes("clipboard.watch")) {
            this.#isWatching = true;
            this.#link.request("clipboard.watch", { on: true }).catch(() => {});
        }
    }

    #connectClipboard() {
        const field = this.#part("clip-text");
        const fetchButton = this.#part("clip-get");
        this.#onClick("clip-send", async () => {
            await setClipboard(this.#link, field.value);
            notify(text("clip.sent"));
        });
        this.#onClick("clip-get", async () => {
            fetchButton.classList.remove("news");
            field.value = await getClipboard(this.#link);
            notify(text("clip.got"));
        });
        this.#part("clip-copy").addEventListener("click", async () => {
            notify(text(await copyFrom(field) ? "clip.copied" : "clip.select"));
        });
        this.#link.addEventListener("event", ({ detail }) => {
            if (detail.event === "clipboard") {
                fetchButton.classList.add("news");
            }
        });
    }

    #connectAddress() {
        this.#view.querySelector("#address-form").addEventListener("submit", (event) => {
            event.preventDefault();
            const field = this.#part("address");
            const address = fullAddress(field.value);
            if (address === "") {
                field.focus();
                return;
            }
            this.#try(async () => {
                await this.#link.request("open", { address });
                notify(text("address.opened"));
            });
        });
    }

    #connectFiles() {
        connectFields(this.#view, this.#settings);
        const input = this.#part("file-input");
        input.addEventListener("change", () => {
            const opens = this.#settings.get("opensFiles");
            this.#transfers.send(input.files, opens);
            input.value = "";
        });
        new TransferList(this.#part("transfers"), this.#part("transfers-clear"), this.#transfers);
        const files = new FileList(this.#part("files"), this.#part("files-more"),
            (file) => this.#transfers.fetch(file));
        this.#onClick("files-show", async () => files.show(await this.#allFiles()));
    }

    async #allFiles() {
        const files = [];
        let isMore = true;
        while (isMore) {
            const after = files.at(-1)?.name ?? "";
            const { fields } = await this.#link.request("file.list", { after });
            files.push(...fields.files);
            isMore = fields.more === true && fields.files.length > 0;
        }
        return files;
    }

    #onClick(id, act) {
        const button = this.#part(id);
        button.addEventListener("click", async () => {
            button.disabled = true;
            await this.#try(act);
            button.disabled = false;
        });
    }

    async #try(act) {
        try {
            await act();
        } catch (refusal) {
            notify(reasonOf(refusal));
        }
    }

    #part(id) {
        return this.#view.querySelector(`#${id}`);
    }
}
