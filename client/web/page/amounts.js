// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

const units = ["B", "kB", "MB", "GB", "TB"];

/** A size as people read it: "812 B", "3.5 MB". */
export function sizeText(bytes, language) {
    const power = Math.min(Math.floor(Math.log10(Math.max(bytes, 1)) / 3), units.length - 1);
    const value = bytes / 1000 ** power;
    const digits = power > 0 && value < 9.95 ? 1 : 0;
    const number = value.toLocaleString(language, { minimumFractionDigits: digits, maximumFractionDigits: digits });
    return `${number} ${units[power]}`;
}

/** A time as people read it, without seconds. */
export function timeText(milliseconds, language) {
    return new Date(milliseconds).toLocaleString(language, { dateStyle: "medium", timeStyle: "short" });
}
