// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { utf8 } from "./bytes.js";
import { hkdfKey } from "./hkdf.js";

const alphabet = "0123456789ABCDEFGHJKMNPQRSTVWXYZ";
const lookalikes = { O: "0", I: "1", L: "1" };
const codeBytes = 10;
const codeCharacters = 16;
const longestTypedCode = 64;
const secretLabel = "quillmote one-time code";

/**
 * The bytes of a code, or null if the text is none. Forgives lowercase, hyphens, dashes and blanks,
 * and O, I and L in the place of 0, 1 and 1.
 * @param {string} text
 * @returns {Uint8Array | null} 10 bytes
 */
export function codeFromText(text) {
    if (text.length > longestTypedCode) {
        return null;
    }
    const values = [...text.replace(/[\s\p{Pd}]/gu, "")].map(valueOf);
    return values.length === codeCharacters && !values.includes(-1) ? packed(values) : null;
}

/**
 * The secret of a code's handshake.
 * @param {Uint8Array} code
 * @returns {Uint8Array} 32 bytes
 */
export function secretOfCode(code) {
    return hkdfKey(code, utf8(secretLabel));
}

/** 0 to 31, or -1. Only letters of ASCII are made uppercase: others may become one of these. */
function valueOf(character) {
    const upper = character.replace(/[a-z]/, (letter) => letter.toUpperCase());
    return alphabet.indexOf(lookalikes[upper] ?? upper);
}

function packed(values) {
    const bytes = new Uint8Array(codeBytes);
    values.forEach((value, place) => {
        const bit = place * 5;
        const shifted = value << (11 - (bit % 8));
        bytes[bit >> 3] |= shifted >> 8;
        bytes[(bit >> 3) + 1] |= shifted & 0xff;
    });
    return bytes;
}
