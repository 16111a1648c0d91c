// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

/** How much is under way: pieces of so many bytes, and how many of them. */
export const fullPace = { bytes: 128 * 1024, pieces: 4 };
/** While the touchpad is used its moves must not wait behind long pieces. */
export const gentlePace = { bytes: 32 * 1024, pieces: 1 };

/** So many pieces of a download become one Blob, which a browser may keep outside of its memory. */
const piecesOfBlob = 64;
const longestName = 255;
/** The errors for people are written by the page, see texts.*.js. */
const unreadable = { error: "unreadable", message: "The file cannot be read." };
const changed = { error: "changed", message: "The file was changed meanwhile." };

/** A transfer that its user has cancelled. */
class Cancelled extends Error {}

/**
 * Transfers of files, one after the other. Dispatches "change" whenever something of them changes.
 * A transfer has `name`, `size`, `done` (bytes), `state` ("waiting", "running", "complete",
 * "failed", "cancelled") and `reason`, the refusal, when it failed.
 */
export class Transfers extends EventTarget {
    #link;
    #pace;
    #isRunning = false;
    /** @type {object[]} the latest at the end */
    list = [];

    /**
     * @param {object} link see link.js
     * @param {() => {bytes: number, pieces: number}} pace asked before each piece
     */
    constructor(link, pace = () => fullPace) {
        super();
        this.#link = link;
        this.#pace = pace;
    }

    /** Sends files to the computer, which opens them when they are there if that is wanted. */
    send(files, opens = false) {
        this.#add(Array.from(files, (file) => ({
            kind: "upload", file, opens, name: file.name, size: file.size,
        })));
    }

    /** Fetches a file of the computer; `blob` has its content when it is complete. */
    fetch({ name, size }) {
        this.#add([{ kind: "download", name, size, blob: null }]);
    }

    /** Ends a transfer; of an upload the computer removes what has come. */
    cancel(transfer) {
        if (transfer.state === "waiting" || transfer.state === "running") {
            this.#set(transfer, { state: "cancelled" });
        }
    }

    /** Begins a transfer again that failed or was cancelled. */
    retry(transfer) {
        if (transfer.state === "failed" || transfer.state === "cancelled") {
            this.#set(transfer, { state: "waiting", done: 0, reason: null });
            this.#run();
        }
    }

    /** Forgets what has ended. */
    clear() {
        this.list = this.list.filter(({ state }) => state === "waiting" || state === "running");
        this.dispatchEvent(new Event("change"));
    }

    #add(transfers) {
        const waiting = transfers.map((one) => ({ ...one, done: 0, state: "waiting", reason: null }));
        this.list.push(...waiting);
        this.dispatchEvent(new Event("change"));
        this.#run();
    }

    #set(transfer, values) {
        Object.assign(transfer, values);
        this.dispatchEvent(new Event("change"));
    }

    async #run() {
        if (this.#isRunning) {
            return;
        }
        this.#isRunning = true;
        for (let next = this.#waiting(); next; next = this.#waiting()) {
            await this.#carryOut(next);
        }
        this.#isRunning = false;
    }

    #waiting() {
        return this.list.find(({ state }) => state === "waiting");
    }

    async #carryOut(transfer) {
        this.#set(transfer, { state: "running" });
        try {
            await (transfer.kind === "upload" ? this.#upload(transfer) : this.#download(transfer));
            this.#set(transfer, { state: "complete", done: transfer.size });
        } catch (reason) {
            if (!(reason instanceof Cancelled)) {
                this.#set(transfer, { state: "failed", reason });
            }
        }
    }

    async #upload(transfer) {
        const { fields: { file } } = await this.#link.request("file.put", {
            name: fileName(transfer.name), size: transfer.size, open: transfer.opens,
        });
        try {
            await this.#inPieces(transfer, async (at, bytes) => {
                const body = await bytesOf(transfer.file, at, bytes);
                throwIfCancelled(transfer);
                return this.#sendPiece(transfer, file, body);
            });
        } catch (error) {
            if (error instanceof Cancelled || error === unreadable) {
                this.#link.request("file.cancel", { file }).catch(() => {});
            }
            throw error;
        }
    }

    /** The request is on its way when this returns; `answered` is for later. */
    #sendPiece(transfer, file, body) {
        const answered = this.#link.request("file.put", { file }, body).then(({ fields }) => {
            const isEnd = fields.complete === true;
            const values = isEnd ? { name: fields.name, couldOpen: fields.opened !== false } : {};
            this.#set(transfer, { done: fields.received, ...values });
        });
        return { length: body.length, answered };
    }

    async #download(transfer) {
        const content = new Content();
        let size = null;
        const fetchPiece = (at, bytes) => {
            const answered = this.#link.request("file.get", {
                name: transfer.name, offset: at, length: bytes,
            }).then(({ fields, body }) => {
                size ??= fields.size;
                const expected = Math.min(bytes, size - at);
                if (fields.size !== size || body.length !== expected) {
                    throw changed;
                }
                content.add(at, body);
                this.#set(transfer, { size, done: transfer.done + body.length });
            });
            return { length: bytes, answered };
        };
        // The size may be another one than that in the list.
        const first = fetchPiece(0, this.#pace().bytes);
        await first.answered;
        throwIfCancelled(transfer);
        await this.#inPieces(transfer, fetchPiece, first.length);
        transfer.blob = content.blob();
    }

    /**
     * Does something with each piece of a transfer, with some pieces under way at once.
     * @param {(at: number, bytes: number) => {length: number, answered: Promise}} start
     */
    async #inPieces(transfer, start, from = 0) {
        const underWay = new Set();
        let failure = null;
        let at = from;
        let isFirst = from === 0;
        while ((at < transfer.size || isFirst) && !failure) {
            const pace = this.#pace();
            const bytes = Math.min(pace.bytes, transfer.size - at);
            const { length, answered } = await start(at, bytes);
            const piece = answered.catch((error) => { failure ??= error; })
                .finally(() => underWay.delete(piece));
            underWay.add(piece);
            at += length;
            isFirst = false;
            while (underWay.size >= pace.pieces && !failure) {
                await Promise.race(underWay);
            }
            throwIfCancelled(transfer);
        }
        await Promise.all(underWay);
        if (failure) {
            throw failure;
        }
        throwIfCancelled(transfer);
    }
}

