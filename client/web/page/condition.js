// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

const atDoor = ["unpaired", "removed", "expired", "shut-out", "refused", "elsewhere"];

/**
 * What a user is to see of a link: "ready", "asking", "missing", "connecting", "lost", or the
 * reason why the phone has no way in, see isAtDoor().
 */
export function conditionOf(link) {
    if (link.state !== "connected") {
        return link.state;
    }
    return link.server?.state ?? "connecting";
}

/** Only the user helps: with a code, with patience, here or at the computer. */
export function isAtDoor(condition) {
    return atDoor.includes(condition);
}
