// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

/** Nothing comes for so long: the connection may be gone, and must be. */
const doubt = 500;
const patience = 1500;
/** On a slow connection pings wait behind pieces of files and of the clipboard. */
const requestsOfPieces = ["clipboard.get", "clipboard.set", "file.get", "file.put"];
const largestPiece = 128 * 1024;
/** Less says nothing of the connection's pace. */
const smallestPiece = 16 * 1024;
/** What the largest piece may take before the connection has shown its pace. */
const firstPieceTime = 2500;

/** Why a request was not carried out. */
export class Refusal extends Error {
    /**
     * @param {string} error a word for programs, as in docs/session.md; "lost" if the connection
     *     ended, "not-connected" if there was none
     * @param {string} message a sentence for people
     */
    constructor(error, message) {
        super(message);
        this.name = "Refusal";
        this.error = error;
    }
}

/** The requests of one connection that are under way. */
export class Requests {
    #waiting = new Map();
    #lastId = 0;
    /** The last sign of life, or when the first request was sent after all had been answered. */
    #quietSince = 0;
    /** What the largest piece takes, and when one was last answered. */
    #pieceTime = firstPieceTime;
    #lastPiece = 0;

    /** How many there are, without pings. */
    get count() {
        return [...this.#waiting.values()].filter(({ name }) => name !== "ping").length;
    }

    get isPinging() {
        return [...this.#waiting.values()].some(({ name }) => name === "ping");
    }

    /**
     * Begins a request.
     * @param {string} name
     * @param {number} bodySize
     * @param {number} now
     * @param {(refusal: Refusal | null, answer?: {fields: object, body: Uint8Array}) => void} done
     * @returns {number} its id
     */
    begin(name, bodySize, now, done) {
        if (this.#waiting.size === 0) {
            this.#quietSince = now;
        }
        this.#lastId += 1;
        this.#waiting.set(this.#lastId, { name, bodySize, since: now, done });
        return this.#lastId;
    }

    /** Gives up a request that could not be sent. */
    drop(id) {
        this.#waiting.delete(id);
    }

    /** The other side is there. */
    hear(now) {
        this.#quietSince = now;
    }

    /**
     * Ends the request that this is the answer of.
     * @param {object} fields
     * @param {Uint8Array} body
     * @param {number} now
     */
    answer(fields, body, now) {
        const request = this.#waiting.get(fields.id);
        this.drop(fields.id);
        if (request) {
            this.#learnPace(request.since, Math.max(request.bodySize, body.length), now);
        }
        if (typeof fields.error === "string") {
            request?.done(new Refusal(fields.error, String(fields.message ?? fields.error)));
        } else {
            request?.done(null, { fields, body });
        }
    }

    /** Whether nothing has come for so long that the connection may be broken. */
    isDoubtful(now) {
        return this.#isSilentFor(doubt, now);
    }

    /** Whether nothing has come for so long that the connection must be broken. */
    isOverdue(now) {
        return this.#isSilentFor(patience, now);
    }

    #isSilentFor(duration, now) {
        const names = [...this.#waiting.values()].map(({ name }) => name);
        const hasPieces = names.some((name) => requestsOfPieces.includes(name));
        const limit = duration + (hasPieces ? 2 * this.#pieceTime : 0);
        return this.#waiting.size > 0 && now - this.#quietSince >= limit;
    }

    /** Pieces come one after the other; after a delay some may come together. */
    #learnPace(since, bytes, now) {
        if (bytes >= smallestPiece) {
            const time = ((now - Math.max(since, this.#lastPiece)) * largestPiece) / bytes;
            this.#pieceTime = Math.max(time, this.#pieceTime / 2);
            this.#lastPiece = now;
        }
    }

    /** The connection has ended. */
    lose() {
        const waiting = [...this.#waiting.values()];
        this.#waiting.clear();
        for (const { done } of waiting) {
            done(new Refusal("lost", "The connection was lost."));
        }
    }
}
