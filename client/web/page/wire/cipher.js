// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { hmac, wipe } from "./hkdf.js";

export const keySize = 32;
export const tagSize = 16;
/** Beyond it a number of JavaScript is no longer exact. */
export const lastNumber = Number.MAX_SAFE_INTEGER;

const noBytes = new Uint8Array();

/** A key and the number of the next text under it. Each number is used once, in order. */
export class CipherState {
    #key;
    #number;

    /**
     * @param {Uint8Array} key 32 bytes; the state wipes them at its end
     * @param {number} firstNumber
     */
    constructor(key, firstNumber = 0) {
        this.#key = key;
        this.#number = firstNumber;
    }

    /**
     * XSalsa20-Poly1305 of the text; null when the numbers are used up.
     * @param {Uint8Array} plain
     * @param {Uint8Array} associated
     * @returns {Uint8Array | null}
     */
    seal(plain, associated = noBytes) {
        return this.#use(globalThis.nacl.secretbox, plain, associated);
    }

    /**
     * Null if these are not the bytes that were sealed under this number with the same associated
     * data. The number then stays.
     * @param {Uint8Array} sealed
     * @param {Uint8Array} associated
     * @returns {Uint8Array | null}
     */
    open(sealed, associated = noBytes) {
        return this.#use(globalThis.nacl.secretbox.open, sealed, associated);
    }

    /** Overwrites the key; nothing is sealed or opened after that. */
    wipe() {
        wipe(this.#key);
        this.#number = lastNumber;
    }

    #use(box, text, associated) {
        if (this.#number >= lastNumber) {
            return null;
        }
        const result = box(text, this.#nonce(), this.#keyFor(associated));
        if (result) {
            this.#number += 1;
        }
        return result;
    }

    /** Sixteen zeros and the number, little-endian. */
    #nonce() {
        const nonce = new Uint8Array(24);
        const view = new DataView(nonce.buffer);
        view.setUint32(16, this.#number >>> 0, true);
        view.setUint32(20, Math.floor(this.#number / 2 ** 32), true);
        return nonce;
    }

    /** secretbox takes no associated data, so these make the key. */
    #keyFor(associated) {
        return associated.length === 0 ? this.#key : hmac(this.#key, associated).slice(0, keySize);
    }
}
