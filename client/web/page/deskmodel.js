// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// What the desktop's page concludes from what it is told.

/** The white frame around a QR code, in modules (ISO/IEC 18004, section 9.1). */
const quietZone = 4;

/**
 * A QR code as a drawing: the side of the whole in modules, and a path over the dark ones.
 * @param {string[]} rows of "1" (dark) and "0"
 * @returns {{side: number, path: string}}
 */
export function drawingOf(rows) {
    const runs = rows.flatMap((row, y) =>
        [...row.matchAll(/1+/g)].map(
            ({ index, 0: run }) =>
                `M${index + quietZone} ${y + quietZone}h${run.length}v1h-${run.length}z`,
        ),
    );
    return { side: rows.length + 2 * quietZone, path: runs.join("") };
}

/**
 * Time as minutes and seconds. A second that has begun counts.
 * @param {number} milliseconds
 */
export function clockText(milliseconds) {
    const seconds = Math.max(0, Math.ceil(milliseconds / 1000));
    return `${Math.floor(seconds / 60)}:${String(seconds % 60).padStart(2, "0")}`;
}

const units = [
    ["day", 24 * 60 * 60],
    ["hour", 60 * 60],
    ["minute", 60],
];

/**
 * How long ago something was, in the largest unit that fits; null for less than a minute.
 * @param {number} milliseconds since then
 * @returns {{count: number, unit: string} | null}
 */
export function ageOf(milliseconds) {
    const seconds = milliseconds / 1000;
    const [unit, size] = units.find(([, length]) => seconds >= length) ?? [];
    return unit ? { count: Math.floor(seconds / size), unit } : null;
}

/**
 * The phones that have connected since an earlier state, by their ids.
 * @param {object | null} before
 * @param {object} now
 */
export function arrivals(before, now) {
    if (!before) {
        return [];
    }
    const wasConnected = new Set(before.phones.filter(isConnected).map(({ id }) => id));
    return now.phones.filter((phone) => isConnected(phone) && !wasConnected.has(phone.id));
}

function isConnected({ connected }) {
    return connected;
}

/** What the part with the code shows. */
export const codeViews = Object.freeze({
    offline: "offline", // there is no network
    shown: "shown",
    paired: "paired", // a phone has used the code
    over: "over", // nobody has
    none: "none", // none was asked for yet
});

/**
 * Follows the code from state to state.
 * @param {{view: string, phone?: object}} last what was shown before
 * @param {object | null} before the state before
 * @param {object} now
 * @returns {{view: string, phone?: object}}
 */
export function codeViewOf(last, before, now) {
    if (now.addresses.length === 0) {
        return { view: codeViews.offline };
    }
    if (now.code) {
        return { view: codeViews.shown };
    }
    const known = new Set(before?.phones.map(({ id }) => id));
    const added = before && now.phones.find(({ id }) => !known.has(id));
    if (added) {
        return { view: codeViews.paired, phone: added };
    }
    if (last.view === codeViews.shown) {
        // A phone that is known already keeps its secret and uses the code no further.
        const [arrived] = arrivals(before, now);
        return arrived
            ? { view: codeViews.paired, phone: arrived }
            : { view: codeViews.over };
    }
    return last.view === codeViews.offline ? { view: codeViews.none } : last;
}

/**
 * An address for people: one of IPv4 has another form where it came in by a socket of IPv6.
 * @param {string} address
 */
export function plainAddress(address) {
    return address.replace(/^::ffff:(?=\d+\.)/, "");
}

/**
 * Whether the server listens to this computer only; null if that is not known.
 * @param {object} server
 */
export function isClosed({ state, listenAddress }) {
    if (state !== "ready" || typeof listenAddress !== "string") {
        return null;
    }
    return listenAddress === "::1" || listenAddress.startsWith("127.");
}

/**
 * What is wrong, the gravest first: {key, values} of texts, and what a button would do about it.
 * @param {string} link the state of the connection to the program
 * @param {object | null} state
 */
export function troublesOf(link, state) {
    const linkTroubles = {
        lost: { key: "trouble.lost" },
        expired: { key: "trouble.expired" },
        unpaired: { key: "trouble.unpaired" },
        "shut-out": { key: "trouble.shutOut" },
    };
    if (linkTroubles[link]) {
        return [linkTroubles[link]];
    }
    if (!state) {
        return [];
    }
    const troubles = [];
    if (state.server.state === "missing") {
        const deed = state.server.canStart ? "startServer" : null;
        const problem = state.server.problem;
        troubles.push(
            problem
                ? { key: "trouble.server", values: { problem }, deed }
                : { key: "trouble.missing", deed },
        );
    }
    if (state.addresses.length === 0) {
        troubles.push({ key: "trouble.offline" });
    }
    if (state.problem) {
        troubles.push({ key: "trouble.other", values: { problem: state.problem } });
    }
    return troubles;
}
