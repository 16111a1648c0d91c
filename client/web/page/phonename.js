// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

const kinds = [
    [/iPhone/, "iPhone"],
    [/iPad|Macintosh.*Mobile/, "iPad"],
    [/Android.*Mobile/, "Android phone"],
    [/Android/, "Android tablet"],
    [/CrOS/, "Chromebook"],
    [/Windows/, "Windows"],
    [/Mac OS/, "Mac"],
    [/Linux/, "Linux"],
];

/** What this phone is called until its user gives it a name. */
export function phoneName(agent = navigator.userAgent) {
    return kinds.find(([pattern]) => pattern.test(agent))?.[1] ?? "Phone";
}
