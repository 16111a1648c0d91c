// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { concat, isZero, utf8 } from "./bytes.js";
import { tagSize } from "./cipher.js";
import { Channel } from "./channel.js";
import { wipe } from "./hkdf.js";
import { SymmetricState } from "./symmetric.js";

export const protocolName = "Noise_NNpsk0_25519_XSalsa20Poly1305_SHA512";
export const idSize = 16;
export const secretSize = 32;
export const publicSize = 32;
/** The longest message of a handshake, in bytes. */
export const longestHandshakeMessage = 4096;

/** By which kind of secret this side wants to be let in. */
export const kinds = { code: 0, phone: 1, desk: 2 };

const version = 1;

/** The phone's side of a handshake, see docs/handshake.md; each object serves for one. */
export class Initiator {
    #head;
    #ephemeral;
    #state;

    /**
     * @param {{kind: string, id?: Uint8Array, secret: Uint8Array}} credential
     * @param {{publicKey: Uint8Array, secretKey: Uint8Array}} ephemeral for this handshake only
     */
    constructor({ kind, id = new Uint8Array(idSize), secret }, ephemeral = newKeyPair()) {
        this.#head = concat(Uint8Array.of(version, kinds[kind]), id);
        this.#ephemeral = ephemeral;
        this.#state = stateAfterSecret(this.#head, secret);
    }

    /**
     * The first message.
     * @param {Uint8Array} payload
     * @returns {Uint8Array}
     */
    first(payload) {
        mixPublicKey(this.#state, this.#ephemeral.publicKey);
        const sealed = this.#state.sealAndHash(payload);
        return concat(this.#head, this.#ephemeral.publicKey, sealed);
    }

    /**
     * Reads the second message. Null if it does not come from one who has the secret and has read
     * this first message.
     * @param {Uint8Array} answer
     * @returns {{payload: Uint8Array, channel: Channel} | null}
     */
    finish(answer) {
        const opened = this.#open(answer);
        wipe(this.#ephemeral.secretKey);
        this.#state.wipe();
        return opened;
    }

    #open(answer) {
        if (answer.length < publicSize + tagSize || answer.length > longestHandshakeMessage) {
            return null;
        }
        const other = answer.subarray(0, publicSize);
        mixPublicKey(this.#state, other);
        if (!mixShared(this.#state, this.#ephemeral, other)) {
            return null;
        }
        const payload = this.#state.openAndHash(answer.subarray(publicSize));
        return payload && { payload, channel: new Channel(...this.#state.split()) };
    }
}

/** The state of both sides after the token "psk". */
export function stateAfterSecret(head, secret) {
    const state = new SymmetricState(utf8(protocolName));
    state.mixHash(head);
    state.mixKeyAndHash(secret);
    return state;
}

/** The token "e". With a shared secret the public key goes into the keys, too. */
export function mixPublicKey(state, publicKey) {
    state.mixHash(publicKey);
    state.mixKey(publicKey);
}

/**
 * The token "ee". False if the shared key is all zeros, as it is with every public key of a small
 * order: everybody would know it.
 */
export function mixShared(state, ephemeral, otherPublicKey) {
    const shared = globalThis.nacl.scalarMult(ephemeral.secretKey, otherPublicKey);
    const isUsable = !isZero(shared);
    if (isUsable) {
        state.mixKey(shared);
    }
    wipe(shared);
    return isUsable;
}

function newKeyPair() {
    return globalThis.nacl.box.keyPair();
}
