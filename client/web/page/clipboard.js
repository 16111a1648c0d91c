// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

/** The largest piece of a text in one message, in bytes. */
const longestPiece = 128 * 1024;

/**
 * Replaces the computer's clipboard; rejects with a refusal.
 * @param {object} link see link.js
 * @param {string} text
 */
export async function setClipboard(link, text) {
    const bytes = new TextEncoder().encode(text);
    let at = 0;
    do {
        const piece = bytes.subarray(at, at + longestPiece);
        at += piece.length;
        await link.request("clipboard.set", { more: at < bytes.length }, piece);
    } while (at < bytes.length);
}

/** The text of the computer's clipboard; rejects with a refusal. */
export async function getClipboard(link) {
    const decoder = new TextDecoder("utf-8", { ignoreBOM: true });
    let text = "";
    let offset = 0;
    let size = 0;
    do {
        const { fields, body } = await link.request("clipboard.get", { offset });
        size = fields.size;
        offset += body.length;
        text += decoder.decode(body, { stream: offset < size });
        if (body.length === 0) {
            break;
        }
    } while (offset < size);
    return text;
}

/**
 * Copies the text of a field to the phone's clipboard. Pages without encryption by the browser have
 * no clipboard, but may copy what is selected.
 * @param {HTMLTextAreaElement} field
 * @returns {Promise<boolean>} false if the user has to copy the selected text
 */
export async function copyFrom(field) {
    field.focus();
    field.setSelectionRange(0, field.value.length);
    try {
        await navigator.clipboard.writeText(field.value);
        return true;
    } catch {
        return document.execCommand("copy");
    }
}
