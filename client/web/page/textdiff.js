// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

/**
 * What one press of Backspace deletes on most desktops: an emoji as a whole, however many
 * characters it is made of, and otherwise one character, so that combining marks and the signs of
 * Indic scripts go one by one. Where a program deletes less, something stays; nothing that was
 * there before is ever deleted.
 */
const emoji = "(?:\\p{RI}\\p{RI}|[0-9#*]\\uFE0F?\\u20E3|" +
    "\\p{Extended_Pictographic}(?:\\uFE0F|\\p{EMod})?(?:[\\u{E0020}-\\u{E007E}]+\\u{E007F})?" +
    "(?:\\u200D\\p{Extended_Pictographic}(?:\\uFE0F|\\p{EMod})?)*)";
const unit = new RegExp(`${emoji}|[\\s\\S]`, "gu");

/** The text in pieces that one Backspace each deletes. */
export function deletableUnits(text) {
    return text.match(unit) ?? [];
}

/**
 * What has to be typed so that `before` becomes `after`, if the caret is at its end.
 * @returns {{deletions: number, text: string}} how often Backspace, and what then
 */
export function textDifference(before, after) {
    const units = deletableUnits(before);
    let kept = 0;
    let length = 0;
    while (kept < units.length && after.startsWith(units[kept], length)) {
        length += units[kept].length;
        kept += 1;
    }
    return { deletions: units.length - kept, text: after.slice(length) };
}
