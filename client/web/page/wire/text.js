// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { concat, textOf, utf8 } from "./bytes.js";

const lineFeed = 10;
const noBytes = new Uint8Array();

/**
 * The text of a message: one JSON object, a line feed, and a body of any bytes.
 * @param {object} object
 * @param {Uint8Array} body
 * @returns {Uint8Array}
 */
export function writeText(object, body = noBytes) {
    // Some readers drop a mark of the byte order at the beginning of any text.
    const line = JSON.stringify(object).replaceAll("\ufeff", "\\ufeff");
    return concat(utf8(line + "\n"), body);
}

/**
 * What writeText() wrote, or null if these bytes are no such text.
 * @param {Uint8Array} bytes
 * @returns {{object: object, body: Uint8Array} | null}
 */
export function readText(bytes) {
    const end = bytes.indexOf(lineFeed);
    const object = end < 0 ? null : parsedObject(bytes.subarray(0, end));
    return object && { object, body: bytes.subarray(end + 1) };
}

function parsedObject(bytes) {
    try {
        const value = JSON.parse(textOf(bytes));
        const isObject = typeof value === "object" && value !== null && !Array.isArray(value);
        return isObject ? value : null;
    } catch {
        return null;
    }
}
