// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { concat } from "./bytes.js";

const blockSize = 128;
const digestSize = 64;

/**
 * SHA-512 of the parts, one behind the other.
 * @param {...Uint8Array} parts
 * @returns {Uint8Array} 64 bytes
 */
export function sha512(...parts) {
    return globalThis.nacl.hash(concat(...parts));
}

/**
 * HMAC-SHA-512 (RFC 2104) of the parts, one behind the other.
 * @param {Uint8Array} key of any length
 * @param {...Uint8Array} parts
 * @returns {Uint8Array} 64 bytes
 */
export function hmac(key, ...parts) {
    const padded = new Uint8Array(blockSize);
    padded.set(key.length > blockSize ? sha512(key) : key);
    const inner = padded.map((byte) => byte ^ 0x36);
    const outer = padded.map((byte) => byte ^ 0x5c);
    const digest = sha512(outer, sha512(inner, ...parts));
    wipe(padded, inner, outer);
    return digest;
}

/**
 * HKDF (RFC 5869) over HMAC-SHA-512, without info: 192 bytes, in three parts.
 * @param {Uint8Array} salt
 * @param {Uint8Array} input
 * @returns {Uint8Array[]}
 */
export function hkdf(salt, input) {
    const extracted = hmac(salt, input);
    const first = hmac(extracted, Uint8Array.of(1));
    const second = hmac(extracted, first, Uint8Array.of(2));
    const third = hmac(extracted, second, Uint8Array.of(3));
    wipe(extracted);
    return [first, second, third];
}

/**
 * HKDF without salt: the first 32 bytes.
 * @param {Uint8Array} input
 * @param {Uint8Array} info
 * @returns {Uint8Array}
 */
export function hkdfKey(input, info) {
    return hmac(hmac(new Uint8Array(digestSize), input), info, Uint8Array.of(1)).slice(0, 32);
}

/**
 * Overwrites keys that are not needed any more. Copies that the browser made stay where they are.
 * @param {...(Uint8Array | null)} secrets
 */
export function wipe(...secrets) {
    for (const secret of secrets) {
        secret?.fill(0);
    }
}