/** The pieces of a file, which come in their order. */
class Content {
    #blobs = [];
    #pieces = [];

    add(at, piece) {
        this.#pieces.push(piece);
        if (this.#pieces.length === piecesOfBlob) {
            this.#join();
        }
    }

    blob() {
        this.#join();
        return new Blob(this.#blobs, { type: "application/octet-stream" });
    }

    #join() {
        this.#blobs.push(new Blob(this.#pieces));
        this.#pieces = [];
    }
}

function throwIfCancelled(transfer) {
    if (transfer.state === "cancelled") {
        throw new Cancelled();
    }
}

async function bytesOf(file, at, bytes) {
    let piece;
    try {
        piece = new Uint8Array(await file.slice(at, at + bytes).arrayBuffer());
    } catch {
        throw unreadable;
    }
    if (piece.length !== bytes) {
        throw unreadable;
    }
    return piece;
}

/** A name that a directory takes: no slashes, no control characters, not too long. */
export function fileName(name) {
    // eslint-disable-next-line no-control-regex
    const clean = name.replace(/[\u0000-\u001f\u007f-\u009f/]/g, "_");
    if (clean === "" || clean === "." || clean === "..") {
        return "_";
    }
    const suffix = clean.match(/.(\.[^.]{1,16})$/)?.[1] ?? "";
    let stem = Array.from(clean.slice(0, clean.length - suffix.length));
    const encoder = new TextEncoder();
    const room = longestName - encoder.encode(suffix).length;
    while (encoder.encode(stem.join("")).length > room) {
        stem = stem.slice(0, -1);
    }
    return stem.join("") + suffix;
}
