// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

const encoder = new TextEncoder();

/**
 * The parts, one behind the other.
 * @param {...Uint8Array} parts
 * @returns {Uint8Array}
 */
export function concat(...parts) {
    const joined = new Uint8Array(parts.reduce((size, part) => size + part.length, 0));
    let place = 0;
    for (const part of parts) {
        joined.set(part, place);
        place += part.length;
    }
    return joined;
}

/**
 * The text as UTF-8.
 * @param {string} text
 * @returns {Uint8Array}
 */
export function utf8(text) {
    return encoder.encode(text);
}

/**
 * The text that these bytes are. Throws if they are not UTF-8.
 * @param {Uint8Array} bytes
 * @returns {string}
 */
export function textOf(bytes) {
    return new TextDecoder("utf-8", { fatal: true, ignoreBOM: true }).decode(bytes);
}

/**
 * The bytes that a text of hexadecimal digits names, or null if it names none.
 * @param {string} text
 * @returns {Uint8Array | null}
 */
export function fromHex(text) {
    if (!/^([0-9a-f]{2})*$/i.test(text)) {
        return null;
    }
    return Uint8Array.from(text.match(/../g) ?? [], (byte) => Number.parseInt(byte, 16));
}

/**
 * The bytes that a text in base64 names, or null if it names none. Knows both alphabets, that of
 * RFC 4648, section 4, and that for addresses, with padding and without.
 * @param {string} text
 * @returns {Uint8Array | null}
 */
export function fromBase64(text) {
    try {
        const plain = atob(text.replaceAll("-", "+").replaceAll("_", "/"));
        return Uint8Array.from(plain, (character) => character.charCodeAt(0));
    } catch {
        return null;
    }
}

/**
 * Whether all bytes are zero. Takes the same time for all bytes of this number.
 * @param {Uint8Array} bytes
 * @returns {boolean}
 */
export function isZero(bytes) {
    return bytes.reduce((bits, byte) => bits | byte, 0) === 0;
}
