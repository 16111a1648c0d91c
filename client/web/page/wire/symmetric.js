// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { concat } from "./bytes.js";
import { CipherState, keySize } from "./cipher.js";
import { hkdf, sha512, wipe } from "./hkdf.js";

const digestSize = 64;

/**
 * What both sides of a handshake have said so far, and the keys that follow from it: the
 * SymmetricState of the Noise Protocol Framework, revision 34, section 5.2.
 */
export class SymmetricState {
    #chainingKey;
    #hash;
    #cipher = null;

    /** @param {Uint8Array} protocolName at most 64 bytes */
    constructor(protocolName) {
        this.#chainingKey = concat(protocolName, new Uint8Array(digestSize - protocolName.length));
        this.#hash = this.#chainingKey.slice();
    }

    /** @param {Uint8Array} data */
    mixHash(data) {
        this.#hash = sha512(this.#hash, data);
    }

    /** @param {Uint8Array} input */
    mixKey(input) {
        const [chainingKey, key] = hkdf(this.#chainingKey, input);
        this.#renew(chainingKey, key);
    }

    /** @param {Uint8Array} input */
    mixKeyAndHash(input) {
        const [chainingKey, data, key] = hkdf(this.#chainingKey, input);
        this.mixHash(data);
        this.#renew(chainingKey, key);
    }

    /**
     * @param {Uint8Array} plain
     * @returns {Uint8Array}
     */
    sealAndHash(plain) {
        const sealed = this.#cipher.seal(plain, this.#hash);
        this.mixHash(sealed);
        return sealed;
    }

    /**
     * @param {Uint8Array} sealed
     * @returns {Uint8Array | null} null if the other side has said something else
     */
    openAndHash(sealed) {
        const plain = this.#cipher.open(sealed, this.#hash);
        this.mixHash(sealed);
        return plain;
    }

    /**
     * The keys of the connection: of the initiator's messages, and of the responder's.
     * @returns {CipherState[]}
     */
    split() {
        return hkdf(this.#chainingKey, new Uint8Array())
            .slice(0, 2)
            .map((derived) => new CipherState(derived.slice(0, keySize)));
    }

    /** Overwrites what could open the connection. */
    wipe() {
        wipe(this.#chainingKey);
        this.#cipher?.wipe();
    }

    #renew(chainingKey, derived) {
        this.wipe();
        this.#chainingKey = chainingKey;
        this.#cipher = new CipherState(derived.slice(0, keySize));
    }
}
