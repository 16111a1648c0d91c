// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The library for encryption, as the page has it, and the other side of its handshake.

import { createRequire } from "node:module";

import { concat } from "../../../../client/web/page/wire/bytes.js";
import { Channel } from "../../../../client/web/page/wire/channel.js";
import {
    idSize,
    mixPublicKey,
    mixShared,
    publicSize,
    stateAfterSecret,
} from "../../../../client/web/page/wire/handshake.js";

const folder = process.env.NODE_TWEETNACL ?? "/usr/share/nodejs/tweetnacl";
globalThis.nacl = createRequire(import.meta.url)(`${folder}/nacl-fast.min.js`);

export const nacl = globalThis.nacl;

/**
 * The computer's side of a handshake, or null if the first message was written with another secret.
 * @returns {{payload: Uint8Array, answer: Uint8Array, channel: Channel} | null}
 */
export function accept(first, secret, payload, ephemeral = nacl.box.keyPair()) {
    const headSize = 2 + idSize;
    const other = first.slice(headSize, headSize + publicSize);
    const state = stateAfterSecret(first.slice(0, headSize), secret);
    mixPublicKey(state, other);
    const said = state.openAndHash(first.slice(headSize + publicSize));
    if (!said) {
        return null;
    }
    mixPublicKey(state, ephemeral.publicKey);
    if (!mixShared(state, ephemeral, other)) {
        return null;
    }
    const answer = concat(ephemeral.publicKey, state.sealAndHash(payload));
    const [ofPhone, ofComputer] = state.split();
    return { payload: said, answer, channel: new Channel(ofComputer, ofPhone) };
}
