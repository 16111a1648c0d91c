// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { tagSize } from "./cipher.js";

/** The largest message, sealed, in bytes. */
export const longestSealed = 256 * 1024;
/** The longest text of a message, in bytes. */
export const longestPlain = longestSealed - tagSize;

/** Both directions of a connection after its handshake; see docs/handshake.md. */
export class Channel {
    #sending;
    #receiving;
    #hasFailed = false;

    /**
     * @param {import("./cipher.js").CipherState} sending
     * @param {import("./cipher.js").CipherState} receiving
     */
    constructor(sending, receiving) {
        this.#sending = sending;
        this.#receiving = receiving;
    }

    get hasFailed() {
        return this.#hasFailed;
    }

    /**
     * Null if the text is longer than longestPlain, or if the channel has failed.
     * @param {Uint8Array} plain
     * @returns {Uint8Array | null}
     */
    seal(plain) {
        if (this.#hasFailed || plain.length > longestPlain) {
            return null;
        }
        return this.#sending.seal(plain) ?? this.close();
    }

    /**
     * Null if it is not the next message of the other side. The channel has failed then: nothing
     * more is sealed or opened.
     * @param {Uint8Array} sealed
     * @returns {Uint8Array | null}
     */
    open(sealed) {
        const isUsable = !this.#hasFailed && sealed.length <= longestSealed;
        return (isUsable && this.#receiving.open(sealed)) || this.close();
    }

    /**
     * Wipes the keys.
     * @returns {null}
     */
    close() {
        this.#hasFailed = true;
        this.#sending.wipe();
        this.#receiving.wipe();
        return null;
    }
}
