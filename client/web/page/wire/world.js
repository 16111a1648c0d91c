// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

/**
 * What a link needs of the browser. Tests hand in another one.
 * @typedef {object} World
 * @property {string} socketAddress where the WebSocket is
 * @property {string} aliveAddress what answers while the program runs
 * @property {() => number} now milliseconds that never run backwards
 * @property {(call: () => void, delay: number) => number} setTimeout
 * @property {(timer: number) => void} clearTimeout
 * @property {(address: string, options: object) => Promise<object>} fetch
 * @property {(address: string) => WebSocket} openSocket
 * @property {() => boolean} isVisible
 * @property {(type: string, call: () => void) => void} watch "online", "offline", "hashchange" or
 *     "visibilitychange"
 * @property {() => string} takeFragment what stood behind the # of the address; it is there no more
 * @property {Shelf} forever what stays in this browser
 * @property {Shelf} forThisTab what stays until the tab is closed
 */

/** A named text in the browser's storage. Where there is none it lasts as long as the page. */
class Shelf {
    #storage;
    #name;
    #text = null;

    constructor(storage, name) {
        this.#storage = storage;
        this.#name = name;
    }

    read() {
        return attempt(() => this.#storage().getItem(this.#name)) ?? this.#text;
    }

    write(text) {
        this.#text = text;
        attempt(() => this.#storage().setItem(this.#name, text));
    }

    clear() {
        this.#text = null;
        attempt(() => this.#storage().removeItem(this.#name));
    }
}

/** A browser that keeps nothing throws at the first look at its storage. */
function attempt(call) {
    try {
        return call();
    } catch {
        return null;
    }
}

/**
 * The world of a page.
 * @returns {World}
 */
export function browserWorld() {
    const scheme = location.protocol === "https:" ? "wss:" : "ws:";
    return {
        socketAddress: `${scheme}//${location.host}/socket`,
        aliveAddress: "/alive",
        now: () => performance.now(),
        setTimeout: (call, delay) => setTimeout(call, delay),
        clearTimeout: (timer) => clearTimeout(timer),
        fetch: (address, options) => fetch(address, options),
        openSocket: (address) => new WebSocket(address),
        isVisible: () => document.visibilityState === "visible",
        watch: (type, call) =>
            (type === "visibilitychange" ? document : window).addEventListener(type, call),
        takeFragment,
        forever: new Shelf(() => localStorage, "quillmote.phone"),
        forThisTab: new Shelf(() => sessionStorage, "quillmote.desk"),
    };
}

/** Whoever looks at the address or at the history later finds no secret there. */
function takeFragment() {
    const fragment = location.hash.slice(1);
    if (fragment) {
        history.replaceState(null, "", location.pathname + location.search);
    }
    return fragment;
}
